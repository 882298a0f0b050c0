// SPDX-License-Identifier: GPL-2.0-or-later
// The checkbox tree in a process that gets no memory any more.
#include "support/withoutmemory.h"
#include "tree/checkboxtree.h"

#include <array>

namespace {

// A tree of three leaves, of which the second is selected.
newtComponent madeTree()
{
    newtComponent tree = yat_newtCheckboxTree(0, 0, 5, 0);
    for (int i = 0; i < 3; ++i) {
        const std::array path = {i, NEWT_ARG_LAST};
        yat_newtCheckboxTreeAddArray(tree, "leaf", i, nullptr, nullptr,
                                     i == 1 ? NEWT_FLAG_SELECTED : 0, path.data());
    }
    return tree;
}

} // namespace

// To walk along the tree takes some; what is given to the caller is smaller.
TEST_F(WithoutMemory, ATreeAnswersNull)
{
    const auto ask = [](bool (*isNull)(newtComponent)) {
        const newtComponent tree = madeTree();
        void *volatile piece = malloc(sizeof(Walk::Place));
        useUp();
        free(piece);
        exit(isNull(tree) ? 0 : 1);
    };
    EXPECT_EXIT(ask([](newtComponent tree) { return !yat_newtCheckboxTreeFindItem(tree, 1); }),
                testing::ExitedWithCode(0), "^$");
    EXPECT_EXIT(ask([](newtComponent tree) {
                    int count = 7;
                    return !yat_newtCheckboxTreeGetSelection(tree, &count) && count == 0;
                }),
                testing::ExitedWithCode(0), "^$");
}
