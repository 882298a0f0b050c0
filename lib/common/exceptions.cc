// SPDX-License-Identifier: GPL-2.0-or-later
// What C++ notes of the exceptions that are on their way, in memory that is there when a library is
// loaded. That of the C++ library is taken when a library that came after the program's start
// throws for the first time; where there is none, the loader ends the program at once, and no
// handler restores the terminal.
#include <cxxabi.h>

namespace __cxxabiv1 {

struct __cxa_eh_globals { // as the C++ ABI has it
    void *caughtExceptions;
    unsigned int uncaughtExceptions;
};

[[gnu::tls_model("initial-exec")]] static thread_local __cxa_eh_globals noted;

__cxa_eh_globals *__cxa_get_globals() noexcept
{
    return &noted;
}

__cxa_eh_globals *__cxa_get_globals_fast() noexcept
{
    return &noted;
}

} // namespace __cxxabiv1
