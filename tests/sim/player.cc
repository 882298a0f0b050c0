// SPDX-License-Identifier: GPL-2.0-or-later
#include "player.h"

#include "sim/words.h"
#include "support.h"
#include "yatsim/steering.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace sim;

namespace {

constexpr unsigned longestPlay = 120; // seconds
constexpr int mostTries = 100;        // to make the machine, while the disk is full

yat_device *recordOf(yat_device *above, DeviceId id)
{
    for (int i = 0; above && i < above->NextDevNum; ++i) {
        yat_device *device = above->children[i];
        if (device->identity->ClassCode == id.classCode && device->identity->Instance == id.number)
            return device;
        if (yat_device *below = recordOf(device, id))
            return below;
    }
    return nullptr;
}

// The record of a device, also of one that there is not; null for no device at all.
yat_device *anyRecordOf(yat_device *root, DeviceId id)
{
    static yat_identity identity;
    static yat_device stranger;
    yat_device *device = recordOf(root, id);
    if (device || id == DeviceId())
        return device;
    identity.ClassCode = id.classCode;
    identity.Instance = id.number;
    stranger.identity = &identity;
    return &stranger;
}

int callOf(yat_device *root, const Order &operation)
{
    yat_device *device = anyRecordOf(root, operation.device);
    const char *argument = operation.argument.c_str();
    switch (operation.verb) {
    case Verb::clearMtbf: return ClearMTBF(device, operation.code);
    case Verb::bringUp: return InitBringUp(device, operation.code);
    case Verb::bringDown: return InitBringDown(device, operation.code);
    case Verb::setMtbfType: return SetMtbfType(device, operation.code, argument);
    case Verb::burnFirmware: return BurnFirmware(device, operation.code, argument);
    default: {
        int value = atoi(argument);
        return PutBBDriverSettings(operation.code, operation.device.classCode,
                                   operation.device.number, &value);
    }
    }
}

int carryOut(yat_device *root, Store &outside, const Act &act)
try {
    if (act.injection) {
        inject(outside, *act.injection);
        return 1;
    }
    if (act.another == "reset") {
        resetMachine(outside);
        return 1;
    }
    if (act.another == "import") {
        importMachine(outside, outside.descriptionFile);
        return 1;
    }
    if (isCall(act.operation.verb))
        return callOf(root, act.operation);
    return perform(outside, act.operation) == Refusal::none ? 1 : 0;
} catch (const yat::Problem &) {
    return 0;
}

bool isRunningByItsText(int kind, int number)
{
    return (kind == YAT_KIND_CPU_MODULE ? cpuState(number) : pciState(number))
        .starts_with("Running");
}

bool pairRuns(int kind)
{
    return isRunningByItsText(kind, 1) || isRunningByItsText(kind, 2);
}

void play(Progress &progress, const std::vector<Act> &acts, bool watchesPairs)
{
    if (ft_FunctionInit() != 1)
        _exit(2);
    yat_device *root = nullptr;
    for (int i = 0; CreateTreeViewData(&root) != 1; ++i)
        if (i == mostTries)
            _exit(3);
    Store outside = configuredStore();
    for (size_t i = 0; i < acts.size(); ++i) {
        const bool isOurs =
            !acts[i].injection && acts[i].another.empty() && isCall(acts[i].operation.verb);
        const bool cpuRan = watchesPairs && isOurs && pairRuns(YAT_KIND_CPU_MODULE);
        const bool pciRan = watchesPairs && isOurs && pairRuns(YAT_KIND_PCI_MODULE);
        ++progress.asked;
        progress.results[i] = carryOut(root, outside, acts[i]);
        ++progress.answered;
        if ((cpuRan && !pairRuns(YAT_KIND_CPU_MODULE))
            || (pciRan && !pairRuns(YAT_KIND_PCI_MODULE)))
            progress.tookPairDown = true;
    }
    FreeTreeViewData(&root);
    _exit(ft_FunctionRelease() == 1 ? 0 : 1);
}

std::string resultOf(const JournalRow &row, int result)
{
    if (row.result.starts_with("injected: "))
        return "injected: " + std::to_string(result);
    return result == 1 ? "done" : row.result.starts_with("refused: ") ? row.result : "refused";
}

// Whoever comes first makes the machine, without having been asked to.
bool isFromActs(const JournalRow &row, const std::string &terminal)
{
    return row.terminal == terminal && row.operation != "init";
}

bool isOf(const JournalRow &row, const Act &act)
{
    if (act.injection)
        return row.operation == "inject";
    if (!act.another.empty())
        return row.operation == act.another;
    return row.operation == nameOf(act.operation.verb) && row.device == nameOf(act.operation.device)
           && row.code == act.operation.code && row.argument == act.operation.argument;
}

} // namespace

Player::Player(const std::vector<Act> &wanted, const std::function<void()> &prepare,
               bool watchesPairs)
    : acts(wanted)
{
    void *shared =
        mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (shared == MAP_FAILED || acts.size() > mostActs || master < 0 || grantpt(master) != 0
        || unlockpt(master) != 0)
        throw std::runtime_error("no player");
    progress = new (shared) Progress{};
    terminal = ptsname(master);
    child = fork();
    if (child != 0)
        return;
    alarm(longestPlay);
    dup2(open(terminal.c_str(), O_RDWR | O_NOCTTY), STDIN_FILENO);
    if (!freopen("/dev/null", "w", stderr)) // what a full disk makes it complain of
        _exit(4);
    if (prepare)
        prepare();
    while (!progress->mayBegin)
        usleep(50);
    play(*progress, acts, watchesPairs);
}

Player::~Player()
{
    if (child > 0) {
        kill();
        wait();
    }
    close(master);
    munmap(progress, sizeof(Progress));
}

void Player::kill() const
{
    ::kill(child, SIGKILL);
}

int Player::wait()
{
    int status = -1;
    waitpid(child, &status, 0);
    child = -1;
    return status;
}

std::string Player::compare(const std::vector<JournalRow> &rows, bool writingFailed) const
{
    size_t row = 0;
    const int asked = progress->asked, answered = progress->answered;
    for (int i = 0; i < asked; ++i) {
        const Act &act = acts[static_cast<size_t>(i)];
        const bool isAnswered = i < answered;
        const int result = progress->results[i];
        const std::string name =
            "act " + std::to_string(i) + " of " + terminal + " (" + nameOf(act.operation.device)
            + " " + std::string(nameOf(act.operation.verb)) + " "
            + std::to_string(act.operation.code) + " " + act.operation.argument + ")";
        while (row < rows.size() && !isFromActs(rows[row], terminal))
            ++row;
        const bool mayBeMissing = !isAnswered || (writingFailed && result == 0);
        bool isThere = row < rows.size() && isOf(rows[row], act);
        if (isThere && isAnswered && rows[row].result != resultOf(rows[row], result)) {
            if (!mayBeMissing)
                return name + " got " + std::to_string(result) + ", the journal has "
                       + rows[row].result;
            isThere = false; // the row is of another act that is like this one
        }
        if (!isThere && !mayBeMissing)
            return name + " got " + std::to_string(result) + " and is not in the journal";
        row += isThere ? 1 : 0;
    }
    for (; row < rows.size(); ++row)
        if (isFromActs(rows[row], terminal))
            return "row " + std::to_string(*rows[row].id) + " of " + terminal
                   + " was not asked for";
    return {};
}

namespace {

DeviceId anyModule(const Machine &machine, const std::function<int(int)> &below)
{
    const int classCode = below(2) == 0 ? YAT_CLASS_CPU_MODULE : YAT_CLASS_PCI_MODULE;
    int modules = 0;
    while (find(machine, {classCode, modules + 1}))
        ++modules;
    return {classCode, below(modules) + 1};
}

DeviceId anyAdapter(const std::function<int(int)> &below)
{
    const int classCode = below(2) == 0 ? YAT_CLASS_SCSI_ADAPTER : YAT_CLASS_ETHERNET_ADAPTER;
    return {classCode, 1 + below(2)};
}

std::string anyOf(const std::vector<std::string> &texts, const std::function<int(int)> &below)
{
    return texts[static_cast<size_t>(below(static_cast<int>(texts.size())))];
}

} // namespace

Act anyCall(const Machine &machine, const std::function<int(int)> &below)
{
    const Verb verbs[] = {Verb::bringUp,   Verb::bringDown,   Verb::bringUp,      Verb::bringDown,
                          Verb::clearMtbf, Verb::setMtbfType, Verb::burnFirmware, Verb::putSetting};
    Order operation = {.verb = verbs[below(8)], .device = anyModule(machine, below)};
    if (operation.verb == Verb::clearMtbf && below(3) == 0)
        operation.device = anyAdapter(below);
    if (operation.verb == Verb::burnFirmware)
        operation.device = {YAT_CLASS_CPU_MODULE, 1 + below(2)};
    if (below(20) == 0)
        operation.device.number = 77; // there is none
    operation.code = supportCode(operation.verb, operation.device.classCode) + 1;
    switch (operation.verb) {
    case Verb::setMtbfType: operation.argument = anyOf({"0", "1", "2", "3"}, below); break;
    case Verb::burnFirmware: operation.argument = anyOf({"FWCOPY", "FWBURN"}, below); break;
    case Verb::putSetting:
        operation.device = below(20) == 0 ? DeviceId{5, 3} : wholeMachine;
        operation.code = 2 + below(2);
        operation.argument = anyOf({"0", "1"}, below);
        break;
    default:
        if (below(40) == 0)
            operation.device = {}; // a null pointer
    }
    if (below(20) == 0)
        operation.code = below(40);
    return {.operation = operation};
}

Act anyBlow(const Machine &machine, const std::function<int(int)> &below)
{
    const DeviceId module = anyModule(machine, below);
    switch (below(12)) {
    case 0: return {.operation = {.verb = Verb::fail, .device = module}};
    case 1: return {.operation = {.verb = Verb::repair, .device = module}};
    case 2: return {.operation = {.verb = Verb::pull, .device = module}};
    case 3: return {.operation = {.verb = Verb::insert, .device = module}};
    case 4:
    case 5: {
        const std::string call = anyOf({"InitBringUp", "InitBringDown", "ClearMTBF", "SetMtbfType",
                                        "BurnFirmware", "PutBBDriverSettings"},
                                       below);
        const int result = below(4) - 1;
        const Injection injection = {.call = call,
                                     .result = result < 2 ? std::optional(result) : std::nullopt,
                                     .times = below(3) + 1,
                                     .delay = below(3)};
        return {.operation = {}, .injection = injection};
    }
    case 6: return {.operation = {.verb = Verb::fail, .device = module, .argument = "permanent"}};
    case 7: {
        const std::string argument = anyOf({"", "", "permanent"}, below);
        return {
            .operation = {.verb = Verb::fail, .device = anyAdapter(below), .argument = argument}};
    }
    case 8: return {.operation = {.verb = Verb::repair, .device = anyAdapter(below)}};
    case 9:
        if (below(4) == 0)
            return {.operation = {}, .another = anyOf({"reset", "import"}, below)};
        [[fallthrough]];
    default:
        return {.operation = {.verb = Verb::set, .argument = "time=+" + std::to_string(below(60))}};
    }
}
