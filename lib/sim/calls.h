// The calls of yat/ft.h and yat/facts.h on the simulated machine. They throw yat::Problem when it
// can't be used.
#pragma once

#include "sim/store.h"
#include "yat/facts.h"
#include "yat/ft.h"

namespace sim {

// The store of the machine that the calls are about.
void openStoreOf(const yat::ConfiguredMachine &machine);
Store &openedStore(); // of the configured machine, when none was opened
void closeStore();

int createTree(yat_device **root);
int isFt(int reserved);
int getProperty(int kind, int number, int property, char *buffer, unsigned long *size);
int statusChange(int kind, int number, int code, char *text);
int getFacts(yat_device *device, yat_facts *facts);
int ifSupport(yat_device *device, int code, int *detail);
int getReason(yat_device *device, int code, int detail, char *text);
int getSetting(int kind, int object, int index, int *value);
int operate(const Operation &operation);

// The operation that a call's arguments ask for. A null record stands for a device that does not
// exist, so that it is refused as one.
Operation operationOf(Verb verb, const yat_device *device, int code, const char *argument = "");
Operation settingOperation(int kind, int object, int index, const int *value);

} // namespace sim
