// SPDX-License-Identifier: GPL-2.0-or-later
// The trace log: one appended line a record, rotated by size.
//
// Several processes share a log, and any of them may rotate it. So a record is one write to a file
// opened for appending, each writer looks once a millisecond whether the file of that name is still
// the one it has open, and the renaming happens under a lock.
//
// Nothing is kept back: a record that was written outlives the program however that ends. So the
// write is most of what a record costs, and the rest is kept below it: the process number and the
// text of the second are made once.
#include "yat/trace.h"

#include "base/display.h"
#include "base/tracing.h"
#include "common/complaints.h"
#include "common/ownfiles.h"
#include "common/paths.h"
#include "common/problem.h"
#include "text/encoding.h"
#include "text/utf8.h"
#include "trace/lasterror.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <iterator>
#include <pthread.h>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int defaultMegabytes = 5;
constexpr int defaultGenerations = 5;
constexpr int mostGenerations = 99;

struct Moment {
    time_t second = -1;
    int millisecond = 0;
    bool operator==(const Moment &) const = default;
};

Moment currentMoment()
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return {now.tv_sec, static_cast<int>(now.tv_nsec / 1000000)};
}

struct Log {
    std::string path; // empty: no log
    int file = -1;
    ino_t inode = 0;
    off_t size = 0; // when it was last looked at, and what was written since
    off_t limit = 0;
    int generations = 0;
    bool torn = false;  // the last record is not whole
    Moment looked;      // when the path was last looked at
    time_t second = -1; // that the text below tells
    char secondText[32];
};
Log traceLog;

char firstError[1024], lastError[1024];

template <size_t size> void keep(char (&kept)[size], std::string_view text)
{
    kept[text.copy(kept, size - 1)] = '\0';
}

pid_t process; // 0: not asked yet

pid_t currentProcess()
{
    static const int watched =
        pthread_atfork(nullptr, nullptr, [] { process = 0; }); // a child asks again
    if (process == 0 || watched != 0)
        process = getpid();
    return process;
}

void closeFile(Log &log)
{
    if (log.file >= 0)
        close(log.file);
    log.file = -1;
}

[[noreturn]] void refuse(const Log &log, int error)
{
    throw yat::Problem(yat::fromDisplay(log.path) + " can't be written: " + yat::reason(error));
}

void openFile(Log &log)
{
    closeFile(log);
    log.file = yat::openOwnFile(log.path, O_WRONLY | O_APPEND);
    struct stat status;
    if (fstat(log.file, &status) != 0)
        refuse(log, errno);
    log.inode = status.st_ino;
    log.size = status.st_size;
    log.torn = false;
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

// Makes the file under the log's name the open one, rotated when it is full. False where it could
// not be opened shortly before.
bool followFile(Log &log, const Moment &now)
{
    if (now == log.looked && (log.file < 0 || log.size < log.limit))
        return log.file >= 0;
    log.looked = now;
    struct stat status;
    const bool isOurs =
        log.file >= 0 && stat(log.path.c_str(), &status) == 0 && status.st_ino == log.inode;
    if (isOurs)
        log.size = status.st_size;
    else
        openFile(log);
    if (log.size >= log.limit)
        rotate(log);
    return true;
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

// Length of the character beyond ASCII at the beginning of the text, 0 when it is none or is not
// showable.
size_t showableLength(std::string_view text)
{
    const size_t length = yat::utf8Length(text);
    return length > 1 && isShowable(yat::utf8Character(text.substr(0, length))) ? length : 0;
}

void appendEscaped(Record &record, std::string_view text)
{
    const auto isPlain = [](char byte) { return byte >= ' ' && byte < '\x7F' && byte != '\\'; };
    while (!text.empty()) {
        const auto special = std::find_if_not(text.begin(), text.end(), isPlain);
        size_t length = static_cast<size_t>(special - text.begin());
        if (length == 0)
            length = showableLength(text);
        if (length > 0)
            record.append(text.substr(0, length));
        else
            appendEscape(record, text[0]);
        text.remove_prefix(std::max<size_t>(length, 1));
    }
}

void appendWord(Record &record, std::string_view text)
{
    record.append(" ");
    appendEscaped(record, text);
}

void appendNumber(Record &record, int number)
{
    char digits[16] = " ";
    record.append({digits, std::to_chars(digits + 1, std::end(digits), number).ptr});
}

void appendTime(Record &record, Log &log, const Moment &now)
{
    if (now.second != log.second) {
        tm local;
        localtime_r(&now.second, &local);
        const size_t length =
            strftime(log.secondText, sizeof log.secondText, "%Y-%m-%d %H:%M:%S.", &local);
        log.secondText[length] = '\0';
        log.second = now.second;
    }
    record.append(log.secondText);
    const char milliseconds[] = {static_cast<char>('0' + now.millisecond / 100),
                                 static_cast<char>('0' + now.millisecond / 10 % 10),
                                 static_cast<char>('0' + now.millisecond % 10)};
    record.append({milliseconds, sizeof milliseconds});
}

// Takes the beginning of a record away again. False where others have written behind it by now, or
// where it can't be taken away; the next record ends it then.
bool takeBack(Log &log, ssize_t count)
{
    const off_t end = lseek(log.file, 0, SEEK_CUR);
    struct stat status;
    const bool isLast = fstat(log.file, &status) == 0 && status.st_size == end;
    const bool isTaken = isLast && ftruncate(log.file, end - count) == 0;
    log.torn = isLast && (log.torn || !isTaken);
    return isTaken;
}

void writeWhole(Log &log, std::string_view record)
{
    for (int tries = 0; tries < 2;) {
        const ssize_t count = write(log.file, record.data(), record.size());
        if (count == static_cast<ssize_t>(record.size())) {
            log.size += count;
            log.torn = false;
            return;
        }
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            refuse(log, errno);
        if (!takeBack(log, count))
            break;
        ++tries;
    }
    refuse(log, ENOSPC); // which a file that takes a part of it doesn't say
}

void writeRecord(Log &log, const Moment &now, int level, const TraceOrigin &origin,
                 std::string_view text)
{
    Record record;
    if (log.torn)
        record.append("\n");
    appendTime(record, log, now);
    appendNumber(record, currentProcess());
    appendNumber(record, level);
    appendWord(record, origin.source);
    appendWord(record, origin.function);
    appendNumber(record, origin.line);
    appendWord(record, text);
    record.bytes[record.length++] = '\n';
    writeWhole(log, {record.bytes, record.length});
}

// The user is told that records are missing, once.
void complainOfLog(const yat::Problem &problem)
{
    static bool hasComplained;
    if (!std::exchange(hasComplained, true))
        yat::complain(problem.what()
                      + std::string("; what the program did is not in the trace log"));
}

bool isLogName(const char *name)
{
    if (!name || name[0] == '\0' || name[0] == '.' || strlen(name) > 63)
        return false;
    return strspn(name, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.")
           == strlen(name);
}

} // namespace

const char *yat::firstTracedError()
{
    return firstError;
}

const char *yat::lastTracedError()
{
    return lastError;
}

void yat::forgetTracedErrors()
{
    firstError[0] = lastError[0] = '\0';
}

int TraceLogInit(int reserved1, const char *name, int reserved2, int megabytes, int generations)
try {
    closeFile(traceLog);
    traceLog = {};
    if (reserved1 != 0 || reserved2 != 0 || megabytes < 0 || generations < 0 || !isLogName(name))
        return 0;
    const std::string directory = yat::stateDirectory() + "/log";
    yat::makeOwnDirectory(directory);
    traceLog.path = directory + '/' + name + ".log";
    traceLog.limit = (megabytes ? megabytes : defaultMegabytes) * off_t{1 << 20};
    traceLog.generations =
        generations ? std::min(generations, mostGenerations) : defaultGenerations;
    openFile(traceLog);
    return 1;
} catch (const yat::Problem &problem) {
    traceLog = {};
    complainOfLog(problem);
    return 0;
} catch (const std::exception &) {
    traceLog = {};
    return 0;
}

int TraceLog(int level, const char *source, const char *function, int line, const char *format, ...)
{
    if (!source || !function || !format)
        return 0;
    const int savedErrno = errno;
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (level == YAT_TRACE_ERROR && length > 0) {
        if (!firstError[0])
            keep(firstError, text);
        keep(lastError, text);
    }
    if (traceLog.path.empty())
        return 0;

    int isWritten = 0;
    try {
        const Moment now = currentMoment();
        if (followFile(traceLog, now)) {
            const std::string_view said = length > 0 ? text : "";
            writeRecord(traceLog, now, level, {source, function, line}, said);
            isWritten = 1;
        }
    } catch (const yat::Problem &problem) {
        complainOfLog(problem);
    } catch (const std::exception &) {
    }
    errno = savedErrno;
    return isWritten;
}
