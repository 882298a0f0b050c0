// A played server through the boundary.
#pragma once

#include "server.h"
#include "yat/ft.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

class Looked : public testing::Test {
protected:
    Looked();
    ~Looked() override;

    // The devices, each as "CLASS NUMBER PATH NAME", those below others behind two blanks a level.
    static std::vector<std::string> tree();

    // The state of a module; "(unreadable)" for one that can't be read.
    static std::string cpu(int number);
    static std::string pci(int number);

    static std::string property(int number, int property);

    std::string trace() const;

    Server server;
    TemporaryDirectory state;
};
