// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_ASN1_BER_HEADER_H
#define FOUNDATION_ASN1_BER_HEADER_H

#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>

namespace vantrel::asn1 {

// The header of one BER element (X.690 8.1.2, 8.1.3): any tag number below 2^32, any form of
// length.
struct BerHeader {
    std::uint8_t identifier = 0; // the first identifier octet
    std::uint32_t number = 0;    // the tag number
    std::size_t tagSize = 0;     // identifier octets
    std::size_t size = 0;        // identifier and length octets
    std::size_t length = 0;      // contents octets; 0 when indefinite
    bool indefinite = false;
    bool shortestLength = false; // the length is the one DER would write

    [[nodiscard]] bool constructed() const noexcept { return (identifier & 0x20U) != 0; }
    [[nodiscard]] bool isUniversal() const noexcept { return (identifier & 0xC0U) == 0; }
    [[nodiscard]] bool isEndOfContents() const noexcept {
        return identifier == 0 && length == 0 && size == 2;
    }
};

// Reads the header at the front of `ber`; false when it is malformed or its contents would reach
// past the end. An indefinite length is accepted on constructed elements only.
[[nodiscard]] bool readBerHeader(ByteView ber, BerHeader& header) noexcept;

// True for the universal types whose BER form may be constructed and whose DER form is not: the
// string and time types.
[[nodiscard]] bool isStringType(std::uint32_t universalNumber) noexcept;

} // namespace vantrel::asn1

#endif
