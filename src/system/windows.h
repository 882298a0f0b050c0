// The settings and firmware windows.
#pragma once

#include "yat/device.h"

#pragma GCC visibility push(default)
extern "C" {

// Updates the BIOS of a CPU module, from the running module or from the data file.
int FirmUpdate(yat_device *datap);

// The firmware update of a SCSI adapter, which no machine supports.
int FMUpdate(yat_device *datap);

} // extern "C"
#pragma GCC visibility pop
