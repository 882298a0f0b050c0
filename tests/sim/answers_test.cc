// SPDX-License-Identifier: GPL-2.0-or-later
// How the calls answer when they are told to.
#include "scenario.h"

#include <functional>
#include <tuple>

namespace {

class Injections : public Scenario {};

} // namespace

TEST_P(Injections, FailEveryCallByItsConvention)
{
    begin();
    yat_device *cpu = record("CPU module 2");
    char text[1025] = "untouched", number[] = "4";
    unsigned long size = sizeof text;
    int value = 77;
    yat_device *tree = nullptr;
    const std::tuple<const char *, int, std::function<int()>> calls[] = {
        {"CreateTreeViewData", 0, [&] { return CreateTreeViewData(&tree); }},
        {"call_yat_is_ft", -1, [] { return call_yat_is_ft(0); }},
        {"yat_ft_get_property", 3,
         [&] { return yat_ft_func.yat_ft_get_property(2, 1, 27, text, &size); }},
        {"Linux_ConvertDataToInt", -1,
         [&] {
             cpuState(1); // from here it knows
             return yat_ft_func.Linux_ConvertDataToInt(number, &value);
         }},
        {"StatusChange", -1, [&] { return StatusChange(2, 1, 9001, text); }},
        {"IfSupport", 0, [&] { return IfSupport(cpu, 7, nullptr); }},
        {"ClearMTBF", 0, [&] { return ClearMTBF(cpu, 2); }},
        {"InitBringDown", 0, [&] { return InitBringDown(cpu, 8); }},
        {"InitBringUp", 2, [&] { return InitBringUp(cpu, 6); }},
        {"SetMtbfType", 0, [&] { return SetMtbfType(cpu, 14, "0"); }},
        {"BurnFirmware", 0, [&] { return BurnFirmware(cpu, 10, "FWCOPY"); }},
        {"GetBBDriverSettings", 0, [&] { return GetBBDriverSettings(2, 20003, 1, &value); }},
        {"PutBBDriverSettings", 0, [&] { return PutBBDriverSettings(2, 20003, 1, &value); }},
    };
    const std::string before = view();
    for (const auto &[name, result, call] : calls) {
        inject(name, std::to_string(result));
        EXPECT_EQ(call(), result) << name;
    }
    EXPECT_EQ(view(), before);
    EXPECT_STREQ(text, "untouched");
    EXPECT_EQ(value, 77);
    EXPECT_EQ(tree, nullptr);

    ASSERT_EQ(CreateTreeViewData(&tree), 1);
    inject("FreeTreeViewData", "0");
    EXPECT_EQ(FreeTreeViewData(&tree), 1);   // which does not look at the machine
    ASSERT_EQ(CreateTreeViewData(&tree), 1); // from here it knows
    EXPECT_EQ(FreeTreeViewData(&tree), 0);
    EXPECT_NE(tree, nullptr);
    EXPECT_EQ(FreeTreeViewData(&tree), 1);
    interface.reset();
    inject("ft_FunctionInit", "0");
    EXPECT_EQ(ft_FunctionInit(), 0);
    EXPECT_EQ(yat_ft_func.handle, nullptr);
    interface.emplace();
}

TEST_P(Injections, AnswerAsWanted)
{
    begin();
    inject("StatusChange", "0 --text \"Melting\"");
    EXPECT_EQ(cpuState(9), "Melting");
    inject("yat_ft_get_property", "0 --text \"9\"");
    EXPECT_EQ(property(YAT_KIND_BOARD, 1, YAT_PROPERTY_MTBF_TYPE), "9");
    inject("yat_ft_get_property", "0 --times 3 --text \"" + std::string(1500, 'x') + "\"");
    char small[8] = "as was";
    unsigned long size = sizeof small;
    for (const auto &[buffer, length] :
         {std::pair{small, &size}, {nullptr, &size}, {small, nullptr}})
        EXPECT_EQ(yat_ft_func.yat_ft_get_property(2, 1, 27, buffer, length), -1);
    EXPECT_STREQ(small, "as was");
    EXPECT_EQ(size, sizeof small);
    inject("Linux_ConvertDataToInt", "0 --text 12");
    cpuState(1); // from here it knows
    int value = 0;
    char number[] = "x";
    EXPECT_EQ(yat_ft_func.Linux_ConvertDataToInt(number, &value), 0);
    EXPECT_EQ(value, 12);
    inject("GetBBDriverSettings", "1 --text 5");
    EXPECT_EQ(GetBBDriverSettings(2, YAT_CLASS_GENERAL, 1, &value), 1);
    EXPECT_EQ(value, 5);
    inject("IfSupport", "0 --text 42");
    EXPECT_EQ(detail("CPU module 1", 7), 42);
    inject("call_yat_is_ft", "2");
    EXPECT_EQ(call_yat_is_ft(0), YAT_MACHINE_BIRCH);
    inject("StatusChange", "0 --text \"" + std::string(1500, 'x') + "\"");
    EXPECT_EQ(cpuState(1), std::string(1023, 'x')); // as much as the buffer takes
}

PLAY_SCENARIOS(Injections);
