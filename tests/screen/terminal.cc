// SPDX-License-Identifier: GPL-2.0-or-later
#include "terminal.h"

#include "job.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iconv.h>
#include <iterator>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

// Bytes at the end that begin a UTF-8 character which goes on in what is yet to come; the emulator
// wants it whole.
size_t incompleteEnd(const std::string &text)
{
    for (size_t length = 1; length <= std::min<size_t>(text.size(), 3); ++length) {
        const unsigned char byte = static_cast<unsigned char>(text[text.size() - length]);
        if (byte >= 0xC0)
            return length < (byte < 0xE0 ? 2u : byte < 0xF0 ? 3u : 4u) ? length : 0;
        if (byte < 0x80)
            break;
    }
    return 0;
}

std::string encode(uint32_t character)
{
    std::string bytes;
    if (character < 0x80) {
        bytes += static_cast<char>(character);
    } else if (character < 0x800) {
        bytes += static_cast<char>(0xC0 | character >> 6);
        bytes += static_cast<char>(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        bytes += static_cast<char>(0xE0 | character >> 12);
        bytes += static_cast<char>(0x80 | (character >> 6 & 0x3F));
        bytes += static_cast<char>(0x80 | (character & 0x3F));
    } else {
        bytes += static_cast<char>(0xF0 | character >> 18);
        bytes += static_cast<char>(0x80 | (character >> 12 & 0x3F));
        bytes += static_cast<char>(0x80 | (character >> 6 & 0x3F));
        bytes += static_cast<char>(0x80 | (character & 0x3F));
    }
    return bytes;
}

std::string colourName(const VTermColor &colour)
{
    static const char *const names[] = {"black", "red",     "green", "brown",
                                        "blue",  "magenta", "cyan",  "lightgray"};
    if (VTERM_COLOR_IS_DEFAULT_FG(&colour) || VTERM_COLOR_IS_DEFAULT_BG(&colour))
        return "default";
    if (!VTERM_COLOR_IS_INDEXED(&colour))
        return "rgb";
    const int index = colour.indexed.idx;
    if (index < 8)
        return names[index];
    return index < 16 ? std::string("bright") + names[index - 8] : std::to_string(index);
}

std::string styleName(const VTermScreenCell &cell)
{
    std::string name = colourName(cell.fg) + " on " + colourName(cell.bg);
    if (cell.attrs.bold)
        name += " bold";
    if (cell.attrs.underline)
        name += " underline";
    if (cell.attrs.blink)
        name += " blink";
    if (cell.attrs.reverse)
        name += " reverse";
    return name;
}

} // namespace

Terminal::Terminal(const TerminalOptions &options)
{
    winsize size{};
    size.ws_row = static_cast<unsigned short>(options.rows);
    size.ws_col = static_cast<unsigned short>(options.columns);
    if (openpty(&descriptor, &replica, nullptr, nullptr, &size) != 0)
        throw std::runtime_error("openpty");
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    fcntl(replica, F_SETFD, FD_CLOEXEC);
    // Some that nobody would guess.
    tcgetattr(replica, &before);
    before.c_cc[VERASE] = '\b';
    before.c_cc[VKILL] = '\x18';
    before.c_cc[VWERASE] = '\x14';
    before.c_lflag &= ~static_cast<tcflag_t>(ECHOCTL);
    before.c_iflag |= IXANY;
    if (!options.echoes)
        before.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(replica, TCSANOW, &before);

    child = start(options.command, {.environment = options.environment, .prepare = [&] {
                                        setsid();
                                        ioctl(replica, TIOCSCTTY, 0);
                                        for (const int standard : {0, 1, 2})
                                            dup2(replica, standard);
                                        if (options.ignoreHangup)
                                            signal(SIGHUP, SIG_IGN);
                                        if (options.isJob)
                                            becomeJob();
                                    }});
    program = options.isJob ? jobOf(child) : child;

    // A terminal that does not tell its size has the usual one.
    emulator = vterm_new(options.rows ? options.rows : 24, options.columns ? options.columns : 80);
    vterm_set_utf8(emulator, 1);
    screen = vterm_obtain_screen(emulator);
    vterm_screen_enable_altscreen(screen, 1);
    static const VTermScreenCallbacks callbacks = [] {
        VTermScreenCallbacks set{};
        set.settermprop = propertySet;
        return set;
    }();
    vterm_screen_set_callbacks(screen, &callbacks, this);
    vterm_screen_reset(screen, 1);
    decoder = options.encoding == "UTF-8" ? nullptr : iconv_open("UTF-8", options.encoding.c_str());
}

void Terminal::letCountsBeWritten(pid_t process)
{
    if (!getenv("YAT_COUNTS"))
        return;
    ::kill(process, SIGTERM);
    ::kill(process, SIGCONT);
    waitUntil([process] { return stateOf(process) == 'Z' || stateOf(process) == '\0'; },
              std::chrono::seconds(2));
}

Terminal::~Terminal()
{
    if (!ended && child > 0)
        letCountsBeWritten(program);
    if (!ended && child > 0) {
        ::kill(program, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    for (const int open : {descriptor, replica})
        if (open >= 0)
            close(open);
    if (decoder)
        iconv_close(decoder);
    vterm_free(emulator);
}

int Terminal::propertySet(VTermProp property, VTermValue *value, void *self)
{
    auto *terminal = static_cast<Terminal *>(self);
    if (property == VTERM_PROP_ALTSCREEN)
        terminal->alternateScreen = value->boolean;
    if (property == VTERM_PROP_CURSORVISIBLE)
        terminal->cursorVisible = value->boolean;
    return 1;
}

// Bytes that the process has read so far, from wherever.
static long long bytesReadBy(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/io");
    std::string name;
    long long count = 0;
    file >> name >> count;
    return count;
}

void Terminal::send(const std::string &keys)
{
    readWhenTaken =
        std::max(readWhenTaken, bytesReadBy(program)) + static_cast<long long>(keys.size());
    takenAtLatest = Clock::now() + std::chrono::milliseconds(500);
    if (write(descriptor, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
        throw std::runtime_error("the terminal takes no keys");
}

// Draws what comes within the limit; false when nothing came.
bool Terminal::pump(std::chrono::milliseconds limit)
{
    if (descriptor < 0)
        return false;
    pollfd input{.fd = descriptor, .events = POLLIN, .revents = 0};
    if (poll(&input, 1, static_cast<int>(limit.count())) <= 0)
        return false;
    char bytes[65536];
    const ssize_t count = read(descriptor, bytes, sizeof bytes);
    if (count <= 0)
        return false;
    written.append(bytes, static_cast<size_t>(count));
    pending.append(bytes, static_cast<size_t>(count));
    if (!decoder) {
        const size_t whole = pending.size() - incompleteEnd(pending);
        vterm_input_write(emulator, pending.data(), whole);
        pending.erase(0, whole);
        return true;
    }
    std::string decoded(pending.size() * 4, '\0');
    char *in = pending.data(), *out = decoded.data();
    size_t inLeft = pending.size(), outLeft = decoded.size();
    while (inLeft > 0 && iconv(decoder, &in, &inLeft, &out, &outLeft) == static_cast<size_t>(-1)
           && errno == EILSEQ) {
        *out++ = '?';
        --outLeft;
        ++in;
        --inLeft;
    }
    vterm_input_write(emulator, decoded.data(), decoded.size() - outLeft);
    pending.erase(0, pending.size() - inLeft);
    return true;
}

bool Terminal::waitUntil(const std::function<bool()> &condition, std::chrono::milliseconds limit)
{
    const bool isInVain = testing::Test::HasFailure() && limit == deadline;
    const auto end = Clock::now() + (isInVain ? limit.zero() : limit);
    while (!condition()) {
        if (Clock::now() >= end)
            return false;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        const std::chrono::milliseconds none(0), step(20);
        if (!pump(std::clamp(left, none, step)) && !ended
            && waitpid(child, &waitStatus, WNOHANG) == child) {
            ended = true;
            while (pump(std::chrono::milliseconds(0)))
                continue;
            return condition();
        }
    }
    return true;
}

// The number of the system call that the process waits in and what it was given; nothing where it
// waits in none. The call alone would be told as well of a process that has been woken and has not
// gone on yet.
static std::vector<std::string> callOf(pid_t process)
{
    if (stateOf(process) != 'S')
        return {};
    std::ifstream file("/proc/" + std::to_string(process) + "/syscall");
    return {std::istream_iterator<std::string>(file), {}};
}

static bool isOneOf(const std::vector<std::string> &call, std::initializer_list<long> numbers)
{
    return !call.empty() && std::ranges::any_of(numbers, [&](long number) {
        return call[0] == std::to_string(number);
    });
}

// Whether the process waits for what others do: keys, a child, time that the spy holds it. It does
// not while it runs, nor while newt sleeps to show a pressed button, nor where the terminal has to
// take its output first.
static bool waitsForOthers(pid_t process)
{
    return isOneOf(callOf(process), {SYS_read, SYS_poll, SYS_ppoll, SYS_select, SYS_pselect6,
                                     SYS_wait4, SYS_waitid});
}

// newt waits for a key without a limit, and so does the program where it looks whether the terminal
// is still there; S-Lang ten seconds at a time. For the rest of a sequence, or of a paste, the
// program waits less.
static bool waitsForKey(pid_t process)
{
    constexpr size_t limitOfPoll = 3, limitOfSelect = 5; // among what the call was given
    constexpr time_t forKey = 10;
    const auto call = callOf(process);
    if (isOneOf(call, {SYS_poll}) && call.size() > limitOfPoll)
        return call[limitOfPoll] == "0xffffffff";
    if (!isOneOf(call, {SYS_pselect6}) || call.size() <= limitOfSelect)
        return false;
    if (call[limitOfSelect] == "0x0")
        return true;
    std::ifstream memory("/proc/" + std::to_string(process) + "/mem");
    timespec limit{};
    memory.seekg(static_cast<std::streamoff>(std::stoull(call[limitOfSelect], nullptr, 16)));
    return memory.read(reinterpret_cast<char *>(&limit), sizeof limit) && limit.tv_sec >= forKey;
}

bool Terminal::isStopped() const
{
    const char state = stateOf(program);
    return state == 'T' || state == 'Z' || state == '\0';
}

// The kernel hands on what was sent a little later. Keys may also be thrown away, or be for a child
// of the program.
bool Terminal::hasTakenWhatWasSent()
{
    if (Clock::now() >= takenAtLatest)
        readWhenTaken = 0;
    return unread() == 0 && bytesReadBy(program) >= readWhenTaken;
}

void Terminal::sendPart(const std::string &part)
{
    send(part);
    for (const auto end = Clock::now() + deadline; !hasTakenWhatWasSent();) {
        if (Clock::now() >= end)
            throw std::runtime_error("the program takes no keys");
        std::this_thread::yield();
    }
}

void Terminal::waitUntilIdle()
{
    waitUntil([this] { return hasTakenWhatWasSent() && (waitsForOthers(program) || isStopped()); });
    if (!ended && !isHungUp() && !isStopped())
        drawAll();
}

bool Terminal::asksForKeyWithin(std::chrono::milliseconds limit)
{
    if (!waitUntil([this] { return hasTakenWhatWasSent() && waitsForKey(program); }, limit))
        return false;
    drawAll();
    return true;
}

// Draws what the program, which waits, has written: all that comes before a mark behind it, of
// which the emulator takes no notice.
void Terminal::drawAll()
{
    static const std::string mark = "\x1b]drawn\a";
    while (pump(std::chrono::milliseconds(0)))
        continue;
    const size_t drawn = written.size();
    if (write(replica, mark.data(), mark.size()) != static_cast<ssize_t>(mark.size()))
        throw std::runtime_error("the terminal takes no output");
    size_t found = written.npos;
    waitUntil([&] { return (found = written.find(mark, drawn)) != written.npos; });
    if (found != written.npos)
        written.erase(found, mark.size());
}

int Terminal::unread() const
{
    int bytes = 0;
    return replica >= 0 && ioctl(replica, FIONREAD, &bytes) == 0 ? bytes : 0;
}

void Terminal::settle(std::chrono::milliseconds quiet)
{
    while (pump(quiet))
        continue;
}

void Terminal::resize(int rows, int columns)
{
    vterm_set_size(emulator, rows, columns);
    winsize size{};
    size.ws_row = static_cast<unsigned short>(rows);
    size.ws_col = static_cast<unsigned short>(columns);
    ioctl(descriptor, TIOCSWINSZ, &size);
}

void Terminal::hangUp()
{
    close(replica);
    close(descriptor);
    replica = descriptor = -1;
}

void Terminal::kill(int signal) const
{
    ::kill(program, signal);
}

int Terminal::wait(std::chrono::milliseconds limit)
{
    waitUntil([this] { return ended; }, limit);
    if (!ended && waitpid(child, &waitStatus, WNOHANG) == child)
        ended = true;
    while (pump(std::chrono::milliseconds(0)))
        continue;
    return ended ? waitStatus : -1;
}

std::vector<std::string> Terminal::rows() const
{
    int height, width;
    vterm_get_size(emulator, &height, &width);
    std::vector<std::string> result;
    for (int row = 0; row < height; ++row) {
        std::string &line = result.emplace_back();
        for (int column = 0; column < width;) {
            VTermScreenCell cell;
            vterm_screen_get_cell(screen, {.row = row, .col = column}, &cell);
            for (int i = 0; i < VTERM_MAX_CHARS_PER_CELL && cell.chars[i]; ++i)
                line += encode(cell.chars[i]);
            if (!cell.chars[0])
                line += ' ';
            column += std::max<int>(cell.width, 1);
        }
    }
    return result;
}

std::vector<std::vector<Terminal::Spot>> Terminal::spots() const
{
    int height, width;
    vterm_get_size(emulator, &height, &width);
    std::vector<std::vector<Spot>> result(static_cast<size_t>(height));
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width;) {
            VTermScreenCell cell;
            vterm_screen_get_cell(screen, {.row = row, .col = column}, &cell);
            Spot spot{cell.chars[0] ? "" : " ", styleName(cell)};
            for (int i = 0; i < VTERM_MAX_CHARS_PER_CELL && cell.chars[i]; ++i)
                spot.text += encode(cell.chars[i]);
            const int columns = std::max<int>(cell.width, 1);
            std::vector<Spot> &line = result[static_cast<size_t>(row)];
            line.push_back(spot);
            line.resize(line.size() + static_cast<size_t>(columns - 1), {"", spot.style});
            column += columns;
        }
    return result;
}

VTermPos Terminal::cursor() const
{
    VTermPos position;
    vterm_state_get_cursorpos(vterm_obtain_state(emulator), &position);
    return position;
}

bool Terminal::contains(const std::string &text) const
{
    return std::ranges::any_of(
        rows(), [&](const std::string &row) { return row.find(text) != std::string::npos; });
}

std::string Terminal::picture() const
{
    int height, width;
    vterm_get_size(emulator, &height, &width);
    const VTermPos position = cursor();
    std::string text = std::to_string(width) + "x" + std::to_string(height) + "\n";
    for (const std::string &row : rows())
        text += "|" + row + "|\n";

    std::map<std::string, char> letters;
    std::string legend;
    for (int row = 0; row < height; ++row) {
        text += "|";
        int column = 0;
        while (column < width) {
            VTermScreenCell cell;
            vterm_screen_get_cell(screen, {.row = row, .col = column}, &cell);
            const std::string name = styleName(cell);
            const auto [letter, isNew] =
                letters.emplace(name, static_cast<char>('a' + letters.size()));
            if (isNew)
                legend += std::string(1, letter->second) + " " + name + "\n";
            // The second column of a wide character has no style of its own.
            text.append(static_cast<size_t>(cell.width), letter->second);
            column += cell.width;
        }
        text += "|\n";
    }
    return text + legend
           + (cursorVisible ? "cursor " + std::to_string(position.row) + ","
                                  + std::to_string(position.col) + "\n"
                            : "no cursor\n");
}

Terminal::Modes Terminal::modes() const
{
    termios current{};
    tcgetattr(replica, &current);
    return {.echo = (current.c_lflag & ECHO) != 0,
            .canonical = (current.c_lflag & ICANON) != 0,
            .signals = (current.c_lflag & ISIG) != 0,
            .flowControl = (current.c_iflag & IXON) != 0};
}

bool Terminal::modesAreAsBefore() const
{
    termios now{};
    return tcgetattr(replica, &now) == 0 && (fcntl(replica, F_GETFL) & O_NONBLOCK) == 0
           && now.c_iflag == before.c_iflag && now.c_oflag == before.c_oflag
           && now.c_cflag == before.c_cflag && now.c_lflag == before.c_lflag
           && std::ranges::equal(now.c_cc, before.c_cc);
}
