// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/injection.h"

#include "common/numbers.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace sim {
namespace {

std::optional<Injection> nextInjection(Store &store, std::string_view call)
{
    const auto &all = injections(store);
    const auto next = std::ranges::find(all, call, &Injection::call);
    return next == all.end() ? std::nullopt : std::optional(*next);
}

bool isNext(Store &store, const Injection &injection)
{
    const auto next = nextInjection(store, injection.call);
    return next && next->id == injection.id;
}

// Sleeps for the delay of an injection, or until the injection is removed.
void hangFor(Store &store, const Injection &injection)
{
    constexpr int slice = 200; // milliseconds
    for (int left = injection.delay; left > 0 && isNext(store, injection); left -= slice)
        std::this_thread::sleep_for(std::chrono::milliseconds(std::min(left, slice)));
}

void takeOut(std::vector<Injection> &injections, int64_t id)
{
    const auto taken = std::ranges::find(injections, id, &Injection::id);
    if (taken->times == 1)
        injections.erase(taken);
    else if (taken->times > 1)
        --taken->times;
}

} // namespace

std::optional<std::vector<uint8_t>> bytesOf(std::string_view text)
{
    constexpr std::string_view blanks = " ,";
    std::vector<uint8_t> bytes;
    for (size_t at; (at = text.find_first_not_of(blanks)) != text.npos;) {
        text.remove_prefix(at);
        std::string_view word = text.substr(0, text.find_first_of(blanks));
        text.remove_prefix(word.size());
        const bool isHexadecimal = word.starts_with("0x");
        const auto byte = isHexadecimal ? yat::numberIn<uint8_t>(word.substr(2), 16)
                                        : yat::numberIn<uint8_t>(word, 10);
        if (!byte || bytes.size() == longestResponse)
            return {};
        bytes.push_back(*byte);
    }
    return bytes.empty() ? std::nullopt : std::optional(bytes);
}

// A program that is killed while it hangs has done nothing.
void withInjection(Store &store, std::string_view call,
                   const std::function<void(const std::optional<Injection> &)> &work)
{
    int64_t hungFor = 0; // the injection whose delay is over
    for (bool isOver = false; !isOver;) {
        std::optional<Injection> next;
        write(store, [&] {
            next = nextInjection(store, call);
            isOver = !next || next->delay == 0 || next->id == hungFor;
            if (isOver && next)
                takeOut(store.state.injections, next->id);
            if (isOver)
                work(next);
        });
        if (!isOver) {
            hangFor(store, *next);
            hungFor = next->id;
        }
    }
}

bool isKnown(const Store &store, CallName name)
{
    return std::ranges::count(store.state.injections, name.call().word, &Injection::call) > 0;
}

std::optional<Injection> takeInjection(Store &store, CallName name)
{
    const std::string_view call = name.call().word;
    std::optional<Injection> taken;
    if (nextInjection(store, call))
        withInjection(store, call, [&](const auto &injection) { taken = injection; });
    return taken;
}

} // namespace sim
