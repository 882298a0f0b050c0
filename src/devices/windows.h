// The windows of the device classes. Each builds its window for a device record, runs it until it
// is closed, and returns; the result has no meaning.
#pragma once

#include "yat/device.h"

#pragma GCC visibility push(default)
extern "C" {

int CpuSubWin(yat_device *datap);
int PciSubWin(yat_device *datap);
int ScsiAdapter(yat_device *datap);
int Ethernet(yat_device *datap);

// Shows the BIOS data of the CPU module of this number.
int BiosData(int index);

} // extern "C"
#pragma GCC visibility pop
