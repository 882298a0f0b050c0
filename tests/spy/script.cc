// SPDX-License-Identifier: GPL-2.0-or-later
#include "script.h"

#include <chrono>
#include <cstring>
#include <fstream>
#include <map>
#include <poll.h>
#include <sstream>
#include <unistd.h>
#include <vector>

namespace {

struct Script {
    std::vector<Rule> rules;
    std::string tree;
};

const Script &script()
{
    static const Script read = [] {
        Script result;
        const char *name = getenv("YAT_SPY_SCRIPT");
        std::ifstream file(name ? name : "/dev/null");
        for (std::string line; std::getline(file, line);) {
            std::istringstream words(line);
            Rule rule;
            words >> rule.call >> rule.result;
            if (rule.call == "tree") {
                result.tree = rule.result;
                continue;
            }
            for (std::string word; words >> word;) {
                if (word.starts_with("text="))
                    rule.text = line.substr(line.find("text=") + 5);
                if (rule.text)
                    break; // the text is the rest of the line
                if (word.starts_with("delay="))
                    rule.delay = atoi(word.c_str() + 6);
                if (word == "held")
                    rule.isHeld = true;
                if (word == "endless")
                    rule.isEndless = true;
                if (word.starts_with("at="))
                    rule.at = atoi(word.c_str() + 3);
            }
            result.rules.push_back(rule);
        }
        return result;
    }();
    return read;
}

// Calls itself until the stack is used up, which few limits let be as large as this.
int useStackUp(int calls)
{
    volatile char room[4096];
    room[0] = 1;
    return calls == 0 ? 0 : useStackUp(calls - 1) + room[0];
}

} // namespace

const Rule *ruleFor(const std::string &call)
{
    static std::map<std::string, int> calls;
    const int number = ++calls[call];
    for (const Rule &rule : script().rules)
        if (rule.call == call && (rule.at == 0 || rule.at == number))
            return &rule;
    return nullptr;
}

bool isMissing(const std::string &function)
{
    for (const Rule &rule : script().rules)
        if (rule.call == function && rule.result == "none")
            return true;
    return false;
}

void waitFor(const Rule &rule)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(rule.delay);
    // The program's timer interrupts it. A sleep would be taken for newt's own.
    for (std::chrono::milliseconds left;
         (left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now())).count() > 0;)
        poll(nullptr, 0, static_cast<int>(left.count()));
    const std::string go = std::string(getenv("YAT_SPY_SCRIPT")) + ".go";
    while (rule.isHeld && access(go.c_str(), F_OK) != 0)
        poll(nullptr, 0, 5);
    if (rule.result == "exit")
        exit(7);
    if (rule.result == "overflow")
        useStackUp(100'000);
}

bool hasTree()
{
    return !script().tree.empty();
}

yat_device *playedTree()
{
    std::ifstream file(script().tree);
    auto *root = new yat_device{};
    std::vector<yat_device *> path{root};
    std::map<yat_device *, std::vector<yat_device *>> children;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        size_t depth;
        std::string hierarchy, classCode, instance, first, text;
        if (!(words >> depth))
            continue;
        words >> hierarchy >> classCode >> instance >> first >> std::ws;
        std::getline(words, text);
        yat_device *device = nullptr;
        if (hierarchy == "above") {
            device = path[depth];
        } else if (hierarchy != "null") {
            device = new yat_device{};
            device->Hierarchy = atoi(hierarchy.c_str());
            device->lpszTreeName = text == "-" ? nullptr : strdup(text.c_str());
            device->parent = depth ? path[depth] : nullptr;
            if (classCode != "-")
                device->identity = new yat_identity{atoi(instance.c_str()),
                                                    atoi(classCode.c_str()),
                                                    {static_cast<uint8_t>(atoi(first.c_str()))}};
        }
        path.resize(depth + 1);
        children[path[depth]].push_back(device);
        path.push_back(device);
    }
    for (auto &[device, below] : children) {
        device->NextDevNum = static_cast<int32_t>(below.size());
        device->children = new yat_device *[below.size()];
        std::copy(below.begin(), below.end(), device->children);
    }
    return root;
}
