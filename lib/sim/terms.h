// SPDX-License-Identifier: GPL-2.0-or-later
// What there can be in a machine, and the word for it: all such tables are here, for
// descriptions, for the state and its journal, for yatsim and for the windows of the product.
#pragma once

#include "common/terms.h"
#include "yat/device.h"
#include "yat/facts.h"
#include "yat/ft.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace sim {

using Time = int64_t; // microseconds; of a moment: since 1970 in UTC

constexpr Time second = 1'000'000;
constexpr Time hour = 3600 * second;
constexpr Time lastMoment = 253'402'300'799 * second; // the end of the year 9999

// ---- Limits

constexpr int mostDevices = 9999;   // of a class; the numbers of boards end there as well
constexpr size_t failuresKept = 64; // of a device
constexpr int mostFailures = 1'000'000'000;
constexpr int longestMtbf = 876000;     // hours
constexpr size_t longestVersion = 1000; // bytes; a BIOS status has no more either
constexpr size_t longestResponse = 16;  // bytes, of the BMC

// ---- Values

using PathIdentifier = std::array<uint8_t, 8>;

// How long a module takes.
struct Timing {
    Time start = 20 * second;
    Time synchronise = 40 * second;
    Time stop = 10 * second;
    Time firmwareUpdate = 60 * second;
    bool operator==(const Timing &) const = default;
};

// The states of a module: those that last, then those that end by themselves.
enum class State {
    empty,
    stopped,
    simplex,
    duplex,
    broken,
    starting,
    synchronising, // started, and taking over the memory of the module that runs
    stopping,
    firmwareUpdate,
};

constexpr bool endsByItself(State state)
{
    return state > State::broken;
}

constexpr bool isRunning(State state)
{
    return state == State::simplex || state == State::duplex;
}

// What the BIOS status says.
enum class Bios {
    described, // the text of the description, or one that was set
    copied,    // from the running module
    burnt,     // from the data file
    invalid,   // an update was interrupted
};

enum class Verb {
    // by the calls of yat/ft.h
    clearMtbf,
    bringUp,
    bringDown,
    setMtbfType,
    burnFirmware,
    putSetting,
    // from outside
    fail,
    repair,
    pull,
    insert,
    set,
};

constexpr bool isCall(Verb verb)
{
    return verb <= Verb::putSetting;
}

// Why the machine declines an operation.
enum class Refusal {
    none,
    unknownDevice,
    wrongCode,   // does not belong to the operation and the device's class
    unsupported, // by the machine type
    wrongArgument,
    notInstalled,
    installed,
    notStopped,
    notRunning,
    lastRunning, // of its pair
    broken,
    notBroken,
    biosInvalid,
    noBiosSource,
};

// ---- Tables

template <class Value> struct Term {
    Value value;
    std::string_view word;
};

using yat::machineTypes;
using yat::mtbfTypes;

using yat::alwaysRestart;
using yat::restartAboveThreshold;
using yat::stayDown;

struct StateTerm {
    State value;
    std::string_view word, english, japanese; // the windows show at most 19 columns, and progress
    int told;                                 // YAT_DEVICE_...
};

inline constexpr StateTerm stateTerms[] = {
    {State::empty, "empty", "Not installed", "未搭載", YAT_DEVICE_NOT_INSTALLED},
    {State::stopped, "stopped", "Stopped", "停止中", YAT_DEVICE_STOPPED},
    {State::simplex, "simplex", "Running, simplex", "稼働中(単独)", YAT_DEVICE_RUNNING},
    {State::duplex, "duplex", "Running, duplex", "稼働中(二重化)", YAT_DEVICE_RUNNING},
    {State::broken, "broken", "Broken", "故障", YAT_DEVICE_BROKEN},
    {State::starting, "starting", "Starting", "起動中", YAT_DEVICE_STARTING},
    {State::synchronising, "synchronising", "Synchronising", "同期中", YAT_DEVICE_SYNCHRONISING},
    {State::stopping, "stopping", "Stopping", "停止処理中", YAT_DEVICE_STOPPING},
    {State::firmwareUpdate, "firmware update", "Updating BIOS", "BIOS更新中", YAT_DEVICE_UPDATING},
};

// The states that a description can give.
inline constexpr std::span<const StateTerm> states = stateTerms;
inline constexpr std::span<const StateTerm> lastingStates = states.first<5>();
static_assert(!endsByItself(lastingStates.back().value) && endsByItself(states[5].value));

struct BiosTerm {
    Bios value;
    std::string_view english, japanese; // the status, unless it is the description's
};

inline constexpr BiosTerm biosTerms[] = {
    {Bios::described, "", ""},
    {Bios::copied, "Valid, copied from the running module", "正常(稼働中のモジュールからコピー)"},
    {Bios::burnt, "Valid, updated from the data file", "正常(データファイルから更新)"},
    {Bios::invalid, "Invalid, an update was interrupted", "無効(更新が中断されました)"},
};

// In a description: where an updated BIOS came from.
inline constexpr Term<Bios> biosSources[] = {
    {Bios::copied, "running module"},
    {Bios::burnt, "data file"},
};

// The states of an adapter, in a description; one that is whole runs when its module does.
inline constexpr Term<State> adapterStates[] = {{State::duplex, "running"},
                                                {State::broken, "broken"}};

struct VerbTerm {
    Verb value;
    std::string_view word;    // of a call as yat/ft.h has it, of others as yatsim has it
    std::string_view support; // in [supports] of a description
};

inline constexpr VerbTerm verbs[] = {
    {Verb::clearMtbf, "ClearMTBF", "clear MTBF"},
    {Verb::bringUp, "InitBringUp", "bring up"},
    {Verb::bringDown, "InitBringDown", "bring down"},
    {Verb::burnFirmware, "BurnFirmware", "burn firmware"},
    {Verb::setMtbfType, "SetMtbfType", "set MTBF type"},
    {Verb::putSetting, "PutBBDriverSettings", ""},
    {Verb::fail, "fail", ""},
    {Verb::repair, "repair", ""},
    {Verb::pull, "pull", ""},
    {Verb::insert, "insert", ""},
    {Verb::set, "set", ""},
};

using yat::DeviceClass;

inline constexpr std::span<const DeviceClass> deviceClasses = yat::deviceClasses;
inline constexpr std::span<const DeviceClass> adapterClasses = deviceClasses.last<2>();

struct RefusalTerm {
    Refusal value;
    std::string_view word, japanese; // sentences: the first one also for the journal and yatsim
    int detail = YAT_DETAIL_STATE;   // of IfSupport
};

inline constexpr RefusalTerm refusals[] = {
    {Refusal::none, "", "", 0},
    {Refusal::unknownDevice, "the machine has no such device", "この装置はありません",
     YAT_DETAIL_NO_DEVICE},
    {Refusal::wrongCode, "the code does not match the operation and the device",
     "操作コードが操作と装置に合っていません", YAT_DETAIL_UNSUPPORTED},
    {Refusal::unsupported, "this operation is not supported on this device",
     "この装置ではこの操作を行えません", YAT_DETAIL_UNSUPPORTED},
    {Refusal::wrongArgument, "wrong value", "値が正しくありません"},
    {Refusal::notInstalled, "the module is not installed", "モジュールが搭載されていません",
     YAT_DETAIL_NOT_INSTALLED},
    {Refusal::installed, "the module is already installed", "モジュールはすでに搭載されています"},
    {Refusal::notStopped, "the module is not stopped", "モジュールが停止していません"},
    {Refusal::notRunning, "the device is not running", "装置が稼働していません"},
    {Refusal::lastRunning, "the module is the only one of its pair that is running",
     "ペアの中で稼働している唯一のモジュールです", YAT_DETAIL_LAST_RUNNING},
    {Refusal::broken, "the device is broken", "装置が故障しています"},
    {Refusal::notBroken, "the device is not broken", "装置は故障していません"},
    {Refusal::biosInvalid, "the module has no valid BIOS", "モジュールに有効なBIOSがありません",
     YAT_DETAIL_NO_BIOS},
    {Refusal::noBiosSource, "there is no BIOS to install: no running partner, or no data file",
     "書き込めるBIOSがありません。稼働中の相手モジュールまたはデータファイルが必要です",
     YAT_DETAIL_NO_BIOS},
};

// ---- Looking them up

// The row of a table that a value has, null when there is none.
template <class Table, class Value> constexpr auto rowOf(const Table &table, Value value)
{
    for (const auto &row : table)
        if (row.value == value)
            return &row;
    return decltype(&*std::begin(table))();
}

// The word for a value that has one.
template <class Table, class Value>
constexpr std::string_view wordOf(const Table &table, Value value)
{
    return rowOf(table, value)->word;
}

template <class Table> constexpr auto valueOf(const Table &table, std::string_view word)
{
    std::optional<decltype(std::begin(table)->value)> result;
    for (const auto &row : table)
        if (row.word == word)
            result = row.value;
    return result;
}

constexpr std::string_view nameOf(State state)
{
    return wordOf(states, state);
}

constexpr std::string_view nameOf(Verb verb)
{
    return wordOf(verbs, verb);
}

constexpr std::string_view nameOf(Refusal refusal)
{
    return wordOf(refusals, refusal);
}

// The support code of an operation on a class of devices, 0 when it has none.
constexpr int supportCode(Verb verb, int classCode)
{
    return yat::supportCode(nameOf(verb), classCode);
}

} // namespace sim
