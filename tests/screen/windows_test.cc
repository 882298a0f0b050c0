// SPDX-License-Identifier: GPL-2.0-or-later
// Every window: how it looks on each machine, in each language and size, and which keys it leaves
// alone.
#include "navigation.h"

using namespace keys;

namespace {

struct Look {
    const char *window;
    const char *machine;
    const Device *device = nullptr; // null: a program of its own
    int tabs = -1;                  // to the button that opens it in the device's window
    const char *english = "Close", *japanese = "閉じる"; // what is to be seen in it
};

// On BIRCH the Ethernet adapter stands below the SCSI adapter.
const Device ethernetOfBirch = {"Ethernet adapter 1",
                                space + down + down + space + down + space + down + space + down};

const Look looks[] = {
    {"cpu", "ALDER", &cpuModule},
    {"cpu", "BIRCH", &cpuModule},
    {"cpu", "CEDAR", &cpuModule},
    {"pci", "ALDER", &pciModule},
    {"pci", "BIRCH", &pciModule},
    {"pci", "CEDAR", &pciModule},
    {"scsi", "ALDER", &scsiAdapter},
    {"scsi", "BIRCH", &scsiAdapter},
    {"scsi", "CEDAR", &scsiAdapter},
    {"ethernet", "ALDER", &ethernetAdapter},
    {"ethernet", "BIRCH", &ethernetOfBirch},
    {"ethernet", "CEDAR", &ethernetAdapter},
    {"update", "ALDER", &cpuModule, 4, "Update method:", "更新方法:"},
    {"update", "BIRCH", &cpuModule, 4, "Update method:", "更新方法:"},
    {"update", "CEDAR", &cpuModule, 8, "Update method:", "更新方法:"},
    {"bios", "ALDER", &cpuModule, 5, "BIOS status:", "BIOSの状態:"},
    {"bios", "BIRCH", &cpuModule, 5, "BIOS status:", "BIOSの状態:"},
    {"bios", "CEDAR", &cpuModule, 9, "BIOS status:", "BIOSの状態:"},
    {"general", "ALDER"},
    {"general", "BIRCH"},
    {"general", "CEDAR"},
    {"firmware", "ALDER"},
    {"firmware", "BIRCH"},
    {"firmware", "CEDAR"},
};

void PrintTo(const Look &look, std::ostream *stream)
{
    *stream << look.window << " on " << look.machine;
}

struct Screen {
    const char *language;
    int columns, rows;
};

const Screen screens[] = {
    {"en", 80, 24}, {"en", 80, 25}, {"en", 100, 40},
    {"ja", 80, 24}, {"ja", 80, 25}, {"ja", 100, 40},
};

const Screen lowScreens[] = {{"en", 80, 12}, {"ja", 80, 12}};

RunOptions optionsFor(const Look &look, const Screen &screen)
{
    return {.program = look.device ? "mrvutil" : std::string("mrv") + look.window,
            .machine = look.machine,
            .language = *screen.language == 'e' ? "en_US.UTF-8" : "ja_JP.UTF-8",
            .rows = screen.rows,
            .columns = screen.columns};
}

void openWindow(Session &session, const Look &look, const Screen &screen)
{
    const bool english = *screen.language == 'e';
    if (look.device)
        (english ? open : openJapanese)(session, *look.device);
    if (look.tabs >= 0)
        press(session, look.tabs);
    if (!look.device || look.tabs >= 0)
        session.see(english ? look.english : look.japanese);
}

std::string lookName(const testing::TestParamInfo<std::tuple<Look, Screen>> &info)
{
    const auto &[look, screen] = info.param;
    return std::string(look.window) + "-" + look.machine + "-" + screen.language + "-"
           + std::to_string(screen.columns) + "x" + std::to_string(screen.rows);
}

class EveryWindow : public testing::TestWithParam<std::tuple<Look, Screen>> {};

TEST_P(EveryWindow, LooksLikeItsPicture)
{
    const auto &[look, screen] = GetParam();
    Session session(optionsFor(look, screen));
    openWindow(session, look, screen);
    session.expectScreen("devices/" + lookName({GetParam(), 0}));
}

INSTANTIATE_TEST_SUITE_P(Windows, EveryWindow,
                         testing::Combine(testing::ValuesIn(looks), testing::ValuesIn(screens)),
                         [](const auto &info) { return inTestName(lookName(info)); });
INSTANTIATE_TEST_SUITE_P(Low, EveryWindow,
                         testing::Combine(testing::Values(Look{"general", "CEDAR"},
                                                          Look{"firmware", "CEDAR"}),
                                          testing::ValuesIn(lowScreens)),
                         [](const auto &info) { return inTestName(lookName(info)); });

class EveryLook : public testing::TestWithParam<Look> {};

// The hot keys of the boxes and the tree are none here. F12 closes the BIOS data, which has
// nothing to ask for, and means the data file in the firmware update.
TEST_P(EveryLook, LeavesOtherKeysAlone)
{
    const Look &look = GetParam();
    Session session(optionsFor(look, screens[0]));
    openWindow(session, look, screens[0]);
    const std::string picture = session.stillPicture();
    const Calls calls = session.calls();
    const std::string window = look.window;
    for (const std::string &key : {ctrlA, ctrlO, f12})
        if (key != f12 || (window != "bios" && window != "update")) {
            session.send(key);
            EXPECT_EQ(session.stillPicture(), picture);
        }
    EXPECT_EQ(session.calls(), calls);
    // It is still there: its last button closes it.
    session.send(backTab + enter);
    if (look.device)
        session.seeNot(look.tabs >= 0 ? look.english : "MTBF");
    else
        session.expectExit(1);
}

INSTANTIATE_TEST_SUITE_P(Windows, EveryLook, testing::ValuesIn(looks), [](const auto &info) {
    return std::string(info.param.window) + info.param.machine;
});

} // namespace
