// SPDX-License-Identifier: GPL-2.0-or-later
// What the fuzz targets share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

// Ends the program when what has to hold for every input does not hold for this one.
#define REQUIRE(condition)                                                                         \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition);         \
            abort();                                                                               \
        }                                                                                          \
    } while (false)

// The input, taken apart from its beginning.
class Input {
public:
    Input(const uint8_t *data, size_t size) : bytes(reinterpret_cast<const char *>(data), size) {}

    bool empty() const
    {
        return bytes.empty();
    }

    // The next byte, 0 after the last.
    unsigned byte()
    {
        if (bytes.empty())
            return 0;
        const unsigned first = static_cast<unsigned char>(bytes[0]);
        bytes.remove_prefix(1);
        return first;
    }

    // The bytes up to the separator or the end.
    std::string upTo(char separator)
    {
        const size_t length = bytes.find(separator);
        std::string result(bytes.substr(0, length));
        bytes.remove_prefix(length == std::string_view::npos ? bytes.size() : length + 1);
        return result;
    }

    std::string_view rest() const
    {
        return bytes;
    }

private:
    std::string_view bytes;
};

// A file with these bytes that needs no disk.
class MemoryFile {
public:
    MemoryFile(const uint8_t *data, size_t size) : descriptor(memfd_create("input", MFD_CLOEXEC))
    {
        REQUIRE(write(descriptor, data, size) == static_cast<ssize_t>(size));
    }
    ~MemoryFile()
    {
        close(descriptor);
    }
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;

    std::string path() const
    {
        return "/proc/self/fd/" + std::to_string(descriptor);
    }

private:
    int descriptor;
};
