// SPDX-License-Identifier: GPL-2.0-or-later
// What a run of a program under test has around it: an own directory with a state directory and a
// script for the spy in it, an environment, and what the run leaves behind there.
#pragma once

#include "support/files.h"
#include "support/process.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

struct RunOptions {
    std::string program = "mrvutil";
    std::vector<std::string> arguments{};
    std::string machine = "CEDAR";
    std::string language = "en_US.UTF-8";
    std::string term = "xterm-256color";
    int rows = 24, columns = 80;
    std::string script{};                             // for the spy, see tests/spy/script.cc
    std::string tree{};                               // records for the spy
    std::map<std::string, std::string> environment{}; // beside what every run has; "(unset)" takes
                                                      // a variable out
    std::string encoding = "UTF-8";
    bool ignoreHangup = false;
    std::string state{}; // a state directory to share; empty: an own one
};

class Workspace {
public:
    explicit Workspace(const RunOptions &options);
    ~Workspace(); // fails the test for what the sanitizers found
    Workspace(const Workspace &) = delete;
    Workspace &operator=(const Workspace &) = delete;

    std::vector<std::string> command() const;
    std::map<std::string, std::string> environment() const;
    const std::filesystem::path &directory() const
    {
        return own.path;
    }
    const std::filesystem::path &stateDirectory() const
    {
        return state;
    }

    // A name for LD_PRELOAD, in which the loader takes blanks and colons for the ends of names: the
    // path of the sources may have some.
    std::string preloadable(const std::filesystem::path &library) const;

    // Lets the calls go on that the script has as held.
    void letGo() const;

    // The records of the trace log, of one source or of all, each as "LEVEL FUNCTION TEXT".
    std::vector<std::string> trace(const std::string &source = "") const;

    // The calls that the spy saw.
    std::vector<std::string> calls() const;

private:
    RunOptions options;
    TemporaryDirectory own;
    std::filesystem::path state;
};

// Expects the records to appear in this order, others between them allowed. "*" at the end of one
// stands for anything.
void expectInOrder(const std::vector<std::string> &records, const std::vector<std::string> &wanted);

// A run without a terminal, to its end or to the deadline.
struct PlainStreams {
    std::string input = "/dev/null";
    std::string output{}; // empty: it is gathered
    bool inputIsTerminal = false, outputIsTerminal = false;
};
Finished runPlain(const Workspace &workspace, const PlainStreams &streams = {});
