// SPDX-License-Identifier: GPL-2.0-or-later
// What each window asks newt for, from its opening to its end, against the texts in contract/: the
// components in the order in which they are made, the grids with their paddings and anchors, the
// order of the Tab key, the hot keys, and how it is closed; and what comes between the answer to a
// question and the next run of the window. tests/spy/forms.h has the words. Those texts are
// written by hand: they are what was agreed on, not what a program did.
#include "navigation.h"

using namespace keys;

namespace {

struct Step {
    std::string keysSent, seen;
};

struct Opening {
    std::string name; // of the text
    std::vector<Step> way;
    std::string close;
    std::string machine = "CEDAR", script{}, program = "mrvutil", seen = "BUTTON_EXIT_ID";
};

void PrintTo(const Opening &opening, std::ostream *stream)
{
    *stream << opening.name;
}

Step to(const Device &device)
{
    return {device.path + enter, std::string("┤ ") + device.name};
}

Opening piece(const std::string &name, const std::string &close)
{
    return {.name = name, .way = {}, .close = close, .program = "toolkit", .seen = "┤ "};
}

// A function, because the devices are made before main only in some order.
std::vector<Opening> openings()
{
    const std::string state = "StatusChange 0 text=the state\n";
    const std::string type = "yat_ft_get_property 0 at=";

    return {
        {.name = "tree", .way = {}, .close = ctrlO},
        {.name = "cpu",
         .way = {to(cpuModule)},
         .close = backTab + enter,
         .machine = "ALDER",
         .script = state},
        {.name = "cpu-cedar",
         .way = {to(cpuModule)},
         .close = backTab + enter,
         .script = state + type + "1 text=2"},
        {.name = "bios",
         .way = {to(cpuModule), {tab + tab + tab + tab + tab + enter, "BIOS_TITLE"}},
         .close = enter,
         .machine = "ALDER",
         .script = type + "1 text=the version\n" + type + "2 text=the status"},
        {.name = "firmupdate",
         .way = {to(cpuModule), {tab + tab + tab + tab + enter, "FIRMUP_ID"}},
         .close = backTab + enter,
         .machine = "ALDER"},
        {.name = "pci",
         .way = {to(pciModule)},
         .close = backTab + enter,
         .machine = "ALDER",
         .script = state},
        {.name = "pci-cedar",
         .way = {to(pciModule)},
         .close = backTab + enter,
         .script = state + type + "1 text=120\n" + type + "2 text=4"},
        {.name = "scsi", .way = {to(scsiAdapter)}, .close = backTab + enter},
        {.name = "ethernet", .way = {to(ethernetAdapter)}, .close = backTab + enter},
        {.name = "general",
         .way = {},
         .close = backTab + enter,
         .program = "mrvgeneral",
         .seen = "EXCUTE_ID"},
        {.name = "firmware",
         .way = {},
         .close = backTab + enter,
         .program = "mrvfirmware",
         .seen = "BUTTON_CLOSE_ID"},
        {.name = "entrance",
         .way = {{enter, "UPDATE_ERROR_ID"}},
         .close = enter,
         .script = "system -1",
         .program = "mrvfirmware",
         .seen = "BUTTON_CLOSE_ID"},
        {.name = "mtbftype",
         .way = {to(cpuModule),
                 {tab + tab + tab + tab + enter, "CHANGEMTBFTYPE_ID"},
                 {enter, "LABEL_SUCCESS_ID"}},
         .close = enter,
         .script = type + "1 text=2"},
        {.name = "general-refused",
         .way = {{space + tab + space + tab + enter, "CHANGESYSSET_ID"},
                 {enter, "AUTOBURN_SETERR_ID"}},
         .close = enter,
         .script = "PutBBDriverSettings 0",
         .program = "mrvgeneral",
         .seen = "EXCUTE_ID"},
        piece("FMUpdate", backTab + enter),
        piece("msgWindow", enter),
        piece("msgWindowEx", enter),
        piece("Message", enter),
        piece("Success", enter),
        piece("SelectFromButtons", enter),
        piece("SelectFromButtonsEx", enter),
    };
}

// The calls from a point on, as the texts have them: a grid with its fields on one line. Left out
// is what comes with the screen's beginning, with its drawing and with the help line.
std::string shown(Calls calls, size_t begin)
{
    if (begin == 0)
        while (!calls[begin++].starts_with("newtDrawRootText"))
            continue;
    std::string result, grid;
    for (const std::string &call :
         Calls(calls.begin() + static_cast<std::ptrdiff_t>(begin), calls.end())) {
        if (call.starts_with("newtTrashScreen") || call.starts_with("newtRefresh")
            || call.starts_with("newtPushHelpLine"))
            continue;
        if (!grid.empty() && call.starts_with(grid + " (")) {
            result.insert(result.size() - 1, call.substr(grid.size()));
            continue;
        }
        grid = call.starts_with("grid") ? call.substr(0, call.find(" =")) : "";
        if (call == "newtCls()") // the end of the program
            break;
        result += call + "\n";
    }
    return result;
}

// The text of a file, in which some calls share a line, and what belongs to a line may be indented
// below it.
std::string wanted(const std::string &name)
{
    std::string text = readFile(std::string(CONTRACT) + "/" + name + ".calls");
    for (size_t at; (at = text.find("\n    ")) != std::string::npos;)
        text.replace(at, 5, " ");
    for (size_t at; (at = text.find(" | ")) != std::string::npos;)
        text.replace(at, 3, "\n");
    return text;
}

class Contract : public testing::TestWithParam<Opening> {};

TEST_P(Contract, IsWhatTheWindowAsksNewtFor)
{
    const Opening &opening = GetParam();
    Session session({.program = opening.program,
                     .machine = opening.machine,
                     .rows = 40,
                     .columns = 132,
                     .script = opening.script,
                     .environment = {{"YAT_SPY_MORE", "screen forms"},
                                     {"TOOLKIT", opening.name},
                                     {"TOOLKIT_TITLE", "Title"},
                                     {"TOOLKIT_TEXT", "the text"}}});
    session.see(opening.seen);
    size_t begin = 0;
    for (const auto &[keysSent, seen] : opening.way) {
        begin = session.calls().size();
        session.send(keysSent);
        session.see(seen);
    }
    session.send(opening.close);
    if (opening.way.empty())
        session.expectExit(1);
    else
        session.seeNot(opening.way.back().seen);
    EXPECT_EQ(shown(session.calls(), begin), wanted(opening.name));
}

INSTANTIATE_TEST_SUITE_P(Newt, Contract, testing::ValuesIn(openings()),
                         [](const auto &info) { return inTestName(info.param.name); });

} // namespace
