// SPDX-License-Identifier: GPL-2.0-or-later
// Every window and box on terminals of every size, in both languages: what has to hold of each.
#include "frame.h"
#include "navigation.h"

#include <algorithm>
#include <set>

using namespace keys;

namespace {

constexpr int tall = 60; // rows, on which everything fits

const std::string longName(127, 'n');

const std::string longText =
    "Something went wrong here, and this text tells at length what it was, so "
    "that it takes a line of its own and two more.";
const std::string longJapaneseText =
    "ここで問題が発生しました。この文は、何が起きたのかを長々と説明するためのもので、一行には収まり"
    "ません。2行目に続き、さらに3行目にも続きます。";

// ---- What is visited

// A window or box: what opens it from where the visit before has led, and what leads on.
struct Visit {
    const char *name;
    const char *press;                 // the button that opens it, by the key of its text; or else
    std::string keysSent;              // these
    std::string title;                 // a text key, or the title itself
    std::vector<const char *> leave{}; // the buttons that lead to where the next one begins
    bool isTree = false;
    const char *choose = nullptr; // a radio button that is set before
};

struct Tour {
    const char *name;
    RunOptions options;
    std::vector<Visit> visits;
};

const char *close = "BUTTON_CLOSE_ID", *ok = " ok ", *yes = "BUTTON_OK_ID",
           *no = "BUTTON_CANCEL_ID";

RunOptions toolkit(const char *piece, const std::string &title = "Title",
                   const std::string &text = longText)
{
    return {.program = "toolkit",
            .environment = {{"TOOLKIT", piece}, {"TOOLKIT_TITLE", title}, {"TOOLKIT_TEXT", text}}};
}

std::vector<Visit> windowsOfAModule(const Device &device, bool isCpu)
{
    const std::string name = device.name;
    std::vector<Visit> visits = {
        {"tree", nullptr, "", "WINDOW_TITLE_MRV_ID", {}, true},
        {"window", nullptr, device.path + enter, name + " --WINDOW_TITLE_MRV_ID"},
        {"question", "COMBUTTON_CLEAR_ID", "", name},
        {"success", yes, "", name, {close}},
        {"refusal", "COMBUTTON_DIAGNOSE_ID", "", "Error", {ok}},
    };
    if (isCpu) {
        visits.push_back({"bios", "VERSION_INFO", "", "BIOS_TITLE", {yes}});
        visits.push_back({"update", "COMBUTTON_UPDATE_ID", "", "WINDOW_TITLE_FIRMUP_ID"});
        for (const char *method : {"TITTLE_FILEPATHUP_ID", "TITTLE_UPDATECOPY_ID"})
            visits.push_back({"method",
                              "COMBUTTON_EXCUTE_ID",
                              "",
                              "WINDOW_TITLE_FIRMUP_ID",
                              {no},
                              false,
                              method});
    }
    return visits;
}

RunOptions withLongName(int classCode)
{
    return {.tree = "0 1 " + std::to_string(classCode) + " 1 0 " + longName + "\n"};
}

// A module and an adapter of each kind, all of that name.
RunOptions withWideNames()
{
    RunOptions options;
    for (const char *device : {"0 1 2 1 0 ", "0 1 3 1 0 ", "1 2 8 1 0 ", "1 2 13 1 0 "})
        options.tree += device + wideName() + "\n";
    return options;
}

std::vector<Visit> windowsWithWideName(const Device &device, bool canBeStopped = true)
{
    std::vector<Visit> visits = {
        {"tree", nullptr, "", "WINDOW_TITLE_MRV_ID", {}, true},
        {"window", nullptr, device.path + enter, wideName() + " --WINDOW_TITLE_MRV_ID"}};
    if (canBeStopped)
        visits.push_back({"question", "COMBUTTON_STOP_ID", "", wideName().substr(0, 79), {no}});
    visits.push_back({"expanded tree", close, "", "WINDOW_TITLE_MRV_ID", {}, true});
    return visits;
}

// What can't be read is told before the window opens.
std::vector<Visit> windowOfWhatIsUnreadable(const Device &device, bool isCpu)
{
    std::vector<Visit> visits = {{"state", nullptr, device.path + enter, "Error", {ok}}};
    if (isCpu)
        visits.push_back({"MTBF type", nullptr, "", "Error", {ok}});
    visits.push_back({"window", nullptr, "", std::string(device.name) + " --WINDOW_TITLE_MRV_ID"});
    return visits;
}

std::vector<Visit> refusedStop(const Device &device)
{
    const std::string name = device.name;
    return {{"window", nullptr, device.path + enter, name + " --WINDOW_TITLE_MRV_ID"},
            {"question", "COMBUTTON_STOP_ID", "", name},
            {"refusal", yes, "", "Error", {ok}}};
}

const std::string first = space + down + space + down + enter; // below its group

// Made when the tests are, because the devices are then.
const std::vector<Tour> &tours()
{
    static const std::vector<Tour> all = {
        {"CpuOfCedar", {}, windowsOfAModule(cpuModule, true)},
        {"CpuOfAlder", {.machine = "ALDER"}, windowsOfAModule(cpuModule, true)},
        {"CpuOfBirch", {.machine = "BIRCH"}, windowsOfAModule(cpuModule, true)},
        {"PciOfCedar", {}, windowsOfAModule(pciModule, false)},
        {"PciOfAlder", {.machine = "ALDER"}, windowsOfAModule(pciModule, false)},
        {"PciOfBirch", {.machine = "BIRCH"}, windowsOfAModule(pciModule, false)},
        {"Adapters",
         {},
         {{"scsi",
           nullptr,
           scsiAdapter.path + enter,
           "SCSI adapter 1 --WINDOW_TITLE_MRV_ID",
           {close}},
          {"ethernet", nullptr, down + enter, "Ethernet adapter 1 --WINDOW_TITLE_MRV_ID"}}},
        {"LongName",
         withLongName(2),
         {{"tree", nullptr, "", "WINDOW_TITLE_MRV_ID", {}, true},
          {"window", nullptr, first, longName + " --WINDOW_TITLE_MRV_ID"},
          {"question", "COMBUTTON_STOP_ID", "", longName.substr(0, 79), {no}}}},
        {"WideNameOfCpu", withWideNames(), windowsWithWideName(cpuModule)},
        {"WideNameOfPci", withWideNames(), windowsWithWideName(pciModule)},
        {"WideNameOfScsi", withWideNames(), windowsWithWideName(scsiAdapter, false)},
        {"WideNameOfEthernet", withWideNames(), windowsWithWideName(ethernetAdapter, false)},
        {"General",
         {.program = "mrvgeneral"},
         {{"window", nullptr, "", "WINDOW_TITLE_GENERAL_ID"},
          {"question", "COMBUTTON_EXCUTE_ID", "", "WINDOW_TITLE_SYSSET_ID"},
          {"changed", yes, "", "WINDOW_TITLE_SYSSET_ID", {ok}},
          {"unchanged", "COMBUTTON_EXCUTE_ID", "", "WINDOW_TITLE_SYSSET_ID", {ok}}}},
        {"Firmware",
         {.program = "mrvfirmware", .script = "system -1"},
         {{"window", nullptr, "", "WINDOW_TITLE_FIRMWARE_ID"},
          {"notice", "COMBUTTON_UPDATE_ID", "", "WINDOW_TITLE_FIRMWARE_ID", {"cancel"}}}},
        {"UnreadableCpu",
         {.script = "StatusChange -1\nyat_ft_get_property 1"},
         windowOfWhatIsUnreadable(cpuModule, true)},
        {"UnreadablePci",
         {.script = "StatusChange -1"},
         windowOfWhatIsUnreadable(pciModule, false)},
        {"RefusedStop", {.script = "IfSupport 0"}, refusedStop(cpuModule)},
        {"UnreadableDevices",
         {.script = "CreateTreeViewData 0"},
         {{"error", nullptr, "", "Error"}}},
        {"TooDeep",
         {.tree = "0 4 2 1 0 deep\n"},
         {{"error", nullptr, "", "Error", {ok}},
          {"tree", nullptr, "", "WINDOW_TITLE_MRV_ID", {}, true}}},
        {"UnreadableSettings",
         {.program = "mrvgeneral", .script = "GetBBDriverSettings 0"},
         {{"error", nullptr, "", "Error"}}},
        {"RefusedSetting",
         {.program = "mrvgeneral", .script = "PutBBDriverSettings 0"},
         {{"window", nullptr, "", "WINDOW_TITLE_GENERAL_ID"},
          {"question", "COMBUTTON_EXCUTE_ID", "", "WINDOW_TITLE_SYSSET_ID"},
          {"error", yes, "", "Error"}}},
        {"UnknownFirmware",
         {.program = "mrvfirmware",
          .script = "LoadLibrary real text=" PLUGINS "/nowhere.dll\nsystem 1"},
         {{"error", nullptr, "", "Error", {ok}},
          {"window", nullptr, "", "WINDOW_TITLE_FIRMWARE_ID"},
          {"notice", "COMBUTTON_UPDATE_ID", "", "WINDOW_TITLE_FIRMWARE_ID", {"cancel"}}}},
        {"Error", toolkit("msgWindow"), {{"box", nullptr, "", "Title"}}},
        {"LongError",
         toolkit("msgWindow", "Title", longText + longText + longText + longText + longText),
         {{"box", nullptr, "", "Title"}}},
        {"LongMessage",
         toolkit("msgWindowEx", longName, longText + longText),
         {{"box", nullptr, "", longName}}},
        {"Question", toolkit("Message", longName), {{"box", nullptr, "", longName.substr(0, 79)}}},
        {"Success", toolkit("Success", longName), {{"box", nullptr, "", longName.substr(0, 79)}}},
        {"Chooser", toolkit("SelectFromButtons"), {{"box", nullptr, "", "Title"}}},
        {"LongChooser", toolkit("SelectFromButtonsEx"), {{"box", nullptr, "", "Title"}}},
        {"AdapterUpdate", toolkit("FMUpdate"), {{"window", nullptr, "", "WINDOW_TITLE_FIRMUP_ID"}}},
    };
    return all;
}

struct Size {
    int columns, rows;
};
const Size sizes[] = {{40, 12}, {60, 20}, {80, 15}, {80, 24}, {80, 25}, {132, 43}};

struct Look {
    const char *language;
    Size size;
};

// ---- The texts of the catalogue

std::map<std::string, std::string> catalogue(bool isEnglish)
{
    std::map<std::string, std::string> texts;
    for (const std::string &line :
         linesOf(readFile(SOURCES "/data/" + std::string(isEnglish ? "E" : "J") + "_mrvutil.rc"))) {
        const size_t quote = line.find('"');
        if (quote != std::string::npos && line[0] != '#')
            texts[line.substr(0, line.find(' '))] =
                line.substr(quote + 1, line.rfind('"') - quote - 1);
    }
    return texts;
}

std::string trimmed(const std::string &text)
{
    const size_t begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? ""
                                      : text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

// ---- One run

// The window with the focus somewhere.
struct Step {
    Frame frame;
    VTermPos cursor;
    bool showsCursor;

    bool operator==(const Step &other) const
    {
        return frame.rows == other.frame.rows && frame.styles == other.frame.styles
               && cursor.row == other.cursor.row && cursor.col == other.cursor.col;
    }
};

// Where the focus was, in the rows with their columns.
using Places = std::multiset<std::pair<std::string, int>>;

Places placesOf(const std::vector<Step> &steps)
{
    Places result;
    for (const auto &[frame, cursor, showsCursor] : steps)
        result.emplace(frame.rows.at(static_cast<size_t>(cursor.row - frame.top - 1)),
                       cursor.col - frame.left);
    return result;
}

// All rows of a window, without those that keep its content from its frame; and where Tab leads to.
struct Whole {
    std::vector<std::string> rows;
    Places places;
};

class EverySize : public testing::TestWithParam<std::tuple<const Tour *, Look>> {
protected:
    const Tour &tour = *std::get<0>(GetParam());
    const Look &look = std::get<1>(GetParam());
    const Size size = look.size;
    const std::map<std::string, std::string> texts = catalogue(*look.language == 'e');
    Session session{optionsForRun()};

    RunOptions optionsForRun() const
    {
        RunOptions options = tour.options;
        options.language = look.language;
        options.rows = size.rows;
        options.columns = size.columns;
        std::string &text = options.environment["TOOLKIT_TEXT"];
        for (size_t at; *look.language == 'j' && (at = text.find(longText)) != text.npos;)
            text.replace(at, longText.size(), longJapaneseText);
        return options;
    }

    // A text with keys in it as it is shown.
    std::string shown(std::string text) const
    {
        for (const auto &[key, value] : texts)
            if (const size_t place = text.find(key); place != std::string::npos)
                return text.replace(place, key.size(), trimmed(value));
        return trimmed(text);
    }

    std::optional<Frame> frame(const Visit &visit) const
    {
        return findFrame(session_().terminal(), shown(visit.title));
    }

    Session &session_() const
    {
        return const_cast<Session &>(session);
    }

    // Draws all that the program has written once it waits.
    void drawAll()
    {
        session.terminal().waitUntilIdle();
        session.terminal().settle(std::chrono::milliseconds(2));
    }

    // The window, once the program waits in it.
    Frame seen(const Visit &visit)
    {
        session.terminal().waitUntil([&] { return frame(visit).has_value(); });
        drawAll();
        const std::optional<Frame> result = frame(visit);
        if (!result)
            throw std::runtime_error(std::string("no whole frame with its title around ")
                                     + visit.name + "\n" + session.terminal().picture());
        return *result;
    }

    Step here(const Visit &visit)
    {
        const Frame frame = seen(visit);
        return {frame, session.terminal().cursor(), session.terminal().cursorIsVisible()};
    }

    std::string atCursor() const
    {
        const VTermPos cursor = session_().terminal().cursor();
        const auto spots = session_().terminal().spots();
        std::string text;
        const auto &row = spots.at(static_cast<size_t>(cursor.row));
        for (size_t i = static_cast<size_t>(cursor.col); i < row.size(); ++i)
            text += row[i].text;
        return trimmed(text);
    }

    // Presses a button of the window on top, or another key on it.
    void press(const std::string &button, const std::string &key = enter)
    {
        for (int tabs = 0; tabs < 40; ++tabs) {
            drawAll();
            const std::string text = atCursor() + " ", wanted = shown(button);
            const std::string begin = wanted.substr(0, 18); // of a text that is wrapped
            if (text.starts_with(wanted + " ") || text.starts_with(wanted + ">")
                || (key != enter && text.starts_with(begin)))
                return session.send(key);
            session.send(tab);
        }
        throw std::runtime_error("no way to " + button + "\n" + session.terminal().picture());
    }

    void expectHelpLine();
    void expectMarks(const Frame &before, const Visit &visit);
    std::vector<Step> walk(const Visit &visit);
    void expectFocus(const std::vector<Step> &steps, bool isTree);
    Whole whole(const Visit &visit, bool walks);
    void expectSlice(const Frame &step, const std::vector<std::string> &content);
    void expectAllIsSeen(const Visit &visit, const std::vector<Step> &steps,
                         const std::vector<std::string> &content);
    void expectItems(const Visit &tree);
    void look_(const Visit &visit);
};

void EverySize::expectHelpLine()
{
    const auto spots = session.terminal().spots();
    std::string line;
    for (const auto &spot : spots.back()) {
        // A wide character that has no room in the last two columns is left out or marked.
        if (&spot < &spots.back().end()[-2])
            line += spot.text;
        EXPECT_EQ(spot.style, spots.back()[0].style) << session.terminal().picture();
    }
    const std::string wanted = texts.at("MAIN_HELPLINE_ID") + std::string(132, ' ');
    EXPECT_TRUE(wanted.starts_with(line)) << session.terminal().picture();
}

// What Space changes is seen to change.
void EverySize::expectMarks(const Frame &before, const Visit &visit)
{
    const VTermPos cursor = session.terminal().cursor();
    const auto state = [&] {
        return session.terminal()
            .spots()[static_cast<size_t>(cursor.row)][static_cast<size_t>(cursor.col) - 3]
            .text;
    };
    const std::string &row = before.rows.at(static_cast<size_t>(cursor.row - before.top - 1));
    const bool isRadio = row.find("( )") != row.npos || row.find("(*)") != row.npos;
    const bool isBox = row.find("[ ]") != row.npos || row.find("[*]") != row.npos;
    if (!isRadio && !isBox)
        return;
    const std::string old = state();
    session.send(space);
    seen(visit);
    EXPECT_EQ(state(), isRadio || old == " " ? "*" : " ") << session.terminal().picture();
}

// Goes round in the window with Tab.
std::vector<Step> EverySize::walk(const Visit &visit)
{
    constexpr int most = 60;
    std::vector<Step> steps;
    for (int i = 0; i < most; ++i) {
        const Step step = here(visit);
        EXPECT_TRUE(step.frame.encloses(step.cursor)) << "the focus is out of sight\n"
                                                      << session.terminal().picture();
        if (!step.frame.encloses(step.cursor))
            break;
        if (i > 0 && step == steps[0])
            return steps;
        steps.push_back(step);
        session.send(tab);
    }
    ADD_FAILURE() << "Tab leads nowhere\n" << session.terminal().picture();
    return steps;
}

// A row looks otherwise when the focus is elsewhere, or has the cursor. In the tree there is a row
// that never does.
void EverySize::expectFocus(const std::vector<Step> &steps, bool isTree)
{
    for (const Step &step : steps) {
        const size_t row = static_cast<size_t>(step.cursor.row - step.frame.top - 1);
        bool isSeen = step.showsCursor, isComparable = false;
        for (const auto &[other, cursor, showsCursor] : steps)
            for (size_t r = 0; r < other.rows.size(); ++r)
                if (&other != &step.frame && other.rows[r] == step.frame.rows[row]) {
                    isComparable = true;
                    isSeen = isSeen || other.styles[r] != step.frame.styles[row]
                             || (isTree && other.styles != step.frame.styles);
                }
        EXPECT_TRUE(isSeen || !isComparable) << "the focus can't be told in\n"
                                             << step.frame.rows[row];
    }
}

Whole EverySize::whole(const Visit &visit, bool walks)
{
    session.terminal().resize(tall, size.columns);
    std::vector<std::string> rows;
    session.terminal().waitUntil([&] {
        const std::optional<Frame> now = frame(visit);
        if (!now || static_cast<int>(session.terminal().spots().size()) != tall)
            return false;
        session.terminal().settle(std::chrono::milliseconds(30));
        rows = frame(visit).value_or(Frame{}).rows;
        return !rows.empty() && rows.size() > now->rows.size() - 1;
    });
    const Frame all = seen(visit);
    EXPECT_FALSE(all.moreAbove || all.moreBelow) << session.terminal().picture();
    const Places places = walks ? placesOf(walk(visit)) : Places{};
    session.terminal().resize(size.rows, size.columns);
    session.terminal().settle(std::chrono::milliseconds(30));
    return {{all.rows.begin() + 1, all.rows.end() - 1}, places};
}

bool isBlank(const std::string &row)
{
    return trimmed(row).empty();
}

// Whether a row of the content is one of a button with its shadow.
bool isOfButton(const std::vector<std::string> &content, size_t row)
{
    constexpr size_t buttonHeight = 4;
    for (size_t above = 0; above < buttonHeight && above <= row; ++above)
        if (content[row - above].find("┌") != std::string::npos)
            return true;
    return false;
}

// A window shows its content from some row on, and its marks say whether there is more. A button
// that does not fit as a whole at an edge is left out.
void EverySize::expectSlice(const Frame &step, const std::vector<std::string> &content)
{
    std::vector<std::string> rows = step.rows;
    const auto matches = [&](size_t from, size_t offset, size_t count) {
        for (size_t i = 0; i < count; ++i) {
            const bool isAtEdge = i < 3 || i + 3 >= count;
            const bool isLeftOut =
                isAtEdge && isBlank(rows[offset + i]) && isOfButton(content, from + i);
            if (rows[offset + i] != content[from + i] && !isLeftOut)
                return false;
        }
        return true;
    };
    bool isRight = false;
    if (rows.size() >= content.size()) {
        const size_t margin = (rows.size() - content.size()) / 2;
        isRight = matches(0, margin, content.size()) && !step.moreAbove && !step.moreBelow;
    }
    for (size_t from = 0; from + rows.size() <= content.size() && !isRight; ++from)
        isRight = matches(from, 0, rows.size()) && step.moreAbove == (from > 0)
                  && step.moreBelow == (from + rows.size() < content.size());
    std::string all;
    for (const std::string &row : content)
        all += row + "|\n";
    EXPECT_TRUE(isRight) << "not a part of what there is, or marked wrongly:\n"
                         << all << session.terminal().picture();
}

// On the way with Tab, or in a text that is higher than the window with Down.
void EverySize::expectAllIsSeen(const Visit &visit, const std::vector<Step> &steps,
                                const std::vector<std::string> &content)
{
    std::set<std::string> rows;
    const auto isMissing = [&](const std::string &row) { return !rows.contains(row); };
    for (const Step &step : steps)
        rows.insert(step.frame.rows.begin(), step.frame.rows.end());
    const bool scrolls = std::ranges::any_of(content, isMissing);
    for (size_t i = 0; scrolls && i < steps.size(); ++i) {
        for (size_t line = 0; line < content.size(); ++line) {
            const Frame now = seen(visit);
            rows.insert(now.rows.begin(), now.rows.end());
            session.send(down);
        }
        session.send(tab); // from the last one to the first
    }
    for (const std::string &row : content)
        EXPECT_FALSE(isMissing(row)) << "never in sight: " << row;
    for (int i = 0; scrolls && i < 60 && !(here(visit) == steps[0]); ++i)
        session.send(tab);
}

// The tree's window is whole wherever its cursor is, which is in sight.
void EverySize::expectItems(const Visit &tree)
{
    constexpr int most = 8;
    for (const std::string &key : {down, up})
        for (int i = 0; i < most; ++i) {
            session.send(key);
            EXPECT_TRUE(seen(tree).encloses(session.terminal().cursor()))
                << session.terminal().picture();
        }
}

void EverySize::look_(const Visit &visit)
{
    SCOPED_TRACE(visit.name);
    if (visit.choose)
        press(visit.choose, space);
    if (visit.press)
        press(visit.press);
    else if (!visit.keysSent.empty())
        session.send(visit.keysSent);
    seen(visit);
    expectHelpLine();
    const std::vector<Step> steps = walk(visit);
    expectFocus(steps, visit.isTree);
    if (visit.isTree) {
        expectItems(visit);
    } else {
        const bool scrolls = std::ranges::any_of(
            steps, [](const Step &step) { return step.frame.moreAbove || step.frame.moreBelow; });
        const Whole all = whole(visit, scrolls);
        const std::vector<std::string> &content = all.rows;
        EXPECT_TRUE(std::ranges::includes(placesOf(steps), all.places)) << "Tab passes some by";
        for (const Step &step : steps)
            expectSlice(step.frame, content);
        expectAllIsSeen(visit, steps, content);
        const bool hasMarks = std::ranges::any_of(content, [](const std::string &row) {
            return row.find("[ ]") != row.npos || row.find("( )") != row.npos;
        });
        for (size_t i = 0; hasMarks && i < steps.size(); ++i) {
            expectMarks(seen(visit), visit);
            session.send(tab);
        }
    }
    seen(visit);
    expectHelpLine();
    for (const char *button : visit.leave)
        press(button);
}

TEST_P(EverySize, ShowsWindowsWholeAndAllThatIsInThem)
{
    try {
        for (const Visit &visit : tour.visits)
            look_(visit);
    } catch (const std::exception &fault) {
        FAIL() << fault.what();
    }
}

std::vector<const Tour *> allTours()
{
    std::vector<const Tour *> result;
    for (const Tour &tour : tours())
        result.push_back(&tour);
    return result;
}

std::vector<Look> allLooks()
{
    std::vector<Look> result;
    for (const Size &size : sizes)
        for (const char *language : {"en_US.UTF-8", "ja_JP.UTF-8"})
            result.push_back({language, size});
    return result;
}

std::string runName(const testing::TestParamInfo<std::tuple<const Tour *, Look>> &info)
{
    const auto &[tour, look] = info.param;
    return std::string(tour->name) + "_" + std::to_string(look.size.columns) + "x"
           + std::to_string(look.size.rows) + "_" + std::string(look.language, 2);
}

INSTANTIATE_TEST_SUITE_P(Sizes, EverySize,
                         testing::Combine(testing::ValuesIn(allTours()),
                                          testing::ValuesIn(allLooks())),
                         runName);

} // namespace
