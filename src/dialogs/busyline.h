// SPDX-License-Identifier: GPL-2.0-or-later
// The help line while the user waits for the machine.
#pragma once

#include <chrono>
#include <string>

// While one lives, the machine is asked for something or does something. Where that takes long, the
// help line says what it is. Whatever is typed meanwhile is dropped. Nothing may be drawn but
// windows; one that is open interrupts the waiting. No other may live in it. In dump mode nothing
// happens at all.
class Waiting {
public:
    // Names a device, and what is done to it unless that is empty.
    explicit Waiting(const std::string &device, const std::string &action = "");
    ~Waiting();
    Waiting(const Waiting &) = delete;
    Waiting &operator=(const Waiting &) = delete;

    // Has the line shown at once.
    void show();

private:
    friend void interruptWaiting();
    friend void resumeWaiting();
    void begin(std::chrono::milliseconds time);
    void draw();
    void end();

    std::string line;
    std::string screen, showing, hiding; // bytes for the terminal
    bool isActive = false;
};

// Around a window.
void interruptWaiting();
void resumeWaiting();
