// SPDX-License-Identifier: GPL-2.0-or-later
#include "replay.h"

#include "contradiction.h"
#include "sim/course.h"
#include "sim/description.h"
#include "sim/words.h"
#include "yatsim/journal.h"
#include "yatsim/steering.h"

#include <algorithm>
#include <sstream>

using namespace sim;

namespace {

bool isOperation(const std::string &call)
{
    const auto verb = valueOf(verbs, call);
    return verb && isCall(*verb);
}

// The argument as the journal has it: "CALL RESULT --times N" or "CALL off".
void followInjection(Replay &replay, const JournalRow &row)
{
    std::istringstream words(row.argument);
    std::string result, option;
    Injection injection;
    words >> injection.call >> result >> option >> injection.times;
    if (!isOperation(injection.call))
        return;
    if (result == "off") {
        std::erase_if(replay.injections,
                      [&](const Injection &each) { return each.call == injection.call; });
        return;
    }
    if (result != "real")
        injection.result = std::stoi(result);
    replay.injections.push_back(injection);
}

std::optional<Injection> takeInjection(Replay &replay, const std::string &call)
{
    const auto found = std::ranges::find(replay.injections, call, &Injection::call);
    if (found == replay.injections.end())
        return {};
    const Injection injection = *found;
    if (found->times == 1)
        replay.injections.erase(found);
    else if (found->times > 1)
        --found->times;
    return injection;
}

// A name out of the journal.
DeviceId idOf(const Machine &machine, const std::string &name)
{
    DeviceId id;
    if (name.empty())
        return wholeMachine;
    if (const Device *device = deviceNamed(machine, name))
        return device->id;
    for (const DeviceClass &each : deviceClasses)
        if (sscanf(name.c_str(), (std::string(each.shortName) + "%d").c_str(), &id.number) == 1)
            return {each.value, id.number};
    sscanf(name.c_str(), "class%d/%d", &id.classCode, &id.number);
    return id;
}

std::string carryOut(Replay &replay, const JournalRow &row, Verb verb)
{
    if (const auto injection =
            isOperation(row.operation) ? takeInjection(replay, row.operation) : std::nullopt;
        injection && injection->result)
        return "injected: " + std::to_string(*injection->result);
    const Machine before = replay.machine;
    const Refusal refusal = apply(replay.machine, {.verb = verb,
                                                   .device = idOf(replay.machine, row.device),
                                                   .code = row.code,
                                                   .argument = row.argument});
    if (isCall(verb) && tookPairDown(before, replay.machine))
        return "a pair taken down";
    return refusal == Refusal::none ? "done" : "refused: " + std::string(nameOf(refusal));
}

std::string followRow(Replay &replay, const JournalRow &row, const std::string &descriptionFile)
{
    if (row.id != replay.last + 1)
        return "a row is missing before it";
    replay.last = *row.id;
    const std::string &operation = row.operation;
    const bool isRefused = row.result.starts_with("refused: ");
    const bool makesMachine = operation == "init" || operation == "reset" || operation == "import";
    if (makesMachine && !isRefused) {
        const std::string file = operation == "import" ? row.argument : descriptionFile;
        replay.machine = movedTo(readDescription(file), row.simulated);
        replay.injections.clear();
        return {};
    }
    if (row.simulated < replay.machine.now)
        return "the clock ran backwards";
    advance(replay.machine, row.simulated);
    if (makesMachine)
        return {};
    if (operation == "inject") {
        if (!isRefused)
            followInjection(replay, row);
        return {};
    }
    const auto verb = valueOf(verbs, operation);
    const std::string result = verb ? carryOut(replay, row, *verb) : "no such operation";
    return result == row.result ? "" : "expected " + result;
}

std::string toText(const JournalRow &row)
{
    return "row " + std::to_string(*row.id) + " (" + row.device + " " + row.operation + " "
           + row.argument + ": " + row.result + "): ";
}

std::string toText(const std::vector<Injection> &injections)
{
    std::string result;
    for (const Injection &each : injections)
        if (isOperation(each.call))
            result += each.call + " " + std::to_string(each.result.value_or(99)) + " "
                      + std::to_string(each.times) + ", ";
    return result;
}

std::string compare(Replay replay, const Machine &machine)
{
    if (const std::string fault = contradiction(machine); !fault.empty())
        return fault;
    if (machine.now < replay.machine.now)
        return "the clock is behind the journal";
    advance(replay.machine, machine.now);
    if (machine.devices.size() != replay.machine.devices.size())
        return "it has other devices";
    replay.machine.index.changed = machine.index.changed; // since it was read
    for (size_t i = 0; i < machine.devices.size(); ++i) {
        const Device &is = machine.devices[i], &expected = replay.machine.devices[i];
        if (!(is == expected))
            return nameOf(is.id) + " is " + std::string(nameOf(is.state)) + " since "
                   + std::to_string(is.since) + ", by the journal "
                   + std::string(nameOf(expected.state)) + " since "
                   + std::to_string(expected.since) + ", or differs otherwise";
    }
    return machine == replay.machine ? "" : "it has other settings than by the journal";
}

} // namespace

std::string follow(Replay &replay, Store &store)
{
    const Machine machine = look(store);
    replay.rows.clear();
    readJournal(store, 0, [&](const JournalRow &row) {
        if (row.id > replay.last)
            replay.rows.push_back(row);
    });
    for (const JournalRow &row : replay.rows)
        if (const std::string fault = followRow(replay, row, store.descriptionFile); !fault.empty())
            return toText(row) + fault;
    const std::string is = toText(injections(store)), expected = toText(replay.injections);
    if (is != expected)
        return "injections are " + is + "by the journal " + expected;
    return compare(replay, machine);
}
