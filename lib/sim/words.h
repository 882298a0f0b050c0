// The words for what a machine does: for the screen, for the journal, for the store.
#pragma once

#include "sim/model.h"

#include <optional>
#include <string>
#include <string_view>

namespace sim {

// The state as the device windows show it: at most 19 columns. In UTF-8.
std::string stateText(const Machine &machine, const Device &device, bool japanese);

// The BIOS status, which tells an update under way. In UTF-8.
std::string biosStatusText(const Machine &machine, const Device &device, bool japanese);

std::string_view nameOf(State state);
std::string_view nameOf(Bios bios);
std::string_view nameOf(Verb verb); // of a call as yat/ft.h has it, of others as yatsim has it
std::string_view nameOf(Refusal refusal); // a reason to read: "the module is not stopped"

// Bytes as a list of 1 to 16 numbers from 0 to 255, with blanks or commas between them, 0x before
// hexadecimal ones; nothing for another text.
std::optional<std::vector<uint8_t>> bytesOf(const std::string &text);

std::optional<State> stateNamed(std::string_view name);
std::optional<Bios> biosNamed(std::string_view name);
std::optional<Verb> verbNamed(std::string_view name);

// "cpu1", "pci2", "scsi1", "ethernet3"; "" for the whole machine; "class7/1" for what is no device.
std::string nameOf(DeviceId id);

// The device of that short name ("eth3" will do) or display name, whatever its case.
const Device *deviceNamed(const Machine &machine, std::string_view name);

} // namespace sim
