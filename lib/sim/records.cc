#include "sim/records.h"

#include "text/encoding.h"

#include <algorithm>
#include <deque>
#include <memory>

namespace sim {
namespace {

// One tree. The deques keep what they hold in place while it grows.
struct Tree {
    std::deque<yat_device> devices;
    std::deque<yat_identity> identities;
    std::deque<std::string> names;
    std::deque<std::vector<yat_device *>> children;
};

std::vector<std::unique_ptr<Tree>> trees;

template <class Device>
yat_device *add(Tree &tree, yat_device *parent, const Device &device, int level)
{
    yat_identity &identity = tree.identities.emplace_back();
    identity = {.Instance = device.number, .ClassCode = device.classCode, .DevicePathID = {}};
    std::ranges::copy(device.path, identity.DevicePathID);
    std::string &name = tree.names.emplace_back(yat::toDisplay(device.name));
    yat_device &record = tree.devices.emplace_back();
    record.parent = parent;
    record.Hierarchy = level;
    record.lpszTreeName = name.data();
    record.identity = &identity;

    std::vector<yat_device *> &below = tree.children.emplace_back();
    for (const Adapter &adapter : device.adapters)
        below.push_back(add(tree, &record, adapter, level + 1));
    record.NextDevNum = static_cast<int32_t>(below.size());
    record.children = below.data();
    return &record;
}

} // namespace

yat_device *makeRecords(const Description &machine)
{
    auto tree = std::make_unique<Tree>();
    yat_device &root = tree->devices.emplace_back();
    std::vector<yat_device *> &top = tree->children.emplace_back();
    for (const Module &module : machine.cpuModules)
        top.push_back(add(*tree, nullptr, module, 1));
    for (const Module &module : machine.pciModules)
        top.push_back(add(*tree, nullptr, module, 1));
    root.NextDevNum = static_cast<int32_t>(top.size());
    root.children = top.data();
    trees.push_back(std::move(tree));
    return &root;
}

bool freeRecords(yat_device *root)
{
    return std::erase_if(trees, [&](const auto &tree) { return &tree->devices[0] == root; }) > 0;
}

} // namespace sim
