// SPDX-License-Identifier: MIT
// Revocation lists: parsed whole or not at all, and every entry of a parsed one can be read again.

#include "foundation/x509/path/crl.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantrel;
    x509::Crl crl;
    std::string_view whyNot;
    if (!x509::parseCrl(ByteView(data, size), crl, whyNot)) {
        if (whyNot.empty() || !crl.tbs.empty()) {
            std::abort();
        }
        return 0;
    }
    x509::CrlEntryReader entries(crl);
    bool unknownCritical = false;
    while (entries.next()) {
        unknownCritical = unknownCritical || entries.entry().unknownCritical;
        if (entries.entry().serial.empty()) {
            std::abort();
        }
    }
    if (entries.failed() || (unknownCritical && !crl.unknownCritical)) {
        std::abort();
    }
    static_cast<void>(crl.point.keys(crl.issuer));
    return 0;
}
