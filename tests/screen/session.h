// SPDX-License-Identifier: GPL-2.0-or-later
// A run of one of the product's programs in a terminal, with the spy between it and the product
// services.
#pragma once

#include "terminal.h"
#include "workspace.h"

#include <gtest/gtest.h>

namespace keys {
inline const std::string enter = "\r";
inline const std::string space = " ";
inline const std::string tab = "\t";
inline const std::string backTab = "\x1b\t";
inline const std::string up = "\x1bOA", down = "\x1bOB", left = "\x1bOD", right = "\x1bOC";
inline const std::string pageUp = "\x1b[5~", pageDown = "\x1b[6~";
inline const std::string home = "\x1bOH", end = "\x1b[4~";
inline const std::string f12 = "\x1b[24~";
inline const std::string ctrlA = "\x01", ctrlO = "\x0f", ctrlZ = "\x1a";
} // namespace keys

// The types of terminals that most administrators have.
inline const char *const terminalTypes[] = {"xterm", "screen", "tmux", "linux", "vt220"};

// Whether such a terminal has a screen besides that of the shell.
inline bool hasAlternateScreen(const std::string &type)
{
    return type != "linux" && type != "vt220";
}

// What the spy saw, and what it sees of a box that is opened and closed.
using Calls = std::vector<std::string>;

inline Calls box(const std::string &title)
{
    return {"newtGridWrappedWindow(" + title + ")", "newtPopWindow()"};
}

inline Calls operator+(Calls calls, const Calls &more)
{
    calls.insert(calls.end(), more.begin(), more.end());
    return calls;
}

class Session {
public:
    explicit Session(const RunOptions &options = {});

    Terminal &terminal()
    {
        return running;
    }
    const Workspace &files() const
    {
        return workspace;
    }

    // Sends keys when the program waits, as somebody does who looks at the screen first.
    void send(const std::string &keys);

    // Sends keys until the condition holds, for a window whose opening can't be seen.
    void sendUntil(const std::string &keys, const std::function<bool()> &condition);

    // Waits until the screen shows the text somewhere, or no longer.
    void see(const std::string &text);
    void seeNot(const std::string &text);

    // Waits until the screen is the one in screens/NAME.screen, cell by cell. With UPDATE_SCREENS
    // set in the environment, the file is written instead.
    void expectScreen(const std::string &name);

    // The screen when the program waits and all that it has written is drawn.
    std::string stillPicture();

    // Waits for the end and expects this exit status, or this signal.
    void expectExit(int status);
    void expectSignal(int signal);

    // What the program has traced, of one source or of all, and the calls that begin so.
    std::vector<std::string> trace(const std::string &source = "");
    std::vector<std::string> calls(const std::string &beginning = "");

private:
    void expectModesAsBefore();

    Workspace workspace;
    Terminal running;
};
