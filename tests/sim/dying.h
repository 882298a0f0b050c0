// SPDX-License-Identifier: GPL-2.0-or-later
// What happens to a process in the middle of its work on a file: it is killed, or the disk is
// full. SQLite's calls of the system are counted for it, so that each moment can be had again.
#pragma once

// Kills this process with SIGKILL at the call of that number from now on: before it, when half of
// what is to be written is written, or after it. The number decides which, unless it is given: 0, 1
// or 2.
void dieAtCall(int number);
void dieAtCall(int number, int moment);

// Lets this process find the disk full at so many writes, from the one of that number on.
void fillDiskAtWrite(int number, int writes);
