// Trace records with the place they are written from. A source file that traces names itself:
//
//     static constexpr char traceSource[] = "yatcore";
#pragma once

#include "yat/trace.h"

#define TRACE(level, ...) TraceLog(level, traceSource, __func__, __LINE__, __VA_ARGS__)
