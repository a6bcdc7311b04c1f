// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_PATH_REPORT_H
#define FOUNDATION_X509_PATH_PATH_REPORT_H

#include "foundation/x509/path/path_query.h"

#include <string>

namespace vantrel {

namespace json {
class JsonWriter;
}

namespace x509 {

// The subject as text, most specific component first (RFC 4514); empty for an empty or unreadable
// name. Made for people: two names that print alike may still differ.
[[nodiscard]] std::string subjectText(const VantrelX509& certificate);

// Writes the result as one JSON object: `status` ("trusted", "not-trusted"), `time`, `path`
// (subjects from the target to the anchor), `policies`, `problems` (each with `code`,
// `certificate`, `text`).
void writePathResult(const PathResult& result, json::JsonWriter& out);

} // namespace x509
} // namespace vantrel

#endif
