// Injections: what calls of yat/ft.h or yat/hwinfo.h are to answer instead of the truth.
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
    std::optional<int> result{}; // none: the call's real result
    int times = 1;               // 0: without end
    int delay = 0;               // milliseconds
    std::optional<std::string> text{};
};

// The calls that injections can be for, and what the text of an injection stands for there: what
// the call gives besides its result. Bytes are written as bytesOf reads them.
enum class InjectedText { none, text, number, bytes };
struct InjectableCall {
    std::string name;
    InjectedText text = InjectedText::none;
};
extern const std::vector<InjectableCall> injectableCalls;

void inject(Store &store, const Injection &injection);
void clearInjections(Store &store, const std::string &call);

// The pending ones, the oldest first.
std::vector<Injection> injections(Store &store);
std::vector<Injection> readInjections(Database &database);

// Waits for the delay of the injection for a call, and uses it up. Meanwhile other programs go on,
// except for the same call, which waits as well; removing the injection ends the wait at once. None
// when there is no injection for the call, which costs nothing as long as nobody writes.
std::optional<Injection> takeInjection(Store &store, std::string_view call);

// The same, and work that writes to the store, in one transaction.
void withInjection(Store &store, std::string_view call,
                   const std::function<void(const std::optional<Injection> &)> &work);

} // namespace sim
