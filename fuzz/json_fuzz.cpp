// SPDX-License-Identifier: MIT
// JSON: what is read and written reads back as the same text; and a text that is read part by part
// is JSON when the reader of values says so.
#include "foundation/json/json_parts.h"
#include "foundation/json/json_value.h"
#include "foundation/json/json_writer.h"
#include "foundation/text/byte_view.h"

#include <cstdlib>

using namespace vantrel;

namespace {

// Aborts where an object or array has other parts than its value has.
void compareParts(std::string_view text, bool isJson, const json::JsonValue& value) {
    json::JsonParts parts(text);
    StringBuffer name;
    std::string_view part;
    std::size_t count = 0;
    while (parts.next(name, part)) {
        ++count;
    }
    const bool isWhole = isJson && (value.isObject() || value.isArray());
    if (parts.failed() == isWhole ||
        (isWhole && count != value.members().size() + value.elements().size())) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    json::JsonValue value;
    std::size_t faultAt = 0;
    const std::string_view text = asText({data, size});
    const bool isJson = json::parseJson(text, value, faultAt);
    compareParts(text, isJson, value);
    if (!isJson) {
        return 0;
    }
    StringBuffer first;
    StringBuffer second;
    json::JsonWriter(first).value(value);
    if (!json::parseJson(first.view(), value, faultAt)) {
        std::abort();
    }
    json::JsonWriter(second).value(value);
    if (!first.equals(second)) {
        std::abort();
    }
    return 0;
}
