// SPDX-License-Identifier: GPL-2.0-or-later
// newt reads its keys with SLang_getkey, and the program's definition of that name comes before
// S-Lang's. What is done here, newt leaves no other place for.
//
// newt takes a sequence that it does not know for Esc, which leaves every form, and for what
// follows it. So a sequence is read whole first: newt gets the key that it stands for, or none.
//
// newt takes Ctrl-A for the Home key before it looks at hot keys, so a hot key of code 1 would
// never fire. A key beyond a byte passes its key map; cut to a byte again it is 1, which an entry
// takes for Home as well.
//
// And newt goes on reading a terminal that is gone.
#include "terminal/keys.h"

#include "terminal/ending.h"
#include "terminal/sequences.h"
#include "terminal/stopping.h"
#include "yat/export.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <newt.h>
#include <optional>
#include <poll.h>
#include <slang.h>
#include <string>
#include <unistd.h>
#include <utility>

namespace {

// What newt gets beyond a byte passes its key map, and is cut to a byte again behind it.
constexpr unsigned int beyondKeyMap = 0x100;
constexpr unsigned int ctrlA = 0x01;
constexpr unsigned int noKey = beyondKeyMap; // of code 0, which nothing answers to

bool inSequence; // S-Lang asks for a key itself to find out whether there is one
volatile sig_atomic_t sequenceIsCut;

using Milliseconds = std::chrono::milliseconds;

// What newt has seen in the terminal, a stop may have dropped since then, or a shell read, and newt
// waits for more than keys. So this does not wait. S-Lang has the terminal opened for itself alone
// unless it is not the controlling one; then there is no shell either.
unsigned int readKey()
{
    const unsigned int nothing = inSequence ? SLANG_GETKEY_ERROR : noKey;
    if (SLang_TT_Read_FD > STDERR_FILENO)
        fcntl(SLang_TT_Read_FD, F_SETFL, O_NONBLOCK);
    pollfd input{.fd = SLang_TT_Read_FD, .events = POLLIN, .revents = 0};
    if (poll(&input, 1, 0) == 0)
        return nothing;
    unsigned char key = 0;
    const ssize_t count = read(SLang_TT_Read_FD, &key, 1);
    if (count < 0 && errno == EAGAIN)
        return nothing;
    return count == 1 ? key : SLANG_GETKEY_ERROR;
}

unsigned int getKeyOfSlang()
{
    using GetKey = unsigned int();
    static GetKey *const original = reinterpret_cast<GetKey *>(dlsym(RTLD_NEXT, "SLang_getkey"));
    const HeldStops held;
    const unsigned int key = SLang_Input_Buffer_Len > 0 ? original() : readKey();
    if (!inSequence)
        sequenceIsCut = 0; // a stop that comes from here on cuts the one that this begins
    return key;
}

// How long to wait for the next byte of a sequence, and so how long a lone Esc takes to act:
// ESCDELAY as elsewhere, in milliseconds.
Milliseconds escapeDelay()
{
    constexpr int usual = 1000, longest = 10000;
    int delay = usual;
    if (const char *wanted = secure_getenv("ESCDELAY")) {
        int value = 0;
        const char *end = wanted + strlen(wanted);
        const auto [rest, error] = std::from_chars(wanted, end, value);
        if (error == std::errc() && rest == end && value >= 0)
            delay = std::min(value, longest);
    }
    return Milliseconds(delay);
}

bool isInputWithin(Milliseconds time)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + time;
    for (;;) { // signals end the waiting
        const auto left = std::chrono::ceil<Milliseconds>(deadline - Clock::now());
        const int wait = static_cast<int>(std::max<Milliseconds::rep>(left.count(), 0));
        if (inSequence && sequenceIsCut)
            return false;
        if (SLang_input_pending(-wait) > 0)
            return true;
        if (wait == 0)
            return false;
    }
}

// The next byte of a sequence; nothing when it does not come in time, or the terminal is gone.
std::optional<char> nextByte(Milliseconds time)
{
    const unsigned int byte = isInputWithin(time) ? getKeyOfSlang() : SLANG_GETKEY_ERROR;
    return byte == SLANG_GETKEY_ERROR ? std::nullopt : std::optional(static_cast<char>(byte));
}

// Drops what was pasted, up to its end. A paste that gets stuck is over as well.
void dropPaste(Milliseconds delay)
{
    std::string last;
    while (const auto byte = nextByte(std::max(delay, Milliseconds(1000)))) {
        last = last.substr(last.size() < pasteEnds.size() ? 0 : 1) + *byte;
        if (last == pasteEnds)
            return;
    }
}

// A sequence from its Esc on, whole unless the rest of it does not come in time; or the key that
// has broken it off.
std::string readSequence(Milliseconds delay)
{
    std::string sequence(1, escape);
    while (!isWhole(sequence)) {
        const auto byte = nextByte(delay);
        if (!byte)
            break;
        addByte(sequence, *byte);
    }
    return sequence;
}

// The keys as the terminal's description has them, which can be others than those that are common.
void learnKeys()
{
    struct Capability {
        const char *name;
        std::string_view key;
    };
    static constexpr Capability capabilities[] = {
        {"ku", "\x1b[A"},   {"kd", "\x1b[B"},   {"kr", "\x1b[C"},   {"kl", "\x1b[D"},
        {"kh", "\x1b[1~"},  {"@7", "\x1b[4~"},  {"kI", "\x1b[2~"},  {"kD", "\x1b[3~"},
        {"kP", "\x1b[5~"},  {"kN", "\x1b[6~"},  {"kB", "\x1b[Z"},   {"@8", "\r"},
        {"k1", "\x1bOP"},   {"k2", "\x1bOQ"},   {"k3", "\x1bOR"},   {"k4", "\x1bOS"},
        {"k5", "\x1b[15~"}, {"k6", "\x1b[17~"}, {"k7", "\x1b[18~"}, {"k8", "\x1b[19~"},
        {"k9", "\x1b[20~"}, {"k;", "\x1b[21~"}, {"F1", "\x1b[23~"}, {"F2", "\x1b[24~"},
    };
    for (const auto &[name, key] : capabilities)
        addKey(SLtt_tgetstr(const_cast<char *>(name)), key);
}

unsigned int keyOfByte(unsigned int byte)
{
    return byte == ctrlA ? beyondKeyMap | ctrlA : byte;
}

// Reads what follows an Esc. Returns the first byte of the key that newt gets for it.
unsigned int keyAfterEscape()
{
    static bool isLearnt = false;
    if (!std::exchange(isLearnt, true))
        learnKeys();
    const Milliseconds delay = escapeDelay();
    inSequence = true;
    const std::string sequence = readSequence(delay);
    if (sequence.ends_with(pasteBegins)) // an Esc may have been pressed just before it
        dropPaste(delay);
    inSequence = false;
    if (sequenceIsCut)
        return noKey;
    if (sequence[0] != escape)
        return keyOfByte(static_cast<unsigned char>(sequence[0]));
    if (sequence.find_first_not_of(escape) == sequence.npos)
        return beyondKeyMap | escape;
    const std::string_view key = keyOf(sequence);
    if (key.empty())
        return noKey;
    std::string rest(key.substr(1)); // S-Lang wants it writable
    SLang_ungetkey_string(reinterpret_cast<unsigned char *>(rest.data()),
                          static_cast<unsigned int>(rest.size()));
    return static_cast<unsigned char>(key[0]);
}

// Waits for a key or for the end of the terminal.
bool terminalIsGone()
{
    pollfd input{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
    return poll(&input, 1, -1) == 1 && (input.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

} // namespace

void cutSequence()
{
    sequenceIsCut = 1;
}

void dropKeys()
{
    constexpr int most = 100000; // or who sends without an end would hold the program up
    for (int i = 0; i < most && isInputWithin(Milliseconds(0)); ++i) {
        const unsigned int key = getKeyOfSlang();
        if (key == escape)
            keyAfterEscape();
        if (key == SLANG_GETKEY_ERROR)
            return;
    }
}

extern "C" YAT_API unsigned int SLang_getkey(void)
{
    constexpr int mostFailures = 100; // a read can fail for a signal, but not for ever
    for (int failures = 0; failures < mostFailures; ++failures) {
        const unsigned int key = getKeyOfSlang();
        if (inSequence)
            return key;
        if (key == escape)
            return keyAfterEscape();
        if (key != SLANG_GETKEY_ERROR)
            return keyOfByte(key);
        if (terminalIsGone())
            break;
    }
    endWithoutTerminal();
}

// newt drops the keys itself whenever it opens a window, one that comes back at another size or
// after a stop among them. The program does so where a window is new.
extern "C" YAT_API void newtFlushInput(void) {}
