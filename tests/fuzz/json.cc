// SPDX-License-Identifier: GPL-2.0-or-later
// A text in the JSON that the product prints, and that other programs read back.
#include "fuzz.h"

#include "base/display.h"
#include "text/json.h"
#include "text/utf8.h"

#include <clocale>
#include <nlohmann/json.hpp>

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using nlohmann::json;
    setlocale(LC_ALL, size % 2 ? "C.UTF-8" : "C");
    const std::string text(reinterpret_cast<const char *>(data), size);
    const json whole = {{"text", text}, {"list", {text, 7}}};
    const json wanted = json::parse(whole.dump(-1, ' ', false, json::error_handler_t::replace));
    for (const int indentation : {-1, 2}) {
        const std::string printed = yat::jsonText(whole, indentation);
        REQUIRE(json::parse(printed) == wanted);
        for (std::string_view rest = printed; !rest.empty();) {
            const size_t length = yat::utf8Length(rest);
            REQUIRE(length > 0 && (size % 2 || length == 1));
            REQUIRE(rest[0] == '\n' || isShowable(yat::utf8Character(rest.substr(0, length))));
            rest.remove_prefix(length);
        }
        REQUIRE(indentation > 0 || printed.find('\n') == printed.npos);
    }
    return 0;
}
