// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/memory.h"

#include "common/file.h"
#include "common/lock.h"
#include "common/numbers.h"
#include "common/ownfiles.h"
#include "common/paths.h"
#include "common/problem.h"
#include "host/sysfs.h"

#include <cerrno>
#include <climits>
#include <nlohmann/json.hpp>
#include <optional>
#include <sys/stat.h>

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

// What a member of the file has to be; throws Problem.
const json &member(const json &object, const std::string &name, json::value_t type)
{
    if (!object.is_object() || !object.contains(name) || object.at(name).type() != type)
        throw yat::Problem("missing or of the wrong type: \"" + name + "\"");
    return object.at(name);
}

uint64_t checked(uint64_t number, const std::string &name, uint64_t most)
{
    if (number > most)
        throw yat::Problem("the number of \"" + name + "\" is too large");
    return number;
}

uint64_t numberOf(const json &object, const std::string &name, uint64_t most)
{
    return checked(member(object, name, json::value_t::number_unsigned).get<uint64_t>(), name,
                   most);
}

int processorNamed(const std::string &name)
{
    const auto number = yat::numberIn<uint64_t>(name);
    if (!number)
        throw yat::Problem("\"" + name + "\" is not the number of a processor");
    return static_cast<int>(checked(*number, name, INT_MAX));
}

Memory fromJson(const json &text)
{
    Memory memory;
    const json &packages = member(text, "packages", json::value_t::object);
    for (const auto &[processor, package] : packages.items())
        memory.packages[processorNamed(processor)] =
            static_cast<int>(numberOf(packages, processor, INT_MAX));
    for (const auto &[device, counts] : member(text, "baselines", json::value_t::object).items())
        memory.baselines[device] = {true, numberOf(counts, "corrected", mostErrors),
                                    numberOf(counts, "uncorrected", mostErrors)};
    return memory;
}

// The file's text; nothing when there is no file. Another one's, or what stands in for it, is not
// read.
std::optional<std::string> textOf(const std::string &file)
{
    struct stat status;
    if (lstat(file.c_str(), &status) != 0) {
        if (errno == ENOENT)
            return {};
        throw yat::Problem(yat::reason(errno));
    }
    yat::requireOwnFile(file);
    if (status.st_size > 1 << 20) // a thousand devices take 100 kB
        throw yat::Problem("it is too large");
    return yat::readFile(file);
}

Memory memoryIn(const std::string &file)
try {
    const std::optional<std::string> text = textOf(file);
    if (!text)
        return {};
    const json parsed = json::parse(*text, nullptr, false);
    const bool isOfThisBoot =
        member(parsed, "boot", json::value_t::string).get<std::string>() == thisBoot();
    return isOfThisBoot ? fromJson(parsed) : Memory();
} catch (const yat::Problem &problem) {
    throw yat::Problem(file + " can't be used and was left alone; move it away to start afresh: "
                       + problem.what());
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

} // namespace

Memory readMemory()
{
    return memoryIn(fileName());
}

void changeMemory(const std::function<void(Memory &)> &change)
{
    const yat::Lock lock("host.json.lock", true);
    const std::string file = fileName();
    const Memory before = memoryIn(file);
    Memory memory = before;
    change(memory);
    if (memory != before)
        yat::replaceFile(file, toJson(memory).dump(2) + "\n", 0640);
}

} // namespace host
