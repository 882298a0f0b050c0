// SPDX-License-Identifier: GPL-2.0-or-later
#include "watcher.h"

#include "sim/terms.h"
#include "support.h"

#include <csignal>
#include <cstring>
#include <iterator>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using sim::State;

constexpr unsigned longestWatch = 120; // seconds

// ---- Messages between the two processes: texts with a zero at the end

bool tell(int line, const std::string &text)
{
    const char *bytes = text.c_str();
    for (size_t left = text.size() + 1; left > 0;) {
        const ssize_t sent = send(line, bytes, left, MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        bytes += sent;
        left -= static_cast<size_t>(sent);
    }
    return true;
}

std::optional<std::string> hear(int line)
{
    std::string text;
    for (char byte; read(line, &byte, 1) == 1; text += byte)
        if (byte == '\0')
            return text;
    return {};
}

// ---- What can be

bool isProgress(const std::string &text)
{
    int percent = -1, length = 0;
    return sscanf(text.c_str(), " %2d %%%n", &percent, &length) == 1 && percent >= 0
           && static_cast<size_t>(length) == text.size();
}

// The state that a text is for, with its progress where it has one.
std::optional<State> stateIn(const std::string &text)
{
    for (const sim::StateTerm &term : sim::states)
        for (const std::string_view word : {term.english, term.japanese})
            if (sim::endsByItself(term.value)
                    ? text.starts_with(word) && isProgress(text.substr(word.size()))
                    : text == word)
                return term.value;
    return {};
}

// Why there can't be a pair in these states; empty when there can. A machine need not have the
// second module.
std::string faultOfPair(const std::string &first, const std::string &second)
{
    const auto one = stateIn(first), other = stateIn(second);
    const auto count = [&](State state) {
        return (one == state ? 1 : 0) + (other == state ? 1 : 0);
    };
    if (!one || (!other && second != "(fails)"))
        return "a state that there is not";
    if (count(State::duplex) == 1)
        return "one module in duplex";
    if (count(State::simplex) == 2)
        return "both modules in simplex";
    if (count(State::synchronising) > 0 && count(State::simplex) == 0)
        return "nothing to synchronise with";
    return {};
}

// ---- Looking

struct Look {
    Sight sight{};
    std::string leftOut{}; // a call
    bool isWhole = true;   // no call has failed
};

bool makes(const Look &look, const char *call)
{
    return look.leftOut != call;
}

void expect(Look &look, bool isRight)
{
    look.isWhole = look.isWhole && isRight;
}

void lookAtTree(Look &look)
{
    yat_device *root = nullptr;
    expect(look, CreateTreeViewData(&root) == 1);
    if (!root)
        return;
    for (int i = 0; i < root->NextDevNum && makes(look, "IfSupport"); ++i) {
        int why = -1;
        const bool can = IfSupport(root->children[i], 1, &why) != 0;
        expect(look, can == (why == 0));
    }
    expect(look, root->NextDevNum > 0 && FreeTreeViewData(&root) == 1);
}

void lookAtSettings(Look &look)
{
    for (const int kind : {YAT_SETTING_AUTO_BURN, YAT_SETTING_AUTO_BRING_UP}) {
        int value = -1;
        expect(look, GetBBDriverSettings(kind, YAT_CLASS_GENERAL, 1, &value) != 0 && value >= 0);
    }
}

// Twice, as each module is asked on its own: the two states are those of one moment only when they
// stay the same.
void lookAtPair(Look &look, std::string (*stateOf)(int))
{
    const std::string first = stateOf(1), second = stateOf(2);
    expect(look, first != "(fails)");
    if (stateOf(1) != first || stateOf(2) != second || !look.sight.fault.empty())
        return;
    if (const std::string fault = faultOfPair(first, second); !fault.empty())
        look.sight.fault = fault + ": " + first + "; " + second;
}

void lookAtBios(Look &look)
{
    const std::string before = cpuState(1);
    const bool isRead = property(YAT_KIND_CPU_MODULE, 1, YAT_PROPERTY_BIOS_VERSION) != "(fails)";
    if (cpuState(1) == before)
        expect(look, isRead == (stateIn(before) != State::empty));
}

// Every shipped machine has what is looked at here.
void lookAtAll(Look &look)
{
    look.isWhole = true;
    if (makes(look, "CreateTreeViewData") && makes(look, "FreeTreeViewData"))
        lookAtTree(look);
    if (makes(look, "call_yat_is_ft"))
        expect(look, call_yat_is_ft(0) >= 0);
    if (makes(look, "GetBBDriverSettings"))
        lookAtSettings(look);
    if (makes(look, "StatusChange")) {
        lookAtPair(look, cpuState);
        lookAtPair(look, pciState);
    }
    if (makes(look, "StatusChange") && makes(look, "yat_ft_get_property"))
        lookAtBios(look);
    ++look.sight.looks;
    look.sight.failures += look.isWhole ? 0 : 1;
}

const char endOrder[] = "end", lookOrder[] = "look", leaveOutOrder[] = "leave out ";

[[noreturn]] void watch(int line)
{
    alarm(longestWatch);
    if (ft_FunctionInit() != 1)
        _exit(1);
    Look look;
    lookAtAll(look);
    bool isTold = tell(line, "");
    for (std::string order; isTold && order != endOrder;) {
        pollfd coming = {.fd = line, .events = POLLIN, .revents = 0};
        const bool isOrdered = poll(&coming, 1, 1) > 0;
        order = isOrdered ? hear(line).value_or(endOrder) : "";
        if (order.starts_with(leaveOutOrder))
            look.leftOut = order.substr(strlen(leaveOutOrder));
        lookAtAll(look);
        if (isOrdered && order != endOrder)
            isTold = tell(line, order == lookOrder ? view() : "");
    }
    const std::string numbers =
        std::to_string(look.sight.looks) + " " + std::to_string(look.sight.failures);
    isTold = tell(line, numbers + "\n" + look.sight.fault + "\n" + view());
    _exit(isTold && ft_FunctionRelease() == 1 ? 0 : 1);
}

} // namespace

std::string view()
{
    std::string result = "machine " + std::to_string(call_yat_is_ft(0)) + "\n";
    for (const int kind : {YAT_SETTING_AUTO_BURN, YAT_SETTING_AUTO_BRING_UP}) {
        int value = -1;
        GetBBDriverSettings(kind, YAT_CLASS_GENERAL, 1, &value);
        result += "setting " + std::to_string(value) + "\n";
    }
    for (int number = 1; number <= 3; ++number)
        result += "cpu " + cpuState(number) + ", "
                  + property(YAT_KIND_CPU_MODULE, number, YAT_PROPERTY_BIOS_VERSION) + ", "
                  + property(YAT_KIND_CPU_MODULE, number, YAT_PROPERTY_BIOS_STATUS) + "\npci "
                  + pciState(number) + "\n";
    for (int board = 1; board <= 5; ++board)
        result += "type " + property(YAT_KIND_BOARD, board, YAT_PROPERTY_MTBF_TYPE) + "\n";
    return result;
}

Watcher::Watcher()
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
        throw std::runtime_error("socketpair");
    child = fork();
    if (child == 0) {
        close(ends[0]); // or the end of this process would go unseen
        watch(ends[1]);
    }
    close(ends[1]);
    line = ends[0];
    const timeval limit{.tv_sec = deadline.count(), .tv_usec = 0};
    setsockopt(line, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    report();
}

Watcher::~Watcher()
{
    close(line);
    if (child > 0) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
}

void Watcher::order(const std::string &text) const
{
    if (!tell(line, text))
        throw std::runtime_error("the watching process takes no orders");
}

std::string Watcher::report() const
{
    const auto text = hear(line);
    if (!text)
        throw std::runtime_error("the watching process does not watch");
    return *text;
}

std::string Watcher::look() const
{
    order(lookOrder);
    return report();
}

void Watcher::leaveOut(const std::string &call) const
{
    order(leaveOutOrder + call);
    report();
}

std::optional<Sight> Watcher::finish()
{
    order(endOrder);
    std::istringstream text(report());
    Sight sight;
    text >> sight.looks >> sight.failures;
    text.ignore();
    std::getline(text, sight.fault);
    sight.view = std::string(std::istreambuf_iterator<char>(text), {});
    int status = -1;
    waitpid(child, &status, 0);
    child = -1;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? std::optional(sight) : std::nullopt;
}
