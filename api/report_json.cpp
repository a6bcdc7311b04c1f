// SPDX-License-Identifier: MIT
#include "api/report_json.h"

#include "foundation/json/json_writer.h"
#include "foundation/text/StringBuffer.h"

#include <new>

namespace vantrel::api {

namespace {

// Raised when a member changes its meaning or goes; more members may be added without.
constexpr int kReportSchema = 1;

} // namespace

std::string reportHeading(std::string_view name, const DocumentOctets& octets,
                          std::string_view status, std::string_view error,
                          const std::function<void(json::JsonWriter&)>& more) {
    StringBuffer text;
    json::JsonWriter out(text);
    out.beginObject();
    out.textMember("file", name);
    out.textMember("status", status);
    out.textMember("error", error);
    out.integerMember("schema", kReportSchema);
    out.integerMember("size", static_cast<std::int64_t>(octets.size));
    out.textMember("sha256", octets.sha256);
    if (more) {
        more(out);
    }
    out.key("signatures");
    out.beginArray();
    // Half a heading would make the whole unreadable to whoever gets it.
    if (!out.ok()) {
        throw std::bad_alloc();
    }
    return std::string(text.view());
}

} // namespace vantrel::api
