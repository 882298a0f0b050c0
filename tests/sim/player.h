// SPDX-License-Identifier: GPL-2.0-or-later
// A process that plays with the machine through the calls of yat/ft.h, at a terminal of its own,
// until it is through or killed; and what is known of it then.
#pragma once

#include "sim/injection.h"
#include "sim/store.h"
#include "yat/ft.h"

#include <atomic>
#include <functional>
#include <string>
#include <vector>

// Something to do to the machine: by a call of yat/ft.h, or from outside, as yatsim does it.
struct Act {
    sim::Order operation;
    std::optional<sim::Injection> injection{}; // then this, and no operation
    std::string another{};                     // "reset" or "import", from the machine's own file
};

constexpr int mostActs = 6000;

// Where the process and its parent both look; what is written here stays when the process is
// killed.
struct Progress {
    std::atomic<int> asked, answered; // the acts that were begun, and those that are over
    std::atomic<bool> mayBegin, tookPairDown;
    std::atomic<int> results[mostActs];
};

class Player {
public:
    // Starts the process. prepare is called in it first; it waits for begin then. Nothing of the
    // state may be open in this process, and nobody else may play if it is to watch the pairs.
    explicit Player(const std::vector<Act> &acts, const std::function<void()> &prepare = {},
                    bool watchesPairs = false);
    ~Player();
    Player(const Player &) = delete;
    Player &operator=(const Player &) = delete;

    void begin() const
    {
        progress->mayBegin = true;
    }
    void kill() const;
    int wait(); // its status, as waitpid has it

    // What is wrong with the rows of the journal from its terminal; empty for nothing. Each act
    // that it said was answered has its row, with the result it got, in the order in which it
    // asked. An act that it was killed in has its row or not. Where writing failed, an act
    // without a row has failed.
    std::string compare(const std::vector<sim::JournalRow> &rows, bool writingFailed = false) const;

    std::vector<Act> acts;
    Progress *progress;
    std::string terminal;

private:
    int master = -1;
    pid_t child = -1;
};

// An act as an administrator's, by one of the calls; now and then one that can't be.
Act anyCall(const sim::Machine &machine, const std::function<int(int)> &below);
// One from outside.
Act anyBlow(const sim::Machine &machine, const std::function<int(int)> &below);
