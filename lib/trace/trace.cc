// The trace log: one appended line a record, rotated by size.
//
// Several processes share a log, and any of them may rotate it. So a record is one write to
// a file opened for appending, each writer looks before its write whether the file of that
// name is still the one it has open, and the renaming happens under a lock.
#include "yat/trace.h"

#include "common/paths.h"
#include "common/utf8.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int defaultMegabytes = 5;
constexpr int defaultGenerations = 5;
constexpr int mostGenerations = 99;

struct Log {
    std::string path; // empty: no log
    int file = -1;
    ino_t inode = 0;
    off_t limit = 0;
    int generations = 0;
};
Log traceLog;

void closeFile(Log &log)
{
    if (log.file >= 0)
        close(log.file);
    log.file = -1;
}

bool openFile(Log &log)
{
    closeFile(log);
    log.file = open(log.path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW
                        | O_NONBLOCK, // or a FIFO of this name would hold the program up
                    0640);
    struct stat status;
    if (log.file < 0 || fstat(log.file, &status) != 0 || !S_ISREG(status.st_mode)) {
        closeFile(log);
        return false;
    }
    log.inode = status.st_ino;
    return true;
}

std::string generation(const Log &log, int number)
{
    return log.path + '.' + std::to_string(number);
}

// Renames the full file. Whoever holds the lock of the file that has the log's name may do
// so; the others go on writing to it until they see it renamed.
void rotate(Log &log)
{
    if (flock(log.file, LOCK_EX | LOCK_NB) != 0)
        return;
    struct stat status;
    if (stat(log.path.c_str(), &status) == 0 && status.st_ino == log.inode
        && status.st_size >= log.limit) {
        for (int i = log.generations; i > 1; --i)
            rename(generation(log, i - 1).c_str(), generation(log, i).c_str());
        rename(log.path.c_str(), generation(log, 1).c_str());
    }
    openFile(log); // closing gives the lock back
}

// Makes the file under the log's name the open one, rotated when it is full.
bool followFile(Log &log)
{
    struct stat status;
    const bool there = stat(log.path.c_str(), &status) == 0;
    if (log.file < 0 || !there || status.st_ino != log.inode) {
        if (!openFile(log) || fstat(log.file, &status) != 0)
            return false;
    }
    if (status.st_size >= log.limit)
        rotate(log);
    return log.file >= 0;
}

// Room for the longest record: every byte of the text escaped, and what stands before it.
struct Record {
    static constexpr size_t room = 20480;
    char bytes[room + 1]; // and the end of the line, which nothing may crowd out
    size_t length = 0;

    void append(std::string_view text)
    {
        text = text.substr(0, room - length);
        memcpy(bytes + length, text.data(), text.size());
        length += text.size();
    }
};

void appendEscape(Record &record, char character)
{
    char escape[5];
    switch (character) {
    case '\n': return record.append("\\n");
    case '\t': return record.append("\\t");
    case '\r': return record.append("\\r");
    case '\\': return record.append("\\\\");
    }
    snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(character));
    record.append(escape);
}

void appendEscaped(Record &record, std::string_view text)
{
    const auto isControl = [](std::string_view character) {
        const unsigned char first = static_cast<unsigned char>(character[0]);
        return first < 0x20 || first == 0x7F
               || (first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0);
    };
    while (!text.empty()) {
        const size_t length = yat::utf8Length(text);
        const bool plain = length > 0 && text[0] != '\\' && !isControl(text);
        if (plain)
            record.append(text.substr(0, length));
        else
            appendEscape(record, text[0]);
        text.remove_prefix(plain ? length : 1);
    }
}

void appendTime(Record &record)
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    tm local;
    localtime_r(&now.tv_sec, &local);
    char text[32], milliseconds[8];
    strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    snprintf(milliseconds, sizeof milliseconds, ".%03d",
             static_cast<int>(now.tv_nsec / 1000000));
    record.append(text);
    record.append(milliseconds);
}

bool isLogName(const char *name)
{
    if (!name || name[0] == '\0' || name[0] == '.' || strlen(name) > 63)
        return false;
    return strspn(name, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.")
           == strlen(name);
}

} // namespace

int TraceLogInit(int reserved1, const char *name, int reserved2, int megabytes, int generations)
try {
    closeFile(traceLog);
    traceLog = {};
    if (reserved1 != 0 || reserved2 != 0 || megabytes < 0 || generations < 0 || !isLogName(name))
        return 0;
    const std::string state = yat::stateDirectory();
    if (state.empty() || !yat::makeWritableDirectory(state + "/log"))
        return 0;
    traceLog.path = state + "/log/" + name + ".log";
    traceLog.limit = (megabytes ? megabytes : defaultMegabytes) * off_t{1024 * 1024};
    traceLog.generations = generations ? std::min(generations, mostGenerations)
                                       : defaultGenerations;
    if (openFile(traceLog))
        return 1;
    traceLog = {};
    return 0;
} catch (const std::exception &) {
    traceLog = {};
    return 0;
}

int TraceLog(int level, const char *source, const char *function, int line, const char *format,
             ...)
try {
    if (traceLog.path.empty() || !source || !function || !format)
        return 0;
    const int savedErrno = errno;
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);

    Record record;
    appendTime(record);
    char numbers[48];
    snprintf(numbers, sizeof numbers, " %d %d ", static_cast<int>(getpid()), level);
    record.append(numbers);
    appendEscaped(record, source);
    record.append(" ");
    appendEscaped(record, function);
    snprintf(numbers, sizeof numbers, " %d ", line);
    record.append(numbers);
    if (length > 0)
        appendEscaped(record, text);
    record.bytes[record.length++] = '\n';

    const bool written = followFile(traceLog)
                         && write(traceLog.file, record.bytes, record.length)
                                == static_cast<ssize_t>(record.length);
    errno = savedErrno;
    return written ? 1 : 0;
} catch (const std::exception &) {
    return 0;
}
