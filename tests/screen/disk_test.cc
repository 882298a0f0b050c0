// SPDX-License-Identifier: GPL-2.0-or-later
// A disk that can't be read at the moment, as the program's own calls meet it.
#include "session.h"

#include <cerrno>
#include <cstring>

// Whoever is told that the state is damaged moves it away, and has lost a good one.
TEST(Failure, ToReadTheDiskNowIsNotTakenForADamagedState)
{
    const Workspace place({});
    const std::string file = (place.stateDirectory() / "machines/CEDAR.db").string();
    const std::string disk = place.preloadable(FAILING_DISK);
    RunOptions options{.state = place.stateDirectory().string()};
    {
        Session session(options);
        session.see("Exit");
        session.send(keys::ctrlO);
        session.expectExit(1);
    }
    const std::string before = readFile(file);
    ASSERT_FALSE(before.empty());
    for (const int error : {EIO, ENOSPC}) {
        options.environment = {{"LD_PRELOAD", disk}, {"YAT_READING_FAILS", std::to_string(error)}};
        Session session(options);
        session.see("The devices of the server cannot be read.");
        session.send(keys::enter);
        session.expectExit(0);
        const std::string output = session.terminal().output();
        EXPECT_NE(output.find("mrvutil: " + file + " can't be used: " + strerror(error)),
                  output.npos)
            << output;
        EXPECT_EQ(output.find("damaged"), output.npos);
    }
    EXPECT_EQ(readFile(file), before);
    options.environment.clear();
    Session session(options);
    session.see("[+] FT server");
}
