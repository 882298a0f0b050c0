#include "sim/store.h"

#include "common/file.h"
#include "common/paths.h"
#include "sim/course.h"
#include "sim/hash.h"
#include "sim/description.h"
#include "sim/statefile.h"
#include "sim/words.h"
#include "text/encoding.h"

#include <SQLiteCpp/Transaction.h>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

namespace sim {
namespace {

// ---- Transactions

void readAll(Store &store)
{
    store.version.reset();
    store.state = readMachine(*store.database);
    store.injections = readInjections(*store.database);
    store.version = store.database->number("PRAGMA data_version");
}

// Whether another process has written since what is in memory was read, or this one failed to.
bool isOutOfDate(Store &store)
{
    return !store.version || store.database->number("PRAGMA data_version") != *store.version;
}

// What is in memory is not what the file has.
void forget(Store &store)
{
    store.version.reset();
    store.mark = {};
    store.isWriting = false;
}

// The clock goes with every change and with every row of the journal, so that nothing written is
// ever later than the clock, also when the system's clock is put back.
void letTimePass(MachineState &state)
{
    const Time real = realTime();
    advance(state.machine, simulatedTime(state.clock, real));
    state.clock = {.simulated = state.machine.now, .real = real, .scale = wantedScale()};
}

void transact(Store &store, bool isSynced, const std::function<void()> &work)
{
    if (store.isWriting) {
        work();
        return;
    }
    openStore(store);
    Database &database = *store.database;
    try {
        database.setSynced(isSynced);
        SQLite::Transaction transaction(database.connection,
                                        SQLite::TransactionBehavior::IMMEDIATE);
        if (isOutOfDate(store))
            readAll(store);
        store.isWriting = true;
        letTimePass(store.state);
        work();
        store.state.clock.simulated = store.state.machine.now;
        writeChanges(database, store.state);
        transaction.commit();
        store.isWriting = false;
    } catch (const SQLite::Exception &error) {
        forget(store);
        throw database.problem(error);
    } catch (...) {
        forget(store);
        throw;
    }
}

// ---- Making a machine

void putMachine(Store &store, const Source &source, Time now)
{
    store.state.machine = movedTo(source.description, now);
    store.state.clock.simulated = now;
    store.state.origin = source.file;
    store.state.descriptionHash = hashOf(source.text);
    writeMachine(*store.database, store.state);
}

// The description for an operation, which is refused when there is a mistake in it.
Source readSourceFor(Store &store, const std::string &operation, const std::string &file)
try {
    return readSource(wholePath(file)); // it is told elsewhere later
} catch (const yat::Problem &problem) {
    try {
        refuse(store, {.operation = operation,
                       .argument = yat::fromDisplay(wholePath(file)),
                       .result = problem.what()});
    } catch (const yat::Problem &) {
        // The mistake is what the user has to know.
    }
    throw;
}

void replaceMachine(Store &store, const Source &source, bool keepsClock,
                    const std::string &operation)
{
    write(store, [&] {
        const Clock &clock = store.state.clock;
        putMachine(store, source, keepsClock ? clock.simulated : clock.real);
        store.database->run("DELETE FROM injection");
        store.injections.clear();
        writeDown(
            store,
            {.operation = operation, .argument = yat::fromDisplay(source.file), .result = "done"});
    });
}

bool makeFile(Store &store)
{
    const Source source = readSource(wholePath(store.descriptionFile));
    return createStateFile(store.file, [&](Database &database) {
        const Time now = realTime();
        MachineState state = {.machine = movedTo(source.description, now),
                              .clock = {.simulated = now, .real = now, .scale = wantedScale()},
                              .origin = source.file,
                              .descriptionHash = hashOf(source.text)};
        writeMachine(database, state);
        writeJournal(database, store.caller ? *store.caller : yat::thisCaller(),
                     {.simulated = now,
                      .real = now,
                      .operation = "init",
                      .argument = yat::fromDisplay(source.file),
                      .result = "done"});
    });
}

// A name for the state of a machine that is given by the path of its description.
std::string nameOfPath(const std::string &path)
{
    const std::filesystem::path whole = wholePath(path);
    char digits[17];
    snprintf(digits, sizeof digits, "%016llx",
             static_cast<unsigned long long>(hashOf(whole.string())));
    return whole.stem().string() + "-" + digits;
}

// A file's name alone is taken for that of a machine of the product's.
void refuseBareFileName(const yat::ConfiguredMachine &machine)
{
    std::error_code error;
    if (!machine.isPath && !std::filesystem::exists(machine.descriptionFile, error)
        && (machine.name.ends_with(".toml") || std::filesystem::exists(machine.name, error)))
        throw yat::Problem("there is no machine '" + yat::fromDisplay(machine.name)
                           + "' in data/machines; for the file of that name, write './"
                           + yat::fromDisplay(machine.name) + "'");
}

} // namespace

Store configuredStore(const yat::ConfiguredMachine &machine)
{
    refuseBareFileName(machine);
    if (const std::string mistake = scaleMistake(); !mistake.empty())
        throw yat::Problem(mistake);
    // Another directory would have another machine in it.
    if (const char *wanted = secure_getenv("YAT_STATE_DIR");
        wanted && *wanted && !yat::makeWritableDirectory(wanted))
        throw yat::Problem(yat::fromDisplay(wanted)
                           + ", which YAT_STATE_DIR names, can't be written: "
                           + yat::reason(errno));
    const std::string state = yat::stateDirectory();
    if (state.empty())
        throw yat::Problem(
            "no directory for the state is writable; set YAT_STATE_DIR to one that is");
    const std::string name = machine.isPath ? nameOfPath(machine.name) : machine.name;
    return {.file = state + "/machines/" + name + ".db",
            .descriptionFile = machine.descriptionFile};
}

bool openStore(Store &store)
{
    if (store.database && store.database->isStillThere())
        return false;
    store.database.reset();
    forget(store);
    std::error_code error;
    const bool isNew = !std::filesystem::exists(store.file, error) && makeFile(store);
    store.database = openStateFile(store.file);
    return isNew;
}

bool isCurrent(const Store &store)
{
    return store.version && store.mark != CommitMark{}
           && store.mark == store.database->commitMark();
}

void refresh(Store &store)
{
    if (store.isWriting)
        return;
    openStore(store);
    if (isCurrent(store))
        return;
    const CommitMark mark = store.database->commitMark();
    try {
        SQLite::Transaction transaction(store.database->connection);
        if (isOutOfDate(store))
            readAll(store);
        transaction.commit();
    } catch (const SQLite::Exception &problem) {
        throw store.database->problem(problem);
    }
    store.mark = mark;
}

const Machine &look(Store &store)
{
    refresh(store);
    MachineState &state = store.state;
    const Time real = realTime(), now = simulatedTime(state.clock, real);
    const bool isAsWritten = !isAnythingDue(state.machine, now)
                             && wantedScale() == state.clock.scale && real >= state.clock.real;
    if (isAsWritten)
        advance(state.machine, now);
    else
        transact(store, false, [] {}); // happens by itself again, should it get lost
    return state.machine;
}

Source readSource(const std::string &file)
{
    const std::string text = yat::readFile(file);
    return {.file = file, .text = text, .description = parseDescription(text, file)};
}

Clock clockOf(Store &store)
{
    const Time now = look(store).now;
    return {.simulated = now, .real = realTime(), .scale = wantedScale()};
}

void write(Store &store, const std::function<void()> &work)
{
    transact(store, true, work);
}

Refusal perform(Store &store, const Operation &operation)
{
    Refusal refusal = Refusal::none;
    write(store, [&] {
        refusal = apply(store.state.machine, operation);
        writeDown(store, rowOf(operation, refusal == Refusal::none
                                              ? "done"
                                              : "refused: " + std::string(nameOf(refusal))));
    });
    return refusal;
}

JournalRow rowOf(const Operation &operation, const std::string &result)
{
    return {.device = nameOf(operation.device),
            .operation = std::string(nameOf(operation.verb)),
            .code = operation.code,
            .argument = operation.argument,
            .result = result};
}

void writeDown(Store &store, JournalRow row)
{
    if (!store.caller)
        store.caller = yat::thisCaller();
    row.simulated = store.state.clock.simulated;
    row.real = store.state.clock.real;
    writeJournal(*store.database, *store.caller, row);
}

void refuse(Store &store, JournalRow row)
{
    row.result = "refused: " + row.result;
    std::ranges::replace(row.result, '\n', ';');
    write(store, [&] { writeDown(store, row); });
}

void resetMachine(Store &store)
{
    replaceMachine(store, readSourceFor(store, "reset", store.descriptionFile), false, "reset");
}

void importMachine(Store &store, const std::string &file)
{
    replaceMachine(store, readSourceFor(store, "import", file), true, "import");
}

std::string wholePath(const std::string &file)
{
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::weakly_canonical(file, error);
    return error ? file : whole.string();
}

std::string descriptionNote(Store &store)
{
    refresh(store);
    const std::string &origin = store.state.origin, name = yat::fromDisplay(origin);
    if (origin != wholePath(store.descriptionFile))
        return "made from " + name + "; 'yatsim reset' rebuilds it from "
               + yat::fromDisplay(store.descriptionFile);
    try {
        if (hashOf(yat::readFile(origin)) != store.state.descriptionHash)
            return name + " has changed since; the state is kept; 'yatsim reset' rebuilds it";
    } catch (const yat::Problem &problem) {
        return std::string(problem.what()) + "; the state is kept";
    }
    return {};
}

void readJournal(Store &store, int64_t last, const std::function<void(const JournalRow &)> &work)
{
    openStore(store);
    try {
        readJournal(*store.database, last, work);
    } catch (const SQLite::Exception &problem) {
        throw store.database->problem(problem);
    }
}

} // namespace sim
