#include "sim/calls.h"

#include "common/answers.h"
#include "common/records.h"
#include "sim/facts.h"
#include "sim/records.h"
#include "sim/words.h"
#include "yat/winshim.h"

#include <algorithm>

namespace sim {
namespace {

std::optional<Store> opened;

bool isJapanese()
{
    return GetSystemDefaultLangID() == YAT_LANGUAGE_JAPANESE;
}

// ---- Devices, properties, state

int createTree(yat_device **root)
{
    *root = makeRecords(look(openedStore()));
    return 1;
}

int freeTree(yat_device **root)
{
    if (!yat::freeRecords(*root))
        return 0;
    *root = nullptr;
    return 1;
}

int isFt(int)
{
    return look(openedStore()).type;
}

const Device *ifInstalled(const Device *device)
{
    return device && device->state != State::empty ? device : nullptr;
}

std::optional<std::string> boardProperty(const Machine &machine, int number, int property)
{
    const Device *module = ifInstalled(moduleOfBoard(machine, number));
    if (!module || property != YAT_PROPERTY_MTBF_TYPE || machine.type != YAT_MACHINE_CEDAR)
        return {};
    return std::to_string(module->mtbfType + 2); // read two above what is written
}

std::optional<std::string> cpuProperty(const Machine &machine, int number, int property)
{
    const Device *module = ifInstalled(find(machine, {YAT_CLASS_CPU_MODULE, number}));
    if (module && property == YAT_PROPERTY_BIOS_VERSION)
        return module->biosVersion;
    if (module && property == YAT_PROPERTY_BIOS_STATUS)
        return biosStatusText(machine, *module, isJapanese());
    return {};
}

std::optional<std::string> pciProperty(const Machine &machine, int number, int property)
{
    const Device *module = find(machine, {YAT_CLASS_PCI_MODULE, number});
    if (!module || property != YAT_PROPERTY_RELATIONAL_INDEX)
        return {};
    return std::to_string(module->board);
}

// A property; nothing for one that does not exist.
std::optional<std::string> propertyOf(const Machine &machine, int kind, int number, int property)
{
    switch (kind) {
    case YAT_KIND_BOARD: return boardProperty(machine, number, property);
    case YAT_KIND_CPU_MODULE: return cpuProperty(machine, number, property);
    case YAT_KIND_PCI_MODULE: return pciProperty(machine, number, property);
    default: return {};
    }
}

int getProperty(int kind, int number, int property, char *buffer, unsigned long *size)
{
    if (!buffer || !size)
        return -1;
    const auto value = propertyOf(look(openedStore()), kind, number, property);
    return value && yat::putProperty(*value, buffer, size) ? 0 : -1;
}

int statusChange(int kind, int number, int code, char *text)
{
    const bool isKnown = (kind == YAT_KIND_CPU_MODULE && code == YAT_STATE_CPU_MODULE)
                         || (kind == YAT_KIND_PCI_MODULE && code == YAT_STATE_PCI_MODULE);
    const Machine &machine = look(openedStore());
    const Device *module = isKnown ? find(machine, {kind, number}) : nullptr;
    if (!module)
        return -1;
    yat::putState(stateText(machine, *module, isJapanese()), text);
    return 0;
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

DeviceId idOf(const yat_device *device)
{
    return device && device->identity
               ? DeviceId{device->identity->ClassCode, device->identity->Instance}
               : DeviceId();
}

// Why the machine does not support an operation now.
Refusal refusalOf(const yat_device *device, int code)
{
    const DeviceId id = idOf(device);
    const auto verb = verbOfSupportCode(id.classCode, code);
    const Machine &machine = look(openedStore());
    return verb ? check(machine, *verb, id, code + 1) : Refusal::wrongCode;
}

int ifSupport(yat_device *device, int code, int *detail)
{
    const Refusal refusal = refusalOf(device, code);
    if (detail)
        *detail = detailOf(refusal);
    return refusal == Refusal::none ? 1 : 0;
}

int operate(const Operation &operation)
{
    return perform(openedStore(), operation) == Refusal::none ? 1 : 0;
}

template <Verb verb, class... Argument>
int operation(yat_device *device, int code, Argument... argument)
{
    return operate(operationOf(verb, device, code, argument...));
}

// ---- Settings

constexpr int readAsOn = 2, readAsOff = 0;

int getSetting(int kind, int object, int index, int *value)
{
    const bool isKnown = DeviceId{object, index} == wholeMachine
                         && (kind == YAT_SETTING_AUTO_BURN || kind == YAT_SETTING_AUTO_BRING_UP);
    const Machine &machine = look(openedStore());
    if (!isKnown)
        return 0;
    const bool isOn = kind == YAT_SETTING_AUTO_BURN ? machine.automaticFirmwareUpdate
                                                    : machine.automaticModuleStart;
    *value = isOn ? readAsOn : readAsOff;
    return 1;
}

int putSetting(int kind, int object, int index, int *value)
{
    return operate(settingOf(kind, object, index, value));
}

} // namespace

int getFacts(yat_device *device, yat_facts *facts)
{
    const Machine &machine = look(openedStore());
    const Device *known = find(machine, idOf(device));
    if (!known)
        return 0;
    yat_facts told = factsOf(machine, *known);
    told.size = facts->size;
    memcpy(facts, &told, std::min<size_t>(facts->size, sizeof told));
    return 1;
}

// The machine may have another reason by now than the one that was asked about.
int getReason(yat_device *device, int code, int detail, char *text)
{
    const Refusal refusal = refusalOf(device, code);
    if (refusal == Refusal::none || detailOf(refusal) != detail)
        return 0;
    const RefusalTerm &reason = *rowOf(refusals, refusal);
    yat::putState(std::string(isJapanese() ? reason.japanese : reason.word), text);
    return 1;
}

void openStoreOf(const yat::ConfiguredMachine &machine)
{
    opened = configuredStore(machine);
}

Store &openedStore()
{
    if (!opened)
        opened = configuredStore();
    return *opened;
}

void closeStore()
{
    opened.reset();
}

const yat_ft_functions calls = {
    .handle = nullptr,
    .create_tree = createTree,
    .free_tree = freeTree,
    .yat_ft_get_property = getProperty,
    .is_ft = isFt,
    .status_change = statusChange,
    .if_support = ifSupport,
    .clear_mtbf = operation<Verb::clearMtbf>,
    .bring_up = operation<Verb::bringUp>,
    .Linux_ConvertDataToInt = yat::toInteger,
    .bring_down = operation<Verb::bringDown>,
    .set_mtbf_type = operation<Verb::setMtbfType, const char *>,
    .burn_firmware = operation<Verb::burnFirmware, const char *>,
    .get_setting = getSetting,
    .put_setting = putSetting,
};

Operation operationOf(Verb verb, const yat_device *device, int code, const char *argument)
{
    return {
        .verb = verb, .device = idOf(device), .code = code, .argument = argument ? argument : ""};
}

Operation settingOf(int kind, int object, int index, const int *value)
{
    return {.verb = Verb::putSetting,
            .device = {object, index},
            .code = kind,
            .argument = value ? std::to_string(*value) : ""};
}

} // namespace sim
