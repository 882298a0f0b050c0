// SPDX-License-Identifier: GPL-2.0-or-later
#include "scenario.h"

#include "sim/terms.h"

#include <clocale>

namespace {

int codeFor(sim::Verb verb, const yat_device *device)
{
    return sim::supportCode(verb, device->identity->ClassCode) + 1;
}

void expectOperationsToFail(int classCode, const std::vector<int> &supports)
{
    yat_identity identity = {.Instance = 1, .ClassCode = classCode, .DevicePathID = {}};
    yat_device device{};
    device.identity = &identity;
    for (const int support : supports) {
        SCOPED_TRACE("class " + std::to_string(classCode) + " code " + std::to_string(support));
        int why = 77;
        EXPECT_EQ(IfSupport(&device, support, &why), 0);
        EXPECT_EQ(why, 77);
        EXPECT_EQ(ClearMTBF(&device, support + 1), 0);
        EXPECT_EQ(InitBringUp(&device, support + 1), 0);
        EXPECT_EQ(InitBringDown(&device, support + 1), 0);
        EXPECT_EQ(BurnFirmware(&device, support + 1, "FWCOPY"), 0);
        EXPECT_EQ(SetMtbfType(&device, support + 1, "1"), 0);
    }
}

} // namespace

void expectEveryCallToFail()
{
    yat_device own{}, *root = nullptr, *tree = &own;
    EXPECT_EQ(CreateTreeViewData(&root), 0);
    EXPECT_EQ(root, nullptr);
    EXPECT_EQ(FreeTreeViewData(&tree), 0);
    EXPECT_EQ(tree, &own);
    EXPECT_EQ(call_yat_is_ft(0), YAT_MACHINE_QUERY_FAILED);

    char text[1025] = "untouched", number[] = "4";
    unsigned long size = sizeof text;
    EXPECT_EQ(StatusChange(YAT_KIND_CPU_MODULE, 1, YAT_STATE_CPU_MODULE, text), -1);
    EXPECT_EQ(StatusChange(YAT_KIND_PCI_MODULE, 1, YAT_STATE_PCI_MODULE, text), -1);
    const std::pair<int, int> properties[] = {
        {YAT_KIND_BOARD, YAT_PROPERTY_MTBF_TYPE},
        {YAT_KIND_CPU_MODULE, YAT_PROPERTY_BIOS_VERSION},
        {YAT_KIND_CPU_MODULE, YAT_PROPERTY_BIOS_STATUS},
        {YAT_KIND_PCI_MODULE, YAT_PROPERTY_RELATIONAL_INDEX},
    };
    for (const auto &[kind, id] : properties)
        EXPECT_NE(yat_ft_func.yat_ft_get_property(kind, 1, id, text, &size), 0) << kind << id;
    EXPECT_STREQ(text, "untouched");
    EXPECT_EQ(size, sizeof text);

    expectOperationsToFail(YAT_CLASS_CPU_MODULE, {1, 5, 7, 9, 13});
    expectOperationsToFail(YAT_CLASS_PCI_MODULE, {15, 19, 21, 23});
    expectOperationsToFail(YAT_CLASS_SCSI_ADAPTER, {25});
    expectOperationsToFail(YAT_CLASS_ETHERNET_ADAPTER, {31});

    for (const int kind : {YAT_SETTING_AUTO_BURN, YAT_SETTING_AUTO_BRING_UP}) {
        int value = 77, on = 1;
        EXPECT_EQ(GetBBDriverSettings(kind, YAT_CLASS_GENERAL, 1, &value), 0);
        EXPECT_EQ(value, 77);
        EXPECT_EQ(PutBBDriverSettings(kind, YAT_CLASS_GENERAL, 1, &on), 0);
        EXPECT_EQ(on, 1);
    }
    int value = 77;
    EXPECT_EQ(yat_ft_func.Linux_ConvertDataToInt(number, &value), 0); // needs no machine
    EXPECT_EQ(value, 4);
}

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
