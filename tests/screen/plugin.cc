// SPDX-License-Identifier: GPL-2.0-or-later
// A plug-in that answers as its compilation says: with nothing to call, with a failure, or with
// a revision whose every bit shows.
#include "yat/hwinfo.h"

#include <algorithm>
#include <cstring>

#ifndef PLUGIN_WITHOUT_ENTRY
extern "C" YAT_API int YATGetDeviceID(unsigned char response[16])
{
#ifdef PLUGIN_REFUSES
    memset(response, 0x11, 16); // not to be shown
    return 2;
#else
    if (std::any_of(response, response + 16, [](unsigned char byte) { return byte != 0; }))
        return 0; // what is there already could be taken for the answer
    memset(response, 0xEE, 16);
    response[3] = 0xFF; // available, major revision 7F
    response[4] = 0x9A;
    return 1;
#endif
}
#endif
