#include "sim/store.h"

#include "common/file.h"
#include "common/paths.h"
#include "common/problem.h"
#include "sim/course.h"
#include "sim/hash.h"
#include "sim/words.h"
#include "text/encoding.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <unistd.h>

namespace sim {

const std::vector<InjectableCall> injectableCalls = {
    {"ft_FunctionInit"},
    {"ft_FunctionRelease"},
    {"CreateTreeViewData"},
    {"FreeTreeViewData"},
    {"call_yat_is_ft"},
    {"yat_ft_get_property", Gift::text},
    {"Linux_ConvertDataToInt", Gift::number},
    {"StatusChange", Gift::text},
    {"IfSupport", Gift::number},
    {"ClearMTBF"},
    {"InitBringUp"},
    {"InitBringDown"},
    {"SetMtbfType"},
    {"BurnFirmware"},
    {"GetBBDriverSettings", Gift::number},
    {"PutBBDriverSettings"},
    {"YATGetDeviceID", Gift::bytes},
};

namespace {

// ---- Transactions

void inTransaction(Store &store, const std::function<void()> &work)
{
    openStore(store);
    store.database->transaction(work);
}

// A machine on its way through a transaction: as it was written, and as it is now.
struct Turn {
    Written before;
    Machine machine;
    Time real;
};

Turn begin(Store &store)
{
    Turn turn{.before = readMachine(*store.database, store.description),
              .machine = {},
              .real = realTime()};
    turn.machine = turn.before.machine;
    advance(turn.machine, simulatedTime(turn.before.clock, turn.real));
    return turn;
}

// Writes what is not as it was. The clock goes with every change and with every row of the
// journal, so that nothing written is ever later than the clock, also when the system's clock is
// put back.
void end(Store &store, const Turn &turn)
{
    writeChanges(*store.database, turn.before.machine, turn.machine,
                 {.simulated = turn.machine.now, .real = turn.real, .scale = wantedScale()});
}

// The same for who only looked: mostly there is nothing to write then.
void endLook(Store &store, const Turn &turn)
{
    const Clock &before = turn.before.clock;
    Machine same = turn.machine;
    same.now = turn.before.machine.now;
    if (same != turn.before.machine || wantedScale() != before.scale || turn.real < before.real
        || turn.machine.now != simulatedTime(before, turn.real))
        end(store, turn);
}

// ---- Injections

Injection readInjection(const Query &row)
{
    Injection injection{.call = row.text(1)};
    if (!row.isNull(2))
        injection.result = row.number(2);
    injection.times = row.number(3);
    injection.delay = row.number(4);
    if (!row.isNull(5))
        injection.text = row.text(5);
    return injection;
}

struct Waiting {
    int64_t id = 0;
    Injection injection;
};

std::optional<Waiting> nextInjection(Store &store, std::string_view call)
{
    Query row = store.database->query("SELECT id, call, result, times, delay, text FROM "
                                      "injection WHERE call = ? ORDER BY id LIMIT 1",
                                      call);
    if (!row.next())
        return {};
    return Waiting{.id = row.integer(0), .injection = readInjection(row)};
}

void takeOut(Store &store, const Waiting &waiting)
{
    if (waiting.injection.times == 1)
        store.database->run("DELETE FROM injection WHERE id = ?", waiting.id);
    else if (waiting.injection.times > 1)
        store.database->run("UPDATE injection SET times = times - 1 WHERE id = ?", waiting.id);
}

// Ids are given out again, so that more of it has to be the same.
bool isSame(const Waiting &one, const Waiting &other)
{
    return one.id == other.id && one.injection.result == other.injection.result
           && one.injection.delay == other.injection.delay
           && one.injection.text == other.injection.text;
}

bool isStillWaiting(Store &store, const Waiting &waiting)
{
    openStore(store);
    const auto next = nextInjection(store, waiting.injection.call);
    return next && isSame(*next, waiting);
}

void sleepFor(int milliseconds)
{
    timespec rest = {.tv_sec = milliseconds / 1000, .tv_nsec = milliseconds % 1000 * 1'000'000L};
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}

// Sleeps as an injection wants it, or until it is taken back.
void hangFor(Store &store, const Waiting &waiting)
{
    constexpr int slice = 200; // milliseconds
    for (int left = waiting.injection.delay; left > 0 && isStillWaiting(store, waiting);
         left -= slice)
        sleepFor(std::min(left, slice));
}

// A transaction with the injection for a call. One that hangs does so before, so that other
// programs go on meanwhile; and it is taken out with the work that it is for, so that a program
// that is killed while it hangs has done nothing.
void inCall(Store &store, std::string_view call,
            const std::function<void(const std::optional<Injection> &)> &work)
{
    std::optional<Waiting> hungFor; // the injection whose delay is over
    for (bool isOver = false; !isOver;) {
        inTransaction(store, [&] {
            const auto next = call.empty() ? std::nullopt : nextInjection(store, call);
            isOver = !next || next->injection.delay == 0 || (hungFor && isSame(*hungFor, *next));
            hungFor = next;
            if (!isOver)
                return;
            if (next)
                takeOut(store, *next);
            work(next ? std::optional(next->injection) : std::nullopt);
        });
        if (!isOver)
            hangFor(store, *hungFor);
    }
}

std::string resultText(const Outcome &outcome)
{
    if (outcome.injected)
        return "injected: " + std::to_string(*outcome.injected);
    return outcome.refusal == Refusal::none ? "done"
                                            : "refused: " + std::string(nameOf(outcome.refusal));
}

std::string argumentOf(const Injection &injection)
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

// What changes no device, but has its place in the journal, which lacks the times only.
void note(Store &store, JournalRow row, const std::function<void()> &work)
{
    inTransaction(store, [&] {
        const Turn turn = begin(store);
        work();
        end(store, turn);
        row.simulated = turn.machine.now;
        row.real = turn.real;
        writeJournal(*store.database, store.asker, row);
    });
}

// ---- Another machine

// The description for an operation, which is refused when there is a mistake in it.
Source readSourceFor(Store &store, const std::string &operation, const std::string &file)
try {
    Source source = readSource(file);
    source.file = wholePath(file); // it is told elsewhere later
    return source;
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
    inTransaction(store, [&] {
        const Turn turn = begin(store);
        const Time real = realTime();
        const Clock clock = {.simulated = keepsClock ? turn.machine.now : real,
                             .real = real,
                             .scale = wantedScale()};
        putMachine(*store.database, source, clock, store.description.generation + 1);
        store.database->run("DELETE FROM injection");
        writeJournal(*store.database, store.asker,
                     {.simulated = clock.simulated,
                      .real = real,
                      .operation = operation,
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

} // namespace

Store configuredStore(const yat::ConfiguredMachine &machine)
{
    if (const std::string mistake = scaleMistake(); !mistake.empty())
        throw yat::Problem(mistake);
    // Another directory would have another machine in it.
    if (const char *wanted = secure_getenv("YAT_STATE_DIR");
        wanted && *wanted && !yat::makeWritableDirectory(wanted))
        throw yat::Problem(yat::fromDisplay(wanted) + ", which YAT_STATE_DIR names, can't be written: "
                           + yat::reason(errno));
    const std::string state = yat::stateDirectory();
    if (state.empty())
        throw yat::Problem("no directory for the state can be written; set YAT_STATE_DIR");
    Store store;
    store.file = state + "/machines/"
                 + (machine.isPath ? nameOfPath(machine.name) : machine.name) + ".db";
    store.descriptionFile = machine.descriptionFile;
    store.asker = whoAsks();
    return store;
}

bool openStore(Store &store)
{
    if (store.database && store.database->isStillThere())
        return false;
    store.database.reset();
    store.description = {};
    const bool isNew = createStateFile(store.file, store.descriptionFile, store.asker);
    store.database = openStateFile(store.file);
    return isNew;
}

void look(Store &store, const char *call, const Look &work)
{
    inCall(store, call, [&](const std::optional<Injection> &injection) {
        const Turn turn = begin(store);
        work(turn.machine, injection);
        endLook(store, turn);
    });
}

Machine look(Store &store)
{
    Machine result;
    look(store, "", [&](const Machine &machine, const auto &) { result = machine; });
    return result;
}

Outcome perform(Store &store, const Operation &operation)
{
    Outcome outcome;
    inCall(store, isCall(operation.verb) ? nameOf(operation.verb) : "", [&](const auto &injection) {
        Turn turn = begin(store);
        const Time asked = turn.machine.now;
        if (injection && injection->result)
            outcome.injected = injection->result;
        else
            outcome.refusal = apply(turn.machine, operation);
        end(store, turn);
        writeJournal(*store.database, store.asker,
                     {.simulated = asked,
                      .real = turn.real,
                      .device = nameOf(operation.device),
                      .operation = std::string(nameOf(operation.verb)),
                      .code = operation.code,
                      .argument = operation.argument,
                      .result = resultText(outcome)});
    });
    return outcome;
}

void inject(Store &store, const Injection &injection)
{
    note(store, {.operation = "inject", .argument = argumentOf(injection), .result = "done"}, [&] {
        store.database->run(
            "INSERT INTO injection (call, result, times, delay, text) VALUES (?, ?, ?, ?, ?)",
            injection.call, injection.result, injection.times, injection.delay, injection.text);
    });
}

void clearInjections(Store &store, const std::string &call)
{
    note(store, {.operation = "inject", .argument = call + " off", .result = "done"},
         [&] { store.database->run("DELETE FROM injection WHERE call = ?", call); });
}

void refuse(Store &store, JournalRow row)
{
    row.result = "refused: " + row.result;
    std::ranges::replace(row.result, '\n', ';');
    note(store, row, [] {});
}

std::vector<Injection> injections(Store &store)
{
    std::vector<Injection> result;
    inTransaction(store, [&] {
        Query row = store.database->query(
            "SELECT id, call, result, times, delay, text FROM injection ORDER BY id");
        while (row.next())
            result.push_back(readInjection(row));
    });
    return result;
}

void resetMachine(Store &store)
{
    replaceMachine(store, readSourceFor(store, "reset", store.descriptionFile), false, "reset");
}

void importMachine(Store &store, const std::string &file)
{
    replaceMachine(store, readSourceFor(store, "import", file), true, "import");
}

std::string descriptionNote(Store &store)
{
    std::string origin, text;
    inTransaction(store, [&] {
        Query row = store.database->query("SELECT origin, description FROM machine");
        if (row.next()) {
            origin = row.text(0);
            text = row.text(1);
        }
    });
    const std::string name = yat::fromDisplay(origin);
    if (origin != wholePath(store.descriptionFile))
        return "made from " + name + "; 'yatsim reset' makes it anew from "
               + yat::fromDisplay(store.descriptionFile);
    try {
        if (yat::readFile(origin) != text)
            return name + " has changed since; the state is kept, 'yatsim reset' makes it anew";
    } catch (const yat::Problem &problem) {
        return std::string(problem.what()) + "; the state is kept";
    }
    return {};
}

Clock clockOf(Store &store)
{
    Clock clock;
    inTransaction(store, [&] {
        const Turn turn = begin(store);
        endLook(store, turn);
        clock = {.simulated = turn.machine.now, .real = turn.real, .scale = wantedScale()};
    });
    return clock;
}

void readJournal(Store &store, int64_t last, const std::function<void(const JournalRow &)> &work)
{
    openStore(store);
    Query row = store.database->query(
        "SELECT * FROM (SELECT id, simulated, real, user, terminal, device, operation, code, "
        "argument, result FROM journal ORDER BY id DESC LIMIT ?) ORDER BY id",
        last > 0 ? last : int64_t{-1});
    while (row.next())
        work({.id = row.integer(0),
              .simulated = row.integer(1),
              .real = row.integer(2),
              .user = row.text(3),
              .terminal = row.text(4),
              .device = row.text(5),
              .operation = row.text(6),
              .code = row.number(7),
              .argument = row.text(8),
              .result = row.text(9)});
}

} // namespace sim
