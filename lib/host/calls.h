// SPDX-License-Identifier: GPL-2.0-or-later
// The calls of yat/ft.h and yat/facts.h that read this server. They throw yat::Problem when the
// kernel can't be asked.
#pragma once

#include "host/machine.h"
#include "yat/facts.h"
#include "yat/ft.h"

namespace host {

int createTree(yat_device **root);
int isFt(int);
int getProperty(int kind, int number, int property, char *buffer, unsigned long *size);
int statusChange(int kind, int number, int code, char *text);
int getFacts(yat_device *device, yat_facts *facts);

// The device that a record stands for; null for none of those that were listed last.
const Device *listedDevice(const yat_device *record);

// Has no question answered by what was read before.
void lookAnew();

// Forgets what was read.
void forget();

} // namespace host
