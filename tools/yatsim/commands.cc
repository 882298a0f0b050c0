// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatsim/commands.h"

#include "common/configuration.h"
#include "common/numbers.h"
#include "common/problem.h"
#include "sim/injection.h"
#include "sim/rules.h"
#include "sim/words.h"
#include "text/encoding.h"
#include "yatsim/journal.h"
#include "yatsim/steering.h"
#include "yatsim/writing.h"

#include <algorithm>
#include <cstdio>

namespace sim {
namespace {

yat::ConfiguredMachine simulatedMachine()
{
    const yat::ConfiguredMachine machine = yat::configuredMachine();
    if (machine.isHardware)
        throw yat::Problem("the configuration names \"" + machine.name
                           + "\", which is not simulated; choose a machine with --machine or "
                             "YAT_MACHINE");
    return machine;
}

Store simulatedStore()
{
    return configuredStore(simulatedMachine());
}

std::string noDevice(const Machine &machine, const std::string &name)
{
    std::vector<std::string> known;
    for (const Device &each : machine.devices)
        known.push_back(nameOf(each.id));
    return "no device '" + name + "', expected one of " + joined(known);
}

// Tells what is wrong with an operation that doesn't come to the machine, and puts it into the
// journal, with the reason as the result of the row.
[[noreturn]] void refuseAndFail(Store &store, const JournalRow &row, const std::string &mistake)
{
    writeDownRefusal(store, row);
    throw yat::Problem(mistake);
}

// The device of an operation, of which the row has all but the result.
DeviceId deviceFor(Store &store, JournalRow row)
{
    const Machine machine = look(store);
    if (const Device *device = deviceNamed(machine, row.device))
        return device->id;
    row.result = nameOf(Refusal::unknownDevice);
    refuseAndFail(store, row, noDevice(machine, row.device));
}

void performOrFail(Store &store, const Order &order)
{
    const Refusal refusal = perform(store, order);
    if (refusal != Refusal::none)
        throw yat::Problem(std::string(nameOf(order.verb)) + " " + nameOf(order.device) + ": "
                           + std::string(nameOf(refusal)));
}

void checkInjection(const Request &request)
{
    const std::string &call = request.words[0], &result = request.words[1];
    const auto known = valueOf(injectableCalls, call);
    if (!known) {
        std::vector<std::string> names;
        for (const auto &each : injectableCalls)
            names.emplace_back(each.word);
        throw yat::Problem("no call '" + call + "', expected one of " + joined(names));
    }
    if (!yat::numberIn<int>(result) && result != "real" && result != "off")
        throw yat::Problem("wrong result '" + result
                           + "', expected a 32-bit number, 'real' or 'off'");
    if (result == "off" && (request.times || request.delay || request.text))
        throw yat::Problem("--times, --delay and --text go with a result, not with 'off'");
    if (!request.text)
        return;
    const std::string wrong = "wrong text '" + *request.text + "' for " + call + ", expected ";
    if (known == InjectedText::none)
        throw yat::Problem(call + " returns only its result, so it takes no --text");
    if (known == InjectedText::number && !yat::numberIn<int>(*request.text))
        throw yat::Problem(wrong + "a 32-bit number");
    if (known == InjectedText::bytes && !bytesOf(*request.text))
        throw yat::Problem(wrong + "1 to 16 numbers from 0 to 255, 0x before hexadecimal ones");
}

} // namespace

void init(const Request &)
{
    Store store = simulatedStore();
    if (!openStore(store))
        refuseAndFail(store,
                      {.operation = "init",
                       .argument = yat::fromDisplay(wholePath(store.descriptionFile)),
                       .result = "it already exists"},
                      yat::fromDisplay(store.file) + " already exists; 'yatsim reset' rebuilds it");
}

void listDevices(const Request &request)
{
    Store store = simulatedStore();
    reportDevices(look(store), request.form());
}

void show(const Request &request)
{
    Store store = simulatedStore();
    if (request.words[0].empty()) {
        reportMachine(store, request.form());
        return;
    }
    const Machine machine = look(store);
    const Device *device = deviceNamed(machine, request.words[0]);
    if (!device)
        throw yat::Problem(noDevice(machine, request.words[0]));
    reportDevice(machine, *device, request.form());
}

template <Verb verb> void act(const Request &request)
{
    Store store = simulatedStore();
    const std::string argument = request.permanent ? "permanent" : "";
    const DeviceId device = deviceFor(
        store,
        {.device = request.words[0], .operation = std::string(nameOf(verb)), .argument = argument});
    performOrFail(store, {.verb = verb, .device = device, .argument = argument});
}

template void act<Verb::fail>(const Request &);
template void act<Verb::repair>(const Request &);
template void act<Verb::pull>(const Request &);
template void act<Verb::insert>(const Request &);

void injectCall(const Request &request)
{
    const std::string &call = request.words[0], &result = request.words[1];
    Store store = simulatedStore();
    try {
        checkInjection(request);
    } catch (const yat::Problem &mistake) {
        refuseAndFail(store,
                      {.operation = "inject",
                       .argument = call + " " + result,
                       .result = std::string(nameOf(Refusal::wrongArgument))},
                      mistake.what());
    }
    if (result == "off") {
        clearInjections(store, call);
        return;
    }
    const Injection injection{.call = call,
                              .result = yat::numberIn<int>(result),
                              .times = request.times.value_or(1),
                              .delay = request.delay.value_or(0),
                              .text = request.text};
    inject(store, injection);
}

void set(const Request &request)
{
    // KEY of the machine, or DEVICE.KEY; the name of a device may have a dot in it.
    const std::string &name = request.words[0], &value = request.words[1];
    const size_t dot = name.rfind('.');
    const bool ofDevice = dot != std::string::npos;
    const std::string key = ofDevice ? name.substr(dot + 1) : name;
    JournalRow row = {.device = ofDevice ? name.substr(0, dot) : "",
                      .operation = std::string(nameOf(Verb::set)),
                      .argument = key + "=" + value};
    Store store = simulatedStore();
    const auto known = std::ranges::find_if(setKeys(), [&](const SetKey &each) {
        return each.key == key && (each.owner != SetKey::machine) == ofDevice;
    });
    if (known == setKeys().end()) {
        std::vector<std::string> keys;
        for (const SetKey &each : setKeys())
            keys.push_back((each.owner != SetKey::machine ? "DEVICE." : "")
                           + std::string(each.key));
        row.result = nameOf(Refusal::wrongArgument);
        refuseAndFail(store, row, "no key '" + name + "', expected one of " + joined(keys));
    }
    const DeviceId device = ofDevice ? deviceFor(store, row) : wholeMachine;
    const Refusal refusal =
        perform(store, {.verb = Verb::set, .device = device, .argument = row.argument});
    if (refusal == Refusal::wrongArgument && !isOwner(device, known->owner))
        throw yat::Problem("no key '" + name + "', expected " + key + " " + known->about);
    if (refusal == Refusal::wrongArgument)
        throw yat::Problem("wrong value '" + value + "' for " + name + ", expected "
                           + known->values);
    if (refusal != Refusal::none)
        throw yat::Problem("set " + name + ": " + std::string(nameOf(refusal)));
}

void journal(const Request &request)
{
    const yat::ConfiguredMachine machine = simulatedMachine();
    reportJournal([&](const OnRow &work) { readJournal(machine, request.last, work); },
                  request.form());
}

void exportDescription(const Request &request)
{
    Store store = simulatedStore();
    const Machine description = atRest(look(store));
    printf("%s", (request.json ? toJson(description) : toToml(description)).c_str());
}

void importDescription(const Request &request)
{
    Store store = simulatedStore();
    importMachine(store, request.words[0]);
}

void reset(const Request &)
{
    Store store = simulatedStore();
    resetMachine(store);
}

} // namespace sim
