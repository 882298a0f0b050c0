// SPDX-License-Identifier: GPL-2.0-or-later
// The values of include/yat, and words for them, that the platforms and yatctl share.
#pragma once

#include "yat/device.h"
#include "yat/ft.h"

#include <string>
#include <string_view>

namespace yat {

struct MachineType {
    int value;
    std::string_view word;
};

inline constexpr MachineType machineTypes[] = {
    {YAT_MACHINE_ALDER, "ALDER"},
    {YAT_MACHINE_BIRCH, "BIRCH"},
    {YAT_MACHINE_CEDAR, "CEDAR"},
    {YAT_MACHINE_PLAIN, "PLAIN"},
};

// What a module that failed does: see the MTBF types of yat/ft.h.
constexpr int stayDown = 0, alwaysRestart = 1, restartAboveThreshold = 2;

struct MtbfType {
    int value; // as it is written
    std::string_view word;
};

inline constexpr MtbfType mtbfTypes[] = {
    {stayDown, "stay down"},
    {alwaysRestart, "always restart"},
    {restartAboveThreshold, "restart at or above threshold"},
};

// "0 stay down, 1 always restart, ..."
inline std::string mtbfTypesInWords()
{
    std::string words;
    for (const MtbfType &type : mtbfTypes)
        words.append(words.empty() ? "" : ", ")
            .append(std::to_string(type.value) + " ")
            .append(type.word);
    return words;
}

struct Setting {
    int kind;
    const char *key; // in descriptions, and for yatsim and yatctl
};

inline constexpr Setting settings[] = {
    {YAT_SETTING_AUTO_BURN, "automatic_firmware_update"},
    {YAT_SETTING_AUTO_BRING_UP, "automatic_module_start"},
};

struct DeviceClass {
    int value;
    std::string_view shortName, alias; // before the number: as written, and as also accepted
    std::string_view key;              // in [supports] of a description, and what yatctl calls it
    std::string_view word;             // in the state, and of an adapter in a description
};

inline constexpr DeviceClass deviceClasses[] = {
    {YAT_CLASS_CPU_MODULE, "cpu", "cpu", "cpu_module", "CPU"},
    {YAT_CLASS_PCI_MODULE, "pci", "pci", "pci_module", "PCI"},
    {YAT_CLASS_SCSI_ADAPTER, "scsi", "scsi", "scsi_adapter", "SCSI"},
    {YAT_CLASS_ETHERNET_ADAPTER, "ethernet", "eth", "ethernet_adapter", "Ethernet"},
};

// The operations on devices of each class, which stand together.
struct SupportCode {
    int classCode;
    std::string_view call; // of yat/ft.h, which takes the next code
    int code;              // for IfSupport
};

inline constexpr SupportCode supportCodes[] = {
    {YAT_CLASS_CPU_MODULE, "ClearMTBF", YAT_SUPPORT_CPU_CLEAR_MTBF},
    {YAT_CLASS_CPU_MODULE, "InitBringUp", YAT_SUPPORT_CPU_BRING_UP},
    {YAT_CLASS_CPU_MODULE, "InitBringDown", YAT_SUPPORT_CPU_BRING_DOWN},
    {YAT_CLASS_CPU_MODULE, "BurnFirmware", YAT_SUPPORT_CPU_BURN_FIRMWARE},
    {YAT_CLASS_CPU_MODULE, "SetMtbfType", YAT_SUPPORT_CPU_SET_MTBF_TYPE},
    {YAT_CLASS_PCI_MODULE, "ClearMTBF", YAT_SUPPORT_PCI_CLEAR_MTBF},
    {YAT_CLASS_PCI_MODULE, "InitBringUp", YAT_SUPPORT_PCI_BRING_UP},
    {YAT_CLASS_PCI_MODULE, "InitBringDown", YAT_SUPPORT_PCI_BRING_DOWN},
    {YAT_CLASS_PCI_MODULE, "SetMtbfType", YAT_SUPPORT_PCI_SET_MTBF_TYPE},
    {YAT_CLASS_SCSI_ADAPTER, "ClearMTBF", YAT_SUPPORT_SCSI_CLEAR_MTBF},
    {YAT_CLASS_ETHERNET_ADAPTER, "ClearMTBF", YAT_SUPPORT_ETHERNET_CLEAR_MTBF},
};

// The support code of a call for devices of a class, 0 when it has none.
constexpr int supportCode(std::string_view call, int classCode)
{
    for (const SupportCode &each : supportCodes)
        if (each.call == call && each.classCode == classCode)
            return each.code;
    return 0;
}

// The call that a support code asks for, empty when the class has no such code.
constexpr std::string_view callAskedFor(int classCode, int code)
{
    for (const SupportCode &each : supportCodes)
        if (each.classCode == classCode && each.code == code)
            return each.call;
    return {};
}

} // namespace yat
