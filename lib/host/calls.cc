#include "host/calls.h"

#include "common/answers.h"
#include "common/records.h"
#include "host/memory.h"
#include "host/names.h"
#include "host/reading.h"
#include "host/words.h"
#include "yat/winshim.h"

#include <algorithm>

namespace host {
namespace {

// The devices as they were last listed: their numbers are those that the callers have.
std::vector<Device> listed;

bool isJapanese()
{
    return GetSystemDefaultLangID() == YAT_LANGUAGE_JAPANESE;
}

void list(const Machine &machine)
{
    listed = devicesOf(machine, nameOf, isJapanese());
    forgetNames();
}

const Device *listedDevice(int classCode, int instance)
{
    if (listed.empty())
        list(readMachine());
    const auto found = std::ranges::find_if(listed, [&](const Device &device) {
        return classOf(device.kind) == classCode && device.instance == instance;
    });
    return found == listed.end() ? nullptr : &*found;
}

Counts countsSinceCleared(const Machine &machine, const Device &device)
{
    const Memory memory = readMemory();
    const auto baseline = memory.baselines.find(keyOf(device));
    const Counts counts = countsOf(machine, device);
    return baseline == memory.baselines.end() ? counts : since(baseline->second, counts);
}

} // namespace

// ---- Devices, properties, state

int createTree(yat_device **root)
{
    list(readMachine());
    std::vector<yat::DeviceRow> rows;
    for (const Device &device : listed) {
        yat::DeviceRow &row =
            rows.emplace_back(yat::DeviceRow{.identity = {.Instance = device.instance,
                                                          .ClassCode = classOf(device.kind),
                                                          .DevicePathID = {}},
                                             .name = device.name,
                                             .parent = device.parent});
        std::ranges::copy(device.path, row.identity.DevicePathID);
    }
    *root = yat::makeRecords(rows);
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
    return YAT_MACHINE_ALDER; // modules, and no MTBF type
}

static std::optional<std::string> propertyOf(const Machine &machine, int kind, int number,
                                             int property)
{
    const Device *device = listedDevice(kind, number);
    if (!device || !packageOf(machine, *device))
        return {};
    if (property == YAT_PROPERTY_BIOS_VERSION && !machine.biosVersion.empty())
        return machine.biosVersion;
    if (property == YAT_PROPERTY_BIOS_STATUS)
        return biosStatusText(isJapanese());
    return {};
}

int getProperty(int kind, int number, int property, char *buffer, unsigned long *size)
{
    if (!buffer || !size)
        return -1;
    const auto value = propertyOf(readMachine(), kind, number, property);
    return value && yat::putProperty(*value, buffer, size) ? 0 : -1;
}

int statusChange(int kind, int number, int code, char *text)
{
    const bool isKnown = (kind == YAT_KIND_CPU_MODULE && code == YAT_STATE_CPU_MODULE)
                         || (kind == YAT_KIND_PCI_MODULE && code == YAT_STATE_PCI_MODULE);
    const Device *device = isKnown ? listedDevice(kind, number) : nullptr;
    if (!device)
        return -1;
    const Machine machine = readMachine();
    const auto state =
        stateText(machine, *device, countsSinceCleared(machine, *device), isJapanese());
    if (!state)
        return -1;
    yat::putState(*state, text);
    return 0;
}

// ---- Operations

int ifSupport(yat_device *, int, int *detail)
{
    if (detail)
        *detail = YAT_DETAIL_UNSUPPORTED;
    return 0;
}

int operation(yat_device *, int)
{
    return 0;
}

int operationWithText(yat_device *, int, const char *)
{
    return 0;
}

// ---- Settings

int setting(int, int, int, int *)
{
    return 0;
}

void forget()
{
    listed.clear();
    forgetNames();
}

} // namespace host
