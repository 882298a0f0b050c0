// SPDX-License-Identifier: GPL-2.0-or-later
// The line is written by an alarm's handler, which can't draw. So S-Lang draws it before, and what
// was there again, into a file; the bytes reach the terminal when they are due. To S-Lang both or
// neither are the same, because it begins and ends in the same place and colour.
#include "dialogs/busyline.h"

#include "terminal/keys.h"
#include "terminal/later.h"
#include "terminal/restore.h"
#include "terminal/size.h"
#include "yat/winshim.h"

#include <algorithm>
#include <newt.h>
#include <slang.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr std::chrono::milliseconds patience(500);

Waiting *current;
bool isScreenBare = true; // no window has been opened

void settle()
{
    SLsmg_refresh();
    SLtt_normal_video();
    SLtt_flush_output();
}

// While one lives, S-Lang writes into it instead of to the terminal.
class Recording {
public:
    Recording() : terminal(std::exchange(SLang_TT_Write_FD, memory)) {}
    ~Recording()
    {
        SLang_TT_Write_FD = terminal;
        close(memory);
    }
    Recording(const Recording &) = delete;
    Recording &operator=(const Recording &) = delete;

    // The bytes by which S-Lang makes the screen what draw wants.
    template <class Draw> std::string bytesOf(Draw draw)
    {
        const off_t begin = end;
        draw();
        settle();
        end = std::max(lseek(memory, 0, SEEK_END), begin);
        std::string bytes(static_cast<size_t>(end - begin), '\0');
        const ssize_t count = pread(memory, bytes.data(), bytes.size(), begin);
        bytes.resize(static_cast<size_t>(std::max<ssize_t>(count, 0)));
        return bytes;
    }

private:
    const int memory = memfd_create("screen", MFD_CLOEXEC);
    const int terminal;
    off_t end = 0;
};

} // namespace

Waiting::Waiting(const std::string &device, const std::string &action) : line("  " + device)
{
    // Texts are padded for their windows.
    if (const size_t first = action.find_first_not_of(' '); first != action.npos)
        line += ": " + action.substr(first, action.find_last_not_of(' ') + 1 - first);
    line += " ...";
    current = this;
    begin(patience);
}

Waiting::~Waiting()
{
    end();
    current = nullptr;
}

void Waiting::draw()
{
    const int bottom = SLtt_Screen_Rows - 1, row = SLsmg_get_row(), column = SLsmg_get_column();
    const auto columns = static_cast<unsigned>(SLtt_Screen_Cols);
    std::vector<SLsmg_Char_Type> covered(columns);
    settle();
    Recording recording;
    // A bare one is drawn whole soon enough; so no start has to prepare that.
    screen = recording.bytesOf(isScreenBare ? SLtt_cls : SLsmg_touch_screen);
    SLsmg_gotorc(bottom, 0);
    SLsmg_read_raw(covered.data(), columns);
    showing = recording.bytesOf([&] {
        SLsmg_set_color(NEWT_COLORSET_HELPLINE);
        SLsmg_write_nstring(line.data(), columns);
        SLsmg_gotorc(row, column);
    });
    hiding = recording.bytesOf([&] {
        SLsmg_gotorc(bottom, 0);
        SLsmg_write_raw(covered.data(), columns);
        SLsmg_gotorc(row, column);
    });
}

void Waiting::begin(std::chrono::milliseconds time)
{
    if (debug_flag)
        return;
    isActive = true;
    draw();
    writeLater(showing, screen, time);
}

void Waiting::end()
{
    if (!isActive)
        return;
    isActive = false;
    if (!takeBack() && !writeToTerminal(hiding))
        requestDrawing(); // the terminal's output is stopped
    dropKeys();
}

void Waiting::show()
{
    writeNow();
}

void interruptWaiting()
{
    isScreenBare = false;
    if (current)
        current->end();
}

void resumeWaiting()
{
    if (current)
        current->begin(patience);
}
