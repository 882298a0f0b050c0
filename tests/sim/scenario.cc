// SPDX-License-Identifier: GPL-2.0-or-later
#include "scenario.h"

#include "sim/terms.h"

#include <clocale>

namespace {

int codeFor(sim::Verb verb, const yat_device *device)
{
    return sim::supportCode(verb, device->identity->ClassCode) + 1;
}

} // namespace

Scenario::Scenario()
{
    setlocale(LC_ALL, "C.UTF-8");
}

void Scenario::TearDown()
{
    leave();
    setlocale(LC_ALL, "C");
    EXPECT_EQ(wasWatched, GetParam());
}

void Scenario::leave()
{
    if (watcher)
        endWatch();
    watcher.reset();
    interface.reset();
    sandbox.reset();
}

void Scenario::endWatch()
{
    const auto sight = watcher->finish();
    wasWatched = true;
    ASSERT_TRUE(sight) << "the second process did not end as it should";
    EXPECT_GE(sight->looks, 2);
    EXPECT_EQ(sight->failures, 0);
    EXPECT_EQ(sight->fault, "");
    EXPECT_EQ(sight->view, view());
}

void Scenario::prepare(const std::string &machine, const std::string &part,
                       const std::string &replacement, const std::string &timeScale)
{
    sandbox.emplace(machine, timeScale);
    if (!part.empty())
        sandbox->describe(shipped(machine, part, replacement), machine + ".toml");
}

void Scenario::open()
{
    if (GetParam())
        watcher.emplace();
    interface.emplace();
}

void Scenario::begin(const std::string &machine, const std::string &part,
                     const std::string &replacement, const std::string &timeScale)
{
    prepare(machine, part, replacement, timeScale);
    open();
}

void Scenario::pass(double seconds)
{
    const auto seeTheSame = [&] {
        if (watcher) {
            EXPECT_EQ(watcher->look(), view());
        }
    };
    seeTheSame();
    steer("set time +" + std::to_string(seconds));
    seeTheSame();
}

void Scenario::inject(const std::string &call, const std::string &answer)
{
    if (watcher)
        watcher->leaveOut(call);
    steer("inject " + call + " " + answer);
}

bool Scenario::can(const std::string &device, int support)
{
    int why = -1;
    const bool result = IfSupport(record(device), support, &why) != 0;
    EXPECT_EQ(result, why == 0);
    return result;
}

int Scenario::detail(const std::string &device, int support)
{
    int why = -1;
    IfSupport(record(device), support, &why);
    return why;
}

int Scenario::clearMtbf(const std::string &device)
{
    return ClearMTBF(record(device), codeFor(sim::Verb::clearMtbf, record(device)));
}

int Scenario::start(const std::string &device)
{
    return InitBringUp(record(device), codeFor(sim::Verb::bringUp, record(device)));
}

int Scenario::stop(const std::string &device)
{
    return InitBringDown(record(device), codeFor(sim::Verb::bringDown, record(device)));
}

int Scenario::burn(const std::string &device, const char *mode)
{
    return BurnFirmware(record(device), codeFor(sim::Verb::burnFirmware, record(device)), mode);
}

int Scenario::setType(const std::string &device, const char *type)
{
    return SetMtbfType(record(device), codeFor(sim::Verb::setMtbfType, record(device)), type);
}

std::string Scenario::biosVersion(int number) const
{
    return property(YAT_KIND_CPU_MODULE, number, YAT_PROPERTY_BIOS_VERSION);
}

std::string Scenario::biosStatus(int number) const
{
    return property(YAT_KIND_CPU_MODULE, number, YAT_PROPERTY_BIOS_STATUS);
}

nlohmann::json Scenario::shown(const std::string &device)
{
    return nlohmann::json::parse(steer("show " + device + " --json"));
}

nlohmann::json Scenario::journal()
{
    return nlohmann::json::parse(steer("journal --json"));
}

std::string scenarioName(const testing::TestParamInfo<bool> &info)
{
    return info.param ? "Watched" : "Alone";
}
