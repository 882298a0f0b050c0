// SPDX-License-Identifier: GPL-2.0-or-later
// The calls of yat/ft.h and yat/facts.h that only read, answered by a machine.
#pragma once

#include "sim/orders.h"
#include "yat/facts.h"
#include "yat/ft.h"

namespace sim {

int createTree(const Machine &machine, yat_device **root);
int isFt(const Machine &machine, int reserved);
int getProperty(const Machine &machine, int kind, int number, int property, char *buffer,
                unsigned long *size);
int statusChange(const Machine &machine, int kind, int number, int code, char *text);
int getFacts(const Machine &machine, yat_device *device, yat_facts *facts);
int ifSupport(const Machine &machine, yat_device *device, int code, int *detail);
int getReason(const Machine &machine, yat_device *device, int code, int detail, char *text);
int getSetting(const Machine &machine, int kind, int object, int index, int *value);

// The operation that the arguments of another call ask for. A null record stands for a device that
// does not exist, so that it is refused as one.
Order orderOf(Verb verb, const yat_device *device, int code, const char *argument = "");
Order settingOrder(int kind, int object, int index, const int *value);

} // namespace sim
