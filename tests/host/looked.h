// SPDX-License-Identifier: GPL-2.0-or-later
// A played server through the boundary, by a product of its own.
#pragma once

#include "server.h"
#include "yat/facts.h"
#include "yat/ft.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// A function of the product's libyat.so.
#define CALL(name) reinterpret_cast<decltype(&name)>(dlsym(library, #name))

class Looked : public testing::Test {
protected:
    Looked();
    ~Looked() override;

    // The devices, each as "CLASS NUMBER PATH NAME", those below others behind two blanks a level.
    std::vector<std::string> tree();

    // The state of a module; "(unreadable)" for one that can't be read.
    std::string cpu(int number);
    std::string pci(int number);

    std::string property(int number, int property);

    // What is told of a device.
    yat_facts facts(int classCode, int number);

    // The record of a device, of a tree that stays until the end.
    yat_device *record(int classCode, int number);

    // Why the device does not support what the code stands for, in the language of a locale.
    std::string whyNot(yat_device *device, int code, int detail, const char *locale);

    // Changes the configuration.
    void configure(const std::string &text) const;

    std::string trace() const;

    Server server;
    TemporaryDirectory root{PRODUCTS}, state;
    void *library = nullptr;
    yat_device *records = nullptr;
};
