// SPDX-License-Identifier: GPL-2.0-or-later
// The command line of yatctl: a word in each line.
#include "fuzz.h"

#include "yatctl/commandline.h"
#include "yatctl/commands.h"
#include "yatctl/failure.h"
#include "yatctl/operations.h"
#include "yatctl/watch.h"

#include <algorithm>
#include <clocale>
#include <utility>
#include <vector>

namespace yatctl { // what is asked for is not done here

void listDevices(const Request &) {}
void show(const Request &) {}
void settings(const Request &) {}
void bmc(const Request &) {}
void metrics(const Request &) {}
void operate(const Request &) {}
void watch(const Request &) {}

} // namespace yatctl

namespace {

void requireSense(const yatctl::Request &request, const std::vector<std::string> &words)
{
    const auto isSaid = [&](const std::string &text) {
        return std::ranges::any_of(
            words, [&](const std::string &word) { return word.find(text) != word.npos; });
    };
    const auto isOneOf = [](std::string_view text, std::initializer_list<std::string_view> all) {
        return std::ranges::find(all, text) != all.end();
    };
    const std::string_view name = request.name;
    const bool isOperation = isOneOf(name, {"start", "stop", "clear", "set-type", "update"});
    REQUIRE(request.command != nullptr && isSaid(request.name));
    REQUIRE((isOperation || name == "show") == !request.device.empty());
    REQUIRE(isSaid(request.device) && isSaid(request.output));
    REQUIRE(name == "set-type" ? isOneOf(request.argument, {"0", "1", "2"})
            : name == "update" ? isOneOf(request.argument, {"copy", "file"})
                               : request.argument.empty());
    REQUIRE(isOperation || name == "settings" || (!request.check && !request.yes));
    REQUIRE(name == "settings" || request.assignments.empty());
    REQUIRE(request.interval >= 0.1 && request.interval <= 86400);
    if (!request.wait.empty()) {
        REQUIRE(isOneOf(name, {"start", "stop", "update"}));
        REQUIRE(request.wait.find_first_not_of("0123456789") == std::string::npos);
        REQUIRE(std::stol(request.wait) >= 1 && std::stol(request.wait) <= 86400);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static FILE *const nowhere = fopen("/dev/null", "w");
    setlocale(LC_ALL, "C.UTF-8");
    Input input(data, size);
    std::vector<std::string> words = {"yatctl"};
    while (!input.empty())
        words.push_back(input.upTo('\n').c_str()); // without a zero byte
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    FILE *const output = std::exchange(stdout, nowhere); // of the help
    try {
        const auto request =
            yatctl::parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
        if (request)
            requireSense(*request, words);
    } catch (const yatctl::Failure &failure) {
        REQUIRE(failure.status == yatctl::usage && *failure.what());
    }
    stdout = output;
    return 0;
}
