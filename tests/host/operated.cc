// SPDX-License-Identifier: GPL-2.0-or-later
#include "operated.h"

#include "support/process.h"

#include <cstdarg>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

std::vector<std::pair<int, std::string>> logged;

static void keep(int priority, const char *format, va_list arguments)
{
    char text[1024];
    vsnprintf(text, sizeof text, format, arguments);
    logged.emplace_back(priority, text);
}

// In the place of the C library's; the second is what it is called in a fortified build.
extern "C" {
[[gnu::visibility("default")]] void syslog(int priority, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    keep(priority, format, arguments);
    va_end(arguments);
}

[[gnu::visibility("default")]] void __syslog_chk(int priority, int, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    keep(priority, format, arguments);
    va_end(arguments);
}
}

Operated::Operated()
{
    logged.clear();
    configure("operations = true\n");
}

std::string Operated::support(int classCode, int number, int code)
{
    yat_device *device = record(classCode, number);
    int detail = -1;
    if (CALL(IfSupport)(device, code, &detail) != 0) {
        EXPECT_EQ(detail, 0);
        return "";
    }
    const std::string japanese = whyNot(device, code, detail, "ja_JP.UTF-8");
    EXPECT_TRUE(japanese.ends_with("ません") || japanese.ends_with("ています")
                || japanese.ends_with("です") || japanese.ends_with("とします")
                || japanese.find("ません: ") != japanese.npos)
        << japanese;
    return std::to_string(detail) + " " + whyNot(device, code, detail, "en_US.UTF-8");
}

Lines Operated::journal() const
{
    Lines lines;
    for (const std::string &line : linesOf(readFile(state.path / "host.journal"))) {
        const auto entry = nlohmann::json::parse(line);
        EXPECT_TRUE(entry.contains("time") && entry.contains("user") && entry.contains("terminal"));
        lines.push_back(entry.at("device").get<std::string>());
        for (const char *key : {"operation", "result", "reason"})
            lines.back() += " " + entry.at(key).get<std::string>();
    }
    return lines;
}

std::string Operated::online(int processor) const
{
    const auto file = "/sys/devices/system/cpu/cpu" + std::to_string(processor) + "/online";
    return server.read(file).substr(0, 1);
}

void Operated::addPackages(int packages, int processors)
{
    for (int number = 0; number < packages * processors; ++number)
        server.addProcessor(number, number / processors, number != 0);
}

Meanwhile::Meanwhile(const std::filesystem::path &file, char awaited,
                     const std::function<void()> &work)
    : process(forkUntilDeadline())
{
    if (process != 0)
        return;
    while (readFile(file).substr(0, 1) != std::string(1, awaited))
        usleep(2000);
    work();
    _exit(0);
}

Meanwhile::~Meanwhile()
{
    int status = -1;
    waitpid(process, &status, 0);
    EXPECT_EQ(status, 0);
}
