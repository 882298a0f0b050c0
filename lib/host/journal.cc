// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/journal.h"

#include "common/caller.h"
#include "common/file.h"
#include "common/paths.h"
#include "host/sysfs.h"
#include "text/encoding.h"
#include "text/json.h"

#include <cstdint>
#include <ctime>
#include <nlohmann/json.hpp>
#include <pwd.h>
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

// Who came to this machine, whatever user he has become since, as by sudo; "" where nobody did.
std::string loginName()
{
    const auto number = readNumber("/proc/self/loginuid");
    if (!number || *number >= UINT32_MAX)
        return {};
    const passwd *user = getpwuid(static_cast<uid_t>(*number));
    return user ? user->pw_name : std::to_string(*number);
}

} // namespace

void writeDown(const JournalEntry &entry)
{
    const yat::Caller caller = yat::thisCaller();
    const std::string login = loginName(), reason = yat::printable(entry.reason),
                      device = yat::printable(entry.device
                                              + (entry.key.empty() ? "" : " [" + entry.key + "]"));
    syslog(LOG_AUTHPRIV | (entry.result == "failed" ? LOG_ERR : LOG_NOTICE),
           "%s of %s asked by %s%s%s on %s: %s%s%s", entry.operation.c_str(), device.c_str(),
           caller.user.c_str(), login.empty() ? "" : " logged in as ", login.c_str(),
           caller.terminal.empty() ? "no terminal" : caller.terminal.c_str(), entry.result.c_str(),
           reason.empty() ? "" : ": ", reason.c_str());
    const nlohmann::ordered_json line = {{"time", timeNow()},
                                         {"user", caller.user},
                                         {"login", login},
                                         {"terminal", caller.terminal},
                                         {"device", entry.device},
                                         {"key", entry.key},
                                         {"operation", entry.operation},
                                         {"result", entry.result},
                                         {"reason", entry.reason}};
    yat::appendToFile(yat::stateDirectory() + "/host.journal", yat::jsonText(line) + "\n");
}

} // namespace host
