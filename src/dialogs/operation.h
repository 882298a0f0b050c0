// SPDX-License-Identifier: GPL-2.0-or-later
// The operations on a device, and the way that every window carries one out.
#pragma once

#include "text/textkeys.h"
#include "yat/ft.h"

#include <functional>

// One without a function is supported by no machine.
struct Operation {
    TextKey notSupported, failed{};
    int (*run)(yat_device *device, int code, const char *argument) = nullptr;
};

// What the operations without an argument are run with.
template <int (*call)(yat_device *, int)> int runPlain(yat_device *device, int code, const char *)
{
    return call(device, code);
}

constexpr Operation clearMtbf = {"CLEARMTBFSUPPORT_ERR_ID", "CLEARMTBF_ERR_ID",
                                 runPlain<ClearMTBF>};
constexpr Operation bringUp = {"BRINGUPSUPPORT_ERR_ID", "BRINGUP_ERR_ID", runPlain<InitBringUp>};
constexpr Operation bringDown = {"BRINGDOWNSUPPORT_ERR_ID", "BRINGDOWN_ERR_ID",
                                 runPlain<InitBringDown>};
constexpr Operation setMtbfType = {"SETMTBFTYPESUPPORT_ERR_ID", "SETMTBFTYPE_FAIL", SetMtbfType};
constexpr Operation burnFirmware = {"BURNFIRMSUPPORT_ERR_ID", "BURNFIRM_ERR_ID", BurnFirmware};
constexpr Operation diagnose = {"DIAGSUPPOPT_ERR_ID"};
constexpr Operation changeJumpSwitch = {"JUMPSWSUPPORT_ERR_ID"};
constexpr Operation takeDump = {"HARVESTDUMPSUPPORT_ERR_ID"};

// Asks whether the machine supports the operation, by the support code that it has for devices of
// this class, and then for the operation, whose code is one more; where it takes an argument, with
// the one that is told then. While it runs, the help line says so by this name; what is typed
// meanwhile is dropped. Returns true for success; else an error box has told why not.
bool carryOut(const Operation &operation, int support, TextKey name, yat_device *device,
              const std::function<const char *()> &argument = {});
