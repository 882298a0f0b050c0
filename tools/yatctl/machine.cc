// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatctl/machine.h"

#include "base/recordtree.h"
#include "common/terms.h"
#include "shared/program.h"
#include "text/encoding.h"
#include "yat/text.h"
#include "yatctl/failure.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <clocale>
#include <map>
#include <span>

// A libyat.so of another maker may lack them.
#pragma weak GetDeviceFacts
#pragma weak GetSupportReason

namespace yatctl {

const std::vector<std::string_view> stateWords = {"unknown",       "not_installed", "stopped",
                                                  "running",       "broken",        "starting",
                                                  "synchronising", "stopping",      "updating"};

namespace {

const yat::DeviceClass &termOf(int classCode)
{
    static constexpr yat::DeviceClass unknown = {YAT_CLASS_UNKNOWN, "device", "device", "unknown",
                                                 ""};
    const auto *found = std::ranges::find(yat::deviceClasses, classCode, &yat::DeviceClass::value);
    return found != std::end(yat::deviceClasses) ? *found : unknown;
}

// Has the platform's texts in UTF-8 while it lives. Programs get names whole then, also those that
// the locale can't show.
struct TextsInUtf8 {
    TextsInUtf8()
    {
        setlocale(LC_CTYPE, "C.UTF-8");
    }
    ~TextsInUtf8()
    {
        setlocale(LC_CTYPE, before.c_str());
    }
    TextsInUtf8(const TextsInUtf8 &) = delete;
    TextsInUtf8 &operator=(const TextsInUtf8 &) = delete;

    const std::string before = setlocale(LC_CTYPE, nullptr);
};

std::string shownName(const char *name)
{
    char converted[1024];
    if (!name || CodeConvertFromEUC(name, converted, sizeof converted) < 0)
        return {};
    return yat::printable(yat::fromDisplay(converted));
}

std::string pathOf(const yat_device &record)
{
    std::string path;
    const int levels = std::clamp(record.Hierarchy, 1, 8);
    for (int level = 0; level < levels; ++level)
        path += (level ? "/" : "") + std::to_string(record.identity->DevicePathID[level]);
    return path;
}

std::string numberedName(std::string_view kind, int number)
{
    return std::string(kind) + std::to_string(number);
}

constexpr size_t noCarrier = SIZE_MAX;

// A record without an identity stands for no device. The carrier is the module above, by its place
// in the list.
void addDevices(std::vector<Device> &devices, const yat_device &above, size_t carrier)
{
    if (!above.children || above.NextDevNum <= 0)
        return;
    for (yat_device *record : std::span(above.children, static_cast<size_t>(above.NextDevNum))) {
        size_t carrierBelow = carrier;
        if (record && record->identity) {
            const int code = record->identity->ClassCode, number = record->identity->Instance;
            devices.push_back({.record = record,
                               .classCode = code,
                               .number = number,
                               .shortName = numberedName(termOf(code).shortName, number),
                               .name = shownName(record->lpszTreeName),
                               .path = pathOf(*record),
                               .carrier = carrier});
            if (isModule(devices.back()))
                carrierBelow = devices.size() - 1;
        }
        if (record)
            addDevices(devices, *record, carrierBelow);
    }
}

// Devices of an unknown class have no numbers. Their paths tell them apart, and where these are the
// same, their places in the list do.
void makeShortNamesUnique(std::vector<Device> &devices)
{
    for (const bool isByPath : {true, false}) {
        std::map<std::string, int> users;
        for (const Device &device : devices)
            ++users[device.shortName];
        for (size_t i = 0; i < devices.size(); ++i)
            if (users[devices[i].shortName] > 1)
                devices[i].shortName += "." + (isByPath ? devices[i].path : std::to_string(i + 1));
    }
    for (Device &device : devices)
        if (device.carrier != noCarrier)
            device.module = devices[device.carrier].shortName;
}

std::string propertyOf(int kind, int number, int property)
{
    std::array<char, 1025> text{};
    unsigned long size = text.size();
    if (!yat_ft_func.yat_ft_get_property
        || yat_ft_func.yat_ft_get_property(kind, number, property, text.data(), &size) != 0)
        return {};
    text.back() = '\0';
    return yat::printable(yat::fromDisplay(text.data()));
}

std::optional<int> numberIn(std::string &&text)
{
    int value = 0;
    return yat_ft_func.Linux_ConvertDataToInt
                   && yat_ft_func.Linux_ConvertDataToInt(text.data(), &value) != -1
               ? std::optional(value)
               : std::nullopt;
}

// It is read as two more than what is written.
std::optional<int64_t> mtbfTypeOf(const Device &device)
{
    if (const auto told = fact(device, YAT_KNOWS_MTBF_TYPE, device.facts.mtbf_type))
        return told;
    std::optional<int> board;
    if (device.classCode == YAT_CLASS_CPU_MODULE)
        board = device.number;
    else if (device.classCode == YAT_CLASS_PCI_MODULE)
        board =
            numberIn(propertyOf(YAT_KIND_PCI_MODULE, device.number, YAT_PROPERTY_RELATIONAL_INDEX));
    const auto read =
        board ? numberIn(propertyOf(YAT_KIND_BOARD, *board, YAT_PROPERTY_MTBF_TYPE)) : board;
    for (const yat::MtbfType &type : yat::mtbfTypes)
        if (read == type.value + YAT_MTBF_TYPE_READ_ABOVE)
            return type.value;
    return {};
}

std::string stateTextOf(const Device &device)
{
    std::array<char, 1025> text{};
    const bool isCpu = device.classCode == YAT_CLASS_CPU_MODULE;
    if (!isModule(device)
        || StatusChange(isCpu ? YAT_KIND_CPU_MODULE : YAT_KIND_PCI_MODULE, device.number,
                        isCpu ? YAT_STATE_CPU_MODULE : YAT_STATE_PCI_MODULE, text.data())
               == -1)
        return {};
    text.back() = '\0';
    return yat::printable(yat::fromDisplay(text.data()));
}

bool isCalled(const Device &device, std::string_view name)
{
    const yat::DeviceClass &term = termOf(device.classCode);
    return equalsIgnoringCase(name, device.shortName) || equalsIgnoringCase(name, device.name)
           || name == device.path
           || equalsIgnoringCase(name, numberedName(term.shortName, device.number))
           || equalsIgnoringCase(name, numberedName(term.alias, device.number));
}

} // namespace

Machine::Machine()
{
    if (ft_FunctionInit() == 0)
        throw Failure(unreachable, "the platform can't be opened");
    try {
        type = call_yat_is_ft(0);
        if (type == YAT_MACHINE_QUERY_FAILED)
            throw Failure(unreachable, "the platform does not report the type of the machine");
        findDevices(*this);
    } catch (const Failure &) {
        ft_FunctionRelease();
        throw;
    }
}

Machine::~Machine()
{
    if (root)
        FreeTreeViewData(&root);
    ft_FunctionRelease();
}

void findDevices(Machine &machine)
{
    const TextsInUtf8 texts;
    machine.devices.clear();
    if (machine.root)
        FreeTreeViewData(&machine.root);
    machine.root = nullptr;
    if (CreateTreeViewData(&machine.root) == 0)
        machine.root = nullptr; // whatever a failed call left there
    if (!machine.root)
        throw Failure(unreachable, "the platform does not report the devices");
    if (!haveEnd(machine.root)) {
        machine.root = nullptr; // which its platform can't free either
        throw Failure(unreachable, endlessRecords);
    }
    addDevices(machine.devices, *machine.root, noCarrier);
    makeShortNamesUnique(machine.devices);
}

void read(Device &device)
{
    const TextsInUtf8 texts;
    device.facts = {};
    device.facts.size = sizeof device.facts;
    device.tellsFacts = GetDeviceFacts && GetDeviceFacts(device.record, &device.facts) == 1;
    device.stateText = stateTextOf(device);
    device.mtbfType = mtbfTypeOf(device);
    if (device.classCode != YAT_CLASS_CPU_MODULE)
        return;
    device.biosVersion = propertyOf(YAT_KIND_CPU_MODULE, device.number, YAT_PROPERTY_BIOS_VERSION);
    device.biosStatus = propertyOf(YAT_KIND_CPU_MODULE, device.number, YAT_PROPERTY_BIOS_STATUS);
}

Device &deviceNamed(Machine &machine, const std::string &name)
{
    std::vector<Device *> found;
    for (Device &device : machine.devices)
        if (isCalled(device, name))
            found.push_back(&device);
    if (found.size() == 1)
        return *found[0];
    std::string known;
    for (const Device &device : machine.devices)
        if (found.empty() || isCalled(device, name)) {
            const std::string more = (device.name.empty() ? "" : device.name + ", ") + device.path;
            known += (known.empty() ? "" : ", ") + device.shortName
                     + (found.empty() ? "" : " (" + more + ")");
        }
    throw Failure(noDevice, found.empty() ? "no device '" + name + "', expected one of " + known
                                          : "more than one device '" + name + "': " + known);
}

bool isModule(const Device &device)
{
    return device.classCode == YAT_CLASS_CPU_MODULE || device.classCode == YAT_CLASS_PCI_MODULE;
}

std::string_view classWord(int classCode)
{
    return termOf(classCode).key;
}

std::string_view typeWord(int machineType)
{
    const auto *found = std::ranges::find(yat::machineTypes, machineType, &yat::MachineType::value);
    return found != std::end(yat::machineTypes) ? found->word : "unknown";
}

std::optional<int64_t> fact(const Device &device, uint32_t bit, int64_t value)
{
    return device.tellsFacts && (device.facts.known & bit) ? std::optional(value) : std::nullopt;
}

std::string_view stateWord(const Device &device)
{
    const auto state = fact(device, YAT_KNOWS_STATE, device.facts.state);
    if (!state)
        return {};
    const bool hasWord = *state > 0 && *state < static_cast<int64_t>(stateWords.size());
    return stateWords[hasWord ? static_cast<size_t>(*state) : 0];
}

std::string_view biosWord(const Device &device)
{
    switch (fact(device, YAT_KNOWS_BIOS, device.facts.bios).value_or(0)) {
    case YAT_BIOS_VALID: return "valid";
    case YAT_BIOS_UPDATING: return "updating";
    case YAT_BIOS_INVALID: return "invalid";
    default: return {};
    }
}

std::string partnerOf(const Device &device)
{
    const auto partner = fact(device, YAT_KNOWS_PARTNER, device.facts.partner);
    return partner && *partner > 0
               ? numberedName(termOf(device.classCode).shortName, static_cast<int>(*partner))
               : "";
}

std::string shownState(const Device &device)
{
    if (!device.stateText.empty() || stateWord(device).empty())
        return device.stateText.empty() ? "-" : device.stateText;
    std::string text(stateWord(device));
    std::ranges::replace(text, '_', ' ');
    text[0] = static_cast<char>(toupper(text[0]));
    if (const auto duplex = fact(device, YAT_KNOWS_DUPLEX, device.facts.duplex);
        duplex && device.facts.state == YAT_DEVICE_RUNNING)
        text += *duplex ? ", duplex" : ", simplex";
    if (const auto percent = fact(device, YAT_KNOWS_PROGRESS, device.facts.progress))
        text += " " + std::to_string(*percent) + " %";
    return text;
}

std::string reasonFor(const Device &device, int code, int detail)
{
    const TextsInUtf8 texts;
    std::array<char, 1025> text{};
    if (GetSupportReason && GetSupportReason(device.record, code, detail, text.data()) == 1)
        return yat::printable(yat::fromDisplay(text.data()));
    return detail == 0 ? "the platform does not say why"
                       : "the platform gives reason " + std::to_string(detail) + " without a text";
}

} // namespace yatctl
