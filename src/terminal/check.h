// Whether the terminal can be used.
#pragma once

#include <string>

// Why newt can't draw on this terminal, and what to do; empty when it can.
std::string terminalFault();
