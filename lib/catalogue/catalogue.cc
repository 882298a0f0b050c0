// SPDX-License-Identifier: GPL-2.0-or-later
// The text catalogue: opening its file, and looking a key up in its bytes.
//
// A catalogue in memory carries no length, and what follows the file's bytes in its buffer is
// garbage. So the format has an end line, the search stops at a zero byte, and for a file whose
// end line got lost it stops at the size that the file had when it was opened.
#include "yat/text.h"

#include "base/display.h"
#include "base/tracing.h"
#include "common/complaints.h"
#include "common/paths.h"
#include "common/problem.h"
#include "common/version.h"
#include "text/encoding.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <exception>
#include <string>
#include <string_view>
#include <sys/stat.h>

char *YAT_RcFileBuf;
char ReadString[1024];

namespace {

constexpr char traceSource[] = "catalogue";

constexpr std::string_view endLine = "%end";

int openedSize = -1; // of the file last opened, -1 for none
std::string openedName;

// Says what is wrong with the file of the texts, once: without one, whatever is looked up is empty.
void complainOfTexts(const std::string &what)
{
    static bool hasComplained;
    if (!hasComplained)
        yat::complain(yat::fromDisplay(openedName) + what + "; install the product again");
    hasComplained = true;
}

std::string_view nextLine(const char *&position, const char *end)
{
    const char *begin = position;
    while (position != end && *position != '\0' && *position != '\n')
        ++position;
    std::string_view line(begin, static_cast<size_t>(position - begin));
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return line;
}

std::string_view withoutLeadingBlanks(std::string_view text)
{
    return text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
}

// The text between the quotes, with its escapes resolved. A text whose closing quote is
// missing ends with its line.
std::string unquote(std::string_view quoted)
{
    std::string text;
    for (size_t i = 1; i < quoted.size() && quoted[i] != '"'; ++i) {
        char character = quoted[i];
        if (character == '\\' && i + 1 < quoted.size()) {
            character = quoted[++i];
            if (character == 'n')
                character = '\n';
            else if (character == 't')
                character = '\t';
        }
        text += character;
    }
    return text;
}

// Finds the quoted text of a key, empty when there is none.
std::string_view findQuoted(std::string_view key, const char *catalogue)
{
    const char *end = openedSize >= 0 ? catalogue + openedSize : nullptr;
    for (const char *position = catalogue;; ++position) {
        const std::string_view line = withoutLeadingBlanks(nextLine(position, end));
        if (line.starts_with(endLine))
            break;
        if (line.starts_with(key)) {
            const std::string_view rest = line.substr(key.size());
            const std::string_view value = withoutLeadingBlanks(rest);
            if (value.size() < rest.size() && value.starts_with('"'))
                return value;
        }
        if (position == end || *position == '\0')
            break;
    }
    return {};
}

} // namespace

FILE *OpenStrFile(const char *path, int *size)
try {
    if (!path || !size || path[0] != '/' || strstr(path, "/../"))
        return nullptr;
    const std::string root = yat::productRoot();
    if (root.empty())
        return nullptr;
    openedName = root + path;
    struct stat status;
    std::string fault;
    FILE *file = nullptr;
    const bool isThere = stat(openedName.c_str(), &status) == 0;
    if (isThere && !S_ISREG(status.st_mode)) // nor opened: a FIFO would hold us up
        fault = "it is not a regular file";
    else if (isThere && status.st_size > INT_MAX)
        fault = "it is too large";
    else if (file = isThere ? fopen(openedName.c_str(), "re") : nullptr; !file)
        fault = yat::reason(errno);
    if (!fault.empty()) {
        complainOfTexts(" can't be read: " + fault);
        return nullptr;
    }
    *size = openedSize = static_cast<int>(status.st_size);
    if (openedSize == 0)
        complainOfTexts(" is empty");
    TRACE("mrvutil %s, texts of %s", yat::productVersion, openedName.c_str());
    return file;
} catch (const std::exception &problem) {
    yat::complainOf(problem);
    return nullptr;
}

char *CPGetText(const char *key, char (*work)[1024], char *catalogue)
{
    if (!work)
        return nullptr;
    char *result = *work;
    result[0] = '\0';
    if (!key || !*key || !catalogue)
        return result;
    try {
        const std::string_view quoted = findQuoted(key, catalogue);
        if (quoted.empty() && openedSize >= 0)
            complainOfTexts(std::string(" has no text for ") + key);
        const std::string text = yat::toDisplay(unquote(quoted));
        const size_t length = wholeCharacters(text, sizeof *work - 1);
        memcpy(result, text.data(), length);
        result[length] = '\0';
    } catch (const std::exception &) { // it stays empty
    }
    return result;
}

int CodeConvertFromEUC(const char *source, char *destination, int size)
try {
    if (!source || !destination || size < 1)
        return -1;
    const std::string text =
        yat::isDisplayable(source) ? std::string(source) : yat::toDisplay(yat::fromEuc(source));
    const size_t length = wholeCharacters(text, static_cast<size_t>(size) - 1);
    memcpy(destination, text.data(), length);
    destination[length] = '\0';
    return static_cast<int>(length);
} catch (const std::exception &) {
    return -1;
}
