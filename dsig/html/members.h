// SPDX-License-Identifier: MIT
#ifndef DSIG_HTML_MEMBERS_H
#define DSIG_HTML_MEMBERS_H

#include "foundation/json/json_value.h"

#include <cstdint>
#include <string_view>
#include <vector>

// Members of a report. One that is missing or of another kind counts as empty, 0 or false: the
// report has nothing to say there. Texts are views into the value. A page is made from the JSON
// that scripts get, so it can say nothing that they are not told. The views live as long as the
// value.
namespace vantrel::dsig::html {

[[nodiscard]] inline std::string_view textOf(const json::JsonValue& object, std::string_view name) {
    const json::JsonValue* const value = object.find(name);
    return value != nullptr ? value->text() : std::string_view();
}

// A number that is no integer of 64 bits counts as missing.
[[nodiscard]] inline std::int64_t numberOf(const json::JsonValue& object, std::string_view name) {
    const json::JsonValue* const value = object.find(name);
    std::int64_t number = 0;
    return value != nullptr && value->integer(number) ? number : 0;
}

[[nodiscard]] inline bool flagOf(const json::JsonValue& object, std::string_view name) {
    const json::JsonValue* const value = object.find(name);
    return value != nullptr && value->kind() == json::JsonValue::Kind::True;
}

// The reference is to an empty list that lives as long as the program where there is none.
[[nodiscard]] inline const std::vector<json::JsonValue>& listOf(const json::JsonValue& object,
                                                                std::string_view name) {
    static const std::vector<json::JsonValue> none;
    const json::JsonValue* const value = object.find(name);
    return value != nullptr ? value->elements() : none;
}

} // namespace vantrel::dsig::html

#endif
