// SPDX-License-Identifier: GPL-2.0-or-later
// Libraries in a process that gets no memory any more.
#include "common/complaints.h"
#include "support/withoutmemory.h"
#include "yat/ft.h"
#include "yat/text.h"
#include "yat/trace.h"
#include "yat/winshim.h"

#include <cstdlib>
#include <cstring>

TEST_F(WithoutMemory, CallsFailAndTheFirstOnesTellWhy)
{
    struct Call {
        bool (*isRefused)();
        const char *told;
    };
    const Call calls[] = {
        {[] {
             int size = 7;
             return !OpenStrFile("/data/E_mrvutil.rc", &size) && size == 7;
         },
         "^unit_test: out of memory\n$"},
        {[] { return ft_FunctionInit() == 0; }, "^unit_test: out of memory\n$"},
        {[] {
             TraceLog(YAT_TRACE_ERROR, "test", __func__, __LINE__, "a text that takes memory");
             return FreeLibrary(nullptr) == 0;
         },
         "^unit_test: out of memory\n$"},
        {[] {
             char text[100] = "as was", catalogue[] = "KEY \"longer than without memory\"\n";
             return GetYatRootPath(text, sizeof text) == 0
                    && CodeConvertFromEUC(catalogue, text, sizeof text) == -1
                    && strcmp(text, "as was") == 0
                    && *CPGetText("KEY", &ReadString, catalogue) == '\0';
         },
         "^$"},
    };
    for (const Call &each : calls) {
        const auto call = [&] {
            useUp();
            exit(each.isRefused() ? 0 : 1);
        };
        EXPECT_EXIT(call(), testing::ExitedWithCode(0), each.told);
    }
}

TEST_F(WithoutMemory, ComplaintsAreToldInAscii)
{
    const auto complain = [] {
        yat::complain("that is longer than texts without memory ~ \x7f \xc3\xa9");
        useUp();
        yat::tellComplaints(); // at its end, the program has some memory again
        exit(0);
    };
    EXPECT_EXIT(complain(), testing::ExitedWithCode(0),
                "^unit_test: that is longer than texts without memory ~ \\? \\?\\?\n$");
}
