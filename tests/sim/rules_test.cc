// Which state files a machine takes.
#include "scenario.h"
#include "sim/sqlite.h"

namespace {

class StateFiles : public Scenario {
protected:
    // Changes the state as another program would.
    void tamper(const char *sql)
    {
        sim::Database(sandbox->stateFile().string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)
            .script(sql);
    }
};

} // namespace

TEST_P(StateFiles, OfTheFirstVersionAreTaken)
{
    prepare();
    steer("init");
    steer("fail cpu2 --permanent");
    tamper("DROP TABLE injection; PRAGMA user_version = 1");
    open();
    EXPECT_EQ(cpuState(1), "Running, simplex");
    EXPECT_EQ(journal().size(), 2u);
    steer("inject InitBringDown 0");
    EXPECT_EQ(stop("PCI module 1"), 0);
    EXPECT_EQ(stop("PCI module 1"), 1);
    EXPECT_EQ(journal().size(), 5u);
}

PLAY_SCENARIOS(StateFiles);
