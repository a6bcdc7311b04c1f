// SPDX-License-Identifier: MIT
// The BER normaliser and the readers of simple values. What was normalised is DER: it is read to
// its end and normalising it again changes nothing.

#include "foundation/asn1/asn1_time.h"
#include "foundation/asn1/ber_normalize.h"
#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_values.h"
#include "foundation/asn1/oid.h"

#include <cstdlib>
#include <string>
#include <vector>

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ByteView input(data, size);
    std::int64_t seconds = 0;
    static_cast<void>(asn1::parseUtcTime(input, seconds));
    static_cast<void>(asn1::parseGeneralizedTime(input, seconds));
    std::string dotted;
    asn1::OidBytes oid;
    if (asn1::oidToText(input, dotted) &&
        (!asn1::oidFromText(dotted, oid) || asText(oid.view()) != asText(input))) {
        std::abort();
    }
    std::vector<std::uint8_t> der;
    std::vector<std::uint8_t> again;
    std::size_t consumed = 0;
    if (size > 65536 || !asn1::normalizeBer(input, der, consumed)) {
        return 0;
    }
    if (consumed > size || !asn1::normalizeBer(der, again, consumed) || again != der) {
        std::abort();
    }
    return 0;
}
