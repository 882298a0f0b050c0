#include "sim/injection.h"

#include "sim/store.h"

#include <algorithm>
#include <cerrno>
#include <ctime>

namespace sim {

const std::vector<InjectableCall> injectableCalls = {
    {"ft_FunctionInit"},
    {"ft_FunctionRelease"},
    {"CreateTreeViewData"},
    {"FreeTreeViewData"},
    {"call_yat_is_ft"},
    {"yat_ft_get_property", InjectedText::text},
    {"Linux_ConvertDataToInt", InjectedText::number},
    {"StatusChange", InjectedText::text},
    {"IfSupport", InjectedText::number},
    {"ClearMTBF"},
    {"InitBringUp"},
    {"InitBringDown"},
    {"SetMtbfType"},
    {"BurnFirmware"},
    {"GetBBDriverSettings", InjectedText::number},
    {"PutBBDriverSettings"},
    {"GetDeviceFacts"},
    {"GetSupportReason", InjectedText::text},
    {"YATGetDeviceID", InjectedText::bytes},
};

namespace {

void sleepFor(int milliseconds)
{
    timespec rest = {.tv_sec = milliseconds / 1000, .tv_nsec = milliseconds % 1000 * 1'000'000L};
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}

std::optional<Injection> nextInjection(Store &store, std::string_view call)
{
    if (!isCurrent(store))
        refresh(store);
    const auto next = std::ranges::find(store.injections, call, &Injection::call);
    return next == store.injections.end() ? std::nullopt : std::optional(*next);
}

bool isNext(Store &store, const Injection &injection)
{
    const auto next = nextInjection(store, injection.call);
    return next && next->id == injection.id;
}

// Sleeps for the delay of an injection, or until the injection is removed.
void hangFor(Store &store, const Injection &injection)
{
    constexpr int slice = 200; // milliseconds
    for (int left = injection.delay; left > 0 && isNext(store, injection); left -= slice)
        sleepFor(std::min(left, slice));
}

void takeOut(Store &store, const Injection &injection)
{
    const auto found = std::ranges::find(store.injections, injection.id, &Injection::id);
    if (injection.times > 1) {
        --found->times;
        store.database->run("UPDATE injection SET times = times - 1 WHERE id = ?", injection.id);
    } else if (injection.times == 1) {
        store.injections.erase(found);
        store.database->run("DELETE FROM injection WHERE id = ?", injection.id);
    }
}

std::string describe(const Injection &injection)
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

} // namespace

void inject(Store &store, const Injection &injection)
{
    write(store, [&] {
        store.database->run(
            "INSERT INTO injection (call, result, times, delay, text) VALUES (?, ?, ?, ?, ?)",
            injection.call, injection.result, injection.times, injection.delay, injection.text);
        store.injections.push_back(injection);
        store.injections.back().id = store.database->connection.getLastInsertRowid();
        writeDown(store,
                  {.operation = "inject", .argument = describe(injection), .result = "done"});
    });
}

void clearInjections(Store &store, const std::string &call)
{
    write(store, [&] {
        store.database->run("DELETE FROM injection WHERE call = ?", call);
        std::erase_if(store.injections, [&](const Injection &each) { return each.call == call; });
        writeDown(store, {.operation = "inject", .argument = call + " off", .result = "done"});
    });
}

std::vector<Injection> injections(Store &store)
{
    refresh(store);
    return store.injections;
}

std::vector<Injection> readInjections(Database &database)
{
    std::vector<Injection> result;
    database.each("SELECT id, call, result, times, delay, text FROM injection ORDER BY id",
                  [&](const QueryRow &row) {
                      Injection injection = {.id = row.getColumn(0).getInt64(),
                                             .call = row.getColumn(1).getString(),
                                             .times = row.getColumn(3).getInt(),
                                             .delay = row.getColumn(4).getInt()};
                      if (!row.isColumnNull(2))
                          injection.result = row.getColumn(2).getInt();
                      if (!row.isColumnNull(5))
                          injection.text = row.getColumn(5).getString();
                      result.push_back(std::move(injection));
                  });
    return result;
}

// A program that is killed while it hangs has done nothing.
void withInjection(Store &store, std::string_view call,
                   const std::function<void(const std::optional<Injection> &)> &work)
{
    int64_t hungFor = 0; // the injection whose delay is over
    for (bool isOver = false; !isOver;) {
        std::optional<Injection> next;
        write(store, [&] {
            next = nextInjection(store, call);
            isOver = !next || next->delay == 0 || next->id == hungFor;
            if (isOver && next)
                takeOut(store, *next);
            if (isOver)
                work(next);
        });
        if (isOver)
            return;
        hangFor(store, *next);
        hungFor = next->id;
    }
}

std::optional<Injection> takeInjection(Store &store, std::string_view call)
{
    std::optional<Injection> taken;
    if (nextInjection(store, call))
        withInjection(store, call, [&](const auto &injection) { taken = injection; });
    return taken;
}

} // namespace sim
