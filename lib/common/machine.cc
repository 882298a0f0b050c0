#include "common/machine.h"

#include "common/paths.h"
#include "common/toml.h"

#include <cstdlib>

namespace yat {

std::string configuredMachine(const std::string &file)
{
    const toml::parse_result configuration = toml::parse_file(file);
    return configuration ? configuration.table()["machine"].value_or(std::string())
                         : std::string();
}

std::string machineName()
{
    if (const char *wanted = secure_getenv("YAT_MACHINE"); wanted && *wanted)
        return wanted;
    const std::string configured = configuredMachine(configurationDirectory() + "/yatkit.toml");
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
