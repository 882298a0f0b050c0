// SPDX-License-Identifier: GPL-2.0-or-later
// Reading properties of the platform's objects, with all the checks that this takes.
#pragma once

#include "base/tracing.h"

#include <array>

using PropertyText = std::array<char, 1025>;

enum class Reading {
    done,
    refused,    // the platform does not give the property
    impossible, // there is no function to ask it with, as a record of the origin says
};

// A property of an object.
struct Property {
    int kind, number; // YAT_KIND_..., and which one of these
    int property;     // YAT_PROPERTY_...
};

// Reads a property into a text that is cleared before. size is what the platform is told of its
// room and takes what it answers.
Reading readProperty(const TraceOrigin &origin, const Property &property, unsigned long *size,
                     PropertyText &text);

// Makes a number of what was read. False, with a record of the origin, when there is no function
// for it or when the text is no number; noNumber is the record of that.
bool convertProperty(const TraceOrigin &origin, PropertyText &text, const char *noNumber,
                     int *value);
