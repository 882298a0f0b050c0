// SPDX-License-Identifier: GPL-2.0-or-later
// JSON as text that can be shown.
#pragma once

#include "text/encoding.h"

namespace yat {

// A value of nlohmann-json as text in UTF-8, in one line without an indentation. What is not
// showable on this terminal is escaped, and what is no UTF-8 becomes U+FFFD.
template <class Json>
std::string jsonText(const Json &json, int indentation = -1, Escapes escapes = Escapes::ofJson)
{
    return escapedJson(json.dump(indentation, ' ', false, Json::error_handler_t::replace), escapes);
}

} // namespace yat
