#include "common/file.h"

#include "common/problem.h"
#include "text/encoding.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace yat {

std::string readFile(const std::string &file)
{
    constexpr size_t longest = 16 << 20; // bytes
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    int error = descriptor < 0 ? errno : 0;
    std::string text;
    char buffer[16384];
    ssize_t length = 0;
    while (error == 0 && (length = read(descriptor, buffer, sizeof buffer)) != 0) {
        error = length < 0 ? errno : text.size() > longest ? EFBIG : 0;
        if (error == 0)
            text.append(buffer, static_cast<size_t>(length));
    }
    if (descriptor >= 0)
        close(descriptor);
    if (error != 0)
        throw Problem(fromDisplay(file) + ": can't be read: " + reason(error));
    return text;
}

} // namespace yat
