// SPDX-License-Identifier: GPL-2.0-or-later
// What the product can't work without: where it is missing or damaged, one line says so once the
// screen is gone, with a screen and without one.
#include "productroot.h"
#include "session.h"

#include "support/symbols.h"

#include <algorithm>

namespace fs = std::filesystem;

namespace {

struct Missing {
    const char *name;
    std::function<void(const ProductRoot &)> damage;
    std::string complaint; // of which ROOT stands for the product root
    int status;            // without a screen
    std::string machine = "CEDAR";
    std::string leaveTree = "", leaveSettings = keys::enter; // an error box
};

void replace(const fs::path &file, const std::string &text)
{
    fs::remove(file);
    writeFile(file, text);
}

const Missing missing[] = {
    {"catalogue",
     [](const ProductRoot &root) { fs::remove(root.directory.path / "data/E_mrvutil.rc"); },
     "ROOT/data/E_mrvutil.rc can't be read: No such file or directory; install the product again",
     0, "CEDAR", "", ""},
    {"catalogueIsADirectory",
     [](const ProductRoot &root) {
         fs::remove(root.directory.path / "data/E_mrvutil.rc");
         fs::create_directory(root.directory.path / "data/E_mrvutil.rc");
     },
     "ROOT/data/E_mrvutil.rc can't be read: it is not a regular file; install the product again", 0,
     "CEDAR", "", ""},
    {"catalogueIsAFifo",
     [](const ProductRoot &root) {
         fs::remove(root.directory.path / "data/E_mrvutil.rc");
         mkfifo((root.directory.path / "data/E_mrvutil.rc").c_str(), 0644);
     },
     "ROOT/data/E_mrvutil.rc can't be read: it is not a regular file; install the product again", 0,
     "CEDAR", "", ""},
    {"catalogueIsEmpty",
     [](const ProductRoot &root) { replace(root.directory.path / "data/E_mrvutil.rc", ""); },
     "ROOT/data/E_mrvutil.rc is empty; install the product again", 1, "CEDAR", keys::ctrlO,
     keys::backTab + keys::enter},
    {"platform", [](const ProductRoot &root) { fs::remove(root.library() / "yatcore.dll"); },
     "the platform can't be loaded: ROOT/lib/yatcore.dll: cannot open shared object file: No such "
     "file or directory; install the package mrvutil-simulator, or the product again",
     0},
    {"platformIsDamaged",
     [](const ProductRoot &root) { replace(root.library() / "yatcore.dll", "not an object"); },
     "the platform can't be loaded: ROOT/lib/yatcore.dll: file too short; install the product "
     "again",
     0},
    {"platformIsForeign",
     [](const ProductRoot &root) {
         fs::remove(root.library() / "yatcore.dll");
         fs::create_symlink(root.library() / "libyat.so", root.library() / "yatcore.dll");
     },
     "ROOT/lib/yatcore.dll is not a usable platform: it has no symbol YatPlatform; install one "
     "made for this product",
     0},
    {"platformOfTheHardware",
     [](const ProductRoot &root) { fs::remove(root.library() / "yathost.dll"); },
     "the platform can't be loaded: ROOT/lib/yathost.dll: cannot open shared object file: No such "
     "file or directory; install the package mrvutil-host, or the product again",
     0, "hardware"},
    {"platformRefuses",
     [](const ProductRoot &root) {
         fs::remove(root.library() / "yathost.dll");
         fs::copy_file(root.library() / "yatcore.dll", root.library() / "yathost.dll");
     },
     "yatcore.dll only simulates machines, but the configuration names a real one", 0, "hardware"},
    {"platformOfAMaker", [](const ProductRoot &) {},
     "/no/such/platform.so can't be used: No such file or directory", 0, "/no/such/platform.so"},
    {"configuration",
     [](const ProductRoot &root) {
         writeFile(root.directory.path / "etc/yatkit.toml", "machine = 3\n");
     },
     "ROOT/etc/yatkit.toml:1: machine must be a name or a path in quotes; see yatkit.toml(5)", 0,
     "(unset)"},
    {"plugin", [](const ProductRoot &root) { fs::remove(root.library() / "yathwinfo.dll"); },
     "ROOT/lib/yathwinfo.dll: cannot open shared object file: No such file or directory; install "
     "the product again",
     0},
    {"pluginIsForeign",
     [](const ProductRoot &root) {
         replace(root.library() / "yathwinfo.dll", readFile(root.library() / "yatcore.dll"));
     },
     "ROOT/lib/yathwinfo.dll: undefined symbol: YATGetDeviceID; install the product again", 0},
    {"managementController",
     [](const ProductRoot &root) {
         const fs::path machine = root.directory.path / "data/machines/CEDAR.toml";
         std::string description = readFile(machine);
         const size_t begin = description.find("response ="), end = description.find('\n', begin);
         replace(machine, description.erase(begin, end - begin));
     },
     "no 'response' in [bmc] of the machine's description, so it has no BMC", 0},
};

class EveryMissing : public testing::TestWithParam<Missing> {
protected:
    EveryMissing()
    {
        GetParam().damage(root);
        complaint = GetParam().complaint;
        if (const size_t at = complaint.find("ROOT"); at != complaint.npos)
            complaint.replace(at, 4, root.directory.path.string());
        complaint = ": " + complaint;
    }

    RunOptions options(const std::string &program, const std::vector<std::string> &arguments = {})
    {
        return root.options({.program = program,
                             .arguments = arguments,
                             .environment = {{"YAT_MACHINE", GetParam().machine}}});
    }

    // mrvfirmware asks no platform, and it alone asks the management controller.
    static std::vector<std::string> programs()
    {
        const std::string_view name = GetParam().name;
        if (name.starts_with("plugin") || name == "managementController")
            return {"mrvfirmware"};
        if (name.starts_with("platform"))
            return {"mrvutil", "mrvgeneral"};
        return {"mrvutil", "mrvgeneral", "mrvfirmware"};
    }

    // The lines before the complaint.
    static std::string ofProgram(const std::string &program)
    {
        const bool isOfCatalogue = std::string_view(GetParam().name).starts_with("catalogue");
        return program == "mrvfirmware" && !isOfCatalogue
                   ? "mrvfirmware: the firmware revision can't be read; the trace log says why\n"
                   : "";
    }

    // Leaves what is on the screen, if anything.
    static void leave(Session &session, const std::string &program)
    {
        const std::string keysSent =
            program == "mrvutil" ? GetParam().leaveTree : GetParam().leaveSettings;
        if (keysSent.empty())
            return;
        session.terminal().waitUntil([&] { return session.terminal().contains("┌"); });
        session.send(keysSent);
        if (ofProgram(program).empty())
            return;
        session.see("Unknown"); // behind the error box
        session.send(keys::tab + keys::enter);
    }

    ProductRoot root;
    std::string complaint;
};

TEST_P(EveryMissing, IsToldInOneLineWithoutAScreen)
{
    for (const std::string &program : programs()) {
        Workspace workspace(options(program, {"-debug"}));
        const Finished run = runPlain(workspace);
        EXPECT_EQ(run.status, GetParam().status);
        EXPECT_EQ(run.errors, ofProgram(program) + program + complaint + "\n");
    }
}

TEST_P(EveryMissing, PlatformIsNoneOfTheFirmwaresConcern)
{
    if (!std::string_view(GetParam().name).starts_with("platform"))
        return;
    Workspace workspace(options("mrvfirmware", {"-debug"}));
    const Finished run = runPlain(workspace);
    const bool isSimulated = GetParam().machine == "CEDAR";
    EXPECT_EQ(run.status, isSimulated ? 1 : 0);
    EXPECT_EQ(run.errors.find(complaint), std::string::npos);
    EXPECT_TRUE(isSimulated ? run.errors.empty()
                            : run.errors.starts_with(ofProgram("mrvfirmware") + "mrvfirmware: no "))
        << run.errors;
}

TEST_P(EveryMissing, IsToldInOneLineBelowTheScreenThatIsGone)
{
    for (const std::string &program : programs()) {
        Session session(options(program));
        leave(session, program);
        session.expectExit(ofProgram(program).empty() ? GetParam().status : 1);
        EXPECT_FALSE(session.terminal().inAlternateScreen());
        EXPECT_TRUE(session.terminal().modesAreAsBefore());
        const std::string output = session.terminal().output();
        EXPECT_TRUE(output.ends_with(program + complaint + "\r\n")) << output;
        EXPECT_EQ(output.find(complaint), output.rfind(complaint));
    }
}

INSTANTIATE_TEST_SUITE_P(Missing, EveryMissing, testing::ValuesIn(missing),
                         [](const auto &info) { return std::string(info.param.name); });

} // namespace

TEST(Missing, TextIsToldOnce)
{
    ProductRoot root;
    const fs::path catalogue = root.directory.path / "data/E_mrvutil.rc";
    const std::string texts = readFile(catalogue);
    replace(catalogue, texts.substr(0, texts.find("BUTTON_EXIT_ID")));
    Session session(root.options());
    session.see("FT server");
    session.send(keys::ctrlO);
    session.expectExit(1);
    const std::string output = session.terminal().output();
    const size_t at = output.find("mrvutil: ");
    ASSERT_NE(at, output.npos);
    EXPECT_TRUE(
        output.substr(at).starts_with("mrvutil: " + catalogue.string() + " has no text for "));
    EXPECT_EQ(output.find("mrvutil: ", at + 1), output.npos);
}

TEST(Missing, WhatATerminalObeysIsTakenFromTexts)
{
    ProductRoot root;
    const fs::path catalogue = root.directory.path / "data/E_mrvutil.rc";
    const std::string obeyed = "\u202e\u009b\a";
    std::string texts;
    for (const std::string &line : linesOf(readFile(catalogue))) // in front of each, and so shown
        texts +=
            std::string(line).insert(line.find('"') + 1, line.find('"') == line.npos ? "" : obeyed)
            + "\n";
    replace(catalogue, texts);
    const auto look = [&](const char *program, const std::string &keysSent, const char *last) {
        Session session(root.options({.program = program}));
        session.see("???");
        session.send(keysSent);
        session.see(last);
        session.send(keys::ctrlO);
        const std::string output = session.terminal().output();
        for (const char *raw : {"\u202e", "\u009b", "\a"})
            EXPECT_EQ(output.find(raw), output.npos) << program;
    };
    look("mrvgeneral", "", "???General Settings");
    look("mrvutil", " " + keys::down + " " + keys::down + keys::enter,
         "???Diagnosis of the CPU module:");
}

namespace {

// What a program takes from libyat.so.
std::vector<std::string> imports(const std::string &program)
{
    std::vector<std::string> result;
    for (const Symbol &symbol : undefinedSymbols(std::string(PROGRAMS) + "/" + program))
        result.push_back(symbol.name);
    const auto isForeign = [own = definedSymbols(std::string(PROGRAMS) + "/../lib/libyat.so")](
                               const std::string &name) {
        return std::ranges::find(own, name, &Symbol::name) == own.end();
    };
    std::erase_if(result, isForeign);
    return result;
}

// The library with another name for what is called so.
std::string without(std::string library, const std::string &name)
{
    const std::string entry = '\0' + name + '\0';
    for (size_t at = 0; (at = library.find(entry, at)) != library.npos;)
        library[at + 1] = '_';
    return library;
}

} // namespace

TEST(Missing, FunctionOfTheLibraryEndsTheProgramBeforeItTouchesTheTerminal)
{
    ProductRoot root;
    const std::string whole = readFile(root.library() / "libyat.so");
    for (const std::string program : {"mrvutil", "mrvgeneral", "mrvfirmware"}) {
        const std::vector<std::string> names = imports(program);
        EXPECT_GE(names.size(), 20u) << program;
        for (const std::string &name : names) {
            replace(root.library() / "libyat.so", without(whole, name));
            RunOptions options = root.options({.program = program});
            if (name == names.front()) // without a screen it is the same
                options.arguments = {"-debug"};
            // Without the spy, which has most of them as well.
            Workspace workspace(options);
            auto environment = workspace.environment();
            environment.erase("LD_PRELOAD");
            Terminal terminal({.command = workspace.command(), .environment = environment});
            EXPECT_EQ(terminal.wait(), 127 << 8) << name; // as an exit status that is
            const std::string path = workspace.command()[0];
            const std::string output = terminal.output();
            EXPECT_TRUE(output.starts_with(path + ": symbol lookup error: ")) << output;
            EXPECT_NE(output.find(": undefined symbol: "), output.npos) << output;
            // The library can miss it first, by its other name.
            EXPECT_TRUE(output.ends_with(name.substr(1) + "\r\n")) << output;
            EXPECT_EQ(std::ranges::count(output, '\n'), 1);
            EXPECT_EQ(output.find('\x1b'), output.npos);
            EXPECT_TRUE(terminal.modesAreAsBefore());
        }
    }
}
