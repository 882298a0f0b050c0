// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/asking.h"

#include "base/tracing.h"
#include "common/answers.h"
#include "common/complaints.h"
#include "common/lock.h"
#include "common/problem.h"
#include "common/terms.h"
#include "host/calls.h"
#include "host/journal.h"
#include "host/operations.h"
#include "host/reading.h"

#include <algorithm>
#include <optional>

namespace host {
namespace {

constexpr char traceSource[] = "yathost";

struct Operation {
    std::string_view call; // of yat/ft.h
    const char *name;
    std::optional<Verb> verb{}; // nothing for what this server can't do
};

constexpr Operation operations[] = {
    {"ClearMTBF", "clear", Verb::clear},   {"InitBringUp", "start", Verb::start},
    {"InitBringDown", "stop", Verb::stop}, {"BurnFirmware", "firmware update"},
    {"SetMtbfType", "MTBF type"},
};
static_assert(std::ranges::all_of(operations, [](const Operation &each) {
    return yat::supportCode(each.call, YAT_CLASS_CPU_MODULE) != 0;
}));

const Operation *operationOf(const Device &device, int supportCode)
{
    const auto *const found = std::ranges::find(
        operations, yat::callAskedFor(classOf(device.kind), supportCode), &Operation::call);
    return found == std::end(operations) ? nullptr : found;
}

// What a call asks for.
struct Asked {
    const Device *device = nullptr;
    const Operation *operation = nullptr;
};

Asked askedFor(const yat_device *record, int supportCode)
{
    Asked asked{.device = listedDevice(record)};
    asked.operation = asked.device ? operationOf(*asked.device, supportCode) : nullptr;
    return asked;
}

// Of what nobody can look at, nothing is done.
Refusal refusalOf(const yat::Problem &problem)
{
    const std::string why = problem.what();
    return {YAT_DETAIL_STATE, {why, "サーバの状態を調べられません: " + why}};
}

// Reads the machine and looks at everything that could be broken.
Refusal checkAsked(Machine &machine, const Asked &asked)
try {
    if (!asked.device)
        return {YAT_DETAIL_NO_DEVICE, {"there is no such device", "この装置はありません"}};
    if (!asked.operation)
        return {YAT_DETAIL_UNSUPPORTED,
                {"devices of this class have no such operation",
                 "この種類の装置にこの操作はありません"}};
    if (!asked.operation->verb)
        return {YAT_DETAIL_UNSUPPORTED,
                {"this server has no such operation", "このサーバにこの操作はありません"}};
    machine = readMachine();
    return check(machine, *asked.device, *asked.operation->verb);
} catch (const yat::Problem &problem) {
    return refusalOf(problem);
}

Refusal lockOthersOut(std::optional<yat::Lock> &lock)
try {
    lock.emplace("host.operation.lock", false);
    return lock->isHeld ? Refusal{}
                        : Refusal{YAT_DETAIL_STATE,
                                  {"another operation is under way", "別の操作を実行中です"}};
} catch (const yat::Problem &problem) {
    return refusalOf(problem);
}

void note(const Asked &asked, const char *name, const char *result, const std::string &reason)
{
    const std::string device = asked.device ? asked.device->english : "an unknown device";
    if (!reason.empty())
        TRACE_ERROR("%s of %s %s: %s", name, device.c_str(), result, reason.c_str());
    writeDown({.device = device,
               .key = asked.device ? keyOf(*asked.device) : "",
               .operation = name,
               .result = result,
               .reason = reason});
}

void carryOut(const Machine &machine, const Device &device, Verb verb)
{
    const Package *package = packageOf(machine, device);
    if (verb == Verb::clear)
        setBaseline(device, countsOf(machine, device));
    else if (package)
        switchPackage(*package, verb == Verb::start);
    else
        switchSlot(*slotOf(machine, device), verb == Verb::start);
}

// The operation has been done; that nobody can read of it changes no more.
void noteDone(const Asked &asked, const char *name)
try {
    note(asked, name, "done", "");
} catch (const yat::Problem &problem) {
    TRACE_ERROR("%s", problem.what());
    yat::complain(problem.what());
}

int tryTo(const Asked &asked, const char *name)
{
    std::optional<yat::Lock> lock;
    const Refusal others = lockOthersOut(lock);
    Machine machine;
    Refusal refusal = checkAsked(machine, asked);
    if (refusal.detail == 0 && std::string_view(asked.operation->name) != name)
        refusal = {YAT_DETAIL_UNSUPPORTED,
                   {"the code belongs to another operation", "この操作の操作コードではありません"}};
    if (refusal.detail == 0)
        refusal = others;
    if (refusal.detail != 0) {
        note(asked, name, "refused", refusal.why.english);
        return 0;
    }
    note(asked, name, "begun", "");
    lookAnew();
    carryOut(machine, *asked.device, *asked.operation->verb);
    noteDone(asked, name);
    return 1;
}

// What can't be written down is not done.
int operate(yat_device *record, int code, const char *name)
{
    const Asked asked = askedFor(record, code - 1);
    try {
        return tryTo(asked, name);
    } catch (const std::exception &problem) {
        note(asked, name, "failed", problem.what());
        return 0;
    }
}

} // namespace

int ifSupport(yat_device *device, int code, int *detail)
{
    const Asked asked = askedFor(device, code);
    Machine machine;
    const Refusal refusal = checkAsked(machine, asked);
    if (detail)
        *detail = refusal.detail;
    if (refusal.detail == 0)
        return 1;
    note(asked, asked.operation ? asked.operation->name : "an unknown operation", "refused",
         refusal.why.english);
    return 0;
}

int clearMtbf(yat_device *device, int code)
{
    return operate(device, code, "clear");
}

int bringUp(yat_device *device, int code)
{
    return operate(device, code, "start");
}

int bringDown(yat_device *device, int code)
{
    return operate(device, code, "stop");
}

int setMtbfType(yat_device *device, int code, const char *)
{
    return operate(device, code, "MTBF type");
}

int burnFirmware(yat_device *device, int code, const char *)
{
    return operate(device, code, "firmware update");
}

int getSetting(int, int, int, int *)
{
    return 0;
}

int putSetting(int, int, int, int *)
{
    note({}, "setting", "refused", "this server has no settings");
    return 0;
}

int getReason(yat_device *device, int code, int detail, char *text)
{
    Machine machine;
    const Refusal refusal = checkAsked(machine, askedFor(device, code));
    if (refusal.detail == 0 || refusal.detail != detail)
        return 0;
    yat::putState(yat::isJapanese() ? refusal.why.japanese : refusal.why.english, text);
    return 1;
}

} // namespace host
