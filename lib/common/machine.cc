#include "common/machine.h"

#include "common/paths.h"
#include "common/toml.h"

#include <cstdlib>
#include <unistd.h>

namespace yat {

namespace {

std::string configurationFile()
{
    return configurationDirectory() + "/yatkit.toml";
}

const char *wantedMachine()
{
    const char *wanted = secure_getenv("YAT_MACHINE");
    return wanted && *wanted ? wanted : nullptr;
}

} // namespace

std::string configuredMachine(const std::string &file, std::string *mistake)
{
    const auto complain = [&](const toml::source_position &where, std::string_view what) {
        if (mistake)
            *mistake = file + ":" + std::to_string(where.line) + ": " + std::string(what);
    };
    if (access(file.c_str(), F_OK) != 0)
        return {};
    const toml::parse_result configuration = toml::parse_file(file);
    if (!configuration) {
        complain(configuration.error().source().begin, configuration.error().description());
        return {};
    }
    const toml::node *machine = configuration.table().get("machine");
    const std::string *name = machine && machine->is_string() ? &machine->as_string()->get()
                                                              : nullptr;
    if (machine && (!name || name->empty()))
        complain(machine->source().begin,
                 "machine has to be the name of a machine or the path of its description, in "
                 "quotes");
    return name ? *name : std::string();
}

std::string configurationMistake()
{
    std::string mistake;
    if (!wantedMachine())
        configuredMachine(configurationFile(), &mistake);
    return mistake;
}

std::string machineName()
{
    if (const char *wanted = wantedMachine())
        return wanted;
    const std::string configured = configuredMachine(configurationFile());
    return configured.empty() ? "CEDAR" : configured;
}

bool machineIsHardware()
{
    return machineName() == "hardware";
}

std::string descriptionFile()
{
    const std::string name = machineName();
    return name.find('/') != std::string::npos ? name
                                               : productRoot() + "/data/machines/" + name + ".toml";
}

} // namespace yat
