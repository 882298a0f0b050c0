// A state file of the first version, and processes that are killed while they bring its tables up
// to date: it is of the one version or of the other, with all that was in it.
#include "dying.h"
#include "sim/schema.h"
#include "sim/statefile.h"
#include "support.h"
#include "watcher.h"

#include <atomic>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <new>
#include <random>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using namespace sim;

// ---- Processes that open the machine

// Where a process is: the migration goes from the begin of its transaction to the end of the
// commit, and is the first transaction after the opening.
enum Stage { before, during, after, stages };

// Where a process dies: at a call of the system in a stage.
struct End {
    Stage stage;
    int call, moment; // see dieAtCall
};

// What the processes and their parent both see, also of those that are killed.
struct Shared {
    std::atomic<int> stage, arrived;
    std::atomic<bool> mayBegin;
};

Shared *shared;

void beginAnew()
{
    shared->stage = before;
    shared->arrived = 0;
    shared->mayBegin = false;
}

std::optional<End> end; // of this process

// What processes told on standard error, which nothing should be.
FILE *complaints;

std::string told()
{
    std::string text;
    rewind(complaints);
    for (int byte; (byte = getc(complaints)) != EOF;)
        text += static_cast<char>(byte);
    return text;
}

void enter(Stage stage)
{
    shared->stage = stage;
    if (end && end->stage == stage)
        dieAtCall(end->call, end->moment);
}

int seeStatement(unsigned type, void *, void *statement, void *)
{
    const std::string sql = sqlite3_sql(static_cast<sqlite3_stmt *>(statement));
    static Stage stage = before; // of this process alone
    if (type == SQLITE_TRACE_STMT && stage == before && sql == "BEGIN IMMEDIATE") {
        ++shared->arrived;
        enter(stage = during);
    }
    if (type == SQLITE_TRACE_PROFILE && stage == during && sql == "COMMIT")
        enter(stage = after);
    return 0;
}

int seeConnection(sqlite3 *connection, const char **, const void *)
{
    return sqlite3_trace_v2(connection, SQLITE_TRACE_STMT | SQLITE_TRACE_PROFILE, seeStatement,
                            nullptr);
}

constexpr unsigned longestUse = 60; // seconds

[[noreturn]] void useMachine(const std::optional<End> &wanted)
{
    alarm(longestUse);
    dup2(fileno(complaints), STDERR_FILENO);
    while (!shared->mayBegin)
        usleep(50);
    end = wanted;
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(seeConnection));
    enter(before);
    yat_device *root = nullptr;
    const bool isDone = ft_FunctionInit() == 1 && CreateTreeViewData(&root) == 1
                        && cpuState(1) != "(fails)" && FreeTreeViewData(&root) == 1
                        && ft_FunctionRelease() == 1;
    _exit(isDone ? 0 : 1);
}

pid_t startProcess(const std::optional<End> &wanted)
{
    const pid_t child = fork();
    if (child == 0)
        useMachine(wanted);
    return child;
}

// ---- What is in a state file

int addRow(void *text, int columns, char **values, char **)
{
    for (int i = 0; i < columns; ++i)
        *static_cast<std::string *>(text) += std::string(values[i] ? values[i] : "(null)") + "|";
    *static_cast<std::string *>(text) += "\n";
    return 0;
}

std::string resultOf(Database &database, const std::string &sql)
{
    std::string text;
    if (sqlite3_exec(database.handle, sql.c_str(), addRow, &text, nullptr) != SQLITE_OK)
        database.fail();
    return text;
}

struct Content {
    int64_t version = 0;
    std::string schema{}, rows{};
};

Content contentOf(Database &database)
{
    EXPECT_EQ(resultOf(database, "PRAGMA integrity_check"), "ok|\n");
    Content content = {
        .version = database.number("PRAGMA user_version"),
        .schema = resultOf(database,
                           "SELECT type, name, tbl_name, sql FROM sqlite_schema ORDER BY name")};
    for (const std::string table : {"machine", "device", "failure", "journal"})
        content.rows += resultOf(database, "SELECT * FROM " + table + " ORDER BY 1, 2");
    return content;
}

// A state file with the log that may lie beside it.
struct Files {
    std::string file, log;
};

Files readFiles(const fs::path &file)
{
    return {readFile(file), readFile(file.string() + "-wal")};
}

void writeFiles(const fs::path &file, const Files &files)
{
    const auto write = [](const fs::path &path, const std::string &bytes) {
        fs::remove(path);
        if (!bytes.empty())
            std::ofstream(path, std::ios::binary) << bytes;
    };
    write(file, files.file);
    write(file.string() + "-wal", files.log);
    fs::remove(file.string() + "-shm");
}

// ---- The machines

class Migration : public testing::Test {
protected:
    Migration()
    {
        void *memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            throw std::runtime_error("no shared memory");
        shared = new (memory) Shared{};
        complaints = tmpfile();
        steer("init");
        present = look();
        for (const char *command : {"fail cpu2 --permanent", "set time +100", "pull pci1",
                                    "set cpu1.bios_status \"as it was\"", "fail ethernet4"})
            steer(command);
        yatsim("repair cpu1"); // refused
        {
            Interface interface;
            expectedView = view();
        }
    }
    ~Migration() override
    {
        EXPECT_EQ(told(), "");
        fclose(complaints);
        munmap(shared, sizeof(Shared));
    }

    int below(int limit)
    {
        return std::uniform_int_distribution<int>(0, limit - 1)(random);
    }

    // What is in the state file, which stays as it is: a copy is looked at.
    Content look() const
    {
        const fs::path copy = sandbox.directory() / "copy.db";
        writeFiles(copy, readFiles(sandbox.stateFile()));
        Database database(copy.string(), SQLITE_OPEN_READWRITE);
        return contentOf(database);
    }

    // The machine in a file as the first version made it; its last row may be in the log alone.
    Files firstVersion(bool leavesLog) const;

    void expectOneVersion(const Content &first, const Content &now) const
    {
        if (now.version == first.version) {
            EXPECT_EQ(now.schema, first.schema);
        } else {
            EXPECT_EQ(now.version, schemaVersion);
            EXPECT_EQ(now.schema, present.schema); // that of a file that was never of another
        }
        EXPECT_EQ(now.rows, first.rows);
    }

    // The next start, which nobody kills.
    void expectGood(const Content &first) const
    {
        {
            Interface interface;
            EXPECT_EQ(view(), expectedView);
        }
        const Content now = look();
        EXPECT_EQ(now.version, schemaVersion);
        EXPECT_EQ(now.schema, present.schema);
        EXPECT_EQ(now.rows, first.rows);
    }

    Sandbox sandbox;
    std::mt19937 random;
    Content present; // of a file that is made today
    std::string expectedView;
};

Files Migration::firstVersion(bool leavesLog) const
{
    const std::string file = (sandbox.directory() / "first.db").string();
    writeFiles(file, {});
    {
        Database database(file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        database.script(("PRAGMA application_id = " + std::to_string(applicationId)
                         + "; PRAGMA user_version = 1")
                            .c_str());
        database.script(migrations[0]);
        database.run("ATTACH ? AS now", sandbox.stateFile().string());
        for (const std::string table : {"machine", "device", "failure", "journal"})
            database.script(("INSERT INTO " + table + " SELECT * FROM now." + table).c_str());
        database.script("DETACH now; PRAGMA journal_mode = WAL");
    }
    {
        Database database(file, SQLITE_OPEN_READWRITE);
        sqlite3_db_config(database.handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, leavesLog ? 1 : 0,
                          nullptr);
        const int64_t now = database.number("SELECT simulated FROM machine");
        writeJournal(database, {.user = "tester", .terminal = "none"},
                     {.simulated = now, .real = now, .operation = "last", .result = "done"});
    }
    const Files result = readFiles(file);
    EXPECT_EQ(!result.log.empty(), leavesLog);
    return result;
}

} // namespace

TEST_F(Migration, KilledAtAnyCallOfTheSystemIsDoneOrNotBegun)
{
    constexpr int wanted = 200;
    constexpr int mostCalls[stages] = {34, 14, 36}; // about as many as a stage has
    const Files files[] = {firstVersion(false), firstVersion(true)};
    int kills = 0, killsIn[stages] = {}, undone = 0, done = 0, again = 0, survivors = 0;
    for (unsigned seed = 1; kills < wanted && seed < 2 * wanted; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        random.seed(seed);
        writeFiles(sandbox.stateFile(), files[seed % 2]);
        const Content first = look();
        ASSERT_EQ(first.version, 1);
        ASSERT_NE(first.schema, present.schema);
        Content now = first;
        const Stage stage = static_cast<Stage>(seed % stages);
        for (int left = 1 + below(3); left > 0 && kills < wanted; --left) {
            const bool isOld = now.version == 1;
            beginAnew();
            shared->mayBegin = true;
            const pid_t child = startProcess(End{stage, 1 + below(mostCalls[stage]), below(3)});
            int status = 0;
            waitpid(child, &status, 0);
            now = look();
            expectOneVersion(first, now);
            if (WIFEXITED(status)) { // it was through before
                ++survivors;
                ASSERT_EQ(WEXITSTATUS(status), 0);
                ASSERT_EQ(now.version, schemaVersion);
                continue;
            }
            ASSERT_EQ(WTERMSIG(status), SIGKILL);
            ++kills;
            again += isOld ? 0 : 1;
            if (!isOld)
                continue;
            const int was = shared->stage;
            ++killsIn[was];
            if (was == during)
                ++(now.version == 1 ? undone : done);
            else
                EXPECT_EQ(now.version, was == before ? 1 : schemaVersion);
        }
        expectGood(first);
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(kills, wanted);
    // Or nothing was proved.
    for (const Stage stage : {before, during, after})
        EXPECT_GE(killsIn[stage], 20) << stage;
    EXPECT_GE(undone, 10);
    EXPECT_GE(done, 3);
    EXPECT_GT(again, 0);
    printf("%d kills before the migration, %d in it with %d undone and %d done, %d after it, %d "
           "later; %d came through\n",
           killsIn[before], killsIn[during], undone, done, killsIn[after], again, survivors);
}

// All of them have found the first version before the first one may go on.
TEST_F(Migration, IsDoneOnceByThoseThatOpenAtOnceAlsoWhenOneIsKilled)
{
    constexpr int processes = 3;
    const Files files = firstVersion(true);
    int kills = 0;
    for (unsigned seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        random.seed(seed);
        writeFiles(sandbox.stateFile(), files);
        const Content first = look();
        beginAnew();
        std::vector<pid_t> children;
        for (int i = 0; i < processes; ++i)
            children.push_back(startProcess(
                i == 0 ? std::optional(End{during, 1 + below(14), below(3)}) : std::nullopt));
        {
            Database database(sandbox.stateFile().string(), SQLITE_OPEN_READWRITE);
            database.script("BEGIN IMMEDIATE");
            shared->mayBegin = true;
            const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
            while (shared->arrived < processes && std::chrono::steady_clock::now() < limit)
                usleep(50);
            EXPECT_EQ(shared->arrived, processes);
            EXPECT_EQ(database.number("PRAGMA user_version"), 1);
            database.script("ROLLBACK");
        }
        for (int i = 0; i < processes; ++i) {
            int status = 0;
            waitpid(children[static_cast<size_t>(i)], &status, 0);
            if (i == 0 && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
                ++kills;
            else
                EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << i << " " << status;
        }
        expectOneVersion(first, look());
        expectGood(first);
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GE(kills, 20);
}
