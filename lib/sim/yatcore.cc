// The simulated machine as a platform: yatcore.dll.
#include "common/machine.h"
#include "sim/description.h"
#include "sim/records.h"
#include "text/encoding.h"
#include "yat/platform.h"
#include "yat/trace.h"
#include "yat/winshim.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>

namespace {

using namespace sim;

std::optional<Description> machine;
std::vector<std::string> complaints; // about the description, for standard error at the end

// Reads the description when that has not been done. False, with what is wrong in the trace
// log, when it can't be used.
bool loadMachine()
{
    if (machine)
        return true;
    const std::string file = yat::descriptionFile();
    std::vector<Mistake> mistakes;
    Description description = readDescription(file, mistakes);
    complaints.clear();
    for (const Mistake &mistake : mistakes) {
        const std::string line = mistake.line ? std::to_string(mistake.line) + ": " : " ";
        complaints.push_back(file + ":" + line + mistake.text);
        TraceLog(YAT_TRACE_ERROR, "yatcore", __func__, __LINE__, "%s", complaints.back().c_str());
    }
    if (mistakes.empty())
        machine = std::move(description);
    return machine.has_value();
}

Module *findModule(int classCode, int number)
{
    if (!loadMachine())
        return nullptr;
    for (std::vector<Module> *modules : {&machine->cpuModules, &machine->pciModules})
        for (Module &module : *modules)
            if (module.classCode == classCode && module.number == number)
                return &module;
    return nullptr;
}

Module *findBoard(int board)
{
    if (!loadMachine())
        return nullptr;
    for (std::vector<Module> *modules : {&machine->cpuModules, &machine->pciModules})
        for (Module &module : *modules)
            if (module.board == board)
                return &module;
    return nullptr;
}

Module *findModule(const yat_device *device)
{
    return device->identity ? findModule(device->identity->ClassCode, device->identity->Instance)
                            : nullptr;
}

const char *stateText(State state)
{
    const bool japanese = GetSystemDefaultLangID() == YAT_LANGUAGE_JAPANESE;
    switch (state) {
    case State::empty: return japanese ? "未搭載" : "Not installed";
    case State::stopped: return japanese ? "停止中" : "Stopped";
    case State::simplex: return japanese ? "稼働中(単独)" : "Running, simplex";
    case State::duplex: return japanese ? "稼働中(二重化)" : "Running, duplex";
    case State::broken: return japanese ? "故障" : "Broken";
    }
    return "";
}

// The support codes of a device class; the operation codes are one above.
bool codeFitsClass(const yat_device *device, int support)
{
    if (!device->identity)
        return false;
    switch (device->identity->ClassCode) {
    case YAT_CLASS_CPU_MODULE:
        return support == 1 || support == 5 || support == 7 || support == 9 || support == 13;
    case YAT_CLASS_PCI_MODULE:
        return support == 15 || support == 19 || support == 21 || support == 23;
    case YAT_CLASS_SCSI_ADAPTER: return support == 25;
    case YAT_CLASS_ETHERNET_ADAPTER: return support == 31;
    }
    return false;
}

bool isSupported(const yat_device *device, int support)
{
    return codeFitsClass(device, support) && loadMachine()
           && (machine->supported & 1u << support) != 0;
}

// The other module of a pair; modules 1 and 2 are one, 3 and 4 the next.
Module *partner(const Module &module)
{
    return findModule(module.classCode, module.number % 2 ? module.number + 1 : module.number - 1);
}

bool isRunning(State state)
{
    return state == State::simplex || state == State::duplex;
}

int createTree(yat_device **root)
{
    if (!loadMachine())
        return 0;
    *root = makeRecords(*machine);
    return 1;
}

int freeTree(yat_device **root)
{
    if (!freeRecords(*root))
        return 0;
    *root = nullptr;
    return 1;
}

int getProperty(int kind, int number, int property, char *buffer, unsigned long *size)
{
    if (!buffer || !size)
        return -1;
    std::string value;
    if (kind == YAT_KIND_BOARD && property == YAT_PROPERTY_MTBF_TYPE) {
        const Module *module = findBoard(number);
        if (!module || machine->type != YAT_MACHINE_CEDAR)
            return -1;
        value = std::to_string(module->mtbfType + 2); // read two above what is written
    } else if (kind == YAT_KIND_CPU_MODULE
               && (property == YAT_PROPERTY_BIOS_VERSION || property == YAT_PROPERTY_BIOS_STATUS)) {
        const Module *module = findModule(YAT_CLASS_CPU_MODULE, number);
        if (!module || module->state == State::empty)
            return -1;
        value = yat::toDisplay(property == YAT_PROPERTY_BIOS_VERSION ? module->biosVersion
                                                                      : module->biosStatus);
    } else if (kind == YAT_KIND_PCI_MODULE && property == YAT_PROPERTY_RELATIONAL_INDEX) {
        const Module *module = findModule(YAT_CLASS_PCI_MODULE, number);
        if (!module)
            return -1;
        value = std::to_string(module->board);
    } else {
        return -1;
    }
    if (value.size() + 1 > *size)
        return -1;
    memcpy(buffer, value.c_str(), value.size() + 1);
    *size = value.size() + 1;
    return 0;
}

int convertDataToInt(char *text, int *value)
{
    if (!text || !value)
        return -1;
    const char *begin = text + strspn(text, " \t\r\n");
    if (*begin == '+' && begin[1] != '-')
        ++begin;
    int result = 0;
    const auto [end, error] = std::from_chars(begin, begin + strlen(begin), result);
    if (error != std::errc() || end[strspn(end, " \t\r\n")] != '\0')
        return -1;
    *value = result;
    return 0;
}

int isFt(int)
{
    return loadMachine() ? machine->type : YAT_MACHINE_QUERY_FAILED;
}

int statusChange(int kind, int number, int code, char *text)
{
    const bool known = (kind == YAT_KIND_CPU_MODULE && code == YAT_STATE_CPU_MODULE)
                       || (kind == YAT_KIND_PCI_MODULE && code == YAT_STATE_PCI_MODULE);
    const Module *module = known ? findModule(kind, number) : nullptr;
    if (!module)
        return -1;
    strcpy(text, yat::toDisplay(stateText(module->state)).c_str());
    return 0;
}

int ifSupport(yat_device *device, int code, int *detail)
{
    const bool supported = isSupported(device, code);
    if (detail)
        *detail = supported ? 0 : 1;
    return supported ? 1 : 0;
}

int clearMtbf(yat_device *device, int code)
{
    return isSupported(device, code - 1) && (code == 2 || code == 16 || code == 26 || code == 32);
}

int bringUp(yat_device *device, int code)
{
    if ((code != 6 && code != 20) || !isSupported(device, code - 1))
        return 0;
    Module *module = findModule(device);
    if (!module || module->state != State::stopped)
        return 0;
    Module *other = partner(*module);
    module->state = other && isRunning(other->state) ? State::duplex : State::simplex;
    if (module->state == State::duplex)
        other->state = State::duplex;
    return 1;
}

int bringDown(yat_device *device, int code)
{
    if ((code != 8 && code != 22) || !isSupported(device, code - 1))
        return 0;
    Module *module = findModule(device);
    if (!module || module->state != State::duplex) // the last one of a pair keeps running
        return 0;
    module->state = State::stopped;
    if (Module *other = partner(*module))
        other->state = State::simplex;
    return 1;
}

int setMtbfType(yat_device *device, int code, const char *type)
{
    if ((code != 14 && code != 24) || !isSupported(device, code - 1))
        return 0;
    Module *module = findModule(device);
    if (!module || type[0] < '0' || type[0] > '2' || type[1] != '\0')
        return 0;
    module->mtbfType = type[0] - '0';
    return 1;
}

int burnFirmware(yat_device *device, int code, const char *mode)
{
    if (code != 10 || !isSupported(device, code - 1))
        return 0;
    Module *module = findModule(device);
    if (!module || module->state != State::stopped)
        return 0;
    if (strcmp(mode, "FWCOPY") == 0) {
        const Module *other = partner(*module);
        if (!other || !isRunning(other->state))
            return 0;
        module->biosVersion = other->biosVersion;
    } else if (strcmp(mode, "FWBURN") == 0 && !machine->dataFileVersion.empty()) {
        module->biosVersion = machine->dataFileVersion;
    } else {
        return 0;
    }
    return 1;
}

bool *findSetting(int kind, int object, int index)
{
    if (object != YAT_CLASS_GENERAL || index != 1 || !loadMachine())
        return nullptr;
    return kind == YAT_SETTING_AUTO_BURN       ? &machine->automaticFirmwareUpdate
           : kind == YAT_SETTING_AUTO_BRING_UP ? &machine->automaticModuleStart
                                               : nullptr;
}

int getSetting(int kind, int object, int index, int *value)
{
    const bool *setting = findSetting(kind, object, index);
    if (!setting)
        return 0;
    *value = *setting ? 2 : 0;
    return 1;
}

int putSetting(int kind, int object, int index, int *value)
{
    bool *setting = findSetting(kind, object, index);
    if (!setting || (*value != 0 && *value != 1))
        return 0;
    *setting = *value == 1;
    return 1;
}

int openPlatform()
{
    if (yat::machineIsHardware()) {
        TraceLog(YAT_TRACE_ERROR, "yatcore", __func__, __LINE__,
                 "this yatcore.dll simulates a machine; the configuration wants the real one");
        return 0;
    }
    return 1; // a description that can't be read makes the calls fail that need it
}

// The screen is the terminal's again when the interface is closed, so the person who wrote the
// description is told now.
void closePlatform()
{
    for (const std::string &complaint : complaints)
        fprintf(stderr, "%s: %s\n", program_invocation_short_name, complaint.c_str());
    complaints.clear();
    machine.reset();
}

// No exception leaves the platform: whatever a call ran out of makes it fail.
template <auto call, auto failure> struct Guarded;
template <class Result, class... Arguments, Result (*call)(Arguments...), auto failure>
struct Guarded<call, failure> {
    static Result run(Arguments... arguments)
    try {
        return call(arguments...);
    } catch (const std::exception &problem) {
        TraceLog(YAT_TRACE_ERROR, "yatcore", "run", __LINE__, "%s", problem.what());
        return failure;
    }
};

} // namespace

const yat_platform YatPlatform = {
    .magic = YAT_PLATFORM_MAGIC,
    .version = YAT_PLATFORM_VERSION,
    .size = sizeof(struct yat_platform),
    .open = openPlatform,
    .close = closePlatform,
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
