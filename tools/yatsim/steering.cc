// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatsim/steering.h"

#include "common/problem.h"
#include "shared/program.h"
#include "text/encoding.h"

#include <algorithm>

namespace sim {
namespace {

std::string toText(const Injection &injection)
{
    std::string result = injection.call + " "
                         + (injection.result ? std::to_string(*injection.result) : "real")
                         + " --times " + std::to_string(injection.times);
    if (injection.delay > 0)
        result += " --delay " + std::to_string(injection.delay);
    if (injection.text)
        result += " --text " + *injection.text;
    return result;
}

// The description for an operation, which is declined when there is a mistake in it.
Machine readDescriptionFor(Store &store, const std::string &operation, const std::string &path)
try {
    return readDescription(path);
} catch (const yat::Problem &problem) {
    try {
        writeDownRefusal(
            store,
            {.operation = operation, .argument = yat::fromDisplay(path), .result = problem.what()});
    } catch (const yat::Problem &) {
        // The mistake is what the user has to know.
    }
    throw;
}

void replaceMachine(Store &store, const std::string &file, bool keepsClock,
                    const std::string &operation)
{
    const std::string path = wholePath(file); // it is told elsewhere later
    const Machine machine = readDescriptionFor(store, operation, path);
    write(store, [&] {
        const Clock &clock = store.state.clock;
        putMachine(*store.database, store.state, machine,
                   keepsClock ? clock.simulated : clock.real);
        store.state.injections.clear();
        writeDown(store,
                  {.operation = operation, .argument = yat::fromDisplay(path), .result = "done"});
    });
}

} // namespace

const Device *deviceNamed(const Machine &machine, std::string_view name)
{
    for (const Device &device : machine.devices) {
        const DeviceClass &known = *rowOf(deviceClasses, device.id.classCode);
        for (const std::string_view word : {known.shortName, known.alias})
            if (equalsIgnoringCase(name, std::string(word) + std::to_string(device.id.number)))
                return &device;
    }
    for (const Device &device : machine.devices)
        if (equalsIgnoringCase(name, device.name))
            return &device;
    return nullptr;
}

void inject(Store &store, Injection injection)
{
    write(store, [&] {
        writeDown(store, {.operation = "inject", .argument = toText(injection), .result = "done"});
        injection.id = sqlite3_last_insert_rowid(store.database->handle.get());
        store.state.injections.push_back(std::move(injection));
    });
}

void clearInjections(Store &store, const std::string &call)
{
    write(store, [&] {
        std::erase_if(store.state.injections,
                      [&](const Injection &each) { return each.call == call; });
        writeDown(store, {.operation = "inject", .argument = call + " off", .result = "done"});
    });
}

void writeDownRefusal(Store &store, JournalRow row)
{
    row.result = "refused: " + row.result;
    std::ranges::replace(row.result, '\n', ';');
    write(store, [&] { writeDown(store, row); });
}

void resetMachine(Store &store)
{
    replaceMachine(store, store.descriptionFile, false, "reset");
}

void importMachine(Store &store, const std::string &file)
{
    replaceMachine(store, file, true, "import");
}

} // namespace sim
