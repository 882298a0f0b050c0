// SPDX-License-Identifier: GPL-2.0-or-later
#include "shell/mrvmain.h"

#include "base/display.h"
#include "base/locale.h"
#include "base/name.h"
#include "base/streams.h"
#include "base/tracing.h"
#include "dialogs/window.h"
#include "shell/devicetree.h"
#include "shell/program.h"
#include "terminal/check.h"
#include "terminal/console.h"
#include "terminal/ending.h"
#include "terminal/environment.h"
#include "terminal/keys.h"
#include "terminal/lending.h"
#include "terminal/restore.h"
#include "terminal/size.h"
#include "terminal/stopping.h"
#include "text/textkeys.h"
#include "tree/component.h"
#include "yat/ft.h"
#include "yat/winshim.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

static constexpr char traceSource[] = "mrvmain";

static bool screenOn;

// newt's structure wants writable strings; it only reads them.
#define COLOURS(foreground, background)                                                            \
    const_cast<char *>(foreground), const_cast<char *>(background)
const newtColors myColors = {
    COLOURS("white", "black"),     // root
    COLOURS("black", "lightgray"), // border
    COLOURS("black", "lightgray"), // window
    COLOURS("white", "black"),     // shadow
    COLOURS("yellow", "blue"),     // title
    COLOURS("yellow", "blue"),     // button
    COLOURS("black", "brown"),     // active button
    COLOURS("blue", "lightgray"),  // checkbox
    COLOURS("blue", "brown"),      // active checkbox
    COLOURS("yellow", "blue"),     // entry
    COLOURS("black", "lightgray"), // label
    COLOURS("white", "blue"),      // listbox
    COLOURS("black", "brown"),     // active listbox
    COLOURS("black", "lightgray"), // textbox
    COLOURS("lightgray", "black"), // active textbox
    COLOURS("white", "blue"),      // help line
    COLOURS("yellow", "blue"),     // root text
    COLOURS("blue", "red"),        // empty scale, full scale
    COLOURS("blue", "lightgray"),  // disabled entry
    COLOURS("black", "brown"),     // compact button
    COLOURS("yellow", "brown"),    // active selected listbox
    COLOURS("black", "brown"),     // selected listbox
};
#undef COLOURS

void usage(const char *program)
{
    if (!program)
        return;
    printf("Usage: %s [-d]\n", showable(program).c_str());
    printf("       -d : display driver message\n");
}

void NewtStartUp(void)
{
    if (debug_flag)
        return;
    {
        const HeldStops held; // until they are watched
        startNewt();
        watchSize();
        watchStops();
    }
    markPastes();
    newtSetColors(myColors);
    newtCls();
    newtPushHelpLine(text("MAIN_HELPLINE_ID"));
    newtDrawRootText(0, 0, "");
    redrawHelpLine();
}

void suspend(void *)
{
    newtSuspend();
    terminalIsLent = 1; // the screen is left already
    raise(SIGTSTP);
    terminalIsLent = 0;
    newtRefresh();
    newtResume();
}

static void leaveScreen()
{
    const HeldStops held; // which take their usual effect on a terminal that is restored
    forgetStops();
    unmarkPastes();
    newtCls();
    newtFinished();
    showCursor();
    undisguiseTerminal();
    restoreConsole();
    releaseTerminal();
}

// What is done after the windows, whether they ended by themselves or with their terminal.
static void tearDown()
{
    if (screenOn)
        leaveScreen();
    if ((program.alwaysReleases || yat_ft_func.handle) && ft_FunctionRelease() == 0)
        TRACE_AS(YAT_TRACE_ERROR, "main", "Release keldor I/F by ft_release failed.");
    if (screenOn)
        dropTyped(); // while the release took its time
    freenewtlib();
    freeslanglib();
    TRACE_AS(YAT_TRACE_PROGRESS, "main", "<");
}

// Sets the screen up; false, with the reason on standard error, when that can't be done.
static bool startScreen(bool silencesConsole)
{
    std::string fault = terminalFault(program.data);
    if (const char *difference = fault.empty() ? componentFault() : nullptr)
        fault = std::string("the installed newt lays its components out differently (") + difference
                + "); install newt 0.52.9 or a later 0.52";
    if (fault.empty() && !awaitForeground())
        fault = neverInForeground;
    if (!fault.empty()) {
        say(fault.c_str());
        TRACE_AS(YAT_TRACE_ERROR, "main", "No screen: %s.", fault.c_str());
        return false;
    }
    guardTerminal(tearDown);
    if (silencesConsole)
        silenceConsole();
    screenOn = true;
    NewtStartUp();
    return true;
}

// Reads the catalogue file into YAT_RcFileBuf. What follows its bytes there is not cleared.
static bool loadCatalogue(const char *path)
{
    int size;
    FILE *file = OpenStrFile(path, &size);
    if (!file) {
        TRACE_AS(YAT_TRACE_ERROR, "main", "<open file %s error.", path);
        return false;
    }
    constexpr size_t spare = 1024;
    YAT_RcFileBuf =
        size < 0 ? nullptr : static_cast<char *>(malloc(static_cast<size_t>(size) + spare));
    if (!YAT_RcFileBuf) {
        printf("System call error!Can't malloc!");
        fclose(file);
        TRACE_AS(YAT_TRACE_MEMORY, "main", "<malloc error.");
        return false;
    }
    memset(YAT_RcFileBuf, 0, 8);
    const size_t read = fread(YAT_RcFileBuf, 1, static_cast<size_t>(size), file);
    if (read < static_cast<size_t>(size))
        YAT_RcFileBuf[read] = '\0'; // the file has become shorter meanwhile
    fclose(file);
    return true;
}

static void dropCatalogue()
{
    free(YAT_RcFileBuf);
    YAT_RcFileBuf = nullptr;
}

static bool loadScreenLibraries()
{
    if (initnewtlib() == -1) {
        dropCatalogue();
        TRACE_AS(YAT_TRACE_ERROR, "main", "<Init /usr/lib/libnewt.so failed!");
        return false;
    }
    if (initslanglib() == -1) {
        dropCatalogue();
        freenewtlib();
        TRACE_AS(YAT_TRACE_ERROR, "main", "<Init /usr/lib/libslang.so failed!");
        return false;
    }
    return true;
}

// What could not be printed is a failure.
static bool hasPrinted()
{
    const bool isFlushed = fflush(stdout) == 0;
    if (isFlushed && !ferror(stdout))
        return true;
    std::string fault = "standard output can't be written";
    if (!isFlushed)
        fault += std::string(": ") + strerrordesc_np(errno);
    say(fault.c_str());
    TRACE_AS(YAT_TRACE_ERROR, "main", "%s.", fault.c_str());
    return false;
}

// Which of the two options is given. False, with the usage printed, for anything else.
static bool readOptions(int argc, char **argv, bool &kernelLogOff)
{
    kernelLogOff = true;
    debug_flag = 0;
    if (argc == 2 && strncmp(argv[1], "-debug", 7) == 0) {
        debug_flag = 1;
        printf("\n");
    } else if (argc == 2 && strcmp(argv[1], "-d") == 0) {
        kernelLogOff = false;
    } else if (argc > 1) {
        usage(argv[0]);
        TRACE_AS(YAT_TRACE_ERROR, "main", "<missing argument.");
        return false;
    }
    return true;
}

int main(int argc, char **argv)
{
    holdStandardStreams();
    TraceLogInit(0, "YATmrvutil", 0, 5, 0);
    watchSignals();
    TRACE(">");
    adoptLocale();
    adoptName();

    bool kernelLogOff;
    if (!readOptions(argc, argv, kernelLogOff))
        return 0;

    char path[50] = {};
    TRACE("enter utility/main() of mrvutil.");
    strcat(path, GetSystemDefaultLangID() == YAT_LANGUAGE_JAPANESE ? "/data/J_" : "/data/E_");
    strcat(path, "mrvutil.rc");
    if (!loadCatalogue(path))
        return 0;
    memset(param, 0, sizeof param);

    if (!loadScreenLibraries())
        return 0;

    int status = 0;
    if (debug_flag || startScreen(kernelLogOff)) {
        status = program.run();
        if (status == 0 && program.failure)
            TRACE_ERROR("%s", program.failure);
        if (!debug_flag)
            dropKeys(); // which were meant for the screen, not for the shell
        else if (!hasPrinted())
            status = 0;
    }
    tearDown();
    return status;
}
