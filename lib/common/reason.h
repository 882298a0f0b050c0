// Why a call of the system failed.
#pragma once

#include <cstring>
#include <string>

namespace yat {

// In English, whatever the locale is, as the sentences are that it stands in.
inline std::string reason(int error)
{
    const char *text = strerrordesc_np(error);
    return text ? text : "error " + std::to_string(error);
}

} // namespace yat
