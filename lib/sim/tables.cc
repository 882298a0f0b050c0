#include "sim/tables.h"

#include <algorithm>
#include <bit>

namespace sim {
namespace {

// The constraints in sim/schema.h have these numbers as literals.
static_assert(static_cast<int>(State::firmwareUpdate) == 8);
static_assert(static_cast<int>(Bios::invalid) == 3);
static_assert(lastMoment == 253'402'300'799'000'000 && fastest == 1e6);
static_assert(failuresKept == 64 && mostFailures == 1'000'000'000 && longestVersion == 1000
              && mostDevices == 9999 && longestMtbf * hour == 3'153'600'000'000'000);

[[noreturn]] void damaged(const Database &database, const std::string &what)
{
    throw yat::Problem(database.file + " is damaged: " + what);
}

std::vector<uint8_t> bytesOf(const SQLite::Column &column)
{
    const auto *bytes = static_cast<const uint8_t *>(column.getBlob());
    return {bytes, bytes + column.getBytes()};
}

std::optional<int> positionOrNone(int position)
{
    return position < 0 ? std::nullopt : std::optional(position);
}

int positionOf(const SQLite::Column &column)
{
    return column.isNull() ? -1 : column.getInt();
}

// ---- The machine itself

void readMachineRow(const QueryRow &row, MachineState &state)
{
    int at = 0;
    const auto next = [&] { return row.getColumn(at++); };
    Machine &machine = state.machine;
    state.origin = next().getString();
    state.descriptionHash = std::bit_cast<uint64_t>(next().getInt64());
    state.clock.simulated = next().getInt64();
    state.clock.real = next().getInt64();
    state.clock.scale = next().getDouble();
    machine.name = next().getString();
    machine.type = next().getInt();
    machine.bmcResponse = bytesOf(next());
    machine.timing.start = next().getInt64();
    machine.timing.synchronise = next().getInt64();
    machine.timing.stop = next().getInt64();
    machine.timing.firmwareUpdate = next().getInt64();
    machine.supported = next().getUInt();
    machine.automaticFirmwareUpdate = next().getInt() != 0;
    machine.automaticModuleStart = next().getInt() != 0;
    machine.mtbfThreshold = next().getInt64();
    machine.dataFileVersion = next().getString();
    machine.now = state.clock.simulated;
}

void writeMachineRow(Database &database, const MachineState &state)
{
    const Machine &machine = state.machine;
    const Clock &clock = state.clock;
    database.run("INSERT OR REPLACE INTO machine VALUES "
                 "(1, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
                 state.origin, std::bit_cast<int64_t>(state.descriptionHash), clock.simulated,
                 clock.real, clock.scale, machine.name, machine.type, machine.bmcResponse,
                 machine.timing.start, machine.timing.synchronise, machine.timing.stop,
                 machine.timing.firmwareUpdate, int64_t{machine.supported},
                 machine.automaticFirmwareUpdate, machine.automaticModuleStart,
                 machine.mtbfThreshold, machine.dataFileVersion);
}

// ---- Its devices

Device readDevice(const QueryRow &row)
{
    int at = 1;
    const auto next = [&] { return row.getColumn(at++); };
    Device device;
    device.id.classCode = next().getInt();
    device.id.number = next().getInt();
    device.name = next().getString();
    std::ranges::copy(bytesOf(next()), device.path.begin());
    device.board = next().getInt();
    device.partner = next().getInt();
    device.parent = positionOf(next());
    device.state = static_cast<State>(next().getInt());
    device.since = next().getInt64();
    device.mtbfType = next().getInt();
    device.defective = next().getInt() != 0;
    device.failureCount = next().getInt();
    device.biosVersion = next().getString();
    device.biosStatus = next().getString();
    device.bios = static_cast<Bios>(next().getInt());
    device.newBios = next().getString();
    device.copies = next().getInt() != 0;
    device.startsAfter = next().getInt() != 0;
    return device;
}

void readDevices(Database &database, Machine &machine)
{
    std::vector<Device> &devices = machine.devices;
    database.each("SELECT * FROM device ORDER BY position", [&](const QueryRow &row) {
        if (row.getColumn(0).getInt64() != static_cast<int64_t>(devices.size()))
            damaged(database, "a device is missing");
        devices.push_back(readDevice(row));
    });
    database.each("SELECT device, time FROM failure ORDER BY device, nth",
                  [&](const QueryRow &row) {
                      const auto position = static_cast<size_t>(row.getColumn(0).getInt64());
                      if (position >= devices.size())
                          damaged(database, "it has failures of a device that is missing");
                      devices[position].failures.push_back(row.getColumn(1).getInt64());
                  });
}

void writeDevice(Database &database, int position, const Device &device)
{
    database.run("INSERT OR REPLACE INTO device VALUES "
                 "(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
                 position, device.id.classCode, device.id.number, device.name, device.path,
                 device.board, device.partner, positionOrNone(device.parent),
                 static_cast<int>(device.state), device.since, device.mtbfType, device.defective,
                 device.failureCount, device.biosVersion, device.biosStatus,
                 static_cast<int>(device.bios), device.newBios, device.copies, device.startsAfter);
    database.run("DELETE FROM failure WHERE device = ?", position);
    int nth = 0;
    for (const Time time : device.failures)
        database.run("INSERT INTO failure VALUES (?, ?, ?)", position, nth++, time);
}

} // namespace

MachineState readMachine(Database &database)
{
    MachineState state;
    bool isThere = false;
    database.each("SELECT origin, description_hash, simulated, real, scale, name, type, "
                  "bmc_response, start, synchronise, stop, firmware_update, supported, "
                  "automatic_firmware_update, automatic_module_start, mtbf_threshold, data_file "
                  "FROM machine",
                  [&](const QueryRow &row) {
                      readMachineRow(row, state);
                      isThere = true;
                  });
    if (!isThere)
        damaged(database, "the machine is missing");
    readDevices(database, state.machine);
    makeIndex(state.machine);
    for (const Device &device : state.machine.devices)
        if (device.partner != 0 && !partnerOf(state.machine, device))
            damaged(database, "the partner of a module is missing");
    return state;
}

void writeMachine(Database &database, MachineState &state)
{
    database.run("DELETE FROM device");
    database.run("DELETE FROM failure");
    int position = 0;
    for (const Device &device : state.machine.devices)
        writeDevice(database, position++, device);
    state.machine.index.changed.clear();
    writeMachineRow(database, state);
}

void writeChanges(Database &database, MachineState &state)
{
    for (const int position : state.machine.index.changed)
        writeDevice(database, position, state.machine.devices[static_cast<size_t>(position)]);
    state.machine.index.changed.clear();
    writeMachineRow(database, state);
}

} // namespace sim
