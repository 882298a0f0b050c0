// Injections: what calls of yat/ft.h or yat/hwinfo.h are to answer instead of what they do.
#pragma once

#include "sim/database.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

struct Store;

struct Injection {
    int64_t id = 0;
    std::string call{};
    std::optional<int> result{}; // none: what the call answers really
    int times = 1;               // 0: without end
    int delay = 0;               // milliseconds
    std::optional<std::string> text{};
};

// The calls that injections can be for, and what the text of an injection stands for there: what
// the call gives beside its result. Bytes are those of bytesOf.
enum class InjectedText { none, text, number, bytes };
struct InjectableCall {
    std::string name;
    InjectedText text = InjectedText::none;
};
extern const std::vector<InjectableCall> injectableCalls;

void inject(Store &store, const Injection &injection);
void clearInjections(Store &store, const std::string &call);

// Those that wait, the oldest first.
std::vector<Injection> injections(Store &store);
std::vector<Injection> readInjections(Database &database);

// Takes the injection for a call out when its delay is over. Until then other programs go on,
// calls of that name hang as well, and one that is taken back lets go at once. None when there is
// no injection for the call, which costs nothing as long as nobody writes.
std::optional<Injection> takeInjection(Store &store, std::string_view call);

// Lets work that writes happen together with that, all of it or nothing.
void withInjection(Store &store, std::string_view call,
                   const std::function<void(const std::optional<Injection> &)> &work);

} // namespace sim
