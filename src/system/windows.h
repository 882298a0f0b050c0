// The settings and firmware windows.
#pragma once

#include "yat/device.h"

#pragma GCC visibility push(default)
extern "C" {

// Updates the BIOS of a CPU module, from the running module or from the data file.
int FirmUpdate(yat_device *datap);

// Shows and changes the settings of the whole machine. Returns 1, or 0 when they can't be read.
int General(void);

// Shows the firmware revision of the BMC and updates it.
void Firmware(void);

// Asks the BMC for its firmware revision, as text of 5 bytes such as "01.23".
//
// bmcrev  takes the text, zero-terminated; at least 6 bytes
//
// Returns 1, or 0 with the reason in the trace log and bmcrev untouched.
int Get_BMC_FWRevision(char *bmcrev);

// A notice with two buttons that both close it.
void Entrance(const char *title, const char *message);

// The firmware update of a SCSI adapter, which no machine supports.
int FMUpdate(yat_device *datap);

} // extern "C"
#pragma GCC visibility pop
