// yatsim: looks at a simulated machine, and does to it what operations of the product can't.
#include "common/machine.h"
#include "common/problem.h"
#include "yatsim/report.h"
#include "sim/bytes.h"
#include "sim/making.h"
#include "sim/setkeys.h"
#include "sim/words.h"
#include "sim/writing.h"
#include "text/encoding.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <clocale>
#include <langinfo.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using namespace sim;

// What the command line says.
struct Request {
    std::string machine;
    bool json = false;
    std::array<std::string, 2> words; // DEVICE; CALL and RESULT; KEY and VALUE; FILE, as it is
    bool permanent = false;
    std::optional<int> times, delay;
    std::optional<std::string> text;
    int64_t last = 0;
    void (*command)(const Request &) = nullptr;

    Form form() const
    {
        return json ? Form::json : Form::text;
    }
};

Store simulatedStore()
{
    const yat::ConfiguredMachine machine = yat::configuredMachine();
    if (machine.isHardware)
        throw yat::Problem("the configuration names the machine that this runs on, which is not "
                      "simulated; choose another one with --machine or YAT_MACHINE");
    return configuredStore(machine);
}

std::string list(const std::vector<std::string> &words)
{
    std::string result;
    for (const std::string &word : words)
        result += (result.empty() ? "" : ", ") + word;
    return result;
}

std::string noDevice(const Machine &machine, const std::string &name)
{
    std::vector<std::string> known;
    for (const Device &each : machine.devices)
        known.push_back(nameOf(each.id));
    return "no device '" + name + "', expected one of " + list(known);
}

// Tells what is wrong with an operation that doesn't come to the machine, and puts it into the
// journal, with the reason as the result of the row.
[[noreturn]] void refuseAndFail(Store &store, const JournalRow &row, const std::string &mistake)
{
    refuse(store, row);
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

void performOrFail(Store &store, const Operation &operation)
{
    const Refusal refusal = perform(store, operation);
    if (refusal != Refusal::none)
        throw yat::Problem(std::string(nameOf(operation.verb)) + " " + nameOf(operation.device) + ": "
                      + std::string(nameOf(refusal)));
}

// ---- Commands

void init(const Request &)
{
    Store store = simulatedStore();
    if (!openStore(store))
        refuseAndFail(store,
                      {.operation = "init",
                       .argument = yat::fromDisplay(wholePath(store.descriptionFile)),
                       .result = "it is there already"},
                      yat::fromDisplay(store.file) + " is there already; 'yatsim reset' makes it anew");
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
    const DeviceId device = deviceFor(store, {.device = request.words[0],
                                              .operation = std::string(nameOf(verb)),
                                              .argument = argument});
    performOrFail(store, {.verb = verb, .device = device, .argument = argument});
}

std::optional<int> toNumber(const std::string &text)
{
    int number = 0;
    const char *end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

// What is wrong with an injection; empty for nothing.
std::string mistakeIn(const Request &request)
{
    const std::string &call = request.words[0], &result = request.words[1];
    const auto known = std::ranges::find(injectableCalls, call, &InjectableCall::name);
    if (known == injectableCalls.end()) {
        std::vector<std::string> names;
        for (const InjectableCall &each : injectableCalls)
            names.push_back(each.name);
        return "no call '" + call + "', expected one of " + list(names);
    }
    if (!toNumber(result) && result != "real" && result != "off")
        return "wrong result '" + result + "', expected a number of 32 bits, 'real' or 'off'";
    if (result == "off" && (request.times || request.delay || request.text))
        return "--times, --delay and --text go with a result, not with 'off'";
    if (!request.text)
        return {};
    const std::string wrong = "wrong text '" + *request.text + "' for " + call + ", expected ";
    switch (known->text) {
    case InjectedText::none: return call + " gives nothing but its result, so it takes no --text";
    case InjectedText::text: return {};
    case InjectedText::number: return toNumber(*request.text) ? "" : wrong + "a number of 32 bits";
    case InjectedText::bytes:
        return bytesOf(*request.text) ? ""
                                      : wrong + "1 to 16 numbers from 0 to 255, 0x before "
                                                "hexadecimal ones";
    }
    return {};
}

void injectCall(const Request &request)
{
    const std::string &call = request.words[0], &result = request.words[1];
    Store store = simulatedStore();
    if (const std::string mistake = mistakeIn(request); !mistake.empty())
        refuseAndFail(store,
                      {.operation = "inject",
                       .argument = call + " " + result,
                       .result = std::string(nameOf(Refusal::wrongArgument))},
                      mistake);
    if (result == "off") {
        clearInjections(store, call);
        return;
    }
    const Injection injection{.call = call,
                              .result = toNumber(result),
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
    const auto known = std::ranges::find_if(
        setKeys(), [&](const SetKey &each) { return each.key == key && each.ofDevice == ofDevice; });
    if (known == setKeys().end()) {
        std::vector<std::string> keys;
        for (const SetKey &each : setKeys())
            keys.push_back((each.ofDevice ? "DEVICE." : "") + std::string(each.key));
        row.result = nameOf(Refusal::wrongArgument);
        refuseAndFail(store, row, "no key '" + name + "', expected one of " + list(keys));
    }
    const DeviceId device = ofDevice ? deviceFor(store, row) : wholeMachine;
    const Refusal refusal =
        perform(store, {.verb = Verb::set, .device = device, .argument = row.argument});
    if (refusal == Refusal::wrongArgument)
        throw yat::Problem("wrong value '" + value + "' for " + name + ", expected " + known->values);
    if (refusal != Refusal::none)
        throw yat::Problem("set " + name + ": " + std::string(nameOf(refusal)));
}

void journal(const Request &request)
{
    Store store = simulatedStore();
    reportJournal(store, request.last, request.form());
}

void exportDescription(const Request &request)
{
    Store store = simulatedStore();
    const Description description = describe(look(store));
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

// ---- The command line

const char about[] =
    "Looks at a simulated fault-tolerant server and does to it what happens to real ones:\n"
    "failures, repairs, modules pulled and inserted. It works beside mrvutil, which shows\n"
    "what is new when its window is refreshed.\n";

const char aboutDevices[] =
    "DEVICE is a short name such as cpu1, pci2, scsi1 or ethernet3, or the name that mrvutil\n"
    "shows, such as \"CPU module 1\". 'yatsim list' names them all.";

const char footer[] =
    "Examples:\n"
    "  yatsim list                            the devices and their states\n"
    "  yatsim fail cpu2                       CPU module 2 fails once\n"
    "  yatsim pull pci1                       PCI module 1 is pulled out while it runs\n"
    "  yatsim inject InitBringUp 0 --times 2  the next two starts of a module fail\n"
    "  yatsim inject StatusChange real --delay 3000\n"
    "                                         the next state that is read takes 3 s\n"
    "  yatsim set cpu1.mtbf_type 0            CPU module 1 stays down when it fails\n"
    "  yatsim set time +60                    a minute passes at once\n"
    "  YAT_TIME_SCALE=60 mrvutil              a minute takes a second; give it to yatsim, too\n"
    "\n"
    "The machine is that of mrvutil: YAT_MACHINE, or machine in yatkit.toml, or CEDAR. The exit\n"
    "status is 0 when it was done and 1 when not, with a line on standard error that says why.\n"
    "\n"
    "'yatsim SUBCOMMAND --help' says what a subcommand takes. See also yatsim(1) and, for the\n"
    "descriptions of machines, yat-machine(5).";

std::string setHelp()
{
    std::string result;
    for (const SetKey &key : setKeys())
        result += "  " + std::string(key.ofDevice ? "DEVICE." : "") + key.key + "\n      "
                  + key.values + "\n";
    return "Keys and their values:\n" + result + "\n" + aboutDevices;
}

std::string injectHelp()
{
    std::string calls;
    for (const InjectableCall &call : injectableCalls)
        calls += "  " + call.name + "\n";
    return "RESULT is the number that the call returns, 'real' for what it returns really, or\n"
           "'off' to take all injections for the call back. An operation that is answered so is\n"
           "not carried out. Without --text, a call that succeeds gives its real text or value.\n"
           "\nCalls:\n"
           + calls;
}

struct Word {
    const char *name = nullptr, *help = nullptr;
    bool required = true;
    bool mayBeEmpty = false;
};

std::string emptiness(const std::string &argument)
{
    return argument.empty() ? "is empty" : "";
}

constexpr Word device = {"DEVICE", "Its short name or its display name"};

struct Command {
    const char *name, *help;
    void (*run)(const Request &);
    std::array<Word, 2> words{};
    bool prints = false;
    std::string more{}; // below the help
};

const std::vector<Command> &commands()
{
    static const std::vector<Command> all = {
        {"init", "Make the state of a machine that has none yet", init},
        {"list", "List the devices and their states", listDevices, {}, true},
        {"show",
         "Show a device, or the machine with its clock and its injections",
         show,
         {{{"DEVICE", "Without it, the machine", false}}},
         true,
         aboutDevices},
        {"fail",
         "Let a device fail; its MTBF type decides whether it starts again",
         act<Verb::fail>,
         {{device}},
         false,
         aboutDevices},
        {"repair",
         "Repair a broken device; its failures stay counted",
         act<Verb::repair>,
         {{device}},
         false,
         aboutDevices},
        {"pull",
         "Pull a module out, whatever it does",
         act<Verb::pull>,
         {{device}},
         false,
         aboutDevices},
        {"insert",
         "Insert a module into its empty slot",
         act<Verb::insert>,
         {{device}},
         false,
         aboutDevices},
        {"inject",
         "Make a call of the platform fail, hang, or answer as wanted",
         injectCall,
         {{{"CALL", "The call, by its name"}, {"RESULT", "A number, 'real' or 'off'"}}},
         false,
         injectHelp()},
        {"set",
         "Set a value of the machine, or of a device",
         set,
         {{{"KEY", "KEY of the machine, or DEVICE.KEY"}, {"VALUE", "The value", true, true}}},
         false,
         setHelp()},
        {"journal", "Print the journal of the operations that were asked for", journal, {}, true},
        {"export", "Print the description of a machine like this one", exportDescription, {}, true},
        {"import",
         "Make the machine anew from a description; the journal goes on",
         importDescription,
         {{{"FILE", "The description, see yat-machine(5)"}}}},
        {"reset", "Make the machine anew from its own description; the journal goes on", reset},
    };
    return all;
}

// The limits of a number, told by messages and not by the help.
CLI::Validator between(int64_t least, int64_t most)
{
    return CLI::Range(least, most).description("");
}

void addOptions(CLI::App &app, Request &request, const Command &command)
{
    for (size_t i = 0; i < command.words.size() && command.words[i].name; ++i) {
        const Word &word = command.words[i];
        CLI::Option *option = app.add_option(word.name, request.words[i], word.help)
                                  ->type_name("")
                                  ->required(word.required);
        if (!word.mayBeEmpty)
            option->check(emptiness);
    }
    if (command.prints)
        app.add_flag("--json", request.json, "Print JSON instead of text");
    const std::string_view name = command.name;
    if (name == "fail")
        app.add_flag("--permanent", request.permanent,
                     "It fails again at each start until it is repaired");
    if (name == "journal")
        app.add_option("--last", request.last, "Only the last N lines")
            ->type_name("N")
            ->check(between(1, int64_t{1} << 53));
    if (name == "inject") {
        app.add_option("--times", request.times, "For the next N calls (1); 0: until it is off")
            ->type_name("N")
            ->check(between(0, 1'000'000'000));
        app.add_option("--delay", request.delay, "The call takes so many milliseconds more")
            ->type_name("MS")
            ->check(between(0, 86'400'000));
        app.add_option("--text", request.text, "What the call gives: a text, or numbers")
            ->type_name("TEXT");
    }
    app.footer(command.more);
}

// Arguments come in the encoding of the locale; one that doesn't would be another one here.
void toUtf8(std::string &argument)
{
    if (!yat::isDisplayable(argument.c_str()))
        throw yat::Problem("'" + yat::fromDisplay(argument) + "' is not in the encoding of the locale, "
                      + nl_langinfo(CODESET));
    argument = yat::fromDisplay(argument);
}

void toUtf8(Request &request)
{
    if (request.command != importDescription) // the name of a file is what its bytes are
        for (std::string &word : request.words)
            toUtf8(word);
    if (request.text)
        toUtf8(*request.text);
}

void print(const std::string &problem)
{
    size_t begin = 0;
    while (begin <= problem.size()) {
        const size_t end = std::min(problem.find('\n', begin), problem.size());
        fprintf(stderr, "yatsim: %s\n",
                yat::toDisplay(yat::printable(problem.substr(begin, end - begin))).c_str());
        begin = end + 1;
    }
}

// The exit status of what succeeded, if it could be written too.
int statusOfOutput()
{
    if (fflush(stdout) == 0 && !ferror(stdout))
        return 0;
    print(std::string("standard output can't be written: ") + yat::reason(errno));
    return 1;
}

// What is wrong with the command line.
std::string toString(const CLI::App &app, const CLI::ParseError &problem)
{
    if (!app.get_subcommands().empty())
        return std::string(problem.what()) + "; 'yatsim " + app.get_subcommands()[0]->get_name()
               + " --help' says more";
    const std::vector<std::string> rest = app.remaining();
    if (rest.empty() || rest[0].starts_with('-'))
        return (rest.empty() ? problem.what() : "no option '" + rest[0] + "'")
               + "; 'yatsim --help' says more";
    std::vector<std::string> known;
    for (const Command &command : commands())
        known.push_back(command.name);
    return "no subcommand '" + yat::fromDisplay(rest[0]) + "', expected one of " + list(known);
}

int run(Request &request)
try {
    toUtf8(request);
    if (!request.machine.empty())
        setenv("YAT_MACHINE", request.machine.c_str(), 1);
    request.command(request);
    return statusOfOutput();
} catch (const std::exception &problem) {
    print(problem.what());
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (!setlocale(LC_ALL, "")) // texts are UTF-8 then, whatever else the machine lacks
        setlocale(LC_CTYPE, "C.UTF-8");
    Request request;
    CLI::App app(about, "yatsim");
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("--machine", request.machine, "Another machine: a name, or a description's path")
        ->type_name("NAME")
        ->check(emptiness);
    for (const Command &command : commands()) {
        CLI::App *each = app.add_subcommand(command.name, command.help);
        addOptions(*each, request, command);
        each->callback([&request, &command] { request.command = command.run; });
    }
    app.footer(footer); // last, or the commands would inherit it
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp &) {
        printf("%s", app.help().c_str());
        return statusOfOutput();
    } catch (const CLI::ParseError &problem) {
        print(toString(app, problem));
        return 1;
    }
    return run(request);
}
