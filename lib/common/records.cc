// SPDX-License-Identifier: GPL-2.0-or-later
#include "common/records.h"

#include "text/encoding.h"

#include <algorithm>
#include <memory>
#include <string>

namespace yat {
namespace {

// One tree: the root, then a record for each device in its order.
struct Tree {
    std::vector<yat_device> records;
    std::vector<yat_identity> identities;
    std::vector<std::string> names;
    std::vector<std::vector<yat_device *>> children;
};

std::vector<std::unique_ptr<Tree>> trees;

void fillRecord(Tree &tree, const DeviceRow &device, size_t position)
{
    const size_t parent = static_cast<size_t>(device.parent) + 1; // the root of a top-level device
    yat_identity &identity = tree.identities[position];
    identity.ClassCode = device.classCode;
    identity.Instance = device.number;
    std::ranges::copy(device.path, identity.DevicePathID);
    tree.names[position] = toDisplay(device.name);

    yat_device &record = tree.records[position + 1];
    record.parent = device.parent < 0 ? nullptr : &tree.records[parent];
    record.Hierarchy = tree.records[parent].Hierarchy + 1;
    record.lpszTreeName = tree.names[position].data();
    record.identity = &tree.identities[position];
    tree.children[parent].push_back(&record);
}

} // namespace

yat_device *makeRecords(const std::vector<DeviceRow> &devices)
{
    auto tree = std::make_unique<Tree>();
    const size_t count = devices.size();
    tree->records.resize(count + 1);
    tree->identities.resize(count);
    tree->names.resize(count);
    tree->children.resize(count + 1);
    for (size_t i = 0; i < count; ++i)
        fillRecord(*tree, devices[i], i);
    for (size_t i = 0; i <= count; ++i) {
        tree->records[i].NextDevNum = static_cast<int32_t>(tree->children[i].size());
        tree->records[i].children = tree->children[i].data();
    }
    trees.push_back(std::move(tree));
    return &trees.back()->records[0];
}

int freeTree(yat_device **root)
{
    if (std::erase_if(trees, [&](const auto &tree) { return &tree->records[0] == *root; }) == 0)
        return 0;
    *root = nullptr;
    return 1;
}

} // namespace yat
