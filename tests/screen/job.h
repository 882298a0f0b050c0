// SPDX-License-Identifier: GPL-2.0-or-later
// A job of a session, which can be stopped, as the leader of one can't; and what the system tells
// of processes.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

// Called by the leader of a session with a terminal: goes on in a process of its own, as the job in
// the foreground. The leader ends as that does, and has nothing to do with its being stopped.
void becomeJob();

// The job of a leader, once it is there.
pid_t jobOf(pid_t leader);

// A process's first child, 0 for none.
pid_t childOf(pid_t process);

// A process's state in a letter, '\0' for none: 'S' where it waits and nothing has woken it, 'T'
// where it is stopped, 'Z' where it has ended.
char stateOf(pid_t process);

// What a process has open, in order: names without their directories, and without their numbers.
std::vector<std::string> openFilesOf(pid_t process);
