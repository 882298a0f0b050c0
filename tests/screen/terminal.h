// SPDX-License-Identifier: GPL-2.0-or-later
// A terminal for a program under test: a pseudo-terminal whose output is drawn by a terminal
// emulator.
#pragma once

#include "support/process.h"

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <termios.h>
#include <vector>
#include <vterm.h>

struct TerminalOptions {
    std::vector<std::string> command{};
    std::map<std::string, std::string> environment{}; // the whole of it
    int rows = 24, columns = 80;
    std::string encoding = "UTF-8"; // of what the program writes
    bool echoes = true;             // what is typed, before the program begins and after its end
    bool ignoreHangup = false;      // as under nohup
    bool isJob = false;             // with a parent in the session, so that it can be stopped
};

class Terminal {
public:
    explicit Terminal(const TerminalOptions &options);
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    // Sends keys as the terminal's bytes.
    void send(const std::string &keys);

    // The same, and waits until the program has taken them, so that it gets what follows by itself.
    void sendPart(const std::string &part);

    // Draws what the program writes until the condition holds. False when the deadline passes or
    // the program ends before. In a test that has failed, the deadline has passed: or each further
    // step of a walk would wait for it anew.
    bool waitUntil(const std::function<bool()> &condition,
                   std::chrono::milliseconds limit = deadline);

    // Draws all that the program writes until it has taken what was sent and waits, or has ended:
    // what is seen on the screen may be seen before the program has done what comes after it.
    void waitUntilIdle();

    // The same for so long at most, until it waits for a key: neither for the rest of a sequence
    // nor for that of a paste. False when that was not enough.
    bool asksForKeyWithin(std::chrono::milliseconds limit);

    // Draws what the program writes until it writes nothing for so long.
    void settle(std::chrono::milliseconds quiet);

    // How many bytes of what was sent the program has not taken yet.
    int unread() const;

    void resize(int rows, int columns);
    void hangUp(); // closes the terminal
    bool isHungUp() const
    {
        return replica < 0;
    }

    void kill(int signal) const;

    // Where the lines that run are counted, ends a process so that it writes its counts first
    // (spy/screen.cc).
    void letCountsBeWritten(pid_t process);

    pid_t pid() const
    {
        return program;
    }

    bool isStopped() const;

    // Waits for the end of the program; its wait status, -1 after the deadline.
    int wait(std::chrono::milliseconds limit = deadline);

    // The screen as text: a line a row, blanks included. The second column of a wide character
    // is not in it.
    std::vector<std::string> rows() const;
    bool contains(const std::string &text) const;

    // The screen cell by cell. What stands in the second column of a wide character is empty.
    struct Spot {
        std::string text, style;
    };
    std::vector<std::vector<Spot>> spots() const;
    VTermPos cursor() const;

    // The screen with all that can be seen: the rows, their styles by letter, what the letters
    // mean, and the cursor.
    std::string picture() const;

    // All that the program has written.
    const std::string &output() const
    {
        return written;
    }

    bool inAlternateScreen() const
    {
        return alternateScreen;
    }
    bool cursorIsVisible() const
    {
        return cursorVisible;
    }

    // The terminal's modes as the program sees them.
    struct Modes {
        bool echo, canonical, signals, flowControl;
    };
    Modes modes() const;

    // All of them, as stty would set them.
    bool modesAreAsBefore() const;

private:
    bool pump(std::chrono::milliseconds limit);
    bool hasTakenWhatWasSent();
    void drawAll();
    static int propertySet(VTermProp property, VTermValue *value, void *self);

    int descriptor = -1;
    int replica = -1; // the program's side, kept open so that its modes can be seen afterwards
    pid_t child = -1;
    pid_t program = -1; // the child, or the child's job
    int waitStatus = -1;
    termios before{};            // the program
    long long readWhenTaken = 0; // bytes that the program has read when it has what was sent
    std::chrono::steady_clock::time_point takenAtLatest;
    bool ended = false;
    VTerm *emulator;
    VTermScreen *screen;
    void *decoder;
    std::string pending; // bytes that are no whole character yet
    std::string written;
    bool alternateScreen = false, cursorVisible = true;
};
