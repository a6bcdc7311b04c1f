// SPDX-License-Identifier: MIT
#ifndef CLI_WORKER_REQUEST_H
#define CLI_WORKER_REQUEST_H

#include "cli/verify_file.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace vantrel::cli {

// The longest line that is taken for a request. A larger document is handed over as a file.
inline constexpr std::size_t kMostRequestOctets = std::size_t{256} << 20;

// One request to the worker: a line with one JSON object. Members: `id`, anything; one of `file`
// (a name), `xml` (the document as text) and `base64` (its octets); `options`; `timeoutMs`. Others
// are ignored. What is said of the text holds while the line is there.
struct WorkerRequest {
    std::string_view id; // the JSON text that it is, to be handed back; empty when there is none
    VerifySource source;
    std::string_view options; // the JSON text; empty when there is none
};

// False, with `complaint`, when the line is no such object, or longer than kMostRequestOctets; then
// `id` is that of the request where it could be read. May throw std::bad_alloc.
[[nodiscard]] bool readRequest(std::string_view line, WorkerRequest& request,
                               std::string& complaint);

} // namespace vantrel::cli

#endif
