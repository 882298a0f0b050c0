#include "host/journal.h"

#include "common/caller.h"
#include "common/paths.h"
#include "common/problem.h"
#include "text/encoding.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <syslog.h>
#include <unistd.h>

namespace host {
namespace {

// In UTC, as the journals of several servers are read side by side.
std::string timeNow()
{
    const time_t now = time(nullptr);
    tm parts;
    char text[32];
    strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", gmtime_r(&now, &parts));
    return text;
}

} // namespace

void writeDown(const JournalEntry &entry)
{
    const yat::Caller caller = yat::thisCaller();
    const std::string device = yat::printable(entry.device), reason = yat::printable(entry.reason);
    syslog(LOG_AUTHPRIV | (entry.result == "failed" ? LOG_ERR : LOG_NOTICE),
           "%s of %s asked by %s on %s: %s%s%s", entry.operation.c_str(), device.c_str(),
           caller.user.c_str(), caller.terminal.empty() ? "no terminal" : caller.terminal.c_str(),
           entry.result.c_str(), reason.empty() ? "" : ": ", reason.c_str());
    const nlohmann::ordered_json line = {
        {"time", timeNow()},      {"user", caller.user},          {"terminal", caller.terminal},
        {"device", entry.device}, {"operation", entry.operation}, {"result", entry.result},
        {"reason", entry.reason}};
    const std::string text =
        line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
    const std::string file = yat::stateDirectory() + "/host.journal";
    const int descriptor = open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640);
    const bool isWritten =
        descriptor >= 0
        && write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size())
        && fsync(descriptor) == 0;
    const int error = errno;
    if (descriptor >= 0)
        close(descriptor);
    if (!isWritten)
        throw yat::Problem(file + ": can't be written: " + yat::reason(error));
}

} // namespace host
