// SPDX-License-Identifier: GPL-2.0-or-later
#include "common/configuration.h"

#include "common/file.h"
#include "common/paths.h"
#include "common/problem.h"
#include "common/toml.h"

#include <cstdlib>
#include <unistd.h>

namespace yat {
namespace {

toml::table configurationIn(const std::string &file)
{
    return access(file.c_str(), F_OK) == 0 ? parseToml(readFile(file), file) : toml::table();
}

std::string configurationFile()
{
    return configurationDirectory() + "/yatkit.toml";
}

} // namespace

bool areOperationsAllowedIn(const std::string &file)
{
    const toml::table configuration = configurationIn(file);
    const toml::node *operations = configuration.get("operations");
    if (operations && !operations->is_boolean())
        throw Problem(
            inLine(file, operations->source().begin.line, "operations must be true or false"));
    return operations && operations->value_or(false);
}

bool areOperationsAllowed()
{
    return areOperationsAllowedIn(configurationFile());
}

std::string machineNamedIn(const std::string &file)
{
    const toml::table configuration = configurationIn(file);
    const toml::node *machine = configuration.get("machine");
    if (!machine)
        return {};
    const std::string name = machine->value_exact<std::string>().value_or("");
    if (name.empty())
        throw Problem(inLine(file, machine->source().begin.line,
                             "machine must be a name or a path in quotes; see yatkit.toml(5)"));
    return name;
}

ConfiguredMachine configuredMachine()
{
    ConfiguredMachine machine;
    const char *wanted = secure_getenv("YAT_MACHINE");
    const std::string name = wanted && *wanted ? wanted : machineNamedIn(configurationFile());
    if (!name.empty())
        machine.name = name;
    machine.isMakers = machine.name.ends_with(".so");
    machine.isHardware = machine.name == "hardware" || machine.isMakers;
    machine.platform =
        machine.isMakers
            ? machine.name
            : productRoot() + "/lib/" + (machine.isHardware ? "yathost.dll" : "yatcore.dll");
    machine.isPath = machine.name.find('/') != std::string::npos;
    machine.descriptionFile =
        machine.isPath ? machine.name : productRoot() + "/data/machines/" + machine.name + ".toml";
    return machine;
}

} // namespace yat
