#include "sim/journal.h"

namespace sim {

void writeJournal(Database &database, const yat::Caller &caller, const JournalRow &row)
{
    database.run("INSERT INTO journal (simulated, real, user, terminal, device, operation, code, "
                 "argument, result) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)",
                 row.simulated, row.real, caller.user, caller.terminal, row.device, row.operation,
                 row.code, row.argument, row.result);
}

void readJournal(Database &database, int64_t last,
                 const std::function<void(const JournalRow &)> &work)
{
    database.each(
        "SELECT * FROM (SELECT id, simulated, real, user, terminal, device, operation, code, "
        "argument, result FROM journal ORDER BY id DESC LIMIT ?) ORDER BY id",
        [&](const QueryRow &row) {
            work({.id = row.getColumn(0).getInt64(),
                  .simulated = row.getColumn(1).getInt64(),
                  .real = row.getColumn(2).getInt64(),
                  .user = row.getColumn(3).getString(),
                  .terminal = row.getColumn(4).getString(),
                  .device = row.getColumn(5).getString(),
                  .operation = row.getColumn(6).getString(),
                  .code = row.getColumn(7).getInt(),
                  .argument = row.getColumn(8).getString(),
                  .result = row.getColumn(9).getString()});
        },
        last > 0 ? last : int64_t{-1});
}

} // namespace sim
