// SPDX-License-Identifier: GPL-2.0-or-later
// The subcommands. Each works on the machine that is configured, and throws yat::Problem when it
// can't do what is asked for; what is refused is in the journal then.
#pragma once

#include "sim/terms.h"
#include "yatsim/request.h"

namespace sim {

void init(const Request &request);
void listDevices(const Request &request);
void show(const Request &request);
template <Verb verb> void act(const Request &request); // fail, repair, pull, insert
void injectCall(const Request &request);
void set(const Request &request);
void journal(const Request &request);
void exportDescription(const Request &request);
void importDescription(const Request &request);
void reset(const Request &request);

} // namespace sim
