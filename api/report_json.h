// SPDX-License-Identifier: MIT
#ifndef API_REPORT_JSON_H
#define API_REPORT_JSON_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace vantrel {

namespace json {
class JsonWriter;
} // namespace json

namespace api {

// What is said of a document's octets; nothing of one that could not be read.
struct DocumentOctets {
    std::uint64_t size = 0;
    std::string sha256; // lower-case hexadecimal
};

// The object of a document up to its list of signatures; the objects of these follow, divided by
// commas, then kReportEnd. The status, which stands before the signatures, is known only behind
// them; hence the two texts. `more` writes members that stand before the list.
[[nodiscard]] std::string reportHeading(std::string_view name, const DocumentOctets& octets,
                                        std::string_view status, std::string_view error,
                                        const std::function<void(json::JsonWriter&)>& more = {});

inline constexpr std::string_view kReportEnd = "]}";

// The error where the reports of all signatures pass their limit together.
// What stands at the end of logs that have reached their limit.
inline constexpr std::string_view kLogsEnd = "The logs end here, at their limit (logOctets).\n";
inline constexpr std::string_view kReportTooLarge =
    "the report is larger than its limit (reportOctets)";

} // namespace api
} // namespace vantrel

#endif
