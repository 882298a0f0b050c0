#include "dialogs/busyline.h"

#include <newt.h>
#include <string>
#include <termios.h>
#include <unistd.h>

BusyLine showBusyLine(const char *device, const char *operation)
{
    BusyLine busy{std::vector<SLsmg_Char_Type>(static_cast<size_t>(SLtt_Screen_Cols))};
    SLsmg_gotorc(SLtt_Screen_Rows - 1, 0);
    SLsmg_read_raw(busy.covered.data(), static_cast<unsigned>(busy.covered.size()));
    std::string_view name(operation); // texts are padded for their windows
    name = name.substr(0, name.find_last_not_of(' ') + 1);
    newtPushHelpLine(("  " + std::string(device) + ": " + std::string(name) + " ...").c_str());
    newtRefresh();
    return busy;
}

void hideBusyLine(const BusyLine &busy)
{
    newtPopHelpLine();
    SLsmg_gotorc(SLtt_Screen_Rows - 1, 0);
    SLsmg_write_raw(const_cast<SLsmg_Char_Type *>(busy.covered.data()),
                    static_cast<unsigned>(busy.covered.size()));
    newtRefresh();
    tcflush(STDIN_FILENO, TCIFLUSH);
    SLang_flush_input();
}
