// SPDX-License-Identifier: GPL-2.0-or-later
// The device tree: which records it shows where, and how it draws them.
#include "session.h"

#include <algorithm>

using namespace keys;

namespace {

// Keys that expand all of a tree: every branch from the top down.
std::string expandAll(int rows)
{
    std::string result;
    for (int i = 0; i < rows; ++i)
        result += space + down;
    return result;
}

// The tree as it shows itself: what stands between the frame and the scroll bar, without the blank
// rows and the blanks at the ends.
std::vector<std::string> treeRows(const Terminal &terminal)
{
    std::vector<std::string> result;
    for (const std::string &row : terminal.rows()) {
        const std::string frame = "│ ";
        const size_t left = row.find(frame);
        size_t right = std::string::npos;
        for (const char *scrollbar : {"↑", "▮", "▒", "↓"})
            right = std::min(right, row.find(scrollbar));
        if (left == std::string::npos || right == std::string::npos)
            continue;
        std::string line = row.substr(left + frame.size(), right - left - frame.size());
        line.resize(line.find_last_not_of(' ') + 1);
        if (!line.empty())
            result.push_back(line);
    }
    return result;
}

void expectTree(Session &session, const std::vector<std::string> &wanted)
{
    EXPECT_TRUE(session.terminal().waitUntil([&] {
        return treeRows(session.terminal()) == wanted;
    })) << testing::PrintToString(treeRows(session.terminal()))
        << session.terminal().picture();
}

RunOptions treeOn(const char *machineType, const std::string &tree, int rows = 24)
{
    return {.rows = rows, .script = std::string("call_yat_is_ft ") + machineType, .tree = tree};
}

const std::string cpuModules = "0 1 2 1 0 CPU 1\n"
                               "0 1 2 2 1 CPU 2\n"
                               "0 1 2 3 2 CPU 3\n";
const std::string pciModules = "0 1 3 1 10 PCI 1\n"
                               "0 1 3 2 254 PCI 2\n"
                               "0 1 3 3 1 PCI 3\n";

} // namespace

TEST(Tree, WithoutDevicesHasItsFixedNodes)
{
    Session session(treeOn("1", "\n"));
    session.see("Exit");
    session.send(space);
    expectTree(session, {"[-] FT server", " |- CPU modules", " `- PCI modules"});
    session.send(enter + down + enter + down + enter); // no window opens for these
    session.send(tab + enter);
    session.expectExit(1);
}

// Only 0 and -1 are no machine type; a type that nobody knows yet has every device shown.
TEST(Tree, ShowsEveryDeviceOnAlderAndOnMachinesToCome)
{
    for (const std::string type : {"1", "4", "-2"}) {
        Session session(treeOn(type.c_str(), cpuModules + pciModules));
        session.see("Exit");
        session.send(expandAll(8));
        expectTree(session, {"[-] FT server", " |- [-] CPU modules", " |   |- CPU 1",
                             " |   |- CPU 2", " |   `- CPU 3", " `- [-] PCI modules",
                             "     |- PCI 1", "     |- PCI 2", "     `- PCI 3"});
        expectInOrder(session.trace("mrvmain"),
                      {"0 EditParameter machine type is:" + type + "[1:ALDER,2:BIRCH,3:CEDAR]"});
    }
}

TEST(Tree, HidesCpuModulesOfPathOneOnBirch)
{
    Session session(treeOn("2", cpuModules + pciModules));
    session.see("Exit");
    session.send(expandAll(8));
    expectTree(session, {"[-] FT server", " |- [-] CPU modules", " |   |- CPU 1", " |   `- CPU 3",
                         " `- [-] PCI modules", "     |- PCI 1", "     |- PCI 2", "     `- PCI 3"});
    expectInOrder(session.trace("mrvmain"),
                  {"0 EditParameter machine type is:2[1:ALDER,2:BIRCH,3:CEDAR]",
                   "0 mkTree get an invalid device CPU 2."});
}

TEST(Tree, HidesDevicesOfPath254OnCedar)
{
    Session session(treeOn("3", cpuModules + pciModules + "0 1 3 4 254 -\n0 1 3 5 255 PCI 5"));
    session.see("Exit");
    session.send(expandAll(9));
    expectTree(session, {"[-] FT server", " |- [-] CPU modules", " |   |- CPU 1", " |   |- CPU 2",
                         " |   `- CPU 3", " `- [-] PCI modules", "     |- PCI 1", "     |- PCI 3",
                         "     `- PCI 5"});
    expectInOrder(session.trace("mrvmain"), {"0 mkTree get an invalid device PCI 2.",
                                             "0 mkTree get an invalid device NULL."});
}

// The change of class is looked for after a device that is shown, so behind a hidden one the PCI
// modules come under the CPU modules.
TEST(Tree, MissesAChangeOfClassAtAHiddenDevice)
{
    Session session(treeOn("3", "0 1 2 1 0 CPU 1\n"
                                "0 1 2 2 254 CPU 2\n"
                                "0 1 3 1 10 PCI 1\n"));
    session.see("Exit");
    session.send(expandAll(6));
    expectTree(session, {"[-] FT server", " |- [-] CPU modules", " |   |- CPU 1", " |   `- PCI 1",
                         " `- PCI modules"});
}

// One at the end of its class is found before, against the hidden device itself.
TEST(Tree, SeesAChangeOfClassToAHiddenDevice)
{
    Session session(treeOn("3", "0 1 2 1 0 CPU 1\n"
                                "0 1 3 1 254 PCI 1\n"
                                "0 1 3 2 10 PCI 2\n"));
    session.see("Exit");
    session.send(expandAll(6));
    expectTree(session, {"[-] FT server", " |- [-] CPU modules", " |   `- CPU 1",
                         " `- [-] PCI modules", "     `- PCI 2"});
}

// What has no identity has no class that could change.
TEST(Tree, GoesOnWithTheClassBehindADeviceWithoutIdentity)
{
    Session session(treeOn("1", "0 1 - 0 0 nothing\n"
                                "0 1 2 1 0 CPU 1\n"
                                "0 1 - 0 0 nothing\n"
                                "0 1 2 2 0 CPU 2\n"
                                "1 2 8 1 10 SCSI 1\n"
                                "0 1 - 0 0 nothing\n"
                                "0 1 3 1 10 PCI 1\n"));
    session.see("Exit");
    session.send(expandAll(10));
    expectTree(session,
               {"[-] FT server", " |- [-] CPU modules", " |   |- CPU 1", " |   `- [-] CPU 2",
                " |       `- SCSI 1", " `- [-] PCI modules", "     `- PCI 1"});
}

TEST(Tree, OfACountWithoutAnArrayOrBelowZeroHasNoDevicesThere)
{
    for (const auto &[count, told] : {std::pair{"0", "3 "}, {"-2", "-2"}}) {
        RunOptions options{.program = "toolkit",
                           .environment = {{"TOOLKIT", "countOnly"}, {"TOOLKIT_COUNT", count}}};
        Session session(options);
        session.see("Exit");
        session.send(expandAll(6));
        expectTree(session,
                   {"[-] FT server", " |- [-] CPU modules", " |   `- CPU 1", " `- PCI modules"});
        session.send(ctrlO);
        session.expectExit(1);
        options.arguments = {"-debug"};
        Workspace dump(options);
        EXPECT_EQ(runPlain(dump).output,
                  std::string("\nN:CPU 1                   ") + told
                      + "      H:1   I:1   ID:0   0   0   0   0   0   0   0   \n");
    }
}

TEST(Tree, TakesNothingForADevice)
{
    Workspace workspace(
        {.program = "toolkit", .arguments = {"-debug"}, .environment = {{"TOOLKIT", "nothing"}}});
    const Finished run = runPlain(workspace);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "\n"); // neither a usage nor a screen
    expectInOrder(
        workspace.trace("mrvmain"),
        {"0 TreeDrawItem >", "1 TreeDrawItem <[IN]param error. datap is NULL.", "0 main <"});
}

TEST(Tree, PutsDevicesUnderTheirModuleByItsInstance)
{
    Session session(treeOn("1", "0 1 3 1 10 PCI 1\n"
                                "1 2 8 1 10 SCSI 1\n"
                                "2 3 13 1 10 Ethernet 1\n"
                                "1 2 13 2 10 Ethernet 2\n"
                                "2 3 13 3 10 Ethernet 3\n"
                                "0 1 3 2 11 PCI 2\n"
                                "1 2 8 2 11 SCSI 2\n"));
    session.see("Exit");
    // The only class here is taken for the first group.
    session.send(expandAll(11));
    expectTree(session, {"[-] FT server", " |- [-] CPU modules", " |   |- [-] PCI 1",
                         " |   |   |- [-] SCSI 1", " |   |   |   `- Ethernet 1",
                         " |   |   `- [-] Ethernet 2", " |   |       `- Ethernet 3",
                         " |   `- [-] PCI 2", " |       `- SCSI 2", " `- PCI modules"});
}

// Whatever its instance is.
TEST(Tree, PutsDevicesUnderTheFirstModuleOfAClass)
{
    Session session(treeOn("1", "0 1 2 2 0 CPU 2\n"
                                "1 2 8 1 0 SCSI 1\n"
                                "0 1 3 2 10 PCI 2\n"
                                "1 2 8 2 10 SCSI 2\n"));
    session.see("Exit");
    session.send(expandAll(7));
    expectTree(session,
               {"[-] FT server", " |- [-] CPU modules", " |   `- [-] CPU 2", " |       `- SCSI 1",
                " `- [-] PCI modules", "     `- [-] PCI 2", "         `- SCSI 2"});
}

TEST(Tree, LeavesOutWhatIsNoDevice)
{
    Session session(treeOn("1", "0 1 2 0 0 no instance\n"
                                "0 1 - 0 0 no identity\n"
                                "0 1 2 1 0 -\n"
                                "0 0 2 2 0 no hierarchy\n"
                                "0 1 0 3 0 class zero\n"
                                "0 1 17 4 0 class seventeen\n"
                                "0 1 1 5 0 class one\n"
                                "0 1 20003 6 0 general\n"));
    session.see("Exit");
    session.send(expandAll(6));
    expectTree(session, {"[-] FT server", " |- CPU modules", " `- PCI modules"});
    std::vector<std::string> records = session.trace("mrvmain");
    std::erase_if(records, [](const std::string &record) {
        return record.find("TreeDrawItem") == std::string::npos || record.ends_with(" >");
    });
    EXPECT_EQ(records, (std::vector<std::string>{
                           "1 TreeDrawItem <no such kind of device:no instance.",
                           "1 TreeDrawItem <[IN]param error. datap is NULL.",
                           "1 TreeDrawItem <[IN]param error. datap is NULL.",
                           "1 TreeDrawItem <[IN]param error. datap is NULL.",
                           "1 TreeDrawItem <classname :0 not in the classtable.",
                           "1 TreeDrawItem <classname :17 not in the classtable.",
                           "0 TreeDrawItem <class :1 don't have a function pointer .",
                           "0 TreeDrawItem <class :20003 don't have a function pointer ."}));
}

TEST(Tree, PutsTheChildrenOfALeftOutDeviceWhereThePathLeads)
{
    Session session(treeOn("1", "0 1 2 1 0 CPU 1\n"
                                "0 1 2 0 0 left out\n"
                                "1 2 8 1 0 its child\n"));
    session.see("Exit");
    session.send(expandAll(6));
    // The left-out device's instance of 0 leads to a position before the first.
    expectTree(session,
               {"[-] FT server", " |- [-] CPU modules", " |   `- CPU 1", " `- PCI modules"});
}

TEST(Tree, OfARecordBelowItselfIsNone)
{
    RunOptions options = treeOn("1", "0 1 2 1 0 CPU 1\n"
                                     "1 above\n"
                                     "1 above\n");
    Session session(options);
    session.see("The devices of the server cannot be read.");
    session.send(enter);
    session.expectExit(0);
    const std::string why =
        "the platform gives devices that lie below themselves, or more than any "
        "machine has; ask for a newer version of it";
    expectInOrder(session.trace("mrvmain"),
                  {"1 EditParameter " + why + ".",
                   "1 EditParameter <Create data structure for tree view failed."});
    options.arguments = {"-debug"};
    Workspace workspace(options);
    const Finished run = runPlain(workspace);
    EXPECT_EQ(run.status, 0); // a failure
    EXPECT_EQ(run.errors, "mrvutil: " + why + "\n");
}

TEST(Tree, TellsOfEachDeviceThatLiesTooDeep)
{
    Session session(treeOn("1", "0 1 2 1 0 CPU 1\n"
                                "1 2 8 1 0 SCSI 1\n"
                                "2 3 13 1 0 Ethernet 1\n"
                                "3 4 13 2 0 too deep\n"
                                "3 5 13 3 0 too deep as well\n"));
    for (int told = 0; told < 2; ++told) {
        session.see("A device cannot be shown: it lies too deep in the tree.");
        session.expectScreen("tree/too-deep");
        // The next box looks the same, and what is typed before it opens is dropped.
        session.sendUntil(enter, [&] {
            const std::vector<std::string> trace = session.trace("mrvmain");
            return std::ranges::count(trace, "1 TreeDrawItem error happen when drawing the tree.")
                   > told;
        });
    }
    session.see("Exit");
    session.send(expandAll(6));
    session.see("`- Ethernet 1");
    expectInOrder(session.trace("mrvmain"),
                  {"1 TreeDrawItem error happen when drawing the tree.", "0 TreeDrawItem <",
                   "1 TreeDrawItem error happen when drawing the tree."});
}

TEST(Tree, FailsOnANullRecord)
{
    for (const char *tree : {"0 1 2 1 0 CPU 1\n0 null\n", "0 1 2 1 0 CPU 1\n1 null\n"}) {
        Session session(treeOn("1", tree));
        session.expectExit(0);
        expectInOrder(session.trace("mrvmain"),
                      {"1 mkItem <[IN]datap is NULL when enter mkItem",
                       "1 mkTree <mkItem(...) to draw brance for devices failed.",
                       "1 EditParameter <mkTree(pTreeData) failed.",
                       "1 main EditParameter failed,can't get data from lib.", "0 main <"});
    }
}

TEST(Tree, TracesThePathOfEachDevice)
{
    Session session(treeOn("1", "0 1 2 1 0 CPU 1\n"
                                "0 1 3 1 10 PCI 1\n"
                                "0 1 3 2 11 PCI 2\n"
                                "1 2 8 1 11 SCSI 1\n"));
    session.see("Exit");
    expectInOrder(session.trace("mrvmain"),
                  {"0 mkTree >[IN]treeDatap=0x*", "0 mkTree Draw device in the first layer ok.",
                   "0 mkItem >", "0 mkItem [IN]datap=0x*", "0 TreeDrawItem >", "0 TreeDrawItem <",
                   "0 mkItem <", "0 mkTree Param[1]:\\t1", "0 mkItem >",
                   "0 mkItem param for device SCSI 1 goes here:", "0 mkItem param[0]:\\t0.",
                   "0 mkItem param[1]:\\t1.", "0 mkItem param[2]:\\t1.", "0 mkItem param[3]:\\t0.",
                   "0 mkItem param[7]:\\t0.", "0 mkItem >"});
    session.send(ctrlO);
    session.expectExit(1);
    EXPECT_EQ(session.trace("mrvmain").end()[-3],
              "0 mkTree <Finished drawing all branches of tree,ok.");
}

TEST(Tree, ScrollsByPages)
{
    std::string tree;
    for (int i = 1; i <= 40; ++i)
        tree += "0 1 2 " + std::to_string(i) + " 0 CPU " + std::to_string(i) + "\n";
    Session session(treeOn("1", tree));
    session.see("Exit");
    session.send(space + down + space);
    session.expectScreen("tree/page-1");
    session.send(pageDown);
    session.expectScreen("tree/page-2");
    session.send(pageDown + pageDown + pageDown);
    session.expectScreen("tree/page-last");
    session.send(down + down); // nothing is below
    session.expectScreen("tree/page-last");
    session.send(pageUp);
    session.expectScreen("tree/page-last-but-one");
    session.send(pageUp + pageUp + pageUp + pageUp + up);
    session.expectScreen("tree/page-first");
    // Down beyond the page scrolls by one row.
    for (int i = 0; i < 12; ++i)
        session.send(down);
    session.expectScreen("tree/scrolled-by-one");
    for (int i = 0; i < 12; ++i)
        session.send(up);
    session.expectScreen("tree/scrolled-back");
}

TEST(Tree, CollapsesToTheBranchThatIsCurrent)
{
    Session session;
    session.see("Exit");
    session.send(space + down + down + space + down + space);
    session.see("SCSI adapter 1");
    session.send(up + space);
    session.seeNot("PCI module 1");
    session.expectScreen("tree/collapsed");
    // A module that was expanded is expanded again with its group.
    session.send(space);
    session.see("SCSI adapter 1");
}

TEST(Tree, GoesOnAtTheSameItemAfterAWindow)
{
    Session session;
    session.see("Exit");
    session.send(space + down + space + down + down + enter);
    session.see("MTBF");
    session.send(backTab + enter);
    session.seeNot("MTBF");
    session.expectScreen("tree/after-window");
}

TEST(Tree, ShowsNamesOfAnyKindWithinItself)
{
    const std::string longest(127, 'x');
    std::string japanese;
    for (int i = 0; i < 42; ++i)
        japanese += "漢"; // 126 bytes, 84 columns
    Session session(treeOn("1", "0 1 2 1 0 \n"
                                "0 1 2 2 0 "
                                    + longest
                                    + "\n"
                                      "0 1 2 3 0 "
                                    + japanese
                                    + "\n"
                                      "0 1 2 4 0 \x1b[31mred\x07\ttab\n"
                                      "0 1 2 5 0 \xb4\xc1\xbb\xfa\n"
                                      "0 1 2 6 0 \xff\xfe bytes\n"
                                      "0 1 2 7 0 e\xcc\x81 combining\n"));
    session.see("Exit");
    session.expectScreen("tree/names-collapsed");
    session.send(space + down + space);
    session.expectScreen("tree/names");
    session.send(down + down + enter);
    session.see("Close");
    session.expectScreen("tree/names-window");
}

TEST(Tree, ShowsANameInWindowsAsItDoesItself)
{
    RunOptions options = treeOn("1", "0 1 2 1 0 \xb4\xc1\a\xbb\xfa\n");
    options.script += "\nIfSupport 1\nInitBringDown 1 held";
    Session session(options);
    session.see("Exit");
    session.send(space + down + space);
    session.see("`- 漢?字 ");
    session.send(down + enter);
    session.see("┤ 漢?字 --FT Server Utility ├");
    session.send(tab + enter);
    session.see("┤ 漢?字 ├");
    session.send(enter);
    session.see("  漢?字: Stop ...");
    session.files().letGo();
    session.see("successful");
    session.see("┤ 漢?字 ├");
}

TEST(Tree, ShowsALongNameAsFarAsTheScreenIsWide)
{
    // In EUC a name of 63 characters has 126 bytes, in UTF-8 it has 189.
    std::string euc, japanese;
    for (int i = 0; i < 63; ++i) {
        euc += "\xb4\xc1";
        japanese += "漢";
    }
    RunOptions options = treeOn("1", "0 1 2 1 0 " + std::string(400, 'y')
                                         + "\n"
                                           "0 1 2 2 0 "
                                         + euc
                                         + "\n"
                                           "0 1 2 3 0 "
                                         + japanese + "\n");
    options.columns = 160;
    Session session(options);
    session.see("Exit");
    session.send(space + down + space);
    session.see("|- " + std::string(140, 'y'));
    session.see("|- " + japanese + " ");
    session.see("`- " + japanese + " ");
}

TEST(Tree, TellsThroughEachLevelWhereItFailed)
{
    Session session(treeOn("1", "0 1 2 1 0 CPU 1\n"
                                "1 2 8 1 0 SCSI 1\n"
                                "2 null\n"));
    session.expectExit(0);
    expectInOrder(session.trace("mrvmain"),
                  {"0 mkItem param for device NULL goes here:",
                   "1 mkItem <[IN]datap is NULL when enter mkItem", "1 mkItem <mkItem failed.",
                   "1 mkItem <mkItem failed.",
                   "1 mkTree <mkItem(...) to draw brance for devices failed.",
                   "1 EditParameter <mkTree(pTreeData) failed."});
}

TEST(Tree, KeepsItsPathOfEightForDevicesThatLieDeeper)
{
    std::string tree = "0 1 2 1 0 CPU 1\n";
    for (int depth = 1; depth <= 12; ++depth)
        for (const char *name : {"left", "right"})
            tree += std::to_string(depth) + " 1 1 1 0 " + name + "\n";
    Session session(treeOn("1", tree));
    session.see("Exit");
    session.send(space + down + space);
    session.see("CPU 1");
    session.send(ctrlO);
    session.expectExit(1);
    const std::vector<std::string> trace = session.trace("mrvmain");
    EXPECT_EQ(std::ranges::count(trace, "0 mkItem param[7]:\\t1."), 15); // once set, it stays
    EXPECT_TRUE(std::ranges::any_of(
        trace, [](const std::string &record) { return record.ends_with("level=14"); }));
}

// ---- The widget by itself, in sizes that the program does not ask for

namespace {

struct Shape {
    const char *name;
    const char *height, *count;
    std::string text;
};

const Shape shapes[] = {
    {"Empty", "3", "0", ""},
    {"LeafAtTheTop", "3", "1", "leaf"}, // its row is three columns too long by design
    {"OfNoHeight", "0", "3", "device"},
    {"OfOneRow", "1", "3", "device"},
    {"NamesWithoutCharacters", "4", "3", ""},
    {"NamesOf127Bytes", "4", "2", std::string(127, 'n')},
    {"NamesOfWideCharacters", "5", "3", "二重化モジュール"},
    {"DeeperThanItsMarks", "12", "12", "x"},
};

void PrintTo(const Shape &shape, std::ostream *stream)
{
    *stream << shape.name;
}

class EveryShape : public testing::TestWithParam<Shape> {};

TEST_P(EveryShape, DrawsWithinItself)
{
    const Shape &shape = GetParam();
    Session session({.program = "toolkit",
                     .columns = 140,
                     .environment = {{"TOOLKIT", "tree"},
                                     {"TOOLKIT_HEIGHT", shape.height},
                                     {"TOOLKIT_COUNT", shape.count},
                                     {"TOOLKIT_TEXT", shape.text}}});
    session.see("Close");
    session.expectScreen(std::string("tree/shape-") + shape.name);
    // Keys lead through it and back, and it is still left by its button.
    for (const std::string &key : {keys::down, keys::up, keys::pageDown, keys::pageUp, keys::end,
                                   keys::home, keys::enter, keys::space})
        session.send(key + key);
    session.expectScreen(std::string("tree/shape-") + shape.name);
    session.send(keys::tab + keys::enter);
    session.expectExit(1);
}

INSTANTIATE_TEST_SUITE_P(Widget, EveryShape, testing::ValuesIn(shapes),
                         [](const auto &info) { return info.param.name; });

} // namespace
