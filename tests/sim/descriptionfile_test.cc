// SPDX-License-Identifier: GPL-2.0-or-later
// The file that a stored machine was made from, and another one in its place.
#include "stored.h"
#include "yatsim/steering.h"

#include <filesystem>

namespace fs = std::filesystem;

using namespace sim;

TEST(DescriptionFile, IsNotNeededUntilTheMachineIsMadeAnew)
{
    Stored stored;
    perform(stored.store, stopCpu2);
    const std::string file = stored.store.descriptionFile;
    std::ofstream(file) << "broken";
    stored.store.database.reset();
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::stopping);
    EXPECT_TRUE(problemOf([&] { resetMachine(stored.store); }).starts_with(file + ":1: "));
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::stopping);
}

TEST(DescriptionFile, ThatIsImportedIsWrittenDownWithItsWholePath)
{
    Stored stored;
    const fs::path other = stored.sandbox.directory() / "other.toml", before = fs::current_path();
    std::ofstream(other) << shipped("ALDER");
    fs::current_path(stored.sandbox.directory());
    importMachine(stored.store, "other.toml");
    fs::current_path(before);
    EXPECT_EQ(journalOf(stored.store)[1].argument, other.string());
    const std::string odd(5000, 'x'); // longer than a path can be
    EXPECT_EQ(wholePath(odd), odd);
}
