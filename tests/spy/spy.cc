// Stands between the program and the product services: preloaded, it writes every call to a log
// and answers it as a script says, or lets the real one answer.
//
// YAT_SPY_LOG names the log: a line a call, "IfSupport(Ethernet adapter 1, 31) = 1".
//
// YAT_SPY_SCRIPT names the script, a line a rule:
//
//     CALL RESULT [text=TEXT] [delay=MS] [held] [at=N]
//
// RESULT is a number, "real" for what the real call answers, or "none" for a function that is not
// there. TEXT is what the call writes into its text buffer. A call that is held goes on when there
// is a file SCRIPT.go. With at, the rule is for the N-th call only. The first rule that fits counts. A line "tree FILE" makes CreateTreeViewData read its
// records from a file, see readTree.
//
// YAT_SPY_MORE names, separated by blanks, what else goes to the log:
//
//     screen  what the program asks newt for, windows, their forms and their grids by the title
//     texts   the keys that are looked up
//     trace   the records for the trace log
#include "yat/device.h"
#include "yat/ft.h"
#include "yat/text.h"
#include "yat/trace.h"
#include "yat/winshim.h"

#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <map>
#include <newt.h>
#include <optional>
#include <poll.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

struct Rule {
    std::string call, result;
    std::optional<std::string> text;
    int delay = 0; // milliseconds
    bool isHeld = false;
    int at = 0; // 0: every call
};

struct Script {
    std::vector<Rule> rules;
    std::string tree;
};

const Script &script()
{
    static const Script read = [] {
        Script result;
        const char *name = getenv("YAT_SPY_SCRIPT");
        std::ifstream file(name ? name : "/dev/null");
        for (std::string line; std::getline(file, line);) {
            std::istringstream words(line);
            Rule rule;
            words >> rule.call >> rule.result;
            if (rule.call == "tree") {
                result.tree = rule.result;
                continue;
            }
            for (std::string word; words >> word;) {
                if (word.starts_with("text="))
                    rule.text = line.substr(line.find("text=") + 5);
                if (rule.text)
                    break; // the text is the rest of the line
                if (word.starts_with("delay="))
                    rule.delay = atoi(word.c_str() + 6);
                if (word == "held")
                    rule.isHeld = true;
                if (word.starts_with("at="))
                    rule.at = atoi(word.c_str() + 3);
            }
            result.rules.push_back(rule);
        }
        return result;
    }();
    return read;
}

void log(const std::string &line)
{
    if (const char *name = getenv("YAT_SPY_LOG"))
        if (FILE *file = fopen(name, "ae")) {
            fprintf(file, "%s\n", line.c_str());
            fclose(file);
        }
}

__attribute__((format(printf, 1, 2))) std::string format(const char *pattern, ...)
{
    char text[2048];
    va_list arguments;
    va_start(arguments, pattern);
    vsnprintf(text, sizeof text, pattern, arguments);
    va_end(arguments);
    return text;
}

bool logsMore(const char *what)
{
    const char *wanted = getenv("YAT_SPY_MORE");
    std::istringstream words(wanted ? wanted : "");
    for (std::string word; words >> word;)
        if (word == what)
            return true;
    return false;
}

bool isInNewt(void *address)
{
    Dl_info info;
    return dladdr(address, &info) && strstr(info.dli_fname, "libnewt");
}

// The windows that are open, the top one last, and what belongs to which.
std::vector<std::string> titles;
std::map<newtComponent, std::string> titlesOfForms;
std::map<newtGrid, std::string> titlesOfGrids;

const Rule *ruleFor(const std::string &call)
{
    static std::map<std::string, int> calls;
    const int number = ++calls[call];
    for (const Rule &rule : script().rules)
        if (rule.call == call && (rule.at == 0 || rule.at == number))
            return &rule;
    return nullptr;
}

bool isMissing(const char *function)
{
    for (const Rule &rule : script().rules)
        if (rule.call == function && rule.result == "none")
            return true;
    return false;
}

void waitFor(const Rule &rule)
{
    poll(nullptr, 0, rule.delay); // which keeps the tests from taking it for newt's own sleep
    const std::string go = std::string(getenv("YAT_SPY_SCRIPT")) + ".go";
    while (rule.isHeld && access(go.c_str(), F_OK) != 0)
        poll(nullptr, 0, 5);
}

// Answers a call: by its rule, else really. Text goes into the buffer, if there is one.
template <class Real>
int answer(const char *call, const std::string &arguments, Real real, char *buffer = nullptr)
{
    const Rule *rule = ruleFor(call);
    int result;
    if (rule)
        waitFor(*rule);
    if (rule && rule->result != "real") {
        result = atoi(rule->result.c_str());
        if (buffer && rule->text)
            strcpy(buffer, rule->text->c_str());
    } else {
        result = real();
    }
    log(std::string(call) + "(" + arguments + ") = " + std::to_string(result));
    return result;
}

template <class Function> Function *real(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

const char *nameOf(const yat_device *device)
{
    return device && device->lpszTreeName ? device->lpszTreeName : "NULL";
}

// A tree of device records out of a file, a record a line:
//
//     DEPTH HIERARCHY CLASS INSTANCE PATH0 NAME
//
// DEPTH is where the record stands, 0 below the root; "-" for CLASS leaves the identity out, "-"
// for NAME the name; "null" for the whole is a null record at that DEPTH. Nothing is ever freed.
yat_device *readTree(const std::string &name)
{
    std::ifstream file(name);
    auto *root = new yat_device{};
    std::vector<yat_device *> path{root};
    std::map<yat_device *, std::vector<yat_device *>> children;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        size_t depth;
        std::string hierarchy, classCode, instance, first, text;
        if (!(words >> depth))
            continue;
        words >> hierarchy >> classCode >> instance >> first >> std::ws;
        std::getline(words, text);
        yat_device *device = nullptr;
        if (hierarchy != "null") {
            device = new yat_device{};
            device->Hierarchy = atoi(hierarchy.c_str());
            device->lpszTreeName = text == "-" ? nullptr : strdup(text.c_str());
            device->parent = depth ? path[depth] : nullptr;
            if (classCode != "-")
                device->identity = new yat_identity{atoi(instance.c_str()),
                                                    atoi(classCode.c_str()),
                                                    {static_cast<uint8_t>(atoi(first.c_str()))}};
        }
        path.resize(depth + 1);
        children[path[depth]].push_back(device);
        path.push_back(device);
    }
    for (auto &[device, below] : children) {
        device->NextDevNum = static_cast<int32_t>(below.size());
        device->children = new yat_device *[below.size()];
        std::copy(below.begin(), below.end(), device->children);
    }
    return root;
}

decltype(yat_ft_func.yat_ft_get_property) realGetProperty;
decltype(yat_ft_func.Linux_ConvertDataToInt) realConvert;

int getProperty(int kind, int number, int property, char *buffer, unsigned long *size)
{
    const unsigned long room = *size;
    const Rule *rule = ruleFor("yat_ft_get_property");
    int result;
    if (rule && rule->result != "real") {
        result = atoi(rule->result.c_str());
        if (result == 0)
            *size = static_cast<unsigned long>(
                snprintf(buffer, room, "%s", rule->text.value_or("").c_str()) + 1);
    } else {
        result = realGetProperty(kind, number, property, buffer, size);
    }
    log(format("yat_ft_get_property(%d, %d, %d, %lu) = %d", kind, number, property, room, result));
    return result;
}

int convert(char *text, int *value)
{
    return answer("Linux_ConvertDataToInt", text, [&] { return realConvert(text, value); });
}

// The sanitizers start a program that names the places they report; the spy is not for that one.
__attribute__((constructor)) void keepToThisProgram()
{
    unsetenv("LD_PRELOAD");
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

int ft_FunctionInit(void)
{
    const int result = answer("ft_FunctionInit", "",
                              [] { return real<decltype(ft_FunctionInit)>("ft_FunctionInit")(); });
    realGetProperty = yat_ft_func.yat_ft_get_property;
    realConvert = yat_ft_func.Linux_ConvertDataToInt;
    yat_ft_func.yat_ft_get_property = isMissing("yat_ft_get_property") ? nullptr : getProperty;
    yat_ft_func.Linux_ConvertDataToInt = isMissing("Linux_ConvertDataToInt") ? nullptr : convert;
    if (isMissing("handle"))
        yat_ft_func.handle = nullptr;
    return result;
}

int ft_FunctionRelease(void)
{
    return answer("ft_FunctionRelease", "",
                  [] { return real<decltype(ft_FunctionRelease)>("ft_FunctionRelease")(); });
}

int CreateTreeViewData(yat_device **root)
{
    return answer("CreateTreeViewData", *root ? "root" : "null", [&] {
        if (script().tree.empty())
            return real<decltype(CreateTreeViewData)>("CreateTreeViewData")(root);
        *root = readTree(script().tree);
        return 1;
    });
}

int FreeTreeViewData(yat_device **root)
{
    return answer("FreeTreeViewData", *root ? "root" : "null", [&] {
        return script().tree.empty()
                   ? real<decltype(FreeTreeViewData)>("FreeTreeViewData")(root)
                   : 1;
    });
}

int call_yat_is_ft(int reserved)
{
    return answer("call_yat_is_ft", std::to_string(reserved), [&] {
        return real<decltype(call_yat_is_ft)>("call_yat_is_ft")(reserved);
    });
}

int StatusChange(int kind, int number, int code, char *text)
{
    return answer(
        "StatusChange", format("%d, %d, %d", kind, number, code),
        [&] { return real<decltype(StatusChange)>("StatusChange")(kind, number, code, text); },
        text);
}

int IfSupport(yat_device *device, int code, int *detail)
{
    const int before = *detail;
    *detail = before + 1000; // for nobody to read
    return answer("IfSupport", format("%s, %d, %d", nameOf(device), code, before),
                  [&] { return real<decltype(IfSupport)>("IfSupport")(device, code, detail); });
}

#define PLAIN_OPERATION(name)                                                                     \
    int name(yat_device *device, int code)                                                        \
    {                                                                                             \
        return answer(#name, format("%s, %d", nameOf(device), code),                              \
                      [&] { return real<decltype(name)>(#name)(device, code); });                 \
    }
PLAIN_OPERATION(ClearMTBF)
PLAIN_OPERATION(InitBringUp)
PLAIN_OPERATION(InitBringDown)

#define TEXT_OPERATION(name)                                                                      \
    int name(yat_device *device, int code, const char *text)                                      \
    {                                                                                             \
        return answer(#name, format("%s, %d, %s", nameOf(device), code, text),                    \
                      [&] { return real<decltype(name)>(#name)(device, code, text); });           \
    }
TEXT_OPERATION(SetMtbfType)
TEXT_OPERATION(BurnFirmware)

int GetBBDriverSettings(int kind, int object, int index, int *value)
{
    const Rule *rule = ruleFor("GetBBDriverSettings");
    int result = 1;
    if (rule && rule->text)
        *value = atoi(rule->text->c_str());
    if (rule && rule->result != "real")
        result = atoi(rule->result.c_str());
    else
        result = real<decltype(GetBBDriverSettings)>("GetBBDriverSettings")(kind, object, index,
                                                                            value);
    log(format("GetBBDriverSettings(%d, %d, %d) = %d", kind, object, index, result));
    return result;
}

int PutBBDriverSettings(int kind, int object, int index, int *value)
{
    return answer("PutBBDriverSettings", format("%d, %d, %d, %d", kind, object, index, *value),
                  [&] {
                      return real<decltype(PutBBDriverSettings)>("PutBBDriverSettings")(
                          kind, object, index, value);
                  });
}

void *LoadLibrary(const char *path)
{
    const Rule *rule = ruleFor("LoadLibrary");
    const std::string wanted = rule && rule->text ? *rule->text : path;
    log(format("LoadLibrary(%s)", std::string(path).substr(std::string(path).rfind('/')).c_str()));
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
    if (logsMore("texts"))
        log(format("CPGetText(%s)", key));
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
        *size = atoi(rule->text->c_str());
    log(format("OpenStrFile(%s) = %s", path, file ? "stream" : "null"));
    return file;
}

int initnewtlib(void)
{
    return answer("initnewtlib", "", [] { return real<decltype(initnewtlib)>("initnewtlib")(); });
}

int initslanglib(void)
{
    return answer("initslanglib", "",
                  [] { return real<decltype(initslanglib)>("initslanglib")(); });
}

void freenewtlib(void)
{
    log("freenewtlib()");
}

void freeslanglib(void)
{
    log("freeslanglib()");
}

// What would reach the machine that the tests run on.
int klogctl(int type, char *buffer, int length)
{
    log(format("klogctl(%d, %s, %d)", type, buffer ? "buffer" : "null", length));
    return 0;
}

// With a text in its rule, that is the command that really runs.
int system(const char *command)
{
    log(format("system(%s)", command));
    const Rule *rule = ruleFor("system");
    if (rule && rule->text)
        return real<decltype(system)>("system")(rule->text->c_str());
    return rule ? atoi(rule->result.c_str()) : 0;
}

int TraceLog(int level, const char *source, const char *function, int line, const char *pattern, ...)
{
    char text[2048];
    va_list arguments;
    va_start(arguments, pattern);
    vsnprintf(text, sizeof text, pattern, arguments);
    va_end(arguments);
    if (logsMore("trace"))
        log(format("TraceLog(%d, %s, %s, %s)", level, source, function, text));
    return real<decltype(TraceLog)>("TraceLog")(level, source, function, line, "%s", text);
}

int raise(int signal)
{
    if (logsMore("screen"))
        log(format("raise(%d)", signal));
    return real<decltype(raise)>("raise")(signal);
}

// What newt asks itself for is its own business.
#define SCREEN_CALL \
    (logsMore("screen") && !refreshing && !isInNewt(__builtin_return_address(0)))
static bool refreshing; // some end in a jump to newtRefresh, which leaves no return address of newt

#define PLAIN_SCREEN_CALL(result, name)                                                           \
    result name(void)                                                                             \
    {                                                                                             \
        if (SCREEN_CALL)                                                                          \
            log(#name "()");                                                                      \
        return real<decltype(name)>(#name)();                                                     \
    }
PLAIN_SCREEN_CALL(int, newtInit)
PLAIN_SCREEN_CALL(int, newtFinished)
PLAIN_SCREEN_CALL(int, newtResume)
PLAIN_SCREEN_CALL(void, newtSuspend)
PLAIN_SCREEN_CALL(void, newtRefresh)
PLAIN_SCREEN_CALL(void, newtTrashScreen)

void newtCls(void)
{
    if (SCREEN_CALL)
        log("newtCls()");
    refreshing = true;
    real<decltype(newtCls)>("newtCls")();
    refreshing = false;
}

void newtPopWindow(void)
{
    if (SCREEN_CALL) {
        log("newtPopWindow()");
        titles.pop_back();
    }
    refreshing = true;
    real<decltype(newtPopWindow)>("newtPopWindow")();
    refreshing = false;
}

void newtGridWrappedWindow(newtGrid grid, char *title)
{
    if (SCREEN_CALL) {
        log(format("newtGridWrappedWindow(%s)", title));
        titles.push_back(title);
        titlesOfGrids[grid] = title;
    }
    real<decltype(newtGridWrappedWindow)>("newtGridWrappedWindow")(grid, title);
}

void newtGridFree(newtGrid grid, int recurse)
{
    if (SCREEN_CALL)
        log(format("newtGridFree(%s, %d)", titlesOfGrids[grid].c_str(), recurse));
    real<decltype(newtGridFree)>("newtGridFree")(grid, recurse);
}

void newtFormRun(newtComponent form, newtExitStruct *left)
{
    if (SCREEN_CALL && !titles.empty())
        titlesOfForms[form] = titles.back();
    real<decltype(newtFormRun)>("newtFormRun")(form, left);
}

void newtDrawForm(newtComponent form)
{
    if (SCREEN_CALL)
        log(format("newtDrawForm(%s)", titlesOfForms[form].c_str()));
    real<decltype(newtDrawForm)>("newtDrawForm")(form);
}

void newtSetColors(newtColors colours)
{
    if (SCREEN_CALL) {
        std::string names;
        const char *const *name = reinterpret_cast<const char *const *>(&colours);
        for (size_t i = 0; i < sizeof colours / sizeof *name; ++i)
            names += std::string(i ? " " : "") + name[i];
        log("newtSetColors(" + names + ")");
    }
    real<decltype(newtSetColors)>("newtSetColors")(colours);
}

void newtPushHelpLine(const char *text)
{
    if (SCREEN_CALL)
        log(format("newtPushHelpLine(%s)", text));
    real<decltype(newtPushHelpLine)>("newtPushHelpLine")(text);
}

void newtDrawRootText(int column, int row, const char *text)
{
    if (SCREEN_CALL)
        log(format("newtDrawRootText(%d, %d, \"%s\")", column, row, text));
    real<decltype(newtDrawRootText)>("newtDrawRootText")(column, row, text);
}

} // extern "C"
#pragma GCC visibility pop
