// SPDX-License-Identifier: MIT
#include "tests/support/report_values.h"

#include <algorithm>

namespace vantrel::test {

std::string textOf(const json::JsonValue& object, const char* name) {
    const json::JsonValue* const value = object.find(name);
    return value != nullptr ? std::string(value->text()) : std::string();
}

std::int64_t integerOf(const json::JsonValue& object, const char* name) {
    const json::JsonValue* const value = object.find(name);
    std::int64_t number = -1;
    return value != nullptr && value->integer(number) ? number : -1;
}

bool hasAccommodation(const json::JsonValue& object, std::string_view code) {
    const auto& codes = object.find("accommodations")->elements();
    return std::any_of(codes.begin(), codes.end(),
                       [code](const auto& value) { return value.text() == code; });
}

} // namespace vantrel::test
