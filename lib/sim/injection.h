// SPDX-License-Identifier: GPL-2.0-or-later
// Injections: what calls of yat/ft.h or yat/hwinfo.h are to answer instead of the truth.
#pragma once

#include "sim/store.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

// The calls that injections can be for, and what the text of an injection stands for there: what
// the call gives besides its result.
enum class InjectedText { none, text, number, bytes };
inline constexpr Term<InjectedText> injectableCalls[] = {
    {InjectedText::none, "ft_FunctionInit"},
    {InjectedText::none, "ft_FunctionRelease"},
    {InjectedText::none, "CreateTreeViewData"},
    {InjectedText::none, "FreeTreeViewData"},
    {InjectedText::none, "call_yat_is_ft"},
    {InjectedText::text, "yat_ft_get_property"},
    {InjectedText::number, "Linux_ConvertDataToInt"},
    {InjectedText::text, "StatusChange"},
    {InjectedText::number, "IfSupport"},
    {InjectedText::none, "ClearMTBF"},
    {InjectedText::none, "InitBringUp"},
    {InjectedText::none, "InitBringDown"},
    {InjectedText::none, "SetMtbfType"},
    {InjectedText::none, "BurnFirmware"},
    {InjectedText::number, "GetBBDriverSettings"},
    {InjectedText::none, "PutBBDriverSettings"},
    {InjectedText::none, "GetDeviceFacts"},
    {InjectedText::text, "GetSupportReason"},
    {InjectedText::bytes, "YATGetDeviceID"},
};

// The bytes in a text: a list of 1 to 16 numbers from 0 to 255, with blanks or commas between them,
// 0x before hexadecimal ones; nothing for another text.
std::optional<std::vector<uint8_t>> bytesOf(std::string_view text);

void inject(Store &store, Injection injection);
void clearInjections(Store &store, const std::string &call);

// Waits for the delay of the injection for a call, and uses it up. Meanwhile other programs go on,
// except for the same call, which waits as well; removing the injection ends the wait at once. None
// when there is no injection for the call.
std::optional<Injection> takeInjection(Store &store, std::string_view call);

// The same, and work that writes to the store, in one transaction.
void withInjection(Store &store, std::string_view call,
                   const std::function<void(const std::optional<Injection> &)> &work);

} // namespace sim
