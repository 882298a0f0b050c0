// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/journal.h"

#include "common/caller.h"
#include "common/file.h"
#include "common/paths.h"
#include "text/encoding.h"
#include "text/json.h"

#include <ctime>
#include <nlohmann/json.hpp>
#include <syslog.h>

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
    yat::appendToFile(yat::stateDirectory() + "/host.journal", yat::jsonText(line) + "\n");
}

} // namespace host
