// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatctl/commandline.h"

#include "common/terms.h"
#include "common/version.h"
#include "shared/program.h"
#include "yatctl/commands.h"
#include "yatctl/failure.h"
#include "yatctl/operations.h"
#include "yatctl/watch.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace yatctl {
namespace {

const char about[] =
    "Shows the devices of a fault-tolerant server and does to them what mrvutil does, for scripts\n"
    "and other programs.\n";

const char footer[] =
    "DEVICE is a short name such as cpu1, pci2, scsi1 or ethernet3, the name that mrvutil shows,\n"
    "or a path such as 10/2. 'yatctl list' names them all.\n"
    "\n"
    "Exit status: 0 done, 1 failed, 2 wrong command line, 3 not supported or refused, 4 no such\n"
    "device, 5 the platform can't be reached. Standard error says why.\n"
    "\n"
    "'yatctl COMMAND --help' describes a command. See also yatctl(1).";

// What a command takes.
constexpr unsigned device = 1, json = 2, operation = 4, waits = 8;

struct Command {
    const char *name, *help;
    void (*run)(const Request &);
    unsigned takes;
};

constexpr Command commands[] = {
    {"list", "List the devices with their states and failures", listDevices, json},
    {"show", "Show a device", show, device | json},
    {"start", "Start a module", operate, device | json | operation | waits},
    {"stop", "Stop a module", operate, device | json | operation | waits},
    {"clear", "Clear the MTBF count of a device", operate, device | json | operation},
    {"set-type", "Set the MTBF type of a module", operate, device | json | operation},
    {"update", "Update the BIOS of a CPU module", operate, device | json | operation | waits},
    {"settings", "Show or change the settings of the machine", settings, json | operation},
    {"bmc", "Show the firmware revision of the management controller", bmc, json},
    {"watch", "Print a line for each change of a state, until ended", watch, json},
    {"metrics", "Print what a monitoring system collects, as OpenMetrics", metrics, 0},
};

// A number of seconds in digits, with a fraction where that is allowed; not 1e3, 0x10 or nan.
CLI::Validator between(double least, double most, const char *signs)
{
    return CLI::Validator(
        [=](const std::string &text) -> std::string {
            const bool isNumber = text.find_first_not_of(signs) == std::string::npos
                                  && std::ranges::count(text, '.') <= 1;
            const double value = isNumber ? strtod(text.c_str(), nullptr) : -1;
            char expected[64];
            snprintf(expected, sizeof expected, "expected seconds from %g to %g", least, most);
            return value >= least && value <= most ? "" : "'" + text + "': " + expected;
        },
        "");
}

std::vector<std::string> mtbfTypes()
{
    std::vector<std::string> types;
    for (const yat::MtbfType &type : yat::mtbfTypes)
        types.push_back(std::to_string(type.value));
    return types;
}

void addOwnArguments(CLI::App &app, Request &request, std::string_view name)
{
    if (name == "set-type")
        app.add_option("TYPE", request.argument,
                       "What a failure leads to: " + yat::mtbfTypesInWords())
            ->type_name("")
            ->required()
            ->check(CLI::IsMember(mtbfTypes()).description(""));
    if (name == "update")
        app.add_option("SOURCE", request.argument,
                       "copy: from the CPU module that runs; file: from the data file")
            ->type_name("")
            ->required()
            ->check(CLI::IsMember({"copy", "file"}).description(""));
    if (name == "settings")
        app.add_option("KEY=VALUE", request.assignments,
                       std::string(yat::settings[0].key) + " or " + yat::settings[1].key
                           + ", on or off")
            ->type_name("");
    if (name == "watch")
        app.add_option("--interval", request.interval, "Seconds between two looks, 2 by default")
            ->type_name("SECONDS")
            ->check(between(0.1, 86400, "0123456789."));
    if (name == "metrics")
        app.add_option("--output", request.output,
                       "Write FILE in one step, so that nobody reads half of it")
            ->type_name("FILE")
            ->check(emptiness);
}

void addOptions(CLI::App &app, Request &request, const Command &command)
{
    if (command.takes & device)
        app.add_option("DEVICE", request.device, "The device")
            ->type_name("")
            ->required()
            ->check(emptiness);
    addOwnArguments(app, request, command.name);
    if (command.takes & operation) {
        app.add_flag("--check", request.check, "Ask only whether it can be done");
        app.add_flag("-y,--yes", request.yes, "Do it without asking for confirmation");
    }
    if (command.takes & waits)
        app.add_flag("--wait{600}", request.wait, "Wait until it is done, 600 seconds by default")
            ->check(between(1, 86400, "0123456789"));
    if (command.takes & json)
        app.add_flag("--json", request.json, "Print JSON");
}

// An option whose value may be left out is shown as it is written.
struct Help : CLI::Formatter {
    std::string make_option_name(const CLI::Option *option, bool isPositional) const override
    {
        std::string name = Formatter::make_option_name(option, isPositional);
        const size_t brace = name.find('{');
        return brace == std::string::npos ? name : name.substr(0, brace) + "[=SECONDS]";
    }
};

// What is wrong with the command line.
std::string toString(const CLI::App &app, const CLI::ParseError &problem)
{
    const auto chosen = app.get_subcommands();
    const std::string more =
        "; 'yatctl " + (chosen.empty() ? "" : chosen[0]->get_name() + " ") + "--help' says more";
    const std::vector<std::string> rest = app.remaining();
    if (!chosen.empty() || rest.empty())
        return problem.what() + more;
    return (rest[0].starts_with('-') ? "no option '" : "no command '") + rest[0] + "'" + more;
}

} // namespace

std::optional<Request> parseCommandLine(int argc, char **argv)
{
    Request request;
    CLI::App app(about, "yatctl");
    app.formatter(std::make_shared<Help>());
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("yatctl of mrvutil ") + yat::productVersion,
                         "Print the version of the product and exit");
    for (const Command &command : commands) {
        CLI::App *each = app.add_subcommand(command.name, command.help);
        addOptions(*each, request, command);
        each->callback([&request, &command] {
            request.name = command.name;
            request.command = command.run;
        });
    }
    app.footer(footer); // last, or the commands would inherit it
    try {
        std::vector<std::string> arguments;
        for (int i = argc - 1; i > 0; --i)
            arguments.push_back(fromArgument(argv[i]));
        app.parse(arguments);
    } catch (const CLI::CallForHelp &) {
        printf("%s", app.help().c_str());
        return {};
    } catch (const CLI::CallForVersion &version) {
        printf("%s\n", version.what());
        return {};
    } catch (const CLI::ParseError &problem) {
        throw Failure(usage, toString(app, problem));
    } catch (const yat::Problem &problem) {
        throw Failure(usage, problem.what());
    }
    return request;
}

} // namespace yatctl
