// SPDX-License-Identifier: GPL-2.0-or-later
// Trace records with the place they are written from. A source file that traces names its module:
//
//     static constexpr char traceSource[] = "mrvmain";
#pragma once

#include "yat/trace.h"

// Where a record says that it was written, for those that are written elsewhere.
struct TraceOrigin {
    const char *source, *function;
    int line;
};

// A helper of a function that has a name of its own in the log traces as that function.
#define TRACE_AS(level, function, ...) TraceLog(level, traceSource, function, __LINE__, __VA_ARGS__)

#define TRACE(...) TRACE_AS(YAT_TRACE_PROGRESS, __func__, __VA_ARGS__)
#define TRACE_ERROR(...) TRACE_AS(YAT_TRACE_ERROR, __func__, __VA_ARGS__)
