// SPDX-License-Identifier: GPL-2.0-or-later
// Memory that comes to an end: from the allocation on that YAT_LAST_ALLOCATION counts, there is
// none any more. YAT_ALLOCATIONS names a file that takes how many there were, YAT_CONSOLE one that
// takes the level of the console's messages instead of the kernel: 0 for none of them.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#pragma GCC visibility push(default)
extern "C" {

void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *memory, size_t size);

static long allocations, last = -1; // not asked yet

static bool isLeft()
{
    if (last < 0) {
        const char *wanted = getenv("YAT_LAST_ALLOCATION");
        last = wanted ? atol(wanted) : 0;
    }
    if (++allocations < last || last == 0)
        return true;
    errno = ENOMEM;
    return false;
}

void *malloc(size_t size)
{
    return isLeft() ? __libc_malloc(size) : nullptr;
}

void *calloc(size_t count, size_t size)
{
    return isLeft() ? __libc_calloc(count, size) : nullptr;
}

void *realloc(void *memory, size_t size)
{
    return isLeft() ? __libc_realloc(memory, size) : nullptr;
}

void *mmap(void *address, size_t size, int protection, int flags, int file, off_t offset)
{
    using Map = decltype(mmap);
    static Map *const original = reinterpret_cast<Map *>(dlsym(RTLD_NEXT, "mmap"));
    if ((flags & MAP_ANONYMOUS) && last > 0 && allocations >= last)
        return errno = ENOMEM, MAP_FAILED;
    return original(address, size, protection, flags, file, offset);
}

int klogctl(int type, char *, int level)
{
    constexpr int consoleOff = 6;
    const char told = static_cast<char>('0' + (type == consoleOff ? 0 : level));
    const int file = open(getenv("YAT_CONSOLE"), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const ssize_t written = write(file, &told, 1);
    close(file);
    return written == 1 ? 0 : -1;
}

__attribute__((destructor)) void tellAllocations()
{
    const char *name = getenv("YAT_ALLOCATIONS");
    if (FILE *file = name && last == 0 ? fopen(name, "w") : nullptr) {
        fprintf(file, "%ld\n", allocations);
        fclose(file);
    }
}

} // extern "C"
#pragma GCC visibility pop
