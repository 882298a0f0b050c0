#include "host/memory.h"

#include "common/paths.h"
#include "common/problem.h"
#include "host/lock.h"
#include "host/sysfs.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace host {
namespace {

using nlohmann::json;

std::string fileName()
{
    return yat::stateDirectory() + "/host.json";
}

// Another one after each start of the server, which sets the counters and the processors back.
std::string thisBoot()
{
    return readAttribute("/proc/sys/kernel/random/boot_id").value_or("");
}

Memory fromJson(const json &text)
{
    Memory memory;
    for (const auto &[processor, package] : text.at("packages").items())
        memory.packages[std::stoi(processor)] = package.get<int>();
    for (const auto &[device, counts] : text.at("baselines").items())
        memory.baselines[device] = {true, counts.at("corrected").get<uint64_t>(),
                                    counts.at("uncorrected").get<uint64_t>()};
    return memory;
}

json toJson(const Memory &memory)
{
    json text = {{"boot", thisBoot()}, {"packages", json::object()}, {"baselines", json::object()}};
    for (const auto &[processor, package] : memory.packages)
        text["packages"][std::to_string(processor)] = package;
    for (const auto &[device, counts] : memory.baselines)
        text["baselines"][device] = {{"corrected", counts.corrected},
                                     {"uncorrected", counts.uncorrected}};
    return text;
}

[[noreturn]] void refuse(const std::string &file, int error)
{
    throw yat::Problem(file + ": can't be written: " + yat::reason(error));
}

// Whoever reads sees the old file or the new one, whole, also after the power failed.
void replace(const std::string &file, const std::string &text)
{
    const std::string other = file + ".new";
    const int descriptor = open(other.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    const bool isWritten =
        descriptor >= 0
        && write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size())
        && fsync(descriptor) == 0;
    const int error = errno;
    if (descriptor >= 0)
        close(descriptor);
    if (!isWritten)
        refuse(other, error);
    if (rename(other.c_str(), file.c_str()) != 0)
        refuse(file, errno);
}

} // namespace

Memory readMemory()
try {
    const json text = json::parse(readAttribute(fileName()).value_or("{}"));
    return text.value("boot", "") == thisBoot() ? fromJson(text) : Memory();
} catch (const std::exception &) {
    return {};
}

void changeMemory(const std::function<void(Memory &)> &change)
{
    const Lock lock("host.json.lock", true);
    const Memory before = readMemory();
    Memory memory = before;
    change(memory);
    if (memory != before)
        replace(fileName(), toJson(memory).dump(2) + "\n");
}

} // namespace host
