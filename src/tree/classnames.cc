// SPDX-License-Identifier: GPL-2.0-or-later
// The class naming tables. The program itself does not read them.
#include "yat/device.h"

int g_pClassNameList[YAT_CLASS_NAMES] = {
    YAT_CLASS_UNKNOWN,    YAT_CLASS_GENERAL,      YAT_CLASS_CPU_MODULE,
    YAT_CLASS_PCI_MODULE, YAT_CLASS_SCSI_ADAPTER, YAT_CLASS_ETHERNET_ADAPTER,
};

char TreeViewNametbl[YAT_CLASS_NAMES][128] = {
    "LABEL_UNKNOWN_ID",       "MAIN_TREE_GENERAL_ID",     "MAIN_TREE_CPUMODULE_ID",
    "MAIN_TREE_PCIMODULE_ID", "MAIN_TREE_SCSIADAPTER_ID", "MAIN_TREE_ETHERNET_ID",
};
