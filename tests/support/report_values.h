// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_REPORT_VALUES_H
#define TESTS_SUPPORT_REPORT_VALUES_H

#include "foundation/json/json_value.h"

#include <cstdint>
#include <string>
#include <string_view>

// What stands in reports and manifests.
namespace vantrel::test {

// Empty, or -1, where there is no such member or it is of another kind.
[[nodiscard]] std::string textOf(const json::JsonValue& object, const char* name);
[[nodiscard]] std::int64_t integerOf(const json::JsonValue& object, const char* name);
// Of a report, or of one of its references.
[[nodiscard]] bool hasAccommodation(const json::JsonValue& object, std::string_view code);

} // namespace vantrel::test

#endif
