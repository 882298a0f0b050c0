// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/operations.h"

#include "common/configuration.h"
#include "common/paths.h"
#include "common/problem.h"
#include "host/functions.h"
#include "host/memory.h"
#include "host/processors.h"
#include "host/sysfs.h"
#include "host/usage.h"
#include "yat/ft.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <thread>
#include <unistd.h>

namespace host {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds betweenLooks{100};

std::string nameOf(const Processor &processor)
{
    return "processor " + std::to_string(processor.number);
}

// ---- What is looked at before

const Reason alreadyStopped = {"it is already stopped", "すでに停止しています"};

Refusal checkRights(const std::vector<std::string> &files)
{
    if (!yat::areOperationsAllowed())
        return {YAT_DETAIL_NOT_ALLOWED,
                {"yatkit.toml does not allow operations", "yatkit.tomlが操作を許可していません"}};
    for (const std::string &file : files)
        if (access(file.c_str(), W_OK) != 0)
            return {
                YAT_DETAIL_NO_RIGHTS,
                {"this user can't write to " + file, "このユーザは" + file + "に書き込めません"}};
    try {
        yat::stateDirectory();
    } catch (const yat::Problem &problem) {
        const std::string why = problem.what();
        return {YAT_DETAIL_NO_RIGHTS,
                {"the journal can't be written: " + why, "記録を書き込めません: " + why}};
    }
    return {};
}

Refusal checkStop(const Machine &machine, const Package &package)
{
    if (stateOf(package) != State::running)
        return {YAT_DETAIL_STATE, alreadyStopped};
    if (std::ranges::count(machine.packages, State::running,
                           [](const Package &each) { return stateOf(each); })
        == 1)
        return {YAT_DETAIL_LAST_RUNNING,
                {"it is the last one running", "稼働している最後のモジュールです"}};
    for (const Processor &processor : package.processors)
        if (processor.isOnline && !processor.canGoOffline)
            return {YAT_DETAIL_UNSUPPORTED,
                    {"the kernel does not take " + nameOf(processor) + " offline",
                     "プロセッサ" + std::to_string(processor.number)
                         + "はカーネルが使用しているため停止できません"}};
    return {};
}

Refusal checkStart(const Package &package)
{
    return onlineOf(package) == static_cast<int>(package.processors.size())
               ? Refusal{YAT_DETAIL_STATE,
                         {"all its processors are already running", "すでにすべて稼働しています"}}
               : Refusal{};
}

Refusal checkPackage(const Machine &machine, const Package &package, Verb verb)
{
    const Refusal refusal = verb == Verb::stop ? checkStop(machine, package) : checkStart(package);
    if (refusal.detail != 0)
        return refusal;
    std::vector<std::string> files;
    for (const Processor &processor : package.processors)
        if (processor.isOnline == (verb == Verb::stop))
            files.push_back(onlineFile(processor.number));
    return checkRights(files);
}

Refusal checkSlot(const Machine &machine, const Slot &slot, Verb verb)
{
    const State state = stateOf(machine, slot);
    if (state == State::empty)
        return {YAT_DETAIL_NOT_INSTALLED, {"the slot is empty", "カードが搭載されていません"}};
    if (state != (verb == Verb::stop ? State::running : State::stopped))
        return {YAT_DETAIL_STATE,
                state == State::unknown ? Reason{"its state can't be read", "状態を取得できません"}
                : verb == Verb::stop ? alreadyStopped
                                     : Reason{"it is already running", "すでに稼働しています"}};
    const Refusal refusal = checkRights({slot.directory + "/power"});
    if (refusal.detail != 0 || verb == Verb::start)
        return refusal;
    if (functionsBelow(machine, slot).empty())
        return {
            YAT_DETAIL_STATE,
            {"the kernel lists no device in the slot, so it can't be checked whether it is in use",
             "カーネルがこのスロットの装置を示さないため、使用中かどうか分かりません"}};
    const MaybeReason use = useOf(machine, slot);
    return use ? Refusal{YAT_DETAIL_IN_USE, *use} : Refusal{};
}

Refusal checkClear(const Machine &machine, const Device &device)
{
    if (!countsOf(machine, device).isKnown)
        return {
            YAT_DETAIL_UNSUPPORTED,
            {"the server keeps no error count for it", "この装置のエラー数は記録されていません"}};
    return checkRights({});
}

// ---- What is done

// Returns why a processor does not do it; empty when it did.
std::string setProcessor(const Processor &processor, bool online, Clock::time_point deadline)
{
    const std::string why =
        writeAttribute(onlineFile(processor.number), online ? "1" : "0",
                       std::chrono::duration_cast<milliseconds>(deadline - Clock::now()));
    const bool follows = why.empty() && isOnline(readOnline(), processor.number) == online;
    return why.empty() && !follows ? "the kernel accepted the request, but nothing changed" : why;
}

std::string describe(const Package &package)
{
    const Online online = readOnline();
    return std::to_string(std::ranges::count_if(
               package.processors,
               [&](const Processor &each) { return isOnline(online, each.number); }))
           + " of " + std::to_string(package.processors.size()) + " are online";
}

// Returns what is to be said of those that can't be.
std::string setBack(const std::vector<Processor> &processors, bool online, milliseconds limit)
{
    std::string result;
    for (const Processor &processor : processors)
        if (const std::string why = setProcessor(processor, online, Clock::now() + limit);
            !why.empty())
            result += "; " + nameOf(processor) + " can't be set back: " + why;
    return result;
}

// Where a slot is on its way.
struct Progress {
    std::optional<bool> isOn;
    int functions = 0, withoutDriver = 0;
};

Progress progressOf(const std::string &label)
{
    Machine machine;
    machine.slots = readSlots();
    machine.functions = readFunctions(machine.slots);
    Progress progress;
    const auto slot = std::ranges::find(machine.slots, label, &Slot::label);
    if (slot == machine.slots.end())
        return progress;
    progress.isOn = slot->isOn;
    for (const Function *function : functionsBelow(machine, *slot)) {
        ++progress.functions;
        progress.withoutDriver += function->driver.empty() ? 1 : 0;
    }
    return progress;
}

std::string describe(const Progress &progress)
{
    if (!progress.isOn)
        return "the power state can't be read";
    return std::string("power is ") + (*progress.isOn ? "1" : "0")
           + "; functions present: " + std::to_string(progress.functions)
           + ", without a driver: " + std::to_string(progress.withoutDriver);
}

} // namespace

Refusal check(const Machine &machine, const Device &device, Verb verb)
{
    if (verb == Verb::clear)
        return checkClear(machine, device);
    if (const Package *package = packageOf(machine, device))
        return checkPackage(machine, *package, verb);
    if (const Slot *slot = slotOf(machine, device))
        return checkSlot(machine, *slot, verb);
    if (device.kind == Kind::package || device.kind == Kind::slot)
        return {YAT_DETAIL_NO_DEVICE, {"it is no longer there", "装置がなくなりました"}};
    return {YAT_DETAIL_UNSUPPORTED, {"it has no power switch", "電源スイッチがありません"}};
}

void switchPackage(const Package &package, bool on, milliseconds limit)
{
    std::vector<Processor> changing, done;
    std::ranges::copy_if(package.processors, std::back_inserter(changing),
                         [&](const Processor &each) { return each.isOnline != on; });
    std::ranges::reverse(changing);
    const auto deadline = Clock::now() + limit;
    const bool siblingsAreOff = on && areSiblingsOff();
    std::string refused;
    bool maySkip = false; // the last one that refused
    for (const Processor &processor : changing) {
        const std::string why = setProcessor(processor, on, deadline);
        if (why.empty()) {
            done.push_back(processor);
            continue;
        }
        refused = nameOf(processor) + " can't be switched: " + why;
        maySkip = siblingsAreOff && why == yat::reason(EPERM);
        if (!maySkip)
            break;
    }
    if (refused.empty() || (maySkip && !done.empty()))
        return;
    refused += setBack(done, !on, limit);
    throw yat::Problem(refused + "; " + describe(package));
}

void switchSlot(const Slot &slot, bool on, milliseconds limit, milliseconds forDrivers)
{
    const auto deadline = Clock::now() + limit;
    const std::string file = slot.directory + "/power";
    if (const std::string why = writeAttribute(file, on ? "1" : "0", limit); !why.empty())
        throw yat::Problem("the slot can't be switched: " + why + "; "
                           + describe(progressOf(slot.label)));
    std::optional<Clock::time_point> complete; // but for drivers
    for (;;) {
        const Progress progress = progressOf(slot.label);
        const auto now = Clock::now();
        const bool isComplete = progress.isOn == on && (progress.functions > 0) == on;
        complete = isComplete ? complete.value_or(now) : decltype(complete)();
        if (isComplete && (progress.withoutDriver == 0 || now - *complete >= forDrivers))
            return;
        if (now >= deadline)
            throw yat::Problem("the slot was not ready in time: " + describe(progress));
        std::this_thread::sleep_for(betweenLooks);
    }
}

void setBaseline(const Device &device, const Counts &counts)
{
    changeMemory([&](Memory &memory) { memory.baselines[keyOf(device)] = counts; });
}

} // namespace host
