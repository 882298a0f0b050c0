// The calls of yat/ft.h on the simulated machine. They throw yat::Problem when it can't be used.
#pragma once

#include "sim/store.h"
#include "yat/facts.h"
#include "yat/ft.h"

namespace sim {

// The store of the machine that the calls are about.
void openStoreOf(const yat::ConfiguredMachine &machine);
Store &openedStore(); // of the configured machine, when none was opened
void closeStore();

extern const yat_ft_functions calls;

// Those of yat/facts.h.
int getFacts(yat_device *device, yat_facts *facts);
int getReason(yat_device *device, int code, int detail, char *text);

// The operation that a call's arguments ask for. A null record stands for a device that does not
// exist, so that it is refused as one.
Operation operationOf(Verb verb, const yat_device *device, int code, const char *argument = "");
Operation settingOf(int kind, int object, int index, const int *value);

} // namespace sim
