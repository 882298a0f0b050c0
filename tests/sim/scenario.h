// SPDX-License-Identifier: GPL-2.0-or-later
// A scenario: a machine as its users meet it, through the calls of yat/ft.h alone; yatsim does
// what happens to the machine from outside. Each is played twice, alone and while a second process
// watches, which must not change anything and must see the same. Where there is no machine to look
// at, it is played alone only.
#pragma once

#include "support.h"
#include "watcher.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <optional>

class Scenario : public testing::TestWithParam<bool> {
protected:
    Scenario();
    void TearDown() override; // leaves the machine

    // Switches the machine on: a shipped one, or with a part of its description replaced. Time
    // stands still unless it is to run, so that each state can be looked at.
    void begin(const std::string &machine = "CEDAR", const std::string &part = "",
               const std::string &replacement = "", const std::string &timeScale = "0");

    // The same in two steps, for what happens before somebody looks.
    void prepare(const std::string &machine = "CEDAR", const std::string &part = "",
                 const std::string &replacement = "", const std::string &timeScale = "0");
    void open();

    // Ends with this machine, so that another one can begin. Expects the second process to have
    // watched until now without a failure, and to see what is seen here.
    void leave();

    // Lets time pass that stands still otherwise. The second process has to see before and after
    // what is seen here.
    void pass(double seconds);

    // Lets yatsim inject an answer for the next call that is made here; the second process leaves
    // the call out until the next injection.
    void inject(const std::string &call, const std::string &answer);

    // Whether the machine says that it supports an operation now, with its support code, and why
    // not.
    bool can(const std::string &device, int support);
    int detail(const std::string &device, int support);

    int clearMtbf(const std::string &device);
    int start(const std::string &device);
    int stop(const std::string &device);
    int burn(const std::string &device, const char *mode);
    int setType(const std::string &device, const char *type);

    std::string biosVersion(int number) const;
    std::string biosStatus(int number) const;

    yat_device *record(const std::string &device) const
    {
        return (*interface)[device];
    }

    // What yatsim knows of a device, and its journal.
    nlohmann::json shown(const std::string &device);
    nlohmann::json journal();

    std::optional<Sandbox> sandbox;
    std::optional<Watcher> watcher;
    std::optional<Interface> interface;

private:
    void endWatch();

    bool wasWatched = false;
};

// Expects each call that needs the machine to fail by its convention, with what it was given for an
// answer as it was.
void expectEveryCallToFail();

std::string scenarioName(const testing::TestParamInfo<bool> &info);

#define PLAY_ALONE(name)                                                                           \
    INSTANTIATE_TEST_SUITE_P(Played, name, testing::Values(false), scenarioName)
#define PLAY_SCENARIOS(name) INSTANTIATE_TEST_SUITE_P(Played, name, testing::Bool(), scenarioName)
