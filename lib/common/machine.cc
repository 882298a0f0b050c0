#include "common/machine.h"

#include "common/paths.h"
#include "common/toml.h"

#include <cstdlib>

namespace yat {

std::string machineName()
{
    if (const char *wanted = secure_getenv("YAT_MACHINE"); wanted && *wanted)
        return wanted;
    const toml::parse_result configuration =
        toml::parse_file(configurationDirectory() + "/yatkit.toml");
    const std::string configured =
        configuration ? configuration.table()["machine"].value_or(std::string()) : std::string();
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
