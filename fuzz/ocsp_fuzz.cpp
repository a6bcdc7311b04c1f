// SPDX-License-Identifier: MIT
// Answers of OCSP responders: parsed whole or not at all.

#include "foundation/x509/path/ocsp.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantrel;
    x509::OcspResponse response;
    std::string_view whyNot;
    const bool parsed = x509::parseOcspResponse(ByteView(data, size), response, whyNot);
    // A responder is named by one thing, and only a parsed answer says anything.
    if (parsed ? response.responderName.empty() == response.responderKeyHash.empty()
               : !response.tbs.empty() || whyNot.empty()) {
        std::abort();
    }
    return 0;
}
