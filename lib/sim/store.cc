// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/store.h"

#include "common/file.h"
#include "common/numbers.h"
#include "common/ownfiles.h"
#include "common/paths.h"
#include "sim/course.h"
#include "sim/description.h"
#include "sim/statefile.h"
#include "sim/words.h"
#include "text/encoding.h"

#include <cstdlib>
#include <filesystem>

namespace sim {
namespace {

// ---- Transactions

// Reads the file if what is in memory is not what it has: another process has written, or this one
// failed to.
void catchUp(Store &store)
{
    const int64_t version = store.database->number("PRAGMA data_version");
    if (store.version == version)
        return;
    store.version.reset();
    store.state = readState(*store.database);
    store.version = version;
}

// What is in memory is not what the file has.
void forget(Store &store)
{
    store.version.reset();
    store.mark.reset();
    store.isWriting = false;
}

// The same, unless nobody has committed since.
void readIfWritten(Store &store)
{
    const auto mark = store.database->commitMark();
    if (store.isWriting || (mark && mark == store.mark))
        return;
    yat::Transaction transaction(*store.database);
    catchUp(store);
    transaction.commit();
    store.mark = mark;
}

// The clock goes with every change and with every row of the journal, so that nothing written is
// ever later than the clock, also when the system's clock is put back.
void setClock(MachineState &state, Time real)
{
    advance(state.machine, simulatedTime(state.clock, real));
    state.clock = {.simulated = state.machine.now, .real = real, .scale = wantedScale()};
}

// Whether the file could not be written, or was not read at that moment.
bool isOnlyUnwritten(const yat::SqliteError &error)
{
    const int code = error.code;
    return code == SQLITE_BUSY || code == SQLITE_FULL || code == SQLITE_IOERR;
}

// Runs work in a transaction. An operation waits for another program that writes, and its commit
// for the disk. What only becomes due happens again by itself, should it get lost: it waits for
// neither, and is not written, which returns false, while another program writes or the disk
// takes nothing. The machine in memory is then as of now, or as it was.
bool transact(Store &store, bool isOperation, const std::function<void()> &work)
{
    if (store.isWriting) {
        work();
        return true;
    }
    openStore(store);
    yat::Database &database = *store.database;
    try {
        database.setSynced(isOperation);
        yat::Transaction transaction(database, true, isOperation ? yat::longestWait : 0);
        catchUp(store);
        store.isWriting = true;
        setClock(store.state, realTime());
        const std::vector<Injection> before = store.state.injections;
        work();
        if (store.state.injections != before)
            writeInjections(database, store.state.injections);
        store.state.clock.simulated = store.state.machine.now;
        writeChanges(database, store.state);
        transaction.commit();
        store.isWriting = false;
        return true;
    } catch (const yat::SqliteError &error) {
        const bool mayBeLost = !isOperation && isOnlyUnwritten(error);
        if (store.isWriting || !mayBeLost)
            forget(store);
        if (mayBeLost)
            return false;
        throw;
    } catch (...) {
        forget(store);
        throw;
    }
}

// ---- Making a machine

// A row of the journal with who asks, and when.
JournalRow signedBy(Store &store, const Clock &clock, JournalRow row)
{
    if (!store.caller)
        store.caller = yat::thisCaller();
    row.simulated = clock.simulated;
    row.real = clock.real;
    row.user = store.caller->user;
    row.terminal = store.caller->terminal;
    return row;
}

bool makeFile(Store &store)
{
    const std::string path = wholePath(store.descriptionFile);
    const Machine machine = readDescription(path);
    return createStateFile(store.file, [&](yat::Database &database) {
        const Time now = realTime();
        MachineState state = {.clock = {.real = now, .scale = wantedScale()}};
        putMachine(database, state, machine, now);
        addToJournal(
            database,
            signedBy(store, state.clock,
                     {.operation = "init", .argument = yat::fromDisplay(path), .result = "done"}));
    });
}

// A name for the state of a machine that is given by the path of its description.
std::string nameOfPath(const std::string &path)
{
    const std::filesystem::path whole = wholePath(path);
    char digits[17];
    snprintf(digits, sizeof digits, "%016llx",
             static_cast<unsigned long long>(yat::hashOf(whole.string())));
    // A name of 255 bytes has to have room for the digits and for all endings.
    return whole.stem().string().substr(0, 220) + "-" + digits;
}

// Also of a file's name alone, which is taken for that of a machine of the product's.
void refuseUnknownName(const yat::ConfiguredMachine &machine, const std::string &stateFile)
{
    const auto isThere = [](const std::string &file) {
        std::error_code error; // is told by who reads it
        return std::filesystem::status(file, error).type() != std::filesystem::file_type::not_found;
    };
    if (machine.isPath || isThere(machine.descriptionFile) || isThere(stateFile))
        return;
    const std::string name = yat::fromDisplay(machine.name);
    throw yat::Problem("there is no machine '" + name + "' in data/machines; "
                       + (machine.name.ends_with(".toml") || isThere(machine.name)
                              ? "for the file of that name, write './" + name + "'"
                              : "name one of those there, or the path of a description"));
}

} // namespace

std::string wantedDirectory()
{
    const char *wanted = secure_getenv("YAT_STATE_DIR");
    return wanted ? wanted : "";
}

std::string stateFileIn(const std::string &directory, const yat::ConfiguredMachine &machine)
{
    const std::string name = machine.isPath ? nameOfPath(machine.name) : machine.name;
    return directory + "/machines/" + name + ".db";
}

Store configuredStore(const yat::ConfiguredMachine &machine)
{
    wantedScale();
    // Another directory would have another machine in it.
    const std::string wanted = wantedDirectory();
    if (!wanted.empty())
        yat::makeOwnDirectory(wanted);
    const std::string file = stateFileIn(wanted.empty() ? yat::stateDirectory() : wanted, machine);
    refuseUnknownName(machine, file);
    return {.file = file, .descriptionFile = machine.descriptionFile};
}

Machine readDescription(const std::string &file)
{
    return parseDescription(yat::readFile(file), file);
}

std::string wholePath(const std::string &file)
{
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::weakly_canonical(file, error);
    return error ? file : whole.string();
}

void putMachine(yat::Database &database, MachineState &state, const Machine &machine, Time now)
{
    state.machine = movedTo(machine, now);
    state.clock.simulated = now;
    writeMachine(database, state);
}

bool openStore(Store &store)
{
    if (store.isWriting || (store.database && store.database->isStillThere()))
        return false;
    store.database.reset();
    forget(store);
    std::error_code error;
    const bool isNew = !std::filesystem::exists(store.file, error) && makeFile(store);
    store.database = openStateFile(store.file);
    return isNew;
}

const Machine &look(Store &store)
{
    openStore(store);
    readIfWritten(store);
    MachineState &state = store.state;
    const Time real = realTime(), now = simulatedTime(state.clock, real);
    const bool isAsWritten = !isAnythingDue(state.machine, now)
                             && wantedScale() == state.clock.scale && real >= state.clock.real;
    if (isAsWritten || !transact(store, false, [] {}))
        advance(state.machine, now);
    return state.machine;
}

const std::vector<Injection> &injections(Store &store)
{
    if (!store.isWriting
        && !(store.database && store.mark && store.mark == store.database->commitMark())) {
        openStore(store);
        readIfWritten(store);
    }
    return store.state.injections;
}

void write(Store &store, const std::function<void()> &work)
{
    transact(store, true, work);
}

Refusal perform(Store &store, const Order &order)
{
    Refusal refusal = Refusal::none;
    write(store, [&] {
        refusal = apply(store.state.machine, order);
        writeDown(store, rowOf(order, refusal == Refusal::none
                                          ? "done"
                                          : "refused: " + std::string(nameOf(refusal))));
    });
    return refusal;
}

JournalRow rowOf(const Order &order, const std::string &result)
{
    return {.device = nameOf(order.device),
            .operation = std::string(nameOf(order.verb)),
            .code = order.code,
            .argument = order.argument,
            .result = result};
}

void writeDown(Store &store, JournalRow row)
{
    addToJournal(*store.database, signedBy(store, store.state.clock, std::move(row)));
}

} // namespace sim
