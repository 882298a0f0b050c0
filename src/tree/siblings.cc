// SPDX-License-Identifier: GPL-2.0-or-later
#include "tree/siblings.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

int countBelow(const SiblingNode &node)
{
    int count = static_cast<int>(node.items.size());
    for (const SiblingPart &part : node.parts)
        count += part.count;
    return count;
}

// Inserts into a node's items or parts. Where it has no room for one more, it keeps the first half
// of them, and the node that gets the second half is given back, to stand after it.
template <class Element>
std::unique_ptr<SiblingNode> insertInto(SiblingNode &node,
                                        std::vector<Element> SiblingNode::*elements, size_t at,
                                        Element element)
{
    std::vector<Element> *target = &(node.*elements);
    std::unique_ptr<SiblingNode> after;
    if (target->size() == siblingNodeSize) {
        after = std::make_unique<SiblingNode>();
        after->next = std::exchange(node.next, after.get());
        std::vector<Element> &secondHalf = (*after).*elements;
        secondHalf.reserve(siblingNodeSize);
        const auto middle = target->begin() + siblingNodeSize / 2;
        std::move(middle, target->end(), std::back_inserter(secondHalf));
        target->erase(middle, target->end());
        if (at > target->size()) {
            at -= target->size();
            target = &secondHalf;
        }
    }
    target->insert(target->begin() + static_cast<std::ptrdiff_t>(at), std::move(element));
    return after;
}

// The same below a node.
std::unique_ptr<SiblingNode> insertBelow(SiblingNode &node, int position, Item *item)
{
    if (node.parts.empty())
        return insertInto(node, &SiblingNode::items,
                          std::min(static_cast<size_t>(position), node.items.size()), item);
    size_t at = 0;
    while (at + 1 < node.parts.size() && position > node.parts[at].count)
        position -= node.parts[at++].count;
    SiblingPart &part = node.parts[at];
    ++part.count;
    std::unique_ptr<SiblingNode> after = insertBelow(*part.node, position, item);
    if (!after)
        return nullptr;
    const int count = countBelow(*after);
    part.count -= count;
    return insertInto(node, &SiblingNode::parts, at + 1, SiblingPart{std::move(after), count});
}

} // namespace

void insertSibling(Siblings &list, int position, Item *item)
{
    if (!list.root)
        list.root = std::make_unique<SiblingNode>();
    std::unique_ptr<SiblingNode> after = insertBelow(*list.root, position, item);
    if (!after)
        return;
    auto root = std::make_unique<SiblingNode>();
    for (std::unique_ptr<SiblingNode> *half : {&list.root, &after}) {
        const int count = countBelow(**half);
        root->parts.push_back({std::move(*half), count});
    }
    list.root = std::move(root);
}

Item *siblingAt(const Siblings &list, int position)
{
    const SiblingNode *node = list.root.get();
    while (node && !node->parts.empty()) {
        size_t at = 0;
        while (at + 1 < node->parts.size() && position >= node->parts[at].count)
            position -= node->parts[at++].count;
        node = node->parts[at].node.get();
    }
    const auto at = static_cast<size_t>(position);
    return node && at < node->items.size() ? node->items[at] : nullptr;
}

Item *lastSibling(const Siblings &list)
{
    const SiblingNode *node = list.root.get();
    while (!node->parts.empty())
        node = node->parts.back().node.get();
    return node->items.back();
}

const SiblingNode *firstLeaf(const Siblings &list)
{
    const SiblingNode *node = list.root.get();
    while (node && !node->parts.empty())
        node = node->parts.front().node.get();
    return node;
}
