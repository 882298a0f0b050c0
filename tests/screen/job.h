// SPDX-License-Identifier: GPL-2.0-or-later
// A job of a session, which can be stopped, as the leader of one can't; and what the system tells
// of processes.
#pragma once

#include <sys/types.h>

// A process's first child, 0 for none.
pid_t childOf(pid_t process);

// A process's state in a letter, '\0' for none: 'S' where it waits and nothing has woken it, 'T'
// where it is stopped, 'Z' where it has ended.
char stateOf(pid_t process);
