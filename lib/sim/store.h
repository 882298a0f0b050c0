// The state of a simulated machine in its file, shared by all programs that work on the machine.
//
// Each call is one transaction: what is due by now happens, the operation is carried out or
// refused, and it is written down in the journal; all of it or nothing. Functions throw
// yat::Problem when the file can't be used, and leave it as it was.
#pragma once

#include "common/machine.h"
#include "sim/operations.h"
#include "sim/statefile.h"
#include "sim/tables.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace sim {

struct Store {
    std::string file;            // NAME.db
    std::string descriptionFile; // what a machine is made from that has no state yet
    Asker asker;

    // An open file, and the description in it.
    std::unique_ptr<Database> database;
    KnownDescription description;
};

// The store of a simulated machine. A mistake in the environment is thrown.
Store configuredStore(const yat::ConfiguredMachine &machine = yat::configuredMachine());

// Opens the file, which other functions do by themselves, and makes it from the description when
// there is none. True when it was made.
bool openStore(Store &store);

// What a call of yat/ft.h or yat/hwinfo.h is to do instead of what it does.
struct Injection {
    std::string call{};
    std::optional<int> result{}; // none: what the call answers really
    int times = 1;               // 0: without end
    int delay = 0;               // milliseconds
    std::optional<std::string> text{};
};

// Reads the machine as it is now. An injection for the call is taken out; its delay is over when
// work is called. It stays until then, so another call that comes meanwhile hangs as well;
// when it is taken back, the call goes on without it.
using Look = std::function<void(const Machine &, const std::optional<Injection> &)>;
void look(Store &store, const char *call, const Look &work);
Machine look(Store &store);

// Carries an operation out and puts it into the journal. An injection for its call is taken out
// and answers in its place.
struct Outcome {
    Refusal refusal = Refusal::none;
    std::optional<int> injected;
};
Outcome perform(Store &store, const Operation &operation);

// Puts an operation that was refused before it came to the machine into the journal. The row has
// the reason as its result, and no times.
void refuse(Store &store, JournalRow row);

// The calls that injections can be for, and what they give beside their result, which is the text
// of an injection: a text, a number, or the bytes of bytesOf.
enum class Gift { nothing, text, number, bytes };
struct InjectableCall {
    std::string name;
    Gift gift = Gift::nothing;
};
extern const std::vector<InjectableCall> injectableCalls;

void inject(Store &store, const Injection &injection);
void clearInjections(Store &store, const std::string &call);
std::vector<Injection> injections(Store &store);

// A machine made anew from a description. The journal goes on. Mistakes in the description are
// thrown as one yat::Problem with a line each.
void resetMachine(Store &store); // from descriptionFile
void importMachine(Store &store, const std::string &file);

// Whether the machine is still that of its description file: empty, or what to know about it.
std::string descriptionNote(Store &store);

// The clock, as it is and at this moment.
Clock clockOf(Store &store);

// Calls work for the last rows of the journal, 0 for all, the oldest first.
void readJournal(Store &store, int64_t last, const std::function<void(const JournalRow &)> &work);

} // namespace sim
