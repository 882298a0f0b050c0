// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/calls.h"

#include "common/answers.h"
#include "common/records.h"
#include "sim/words.h"

namespace sim {
namespace {

DeviceId idOf(const yat_device *device)
{
    return device && device->identity
               ? DeviceId{device->identity->ClassCode, device->identity->Instance}
               : DeviceId();
}

// Why the machine does not support an operation now.
const RefusalTerm &refusalOf(const Machine &machine, const yat_device *device, int code)
{
    const DeviceId id = idOf(device);
    const auto verb = valueOf(verbs, yat::callAskedFor(id.classCode, code));
    return *rowOf(refusals, verb ? check(machine, *verb, id, code + 1) : Refusal::wrongCode);
}

// A property; nothing for one that does not exist. The kinds of modules are their classes.
std::optional<std::string> propertyOf(const Machine &machine, int kind, int number, int property)
{
    const Device *module =
        kind == YAT_KIND_BOARD ? moduleOfBoard(machine, number) : find(machine, {kind, number});
    if (module && kind == YAT_KIND_PCI_MODULE && property == YAT_PROPERTY_RELATIONAL_INDEX)
        return std::to_string(module->board);
    if (!module || module->state == State::empty)
        return {};
    if (kind == YAT_KIND_BOARD && property == YAT_PROPERTY_MTBF_TYPE
        && machine.type == YAT_MACHINE_CEDAR)
        return std::to_string(module->mtbfType + YAT_MTBF_TYPE_READ_ABOVE);
    if (kind == YAT_KIND_CPU_MODULE && property == YAT_PROPERTY_BIOS_VERSION)
        return module->biosVersion;
    if (kind == YAT_KIND_CPU_MODULE && property == YAT_PROPERTY_BIOS_STATUS)
        return biosStatusText(machine, *module, yat::isJapanese());
    return {};
}

// ---- Facts

int32_t toldBios(const Device &device)
{
    return device.state == State::firmwareUpdate ? YAT_BIOS_UPDATING
           : device.bios == Bios::invalid        ? YAT_BIOS_INVALID
                                                 : YAT_BIOS_VALID;
}

template <class Field, class Value>
void tell(yat_facts &facts, uint32_t fact, Field &field, Value value)
{
    facts.known |= fact;
    field = static_cast<Field>(value);
}

void tellOfModule(yat_facts &facts, const Machine &machine, const Device &device)
{
    const Device *partner = partnerOf(machine, device);
    tell(facts, YAT_KNOWS_PARTNER, facts.partner, partner ? partner->id.number : 0);
    if (device.state == State::empty)
        return;
    if (supports(machine, Verb::setMtbfType, device.id.classCode))
        tell(facts, YAT_KNOWS_MTBF_TYPE, facts.mtbf_type, device.mtbfType);
    if (device.id.classCode == YAT_CLASS_CPU_MODULE)
        tell(facts, YAT_KNOWS_BIOS, facts.bios, toldBios(device));
}

yat_facts factsOf(const Machine &machine, const Device &device)
{
    const State state = stateOf(machine, device);
    yat_facts facts{};
    tell(facts, YAT_KNOWS_STATE, facts.state, rowOf(states, state)->told);
    tell(facts, YAT_KNOWS_DUPLEX, facts.duplex, state == State::duplex);
    tell(facts, YAT_KNOWS_FAILURES, facts.failures, device.failureCount);
    tell(facts, YAT_KNOWS_MTBF_THRESHOLD, facts.mtbf_threshold, machine.mtbfThreshold / second);
    if (const auto percent = progress(machine, device))
        tell(facts, YAT_KNOWS_PROGRESS, facts.progress, *percent);
    if (const auto mean = mtbf(device))
        tell(facts, YAT_KNOWS_MTBF, facts.mtbf, *mean / second);
    if (isModule(device.id))
        tellOfModule(facts, machine, device);
    return facts;
}

} // namespace

// ---- Devices, properties, state

int createTree(const Machine &machine, yat_device **root)
{
    std::vector<yat::DeviceRow> rows;
    rows.reserve(machine.devices.size());
    for (const Device &device : machine.devices)
        rows.push_back(
            {device.id.classCode, device.id.number, device.path, device.name, device.parent});
    *root = yat::makeRecords(rows);
    return 1;
}

int isFt(const Machine &machine, int)
{
    return machine.type;
}

int getProperty(const Machine &machine, int kind, int number, int property, char *buffer,
                unsigned long *size)
{
    if (!buffer || !size)
        return -1;
    const auto value = propertyOf(machine, kind, number, property);
    return value && yat::putProperty(*value, buffer, size) ? 0 : -1;
}

int statusChange(const Machine &machine, int kind, int number, int code, char *text)
{
    const Device *module = yat::isStateOf(kind, code) ? find(machine, {kind, number}) : nullptr;
    if (!module)
        return -1;
    yat::putState(stateText(machine, *module, yat::isJapanese()), text);
    return 0;
}

int getFacts(const Machine &machine, yat_device *device, yat_facts *facts)
{
    const Device *known = find(machine, idOf(device));
    if (!known)
        return 0;
    yat::putFacts(factsOf(machine, *known), facts);
    return 1;
}

// ---- Operations and settings

int ifSupport(const Machine &machine, yat_device *device, int code, int *detail)
{
    const RefusalTerm &refusal = refusalOf(machine, device, code);
    *detail = refusal.detail;
    return refusal.value == Refusal::none ? 1 : 0;
}

// The machine may have another reason by now than the one that was asked about.
int getReason(const Machine &machine, yat_device *device, int code, int detail, char *text)
{
    const RefusalTerm &refusal = refusalOf(machine, device, code);
    if (refusal.value == Refusal::none || refusal.detail != detail)
        return 0;
    yat::putState(std::string(yat::isJapanese() ? refusal.japanese : refusal.word), text);
    return 1;
}

int getSetting(const Machine &machine, int kind, int object, int index, int *value)
{
    const auto setting = settingOf(kind);
    if (!setting || DeviceId{object, index} != wholeMachine)
        return 0;
    *value = machine.*setting ? YAT_SETTING_READ_ON : 0;
    return 1;
}

Order orderOf(Verb verb, const yat_device *device, int code, const char *argument)
{
    return {
        .verb = verb, .device = idOf(device), .code = code, .argument = argument ? argument : ""};
}

Order settingOrder(int kind, int object, int index, const int *value)
{
    return {.verb = Verb::putSetting,
            .device = {object, index},
            .code = kind,
            .argument = value ? std::to_string(*value) : ""};
}

} // namespace sim
