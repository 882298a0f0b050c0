/* SPDX-License-Identifier: GPL-2.0-or-later */
/* Makes the calls that the minimal platform has answers to. */
#include <yat/facts.h>
#include <yat/ft.h>

#include <stdio.h>
#include <string.h>

static int failures;

static void expect(int holds, const char *what)
{
    if (holds)
        return;
    printf("FAILED: %s\n", what);
    ++failures;
}

int main(void)
{
    expect(ft_FunctionInit() == 1, "opening");
    expect(call_yat_is_ft(0) == YAT_MACHINE_ALDER, "machine type");
    struct yat_device *root = NULL;
    expect(CreateTreeViewData(&root) == 1 && root && root->NextDevNum == 1, "device tree");
    if (failures > 0)
        return 1;
    struct yat_device *module = root->children[0];

    char text[1024] = "", property[16] = "";
    unsigned long size = sizeof property;
    int type = 0;
    expect(
        yat_ft_func.yat_ft_get_property(YAT_KIND_BOARD, 1, YAT_PROPERTY_MTBF_TYPE, property, &size)
                == 0
            && size == strlen(property) + 1
            && yat_ft_func.Linux_ConvertDataToInt(property, &type) == 0 && type == 2,
        "MTBF type");
    expect(StatusChange(YAT_KIND_CPU_MODULE, 1, YAT_STATE_CPU_MODULE, text) != -1
               && strcmp(text, "Duplex") == 0,
           "state");
    expect(StatusChange(YAT_KIND_CPU_MODULE, 2, YAT_STATE_CPU_MODULE, text) == -1,
           "state of a module that is not there");

    int detail = -1;
    expect(IfSupport(module, 1, &detail) != 0 && detail == 0, "support of clearing");
    expect(ClearMTBF(module, 2) == 1, "clearing");
    StatusChange(YAT_KIND_CPU_MODULE, 1, YAT_STATE_CPU_MODULE, text);
    expect(strcmp(text, "Duplex, cleared") == 0, "state after clearing");
    expect(IfSupport(module, 5, &detail) == 0 && detail == YAT_DETAIL_UNSUPPORTED,
           "support of starting");
    expect(InitBringUp(module, 6) == 0, "starting");
    expect(GetSupportReason(module, 5, detail, text) == 1 && strlen(text) > 0, "reason");

    struct yat_facts facts = {.size = sizeof facts};
    expect(GetDeviceFacts(module, &facts) == 1 && facts.size == sizeof facts
               && facts.known == (YAT_KNOWS_STATE | YAT_KNOWS_FAILURES)
               && facts.state == YAT_DEVICE_RUNNING && facts.failures == 0,
           "facts");

    expect(FreeTreeViewData(&root) == 1 && !root, "freeing the tree");
    expect(ft_FunctionRelease() == 1, "closing");
    return failures > 0;
}
