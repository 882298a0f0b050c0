// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatsim/commandline.h"

#include "common/problem.h"
#include "common/version.h"
#include "shared/program.h"
#include "sim/injection.h"
#include "sim/rules.h"
#include "text/encoding.h"
#include "yatsim/commands.h"

#include <CLI/CLI.hpp>

namespace sim {
namespace {

const char about[] =
    "Shows a simulated fault-tolerant server and does to it what happens to real ones:\n"
    "failures, repairs, modules pulled and inserted. Use it alongside mrvutil, which shows\n"
    "the changes when its window is refreshed.\n";

const char footer[] =
    "Examples:\n"
    "  yatsim list                            the devices and their states\n"
    "  yatsim fail cpu2                       CPU module 2 fails once\n"
    "  yatsim pull pci1                       PCI module 1 is pulled out while it runs\n"
    "  yatsim inject InitBringUp 0 --times 2  the next two starts of a module fail\n"
    "  yatsim inject StatusChange real --delay 3000\n"
    "                                         the next reading of a state takes 3 s\n"
    "  yatsim set cpu1.mtbf_type 0            CPU module 1 stays down when it fails\n"
    "  yatsim set time +60                    a minute passes at once\n"
    "  YAT_TIME_SCALE=60 mrvutil              a minute takes a second; give it to yatsim, too\n"
    "\n"
    "The machine is the one mrvutil shows: YAT_MACHINE, or machine in yatkit.toml, or CEDAR.\n"
    "The exit status is 0 for success and 1 for failure; standard error then says why.\n"
    "\n"
    "'yatsim SUBCOMMAND --help' describes a subcommand. See also yatsim(1) and, for the\n"
    "descriptions of machines, yat-machine(5).";

std::string aboutDevices()
{
    return "DEVICE is a short name such as cpu1, pci2, scsi1 or ethernet3, or the name that"
           " mrvutil\nshows, such as \"CPU module 1\". 'yatsim list' names them all.";
}

std::string aboutKeys()
{
    std::string result;
    for (const SetKey &key : setKeys())
        result += "  " + std::string(key.owner != SetKey::machine ? "DEVICE." : "") + key.key
                  + "\n      " + key.values + (*key.about ? ", " : "") + key.about + "\n";
    return "Keys and their values:\n" + result + "\n" + aboutDevices();
}

std::string aboutInjections()
{
    std::string calls;
    for (const auto &call : injectableCalls)
        calls += "  " + std::string(call.word) + "\n";
    return "RESULT is the number that the call returns, 'real' for its real result, or 'off' to\n"
           "remove all injections for the call. An operation that is given a number is not\n"
           "carried out. Without --text, a call that succeeds gives its real text or value.\n"
           "\nCalls:\n"
           + calls;
}

struct Argument {
    const char *name = nullptr, *help = nullptr;
    bool required = true;
    bool mayBeEmpty = false;
};

constexpr Argument device = {"DEVICE", "The device's short name or its display name"};

struct Command {
    const char *name;
    void (*run)(const Request &);
    const char *help;
    bool prints = false;
    std::array<Argument, 2> words{};
    std::string (*more)() = nullptr; // below the help
};

constexpr Command commands[] = {
    {"init", init, "Create the state of a machine that has none yet"},
    {"list", listDevices, "List the devices and their states", true},
    {"show",
     show,
     "Show a device, or the machine with its clock and its injections",
     true,
     {{{"DEVICE", "The device; without it, the machine is shown", false}}},
     aboutDevices},
    {"fail",
     act<Verb::fail>,
     "Make a device fail; its MTBF type decides whether it starts again",
     false,
     {{device}},
     aboutDevices},
    {"repair",
     act<Verb::repair>,
     "Repair a broken device; its failures stay counted",
     false,
     {{device}},
     aboutDevices},
    {"pull",
     act<Verb::pull>,
     "Pull a module out, whatever it is doing",
     false,
     {{device}},
     aboutDevices},
    {"insert",
     act<Verb::insert>,
     "Insert a module into its empty slot",
     false,
     {{device}},
     aboutDevices},
    {"inject",
     injectCall,
     "Make a platform call fail, hang, or answer as you like",
     false,
     {{{"CALL", "The call, by its name"}, {"RESULT", "A number, 'real' or 'off'"}}},
     aboutInjections},
    {"set",
     set,
     "Set a value of the machine, or of a device",
     false,
     {{{"KEY", "KEY of the machine, or DEVICE.KEY"}, {"VALUE", "The value", true, true}}},
     aboutKeys},
    {"journal", journal, "Print the journal of all operations requested", true},
    {"export", exportDescription, "Print the description of a machine like this one", true},
    {"import",
     importDescription,
     "Rebuild the machine from a description; the journal continues",
     false,
     {{{"FILE", "The description, see yat-machine(5)"}}}},
    {"reset", reset, "Rebuild the machine from its own description; the journal continues"},
};

// The limits of a number, told by messages and not by the help.
CLI::Validator between(int64_t least, int64_t most)
{
    return CLI::Range(least, most).description("");
}

void addOptions(CLI::App &app, Request &request, const Command &command)
{
    for (size_t i = 0; i < command.words.size() && command.words[i].name; ++i) {
        const Argument &argument = command.words[i];
        CLI::Option *option = app.add_option(argument.name, request.words[i], argument.help)
                                  ->type_name("")
                                  ->required(argument.required);
        if (!argument.mayBeEmpty)
            option->check(emptiness);
    }
    if (command.prints)
        app.add_flag("--json", request.json, "Print JSON instead of text");
    const std::string_view name = command.name;
    if (name == "fail")
        app.add_flag("--permanent", request.permanent,
                     "It fails again at every start until it is repaired");
    if (name == "journal")
        app.add_option("--last", request.last, "Print only the last N operations")
            ->type_name("N")
            ->check(between(1, int64_t{1} << 53));
    if (name == "inject") {
        app.add_option("--times", request.times,
                       "For the next N calls, 1 by default; 0: until removed")
            ->type_name("N")
            ->check(between(0, mostTimes));
        app.add_option("--delay", request.delay, "Delay the call by so many milliseconds")
            ->type_name("MS")
            ->check(between(0, longestDelay));
        app.add_option("--text", request.text, "What the call gives: a text, or numbers")
            ->type_name("TEXT");
    }
    if (command.more)
        app.footer(command.more());
}

// The help of a subcommand has the options that it shares with the others, too.
struct CompleteHelp : CLI::Formatter {
    std::string make_subcommands(const CLI::App *app, CLI::AppFormatMode mode) const override
    {
        const CLI::App *parent = app->get_parent();
        return parent ? make_group("Of every subcommand", false, {parent->get_option("--machine")})
                      : Formatter::make_subcommands(app, mode);
    }
};

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
    for (const Command &command : commands)
        known.push_back(command.name);
    return "no subcommand '" + yat::fromDisplay(rest[0]) + "', expected one of " + joined(known);
}

void toUtf8(Request &request)
{
    if (request.command != importDescription) // the name of a file is what its bytes are
        for (std::string &word : request.words)
            word = fromArgument(word);
    if (request.text)
        request.text = fromArgument(*request.text);
}

} // namespace

std::optional<Request> parseCommandLine(int argc, char **argv)
{
    Request request;
    CLI::App app(about, "yatsim");
    app.formatter(std::make_shared<CompleteHelp>());
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("--machine", request.machine,
                   "The machine to use: its name, or the path of a description")
        ->type_name("NAME")
        ->check(emptiness);
    app.set_version_flag("--version", std::string("yatsim of mrvutil ") + yat::productVersion,
                         "Print the version of the product and exit");
    for (const Command &command : commands) {
        CLI::App *each = app.add_subcommand(command.name, command.help);
        addOptions(*each, request, command);
        each->callback([&request, &command] { request.command = command.run; });
    }
    app.footer(footer); // last, or the commands would inherit it
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp &) {
        printf("%s", app.help().c_str());
        return {};
    } catch (const CLI::CallForVersion &version) {
        printf("%s\n", version.what());
        return {};
    } catch (const CLI::ParseError &problem) {
        throw yat::Problem(toString(app, problem));
    }
    toUtf8(request);
    return request;
}

} // namespace sim
