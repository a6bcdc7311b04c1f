// SPDX-License-Identifier: MIT
// One line as a request to the worker. What is accepted has exactly one document or file, and the
// id comes back as it stood in the line; what is not has a reason.

#include "cli/worker_request.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantrel;
    const std::string_view line = asText({data, size});
    cli::WorkerRequest request;
    std::string complaint;
    const bool accepted = cli::readRequest(line, request, complaint);
    const auto isWithin = [line](std::string_view part) {
        return part.empty() || (part.data() >= line.data() &&
                                part.data() + part.size() <= line.data() + line.size());
    };
    const bool one = request.source.name.empty() == request.source.document.has_value();
    if (accepted != complaint.empty() || (accepted && !one) || !isWithin(request.id) ||
        !isWithin(request.options) || (accepted && request.source.name == "-")) {
        std::abort();
    }
    return 0;
}
