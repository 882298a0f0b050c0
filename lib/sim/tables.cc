#include "sim/tables.h"

#include "common/file.h"
#include "common/problem.h"
#include "sim/contradiction.h"
#include "sim/making.h"
#include "sim/words.h"

namespace sim {
namespace {

[[noreturn]] void damaged(const Database &database, const std::string &what)
{
    throw yat::Problem(database.file + " is damaged: " + what);
}

void readDescription(const Database &database, const Query &row, KnownDescription &known)
{
    if (known.description && row.integer(0) == known.generation)
        return;
    try {
        known = {.generation = row.integer(0),
                 .description = std::make_shared<Description>(
                     parseDescription(row.text(1), "its description"))};
    } catch (const yat::Problem &problem) {
        damaged(database, problem.what());
    }
}

Written readMachineRow(Database &database, KnownDescription &known)
{
    const Query row = database.row(
        "SELECT generation, description, simulated, real, scale, automatic_firmware_update, "
        "automatic_module_start, mtbf_threshold, data_file FROM machine");
    readDescription(database, row, known);
    Written written;
    written.clock = {.simulated = row.integer(2), .real = row.integer(3), .scale = row.real(4)};
    const Clock &clock = written.clock;
    if (!(clock.scale >= 0 && clock.scale <= fastest) || clock.simulated < 0
        || clock.simulated > lastMoment || clock.real < 0 || clock.real > lastMoment)
        damaged(database, "its clock is out of range");
    written.machine = makeMachine(*known.description, written.clock.simulated);
    written.machine.automaticFirmwareUpdate = row.integer(5) != 0;
    written.machine.automaticModuleStart = row.integer(6) != 0;
    written.machine.mtbfThreshold = row.integer(7);
    written.machine.dataFileVersion = row.text(8);
    return written;
}

void readDevice(const Database &database, const Query &row, Device &device)
{
    const auto state = valueOf(states, row.text(2));
    const auto bios = valueOf(biosTerms, row.text(9));
    if (!state || !bios)
        damaged(database, nameOf(device.id) + " has a state that there is not");
    device.state = *state;
    device.since = row.integer(3);
    device.mtbfType = row.number(4);
    device.defective = row.integer(5) != 0;
    device.failureCount = row.number(6);
    device.failures.clear();
    device.biosVersion = row.text(7);
    device.biosStatus = row.text(8);
    device.bios = *bios;
    device.newBios = row.text(10);
    device.copies = row.integer(11) != 0;
    device.startsAfter = row.integer(12) != 0;
}

void readDevices(Database &database, Machine &machine)
{
    size_t found = 0;
    Query row = database.query(
        "SELECT class, number, state, since, mtbf_type, defective, failure_count, bios_version, "
        "bios_status, bios, new_bios, copies, starts_after FROM device");
    for (; row.next(); ++found)
        if (Device *device = find(machine, {row.number(0), row.number(1)}))
            readDevice(database, row, *device);
        else
            damaged(database, "it has a device that its description lacks");
    if (found != machine.devices.size())
        damaged(database, "it lacks a device of its description");
}

void readFailures(Database &database, Machine &machine)
{
    Query row = database.query("SELECT class, number, time FROM failure ORDER BY id");
    while (row.next())
        if (Device *device = find(machine, {row.number(0), row.number(1)}))
            device->failures.push_back(row.integer(2));
        else
            damaged(database, "it has failures of a device that its description lacks");
}

void writeFailures(Database &database, const Device &device)
{
    database.run("DELETE FROM failure WHERE class = ? AND number = ?", device.id.classCode,
                 device.id.number);
    for (const Time time : device.failures)
        database.run("INSERT INTO failure (class, number, time) VALUES (?, ?, ?)",
                     device.id.classCode, device.id.number, time);
}

void writeDevice(Database &database, const Device &device)
{
    database.run("INSERT OR REPLACE INTO device VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
                 device.id.classCode, device.id.number, nameOf(device.state), device.since,
                 device.mtbfType, device.defective, device.failureCount, device.biosVersion,
                 device.biosStatus, nameOf(device.bios), device.newBios, device.copies,
                 device.startsAfter);
}

} // namespace

Source readSource(const std::string &file)
{
    const std::string text = yat::readFile(file);
    auto description = std::make_shared<Description>(parseDescription(text, file));
    return {.file = file, .text = text, .description = description};
}

Written readMachine(Database &database, KnownDescription &known)
{
    Written written = readMachineRow(database, known);
    readDevices(database, written.machine);
    readFailures(database, written.machine);
    makeIndex(written.machine);
    if (const std::string fault = contradiction(written.machine); !fault.empty())
        damaged(database, fault);
    return written;
}

void putMachine(Database &database, const Source &source, const Clock &clock, int64_t generation)
{
    const Machine machine = makeMachine(*source.description, clock.simulated);
    database.run("DELETE FROM device");
    database.run("DELETE FROM failure");
    database.run("INSERT OR REPLACE INTO machine VALUES (1, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
                 source.text, source.file, generation, clock.simulated, clock.real, clock.scale,
                 machine.automaticFirmwareUpdate, machine.automaticModuleStart,
                 machine.mtbfThreshold, machine.dataFileVersion);
    for (const Device &device : machine.devices) {
        writeDevice(database, device);
        writeFailures(database, device);
    }
}

void writeChanges(Database &database, const Machine &before, const Machine &after,
                  const Clock &clock)
{
    database.run(
        "UPDATE machine SET simulated = ?, real = ?, scale = ?, automatic_firmware_update = ?, "
        "automatic_module_start = ?, mtbf_threshold = ?, data_file = ?",
        clock.simulated, clock.real, clock.scale, after.automaticFirmwareUpdate,
        after.automaticModuleStart, after.mtbfThreshold, after.dataFileVersion);
    for (size_t i = 0; i < after.devices.size(); ++i) {
        const Device &was = before.devices[i], &is = after.devices[i];
        if (!(was == is))
            writeDevice(database, is);
        if (was.failures != is.failures)
            writeFailures(database, is);
    }
}

} // namespace sim
