// JSON: what is read and written reads back as the same text.
#include "foundation/json/json_value.h"
#include "foundation/json/json_writer.h"
#include "foundation/text/byte_view.h"

#include <cstdlib>

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    json::JsonValue value;
    std::size_t faultAt = 0;
    if (!json::parseJson(asText({data, size}), value, faultAt)) {
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
