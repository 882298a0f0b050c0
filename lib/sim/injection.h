// SPDX-License-Identifier: GPL-2.0-or-later
// Injections: what calls of yat/ft.h or yat/hwinfo.h are to answer instead of the truth.
#pragma once

#include "sim/store.h"

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace sim {

// What the text of an injection stands for: what the call gives besides its result.
enum class InjectedText { none, text, number, bytes };

// The results by which a call says that it failed.
enum class FailureResult { zero, minusOne, allButZero };

struct InjectableCall {
    InjectedText value;
    std::string_view word;
    FailureResult failure = FailureResult::zero;

    constexpr bool hasFailed(int result) const
    {
        return failure == FailureResult::minusOne
                   ? result == -1
                   : (result == 0) == (failure == FailureResult::zero);
    }
    constexpr int failed() const
    {
        return failure == FailureResult::zero ? 0 : -1;
    }
};

inline constexpr InjectableCall injectableCalls[] = {
    {InjectedText::none, "ft_FunctionInit"},
    {InjectedText::none, "ft_FunctionRelease"},
    {InjectedText::none, "CreateTreeViewData"},
    {InjectedText::none, "FreeTreeViewData"},
    {InjectedText::none, "call_yat_is_ft", FailureResult::minusOne},
    {InjectedText::text, "yat_ft_get_property", FailureResult::allButZero},
    {InjectedText::number, "Linux_ConvertDataToInt", FailureResult::minusOne},
    {InjectedText::text, "StatusChange", FailureResult::minusOne},
    {InjectedText::number, "IfSupport"},
    {InjectedText::none, nameOf(Verb::clearMtbf)},
    {InjectedText::none, nameOf(Verb::bringUp)},
    {InjectedText::none, nameOf(Verb::bringDown)},
    {InjectedText::none, nameOf(Verb::setMtbfType)},
    {InjectedText::none, nameOf(Verb::burnFirmware)},
    {InjectedText::number, "GetBBDriverSettings"},
    {InjectedText::none, nameOf(Verb::putSetting)},
    {InjectedText::none, "GetDeviceFacts"},
    {InjectedText::text, "GetSupportReason"},
    {InjectedText::bytes, "YATGetDeviceID"},
};

// The name of one of these calls; any other text does not compile.
struct CallName {
    size_t at = 0;

    consteval CallName(const char *name)
    {
        while (injectableCalls[at].word != name)
            ++at;
    }
    constexpr const InjectableCall &call() const
    {
        return injectableCalls[at];
    }
};

// The bytes in a text: a list of 1 to 16 numbers from 0 to 255, with blanks or commas between them,
// 0x before hexadecimal ones; nothing for another text.
std::optional<std::vector<uint8_t>> bytesOf(std::string_view text);

// Whether there was an injection for a call when the file was last looked at.
bool isKnown(const Store &store, CallName call);

// Waits for the delay of the injection for a call, and uses it up. Meanwhile other programs go on,
// except for the same call, which waits as well; removing the injection ends the wait at once. None
// when there is no injection for the call.
std::optional<Injection> takeInjection(Store &store, CallName call);

// The same for an operation, and work that writes to the store, in one transaction.
void withInjection(Store &store, std::string_view call,
                   const std::function<void(const std::optional<Injection> &)> &work);

} // namespace sim
