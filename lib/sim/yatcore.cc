// The simulated machine as a platform: yatcore.dll.
#include "common/machine.h"
#include "common/trace.h"
#include "sim/records.h"
#include "sim/store.h"
#include "sim/words.h"
#include "text/encoding.h"
#include "yat/platform.h"
#include "yat/winshim.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <exception>
#include <memory>
#include <optional>
#include <sstream>

namespace {

using namespace sim;

std::optional<Store> openedStore;

// For standard error when the interface is closed, or when it could not be opened, at the end of
// the program: the screen is the terminal's again then.
struct Complaints {
    std::vector<std::string> lines;

    void tell()
    {
        for (const std::string &line : lines)
            fprintf(stderr, "%s: %s\n", program_invocation_short_name,
                    yat::toDisplay(line).c_str());
        lines.clear();
    }
    ~Complaints()
    {
        tell();
    }
} complaints;

constexpr char traceSource[] = "yatcore";

// Puts what the user has to know into the trace log, once.
void complain(const std::string &problem)
{
    std::istringstream lines(problem);
    for (std::string line; std::getline(lines, line);) {
        if (std::ranges::find(complaints.lines, line) != complaints.lines.end())
            continue;
        complaints.lines.push_back(line);
        TRACE(YAT_TRACE_ERROR, "%s", line.c_str());
    }
}

Store &store()
{
    if (!openedStore)
        openedStore = configuredStore();
    return *openedStore;
}

// ---- Injections

// The result of a call: the injected one, or the real one.
int resultOf(const std::optional<Injection> &injection, int real)
{
    return injection && injection->result ? *injection->result : real;
}

// The same for the text that a call gives.
std::string textOf(const std::optional<Injection> &injection, const std::string &real)
{
    return injection && injection->text ? *injection->text : real;
}

// The same for a number that a call gives.
int numberOf(const std::optional<Injection> &injection, int real)
{
    return injection && injection->text ? atoi(injection->text->c_str()) : real;
}

// The injection for a call that needs no machine, and so works also without one.
std::optional<Injection> injectionFor(const char *call)
try {
    std::optional<Injection> result;
    look(store(), call, [&](const Machine &, const auto &injection) { result = injection; });
    return result;
} catch (const yat::Problem &problem) {
    complain(problem.what());
    return {};
}

// ---- Devices, properties, state

// What is no device is refused like one that there is not.
DeviceId idOf(const yat_device *device)
{
    return device && device->identity
               ? DeviceId{device->identity->ClassCode, device->identity->Instance}
               : DeviceId();
}

int createTree(yat_device **root)
{
    int result = 0;
    std::optional<Machine> machine;
    look(store(), "CreateTreeViewData", [&](const Machine &found, const auto &injection) {
        result = resultOf(injection, 1);
        machine = found;
    });
    if (result != 0)
        *root = makeRecords(*machine);
    return result;
}

int freeTree(yat_device **root)
{
    const auto injection = injectionFor("FreeTreeViewData");
    if (resultOf(injection, 1) == 0 || !freeRecords(*root))
        return 0;
    *root = nullptr;
    return resultOf(injection, 1);
}

const Device *installed(const Device *device)
{
    return device && device->state != State::empty ? device : nullptr;
}

// A property; nothing for one that there is not.
std::optional<std::string> propertyOf(const Machine &machine, int kind, int number, int property)
{
    if (kind == YAT_KIND_BOARD && property == YAT_PROPERTY_MTBF_TYPE) {
        const Device *device = installed(moduleOfBoard(machine, number));
        if (device && machine.type == YAT_MACHINE_CEDAR)
            return std::to_string(device->mtbfType + 2); // read two above what is written
    }
    if (kind == YAT_KIND_CPU_MODULE) {
        const Device *device = installed(find(machine, {YAT_CLASS_CPU_MODULE, number}));
        if (device && property == YAT_PROPERTY_BIOS_VERSION)
            return device->biosVersion;
        if (device && property == YAT_PROPERTY_BIOS_STATUS)
            return biosStatusText(machine, *device,
                                  GetSystemDefaultLangID() == YAT_LANGUAGE_JAPANESE);
    }
    if (kind == YAT_KIND_PCI_MODULE && property == YAT_PROPERTY_RELATIONAL_INDEX)
        if (const Device *device = find(machine, {YAT_CLASS_PCI_MODULE, number}))
            return std::to_string(device->board);
    return {};
}

int getProperty(int kind, int number, int property, char *buffer, unsigned long *size)
{
    if (!buffer || !size)
        return -1;
    int result = -1;
    std::string value;
    look(store(), "yat_ft_get_property", [&](const Machine &machine, const auto &injection) {
        const auto real = propertyOf(machine, kind, number, property);
        result = resultOf(injection, real ? 0 : -1);
        value = yat::toDisplay(textOf(injection, real.value_or("")));
    });
    if (result != 0)
        return result;
    if (value.size() + 1 > *size)
        return -1;
    memcpy(buffer, value.c_str(), value.size() + 1);
    *size = value.size() + 1;
    return result;
}

int toInt(const char *text, int &value)
{
    const char *begin = text + strspn(text, " \t\r\n");
    if (*begin == '+' && begin[1] != '-')
        ++begin;
    int result = 0;
    const auto [end, error] = std::from_chars(begin, begin + strlen(begin), result);
    if (error != std::errc() || end[strspn(end, " \t\r\n")] != '\0')
        return -1;
    value = result;
    return 0;
}

int convertDataToInt(char *text, int *value)
{
    if (!text || !value)
        return -1;
    const auto injection = injectionFor("Linux_ConvertDataToInt");
    int converted = 0;
    const int real = toInt(text, converted);
    const int result = resultOf(injection, real);
    if (result != -1)
        *value = numberOf(injection, converted);
    return result;
}

int isFt(int)
{
    int result = YAT_MACHINE_QUERY_FAILED;
    look(store(), "call_yat_is_ft", [&](const Machine &machine, const auto &injection) {
        result = resultOf(injection, machine.type);
    });
    return result;
}

constexpr size_t longestState = 1023; // bytes

int statusChange(int kind, int number, int code, char *text)
{
    const bool known = (kind == YAT_KIND_CPU_MODULE && code == YAT_STATE_CPU_MODULE)
                       || (kind == YAT_KIND_PCI_MODULE && code == YAT_STATE_PCI_MODULE);
    int result = -1;
    std::string state;
    look(store(), "StatusChange", [&](const Machine &machine, const auto &injection) {
        const Device *module = known ? find(machine, {kind, number}) : nullptr;
        result = resultOf(injection, module ? 0 : -1);
        const bool japanese = GetSystemDefaultLangID() == YAT_LANGUAGE_JAPANESE;
        state =
            yat::toDisplay(textOf(injection, module ? stateText(machine, *module, japanese) : ""));
    });
    if (result == -1)
        return result;
    const size_t length = yat::wholeCharacters(state, longestState);
    memcpy(text, state.data(), length);
    text[length] = '\0';
    return result;
}

// ---- Operations

int detailOf(Refusal refusal)
{
    switch (refusal) {
    case Refusal::none: return 0;
    case Refusal::unknownDevice: return YAT_DETAIL_NO_DEVICE;
    case Refusal::notInstalled: return YAT_DETAIL_NOT_INSTALLED;
    case Refusal::lastRunning: return YAT_DETAIL_LAST_RUNNING;
    case Refusal::noBiosSource:
    case Refusal::biosInvalid: return YAT_DETAIL_NO_BIOS;
    case Refusal::unsupported:
    case Refusal::wrongCode: return YAT_DETAIL_UNSUPPORTED;
    default: return YAT_DETAIL_STATE;
    }
}

int ifSupport(yat_device *device, int code, int *detail)
{
    int result = 0, why = 0;
    look(store(), "IfSupport", [&](const Machine &machine, const auto &injection) {
        const DeviceId id = idOf(device);
        const auto verb = verbOfSupportCode(id.classCode, code);
        const Refusal refusal = verb ? check(machine, *verb, id, code + 1) : Refusal::wrongCode;
        result = resultOf(injection, refusal == Refusal::none ? 1 : 0);
        why = result != 0 ? 0 : numberOf(injection, detailOf(refusal));
    });
    if (detail)
        *detail = why;
    return result;
}

int operate(const Operation &operation)
{
    const Outcome outcome = perform(store(), operation);
    return outcome.injected.value_or(outcome.refusal == Refusal::none ? 1 : 0);
}

int clearMtbf(yat_device *device, int code)
{
    return operate({Verb::clearMtbf, idOf(device), code, ""});
}

int bringUp(yat_device *device, int code)
{
    return operate({Verb::bringUp, idOf(device), code, ""});
}

int bringDown(yat_device *device, int code)
{
    return operate({Verb::bringDown, idOf(device), code, ""});
}

int setMtbfType(yat_device *device, int code, const char *type)
{
    return operate({Verb::setMtbfType, idOf(device), code, type ? type : ""});
}

int burnFirmware(yat_device *device, int code, const char *mode)
{
    return operate({Verb::burnFirmware, idOf(device), code, mode ? mode : ""});
}

// ---- Settings

constexpr int readAsOn = 2, readAsOff = 0;

int getSetting(int kind, int object, int index, int *value)
{
    int result = 0, setting = 0;
    look(store(), "GetBBDriverSettings", [&](const Machine &machine, const auto &injection) {
        const auto known = DeviceId{object, index} == wholeMachine ? settingOf(kind) : nullptr;
        result = resultOf(injection, known ? 1 : 0);
        setting = numberOf(injection, known && machine.*known ? readAsOn : readAsOff);
    });
    if (result != 0)
        *value = setting;
    return result;
}

int putSetting(int kind, int object, int index, int *value)
{
    return operate({Verb::putSetting,
                    {object, index},
                    kind,
                    value ? std::to_string(*value) : std::string()});
}

// ---- Opening and closing

// An object that refuses to open is unloaded at once; what it has to say is for later.
void stayUntilTheEnd()
{
    Dl_info info;
    if (dladdr(&complaints, &info) && info.dli_fname)
        dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

// The machine to simulate; nothing, with the reason told, when the configuration names none.
std::optional<yat::ConfiguredMachine> machineToSimulate()
try {
    yat::ConfiguredMachine machine = yat::configuredMachine();
    if (!machine.isHardware)
        return machine;
    TRACE(YAT_TRACE_ERROR,
          "this yatcore.dll simulates a machine; the configuration wants the real one");
    return {};
} catch (const yat::Problem &mistake) {
    complain(mistake.what());
    stayUntilTheEnd();
    return {};
}

int openPlatform()
try {
    const auto machine = machineToSimulate();
    if (!machine)
        return 0;
    openedStore = configuredStore(*machine);
    const int result = resultOf(injectionFor("ft_FunctionInit"), 1);
    if (result == 0)
        openedStore.reset();
    else if (const std::string note = descriptionNote(store()); !note.empty())
        TRACE(YAT_TRACE_PROGRESS, "%s", note.c_str());
    return result;
} catch (const std::exception &problem) {
    complain(problem.what());
    return 1; // the calls will fail that need the machine
}

int closePlatform()
{
    const int result = resultOf(injectionFor("ft_FunctionRelease"), 1);
    complaints.tell();
    openedStore.reset();
    return result;
}

// No exception leaves the platform: whatever a call ran out of makes it fail.
template <auto call, auto failure> struct Guarded;
template <class Result, class... Arguments, Result (*call)(Arguments...), auto failure>
struct Guarded<call, failure> {
    static Result run(Arguments... arguments)
    try {
        return call(arguments...);
    } catch (const yat::Problem &problem) {
        complain(problem.what());
        return failure;
    } catch (const std::exception &problem) {
        TRACE(YAT_TRACE_ERROR, "%s", problem.what());
        return failure;
    }
};

} // namespace

const yat_platform YatPlatform = {
    .magic = YAT_PLATFORM_MAGIC,
    .version = YAT_PLATFORM_VERSION,
    .size = sizeof(struct yat_platform),
    .open = openPlatform,
    .close = Guarded<closePlatform, 0>::run,
    .functions =
        {
            .handle = nullptr,
            .create_tree = Guarded<createTree, 0>::run,
            .free_tree = Guarded<freeTree, 0>::run,
            .yat_ft_get_property = Guarded<getProperty, -1>::run,
            .is_ft = Guarded<isFt, -1>::run,
            .status_change = Guarded<statusChange, -1>::run,
            .if_support = Guarded<ifSupport, 0>::run,
            .clear_mtbf = Guarded<clearMtbf, 0>::run,
            .bring_up = Guarded<bringUp, 0>::run,
            .Linux_ConvertDataToInt = Guarded<convertDataToInt, -1>::run,
            .bring_down = Guarded<bringDown, 0>::run,
            .set_mtbf_type = Guarded<setMtbfType, 0>::run,
            .burn_firmware = Guarded<burnFirmware, 0>::run,
            .get_setting = Guarded<getSetting, 0>::run,
            .put_setting = Guarded<putSetting, 0>::run,
        },
};
