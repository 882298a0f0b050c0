// Trace records with the place they are written from. A source file that traces names its module:
//
//     static constexpr char traceSource[] = "mrvmain";
//
// A helper of a function that has a name of its own in the log traces as that function.
#pragma once

#include "yat/trace.h"

#define TRACE_AS(function, ...) \
    TraceLog(YAT_TRACE_PROGRESS, traceSource, function, __LINE__, __VA_ARGS__)
#define TRACE_ERROR_AS(function, ...) \
    TraceLog(YAT_TRACE_ERROR, traceSource, function, __LINE__, __VA_ARGS__)
#define TRACE_MEMORY_AS(function, ...) \
    TraceLog(YAT_TRACE_MEMORY, traceSource, function, __LINE__, __VA_ARGS__)

#define TRACE(...) TRACE_AS(__func__, __VA_ARGS__)
#define TRACE_ERROR(...) TRACE_ERROR_AS(__func__, __VA_ARGS__)
