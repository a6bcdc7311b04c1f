// SPDX-License-Identifier: MIT
#include "foundation/asn1/ber_header.h"

namespace vantrel::asn1 {

namespace {

bool readTag(ByteView ber, BerHeader& header) noexcept {
    if (ber.empty()) {
        return false;
    }
    header.identifier = ber[0];
    header.number = ber[0] & 0x1FU;
    header.tagSize = 1;
    if (header.number != 0x1F) {
        return true;
    }
    // X.690 8.1.2.4: base-128 digits, the first of them not zero, for numbers above 30.
    std::uint32_t number = 0;
    for (std::size_t i = 1; i < ber.size() && i <= 5; ++i) {
        if ((i == 1 && ber[i] == 0x80) || number >> 25U != 0) {
            return false;
        }
        number = number << 7U | (ber[i] & 0x7FU);
        if ((ber[i] & 0x80U) == 0) {
            header.number = number;
            header.tagSize = i + 1;
            return number > 30;
        }
    }
    return false;
}

} // namespace

bool readBerHeader(ByteView ber, BerHeader& header) noexcept {
    header = BerHeader();
    if (!readTag(ber, header) || ber.size() - header.tagSize < 1) {
        return false;
    }
    if (header.isUniversal() && header.number == 0 && (ber[0] != 0 || ber[1] != 0)) {
        return false; // X.690 8.1.5: the number 0 is for the end-of-contents octets alone
    }
    const std::size_t first = ber[header.tagSize];
    const ByteView rest = ber.subspan(header.tagSize + 1);
    if (first < 0x80) {
        header.size = header.tagSize + 1;
        header.length = first;
        header.shortestLength = true;
        return first <= rest.size();
    }
    const std::size_t count = first & 0x7FU;
    if (count == 0) {
        header.size = header.tagSize + 1;
        header.indefinite = true;
        return header.constructed();
    }
    if (first == 0xFF || count > rest.size()) {
        return false;
    }
    // 64 bits also where sizes have 32, so that a long length is too long and not a short one.
    std::uint64_t length = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (length >> 48U != 0) {
            return false;
        }
        length = length << 8U | rest[i];
    }
    if (length > rest.size() - count) {
        return false;
    }
    header.size = header.tagSize + 1 + count;
    header.length = static_cast<std::size_t>(length);
    header.shortestLength = length >= 0x80 && rest[0] != 0;
    return true;
}

bool isStringType(std::uint32_t universalNumber) noexcept {
    switch (universalNumber) {
    case 3:  // BIT STRING
    case 4:  // OCTET STRING
    case 12: // UTF8String
        return true;
    default: // NumericString to BMPString, UTCTime and GeneralizedTime among them
        return universalNumber >= 18 && universalNumber <= 30 && universalNumber != 29;
    }
}

} // namespace vantrel::asn1
