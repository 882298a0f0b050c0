// A machine of as many devices as wanted, for what must not grow with them.
#pragma once

#include "sim/description.h"

// PCI modules with nine adapters each, the last one with fewer, in pairs that run.
sim::Description bigMachine(int devices);
