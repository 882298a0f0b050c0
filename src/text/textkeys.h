// SPDX-License-Identifier: GPL-2.0-or-later
// The texts for the user, by their keys.
#pragma once

#include "base/display.h"
#include "yat/text.h"

#include <iterator>
#include <string>
#include <string_view>

// The closed set of text keys.
inline constexpr std::string_view textKeys[] = {
    "MAIN_HELPLINE_ID",
    "MAIN_TREE_FT_ID",
    "MAIN_TREE_CPUMODULE_ID",
    "MAIN_TREE_PCIMODULE_ID",
    "MAIN_TREE_SCSIADAPTER_ID",
    "MAIN_TREE_ETHERNET_ID",
    "MAIN_TREE_GENERAL_ID",
    "WINDOW_TITLE_MRV_ID",
    "WINDOW_TITLE_FIRMUP_ID",
    "WINDOW_TITLE_FIRMWARE_ID",
    "WINDOW_TITLE_GENERAL_ID",
    "WINDOW_TITLE_SYSSET_ID",
    "TITTLE_FILEPATHUP_ID",
    "TITTLE_UPDATECOPY_ID",
    "TITTLE_UPMETHOD_ID",
    "BUTTON_CANCEL_ID",
    "BUTTON_CLOSE2_ID",
    "BUTTON_CLOSE_ID",
    "BUTTON_EXIT_ID",
    "BUTTON_OK_ID",
    "COMBUTTON_CHANGE_ID",
    "COMBUTTON_CLEAR_ID",
    "COMBUTTON_DIAGNOSE_ID",
    "COMBUTTON_EXCUTE_ID",
    "COMBUTTON_REFRESH_ID",
    "COMBUTTON_SETMTBFTYPE_ID",
    "COMBUTTON_START_ID",
    "COMBUTTON_STOP_ID",
    "COMBUTTON_UPDATE_ID",
    "LABEL_ADAPTERDIAG_ID",
    "LABEL_BOARD_ID",
    "LABEL_CPUDIAG_ID",
    "LABEL_CPUSTART_ID",
    "LABEL_CPUSTATE_ID",
    "LABEL_DUMPTIME2_ID",
    "LABEL_DUMPTIME_ID",
    "LABEL_DUMP_ID",
    "LABEL_FIRMUPDATE_ID",
    "LABEL_FIRMWARE_UP_ID",
    "LABEL_GENERALACT_ID",
    "LABEL_MTBFTYPE_ID",
    "LABEL_MTBF_ID",
    "LABEL_ONLINETOOFFLINE_ID",
    "LABEL_PCIDIAG_ID",
    "LABEL_PCISTART_ID",
    "LABEL_PCISTATE_ID",
    "LABEL_SETMTBFTYPE1_ID",
    "LABEL_SETMTBFTYPE2_ID",
    "LABEL_SETMTBFTYPE3_ID",
    "LABEL_SUCCESS_ID",
    "LABEL_UNKNOWN_ID",
    "LABEL_UPFILEPATH_ID",
    "QUERYWIN_ADAPTERSTART_ID",
    "QUERYWIN_ADAPTERSTOP_ID",
    "QUERYWIN_AUTOUPDATE_ID",
    "QUERYWIN_CHANGEMTBFTYPE_ID",
    "QUERYWIN_CHANGESYSSET_ID",
    "QUERYWIN_CHANGE_ID",
    "QUERYWIN_CLEAR_ID",
    "QUERYWIN_DUMP_ID",
    "QUERYWIN_ETHERNETSTART_ID",
    "QUERYWIN_ETHERNETSTOP_ID",
    "QUERYWIN_MODULESTART_ID",
    "QUERYWIN_PCISTART_ID",
    "QUERYWIN_PCISTOP_ID",
    "QUERYWIN_QUICKDUMP_ID",
    "QUERYWIN_START_ID",
    "QUERYWIN_STOP_ID",
    "QUERYWIN_UPDATE_ID",
    "BRINGDOWNSUPPORT_ERR_ID",
    "BRINGUPSUPPORT_ERR_ID",
    "BURNFIRMSUPPORT_ERR_ID",
    "CLEARMTBFSUPPORT_ERR_ID",
    "DIAGSUPPOPT_ERR_ID",
    "HARVESTDUMPSUPPORT_ERR_ID",
    "JUMPSWSUPPORT_ERR_ID",
    "SETMTBFTYPESUPPORT_ERR_ID",
    "BRINGDOWN_ERR_ID",
    "BRINGUP_ERR_ID",
    "BURNFIRM_ERR_ID",
    "CLEARMTBF_ERR_ID",
    "CPUSTATE_ERR_ID",
    "PCISTATE_ERR_ID",
    "CREATETREE_ERR_ID",
    "TREEDRAW_ERR_ID",
    "UPDATE_ERROR_ID",
    "UPDATE_NOTFOUND_ID",
    "AUTOBRINGUP_SETERR_ID",
    "AUTOBURN_SETERR_ID",
    "QUICKDUMP_SETERR_ID",
    "GENERAL_GETERR_ID",
    "GENERAL_SETERR_ID",
    "BBDRV_NOSET_ID",
    "BBDRV_SETTING_ID",
    "BIOS_TITLE",
    "CPU_BIOS_VER",
    "CPU_STRTUS_BIOS",
    "BIOS_VER_FAIL",
    "BIOS_DATA_FAIL",
    "VERSION_INFO",
    "MTBFTYPE_UNAVAILABLE",
    "SETMTBFTYPE_FAIL",
    "FIRMWARE_REVISION",
    "FW_REVISION__FAIL",
    "DATAFILE_PATH",
    "BURN_FILE_DEFAULT",
};
static_assert(std::size(textKeys) == 106);

// A key of the set, or none. A name that is no key does not compile.
struct TextKey {
    const char *name = nullptr;

    constexpr TextKey() = default;
    consteval TextKey(const char *key) : name(key)
    {
        for (const std::string_view known : textKeys)
            if (known == key)
                return;
        throw "unknown text key";
    }
};

// The text of a key, as a terminal can show it. It is gone with the next lookup, so it is handed on
// at once: to newt, which copies it, or to a box or a buffer.
inline const char *text(TextKey key)
{
    static std::string shown;
    shown = showableLines(CPGetText(key.name, &ReadString, YAT_RcFileBuf));
    return shown.c_str();
}
