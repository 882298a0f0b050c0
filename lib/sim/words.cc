#include "sim/words.h"

#include "yat/ft.h"

#include <algorithm>
#include <charconv>
#include <strings.h>

namespace sim {
namespace {

struct StateWords {
    State state;
    std::string_view name, english, japanese;
};

constexpr StateWords stateWords[] = {
    {State::empty, "empty", "Not installed", "未搭載"},
    {State::stopped, "stopped", "Stopped", "停止中"},
    {State::starting, "starting", "Starting", "起動中"},
    {State::synchronising, "synchronising", "Synchronising", "同期中"},
    {State::simplex, "simplex", "Running, simplex", "稼働中(単独)"},
    {State::duplex, "duplex", "Running, duplex", "稼働中(二重化)"},
    {State::stopping, "stopping", "Stopping", "停止処理中"},
    {State::broken, "broken", "Broken", "故障"},
    {State::firmwareUpdate, "firmware update", "Updating BIOS", "BIOS更新中"},
};

template <class Value> struct Word {
    Value value;
    std::string_view text;
};

constexpr Word<Bios> biosNames[] = {
    {Bios::described, "described"},
    {Bios::copied, "copied"},
    {Bios::burnt, "burnt"},
    {Bios::invalid, "invalid"},
};

constexpr Word<Verb> verbNames[] = {
    {Verb::clearMtbf, "ClearMTBF"},
    {Verb::bringUp, "InitBringUp"},
    {Verb::bringDown, "InitBringDown"},
    {Verb::setMtbfType, "SetMtbfType"},
    {Verb::burnFirmware, "BurnFirmware"},
    {Verb::putSetting, "PutBBDriverSettings"},
    {Verb::fail, "fail"},
    {Verb::repair, "repair"},
    {Verb::pull, "pull"},
    {Verb::insert, "insert"},
    {Verb::set, "set"},
};

constexpr Word<Refusal> refusalNames[] = {
    {Refusal::none, ""},
    {Refusal::unknownDevice, "the machine has no such device"},
    {Refusal::wrongCode, "the code does not belong to the operation and the device"},
    {Refusal::unsupported, "the machine does not support it for such a device"},
    {Refusal::wrongArgument, "wrong value"},
    {Refusal::notInstalled, "the module is not installed"},
    {Refusal::installed, "the module is installed already"},
    {Refusal::notStopped, "the module is not stopped"},
    {Refusal::notRunning, "the device does not run"},
    {Refusal::lastRunning, "the module is the last one of its pair that runs"},
    {Refusal::broken, "the device is broken"},
    {Refusal::notBroken, "the device is not broken"},
    {Refusal::biosInvalid, "the module has no valid BIOS"},
    {Refusal::noBiosSource, "there is no BIOS to take: no running partner, or no data file"},
};

struct ClassName {
    int classCode;
    std::string_view name;
};

// The first name of a class is the one to write.
constexpr ClassName classNames[] = {
    {YAT_CLASS_CPU_MODULE, "cpu"},       {YAT_CLASS_PCI_MODULE, "pci"},
    {YAT_CLASS_SCSI_ADAPTER, "scsi"},    {YAT_CLASS_ETHERNET_ADAPTER, "ethernet"},
    {YAT_CLASS_ETHERNET_ADAPTER, "eth"},
};

template <class Value, size_t count>
std::string_view textOf(Value value, const Word<Value> (&words)[count])
{
    for (const auto &word : words)
        if (word.value == value)
            return word.text;
    return {};
}

template <class Value, size_t count>
std::optional<Value> valueOf(std::string_view text, const Word<Value> (&words)[count])
{
    for (const auto &word : words)
        if (word.text == text)
            return word.value;
    return {};
}

const StateWords &wordsOf(State state)
{
    return *std::ranges::find(stateWords, state, &StateWords::state);
}

// Ideographs need no blank before the number.
std::string withProgress(std::string text, std::optional<int> percent, bool japanese)
{
    if (percent)
        text += " " + std::to_string(*percent) + (japanese ? "%" : " %");
    return text;
}

bool equalsIgnoringCase(std::string_view left, std::string_view right)
{
    return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

} // namespace

std::string stateText(const Machine &machine, const Device &device, bool japanese)
{
    const StateWords &words = wordsOf(stateOf(machine, device));
    return withProgress(std::string(japanese ? words.japanese : words.english),
                        progress(machine, device), japanese);
}

std::string biosStatusText(const Machine &machine, const Device &device, bool japanese)
{
    if (device.state == State::firmwareUpdate)
        return withProgress(japanese ? "更新中" : "Being updated", progress(machine, device),
                            japanese);
    switch (device.bios) {
    case Bios::described: break;
    case Bios::copied:
        return japanese ? "正常(稼働中モジュールから複写)"
                        : "Valid, copied from the running module";
    case Bios::burnt:
        return japanese ? "正常(データファイルから更新)" : "Valid, updated from the data file";
    case Bios::invalid:
        return japanese ? "無効(更新が中断されました)" : "Invalid, an update was interrupted";
    }
    return device.biosStatus;
}

std::string_view nameOf(State state)
{
    return wordsOf(state).name;
}

std::string_view nameOf(Bios bios)
{
    return textOf(bios, biosNames);
}

std::string_view nameOf(Verb verb)
{
    return textOf(verb, verbNames);
}

std::string_view nameOf(Refusal refusal)
{
    return textOf(refusal, refusalNames);
}

std::optional<std::vector<uint8_t>> bytesOf(const std::string &text)
{
    constexpr size_t mostBytes = 16;
    std::vector<uint8_t> bytes;
    size_t at = 0;
    while ((at = text.find_first_not_of(" ,", at)) != std::string::npos) {
        const size_t end = std::min(text.find_first_of(" ,", at), text.size());
        const bool isHexadecimal = text.compare(at, 2, "0x") == 0;
        const char *last = text.data() + end;
        uint8_t byte = 0;
        const auto [rest, error] = std::from_chars(text.data() + at + (isHexadecimal ? 2 : 0), last,
                                                   byte, isHexadecimal ? 16 : 10);
        if (error != std::errc() || rest != last || bytes.size() == mostBytes)
            return {};
        bytes.push_back(byte);
        at = end;
    }
    return bytes.empty() ? std::nullopt : std::optional(bytes);
}

std::optional<State> stateNamed(std::string_view name)
{
    for (const StateWords &words : stateWords)
        if (words.name == name)
            return words.state;
    return {};
}

std::optional<Bios> biosNamed(std::string_view name)
{
    return valueOf(name, biosNames);
}

std::optional<Verb> verbNamed(std::string_view name)
{
    return valueOf(name, verbNames);
}

std::string nameOf(DeviceId id)
{
    if (id == wholeMachine)
        return {};
    for (const ClassName &named : classNames)
        if (named.classCode == id.classCode)
            return std::string(named.name) + std::to_string(id.number);
    return "class" + std::to_string(id.classCode) + "/" + std::to_string(id.number);
}

const Device *deviceNamed(const Machine &machine, std::string_view name)
{
    for (const Device &device : machine.devices)
        for (const ClassName &named : classNames)
            if (named.classCode == device.id.classCode
                && equalsIgnoringCase(name,
                                      std::string(named.name) + std::to_string(device.id.number)))
                return &device;
    for (const Device &device : machine.devices)
        if (equalsIgnoringCase(name, device.name))
            return &device;
    return nullptr;
}

} // namespace sim
