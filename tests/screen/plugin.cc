// A plug-in that answers as its compilation says: with nothing to call, with a failure, or with
// a revision whose every bit shows.
#include "yat/hwinfo.h"

#include <cstring>

#ifndef PLUGIN_WITHOUT_ENTRY
extern "C" YAT_API int YATGetDeviceID(unsigned char response[16])
{
#ifdef PLUGIN_REFUSES
    memset(response, 0x11, 16); // not to be shown
    return 2;
#else
    memset(response, 0xEE, 16);
    response[3] = 0xFF; // available, major revision 7F
    response[4] = 0x9A;
    return 1;
#endif
}
#endif
