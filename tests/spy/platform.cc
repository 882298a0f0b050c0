// SPDX-License-Identifier: GPL-2.0-or-later
// The calls of the product services that the program makes. Each is recorded, and answered by the
// script's rule for it or by the real one.
#include "calls.h"
#include "script.h"
#include "yat/ft.h"
#include "yat/text.h"
#include "yat/trace.h"
#include "yat/winshim.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

void recordSyslog(int priority, const char *format, va_list arguments)
{
    char text[1024];
    vsnprintf(text, sizeof text, format, arguments);
    record("syslog(" + list(priority, static_cast<const char *>(text)) + ")");
}

constexpr size_t stateRoom = 1025;

// Answers a call. The rule's text goes into the buffer, if there is one.
template <class Real>
int answer(const char *call, const std::string &arguments, Real real, char *buffer = nullptr)
{
    const Rule *rule = ruleFor(call);
    if (rule)
        waitFor(*rule);
    const bool isPlayed = rule && !rule->isReal();
    const int result = isPlayed ? rule->number() : real();
    if (isPlayed && buffer && rule->text)
        strcpy(buffer, rule->text->c_str());
    if (isPlayed && buffer && rule->isEndless)
        memset(buffer, 'x', stateRoom);
    record(std::string(call) + "(" + arguments + ") = " + std::to_string(result));
    return result;
}

decltype(yat_ft_func.yat_ft_get_property) realGetProperty;
decltype(yat_ft_func.Linux_ConvertDataToInt) realConvert;

// The first byte that is not zero in a buffer that has to be all zero, as a note for the record.
std::string remains(const char *buffer, unsigned long size)
{
    const std::string_view bytes(buffer, size);
    return bytes.find_first_not_of('\0') == std::string_view::npos ? "" : ", not cleared";
}

int getProperty(int kind, int number, int property, char *buffer, unsigned long *size)
{
    const unsigned long room = *size;
    const std::string arguments =
        list(kind, number, property, static_cast<int>(room)) + remains(buffer, room);
    const Rule *rule = ruleFor("yat_ft_get_property");
    if (rule)
        waitFor(*rule);
    int result;
    if (rule && !rule->isReal()) {
        result = rule->number();
        if (rule->isEndless)
            memset(buffer, 'x', room);
        else if (result == 0)
            *size = static_cast<unsigned long>(
                snprintf(buffer, room, "%s", rule->text.value_or("").c_str()) + 1);
    } else {
        result = realGetProperty(kind, number, property, buffer, size);
    }
    record("yat_ft_get_property(" + arguments + ") = " + std::to_string(result));
    return result;
}

int convert(char *text, int *value)
{
    const std::string given = text;
    return answer("Linux_ConvertDataToInt", given, [&] { return realConvert(text, value); });
}

// Leaves something on the stack for the calls to come, so that none finds zeros there by chance
// where it should have written some.
__attribute__((noinline)) void soilStack()
{
    char dirt[16384];
    memset(dirt, 0x5A, sizeof dirt);
    asm volatile("" : : "r"(dirt) : "memory");
}

// The sanitizers start a program that names the places they report; the spy is not for that one.
__attribute__((constructor)) void keepToThisProgram()
{
    unsetenv("LD_PRELOAD");
}

// The same for the variables that the program has to set itself.
__attribute__((constructor)) void soilVariables()
{
    for (const auto &[name, size] : {std::pair{"debug_flag", 1}, {"param", 8}})
        if (void *variable = dlsym(RTLD_DEFAULT, name))
            std::fill_n(static_cast<int *>(variable), size, 7);
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

// The calls that are nothing but recorded and answered.
#define CALL(name, parameters, arguments)                                                          \
    int name parameters                                                                            \
    {                                                                                              \
        return answer(#name, list arguments,                                                       \
                      [&] { return real<decltype(name)>(#name) arguments; });                      \
    }
CALL(BurnFirmware, (yat_device * device, int code, const char *mode), (device, code, mode))
CALL(call_yat_is_ft, (int reserved), (reserved))
CALL(ClearMTBF, (yat_device * device, int code), (device, code))
CALL(ft_FunctionRelease, (), ())
CALL(InitBringDown, (yat_device * device, int code), (device, code))
CALL(InitBringUp, (yat_device * device, int code), (device, code))
CALL(initnewtlib, (), ())
CALL(initslanglib, (), ())
CALL(PutBBDriverSettings, (int kind, int object, int index, int *value),
     (kind, object, index, value))
CALL(SetMtbfType, (yat_device * device, int code, const char *type), (device, code, type))

// The calls of which the script or the record has more to say.

int ft_FunctionInit(void)
{
    const auto open = real<decltype(ft_FunctionInit)>("ft_FunctionInit");
    const int result = answer("ft_FunctionInit", "", open);
    if (result != 0 && !yat_ft_func.handle)
        open(); // for the result that is played
    realGetProperty = yat_ft_func.yat_ft_get_property;
    realConvert = yat_ft_func.Linux_ConvertDataToInt;
    yat_ft_func.yat_ft_get_property = isMissing("yat_ft_get_property") ? nullptr : getProperty;
    yat_ft_func.Linux_ConvertDataToInt = isMissing("Linux_ConvertDataToInt") ? nullptr : convert;
    if (isMissing("handle"))
        yat_ft_func.handle = nullptr;
    return result;
}

int CreateTreeViewData(yat_device **root)
{
    alignas(yat_device) static char noRecords[stateRoom];
    const int result = answer(
        "CreateTreeViewData", list(root),
        [&] {
            return hasTree() ? 1 : real<decltype(CreateTreeViewData)>("CreateTreeViewData")(root);
        },
        noRecords);
    if (noRecords[0] != '\0')
        *root = reinterpret_cast<yat_device *>(noRecords);
    else if (result != 0 && hasTree())
        *root = playedTree();
    return result;
}

int FreeTreeViewData(yat_device **root)
{
    return answer("FreeTreeViewData", list(root), [&] {
        return hasTree() ? 1 : real<decltype(FreeTreeViewData)>("FreeTreeViewData")(root);
    });
}

int StatusChange(int kind, int number, int code, char *text)
{
    return answer(
        "StatusChange", list(kind, number, code, text) + remains(text, 1024),
        [&] { return real<decltype(StatusChange)>("StatusChange")(kind, number, code, text); },
        text);
}

int IfSupport(yat_device *device, int code, int *detail)
{
    const std::string arguments = list(device, code, detail);
    *detail += 1000; // for nobody to read
    return answer("IfSupport", arguments,
                  [&] { return real<decltype(IfSupport)>("IfSupport")(device, code, detail); });
}

int GetBBDriverSettings(int kind, int object, int index, int *value)
{
    const Rule *rule = ruleFor("GetBBDriverSettings");
    if (rule)
        waitFor(*rule);
    if (rule && rule->text)
        *value = rule->textAsNumber();
    const int result = rule && !rule->isReal()
                           ? rule->number()
                           : real<decltype(GetBBDriverSettings)>("GetBBDriverSettings")(
                               kind, object, index, value);
    record("GetBBDriverSettings(" + list(kind, object, index) + ") = " + std::to_string(result));
    return result;
}

void *LoadLibrary(const char *path)
{
    const Rule *rule = ruleFor("LoadLibrary");
    if (rule)
        waitFor(*rule);
    const std::string wanted = rule && rule->text ? *rule->text : path;
    record("LoadLibrary(" + std::string(strrchr(path, '/')) + ")");
    return real<decltype(LoadLibrary)>("LoadLibrary")(wanted.c_str());
}

int FreeLibrary(void *module)
{
    return answer("FreeLibrary", "module",
                  [&] { return real<decltype(FreeLibrary)>("FreeLibrary")(module); });
}

// YAT_SPY_TEXT is the text of the key in YAT_SPY_TEXT_KEY.
char *CPGetText(const char *key, char (*work)[1024], char *catalogue)
{
    soilStack();
    if (records("texts"))
        record("CPGetText(" + list(key) + ")");
    if (records("forms"))
        return strcpy(*work, key);
    const char *replaced = getenv("YAT_SPY_TEXT_KEY");
    if (replaced && strcmp(key, replaced) == 0)
        return strcpy(*work, getenv("YAT_SPY_TEXT"));
    return real<decltype(CPGetText)>("CPGetText")(key, work, catalogue);
}

FILE *OpenStrFile(const char *path, int *size)
{
    const Rule *rule = ruleFor("OpenStrFile");
    FILE *file = rule && rule->result == "0"
                     ? nullptr
                     : real<decltype(OpenStrFile)>("OpenStrFile")(path, size);
    if (rule && rule->text)
        *size = rule->textAsNumber();
    record("OpenStrFile(" + list(path) + ") = " + (file ? "stream" : "null"));
    return file;
}

void freenewtlib(void)
{
    record("freenewtlib()");
}

void freeslanglib(void)
{
    record("freeslanglib()");
}

// What would reach the machine that the tests run on.
int klogctl(int type, char *buffer, int length)
{
    record("klogctl(" + list(type, buffer ? "buffer" : "null", length) + ")");
    return 0;
}

void syslog(int priority, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    recordSyslog(priority, format, arguments);
    va_end(arguments);
}

void __syslog_chk(int priority, int, const char *format, ...) // by fortified libraries
{
    va_list arguments;
    va_start(arguments, format);
    recordSyslog(priority, format, arguments);
    va_end(arguments);
}

// What the program has printed.
int fflush(FILE *stream)
{
    const Rule *rule = stream == stdout ? ruleFor("fflush") : nullptr;
    return rule ? rule->number() : real<decltype(fflush)>("fflush")(stream);
}

// With a text in its rule, that is the command that really runs.
int system(const char *command)
{
    record("system(" + list(command) + ")");
    const Rule *rule = ruleFor("system");
    if (rule && rule->text)
        return real<decltype(system)>("system")(rule->text->c_str());
    return rule ? rule->number() : 0;
}

int TraceLogInit(int reserved, const char *name, int reserved2, int megabytes, int generations)
{
    if (records("trace"))
        record("TraceLogInit(" + list(reserved, name, reserved2, megabytes, generations) + ")");
    return real<decltype(TraceLogInit)>("TraceLogInit")(reserved, name, reserved2, megabytes,
                                                        generations);
}

int TraceLog(int level, const char *source, const char *function, int line, const char *pattern,
             ...)
{
    char text[2048];
    va_list arguments;
    va_start(arguments, pattern);
    vsnprintf(text, sizeof text, pattern, arguments);
    va_end(arguments);
    if (records("trace"))
        record("TraceLog(" + list(level, source, function, static_cast<const char *>(text)) + ")");
    return real<decltype(TraceLog)>("TraceLog")(level, source, function, line, "%s", text);
}

} // extern "C"
#pragma GCC visibility pop
