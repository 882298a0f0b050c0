/* SPDX-License-Identifier: GPL-2.0-or-later */
/* The boundary as a C program sees it: every header compiled, every name linked. */
#include "yat/device.h"
#include "yat/facts.h"
#include "yat/ft.h"
#include "yat/hwinfo.h"
#include "yat/platform.h"
#include "yat/text.h"
#include "yat/trace.h"
#include "yat/winshim.h"

#include <string.h>

/* How many of the names have an address; called by a test. */
int countBoundaryNames(void);
/* What a few calls answer without anything set up; 0 when all is as documented. */
int callBoundary(void);

int countBoundaryNames(void)
{
    const void *const names[] = {
        (const void *)(size_t)TraceLogInit,
        (const void *)(size_t)TraceLog,
        (const void *)(size_t)OpenStrFile,
        (const void *)(size_t)CPGetText,
        (const void *)(size_t)CodeConvertFromEUC,
        (const void *)(size_t)GetSystemDefaultLangID,
        (const void *)(size_t)LoadLibrary,
        (const void *)(size_t)GetProcAddress,
        (const void *)(size_t)FreeLibrary,
        (const void *)(size_t)GetYatRootPath,
        (const void *)(size_t)initnewtlib,
        (const void *)(size_t)freenewtlib,
        (const void *)(size_t)initslanglib,
        (const void *)(size_t)freeslanglib,
        (const void *)(size_t)ft_FunctionInit,
        (const void *)(size_t)ft_FunctionRelease,
        (const void *)(size_t)CreateTreeViewData,
        (const void *)(size_t)FreeTreeViewData,
        (const void *)(size_t)call_yat_is_ft,
        (const void *)(size_t)StatusChange,
        (const void *)(size_t)IfSupport,
        (const void *)(size_t)ClearMTBF,
        (const void *)(size_t)InitBringUp,
        (const void *)(size_t)InitBringDown,
        (const void *)(size_t)SetMtbfType,
        (const void *)(size_t)BurnFirmware,
        (const void *)(size_t)GetBBDriverSettings,
        (const void *)(size_t)PutBBDriverSettings,
        (const void *)(size_t)GetDeviceFacts,
        (const void *)(size_t)GetSupportReason,
        &YAT_RcFileBuf,
        ReadString,
        &debug_flag,
        &yat_ft_func,
    };
    int count = 0;
    for (size_t i = 0; i < sizeof names / sizeof *names; ++i)
        count += names[i] != NULL;
    return count;
}

int callBoundary(void)
{
    struct yat_device device;
    struct yat_facts facts;
    struct yat_device *root = NULL;
    char text[1025] = "untouched";
    int value = 7;
    memset(&device, 0, sizeof device);
    memset(&facts, 0, sizeof facts);
    facts.size = sizeof facts;
    if (ft_FunctionRelease() != 0 || CreateTreeViewData(&root) != 0 || FreeTreeViewData(&root) != 0)
        return 1;
    if (call_yat_is_ft(0) != YAT_MACHINE_QUERY_FAILED)
        return 2;
    if (StatusChange(2, 1, 9001, text) != -1 || strcmp(text, "untouched") != 0)
        return 3;
    if (IfSupport(&device, 1, &value) != 0 || value != 7)
        return 4;
    if (ClearMTBF(&device, 2) == 1 || InitBringUp(&device, 6) == 1 || InitBringDown(&device, 8) == 1
        || SetMtbfType(&device, 14, "0") == 1 || BurnFirmware(&device, 10, "FWCOPY") == 1)
        return 5;
    if (GetBBDriverSettings(2, 20003, 1, &value) != 0
        || PutBBDriverSettings(2, 20003, 1, &value) != 0)
        return 6;
    if (GetDeviceFacts(&device, &facts) != 0 || GetSupportReason(&device, 1, 1, text) != 0
        || strcmp(text, "untouched") != 0)
        return 7;
    return 0;
}
