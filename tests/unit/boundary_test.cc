// SPDX-License-Identifier: GPL-2.0-or-later
// The headers and what the shared objects export agree, both ways.
#include "support/files.h"
#include "support/symbols.h"

#include <gtest/gtest.h>
#include <regex>
#include <set>

extern "C" int countBoundaryNames(void);
extern "C" int callBoundary(void);

namespace {

using Names = std::set<std::string>;

// The names that an object defines for others.
Names exports(const std::string &object)
{
    Names names;
    for (const Symbol &symbol : definedSymbols(STAGE "/" + object))
        names.insert(symbol.name);
    return names;
}

// The names that a header declares with YAT_API.
Names declared(const std::string &header)
{
    Names names;
    const std::string text = readFile(SOURCES "/include/yat/" + header);
    const std::regex declaration(R"(\nYAT_API [^;({]*?(\w+)(?=[\(\[;]))");
    for (std::sregex_iterator it(text.begin(), text.end(), declaration), end; it != end; ++it)
        names.insert((*it)[1]);
    return names;
}

} // namespace

TEST(Boundary, HeadersAndExportsAgree)
{
    Names all;
    for (const char *header : {"trace.h", "text.h", "winshim.h", "ft.h", "facts.h"})
        all.merge(declared(header));
    EXPECT_EQ(all.size(), 34u);
    EXPECT_EQ(exports("lib/libyat.so"), all);
    EXPECT_EQ(exports("lib/yatcore.dll"), declared("platform.h"));
    EXPECT_EQ(exports("lib/yathwinfo.dll"), declared("hwinfo.h"));
}

TEST(Boundary, ServesACProgram)
{
    EXPECT_EQ(countBoundaryNames(), 34);
    EXPECT_EQ(callBoundary(), 0);
}

TEST(Boundary, ExecutablesExportWhatHasANameOfItsOwn)
{
    for (const char *program : {"mrvutil", "mrvgeneral", "mrvfirmware"}) {
        const Names names = exports(std::string("bin/") + program);
        for (const char *name : {"usage",
                                 "NewtStartUp",
                                 "suspend",
                                 "donothing",
                                 "EditParameter",
                                 "mkTree",
                                 "mkItem",
                                 "TreeDrawItem",
                                 "tracetree",
                                 "param",
                                 "checktree",
                                 "g_SystemType",
                                 "myColors",
                                 "msgWindow",
                                 "msgWindowEx",
                                 "Message",
                                 "Success",
                                 "SelectFromButtons",
                                 "SelectFromButtonsEx",
                                 "CheckButtonFunc",
                                 "CheckBoxFunc",
                                 "EntryNumricFilter",
                                 "CheckStruct",
                                 "CheckboxStruct",
                                 "g_pClassNameList",
                                 "TreeViewNametbl",
                                 "ctOps",
                                 "yat_ctDraw",
                                 "yat_ctEvent",
                                 "yat_ctDestroy",
                                 "yat_ctPlace",
                                 "yat_ctMapped",
                                 "yat_ctSetItem",
                                 "yat_ctSetItem1",
                                 "yat_newtCheckboxTree",
                                 "yat_newtCheckboxTreeMulti",
                                 "yat_newtCheckboxTreeAddItem",
                                 "yat_newtCheckboxTreeAddArray",
                                 "yat_newtCheckboxTreeFindItem",
                                 "yat_newtCheckboxTreeGetSelection",
                                 "yat_newtCheckboxTreeGetMultiSelection",
                                 "yat_newtCheckboxTreeGetCurrent",
                                 "yat_newtCheckboxTreeSetCurrent",
                                 "yat_newtCheckboxTreeGetEntryValue",
                                 "yat_newtCheckboxTreeSetEntryValue",
                                 "CpuSubWin",
                                 "BiosData",
                                 "PciSubWin",
                                 "ScsiAdapter",
                                 "Ethernet",
                                 "General",
                                 "Firmware",
                                 "Get_BMC_FWRevision",
                                 "Entrance",
                                 "FirmUpdate",
                                 "FMUpdate"})
            EXPECT_TRUE(names.contains(name)) << program << " lacks " << name;
    }
}
