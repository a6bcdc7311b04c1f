// SPDX-License-Identifier: MIT
#include "foundation/asn1/der_values.h"

#include <cstddef>

namespace vantrel::asn1 {

namespace {

// X.690 8.3.2: the first nine bits of an INTEGER are neither all ones nor all zero.
bool isShortestInteger(ByteView contents) noexcept {
    if (contents.empty()) {
        return false;
    }
    if (contents.size() == 1) {
        return true;
    }
    const bool topBit = (contents[1] & 0x80U) != 0;
    return !(contents[0] == 0x00 && !topBit) && !(contents[0] == 0xFF && topBit);
}

} // namespace

ByteView withoutLeadingZeros(ByteView bytes) noexcept {
    while (!bytes.empty() && bytes[0] == 0) {
        bytes = bytes.subspan(1);
    }
    return bytes;
}

bool readBoolean(DerReader& reader, bool& value) noexcept {
    DerReader ahead = reader;
    ByteView contents;
    if (!ahead.read(Tag::Boolean, contents) || contents.size() != 1) {
        return false;
    }
    value = contents[0] != 0;
    reader = ahead;
    return true;
}

bool readUnsigned(DerReader& reader, ByteView& magnitude) noexcept {
    DerReader ahead = reader;
    ByteView contents;
    if (!ahead.read(Tag::Integer, contents) || !isShortestInteger(contents) ||
        (contents[0] & 0x80U) != 0) {
        return false;
    }
    magnitude = withoutLeadingZeros(contents);
    reader = ahead;
    return true;
}

bool readSmallInteger(DerReader& reader, std::int64_t& value, Tag tag) noexcept {
    DerReader ahead = reader;
    ByteView contents;
    if (!ahead.read(tag, contents) || !isShortestInteger(contents) || contents.size() > 8) {
        return false;
    }
    std::uint64_t bits = (contents[0] & 0x80U) != 0 ? ~std::uint64_t{0} : 0;
    for (const std::uint8_t byte : contents) {
        bits = bits << 8U | byte;
    }
    value = static_cast<std::int64_t>(bits);
    reader = ahead;
    return true;
}

bool readBitString(DerReader& reader, ByteView& bytes, unsigned& unused) noexcept {
    DerReader ahead = reader;
    ByteView contents;
    if (!ahead.read(Tag::BitString, contents) || contents.empty() || contents[0] > 7) {
        return false;
    }
    if (contents[0] != 0 && contents.size() == 1) {
        return false;
    }
    bytes = contents.subspan(1);
    unused = contents[0];
    reader = ahead;
    return true;
}

bool readOctetBits(DerReader& reader, ByteView& bytes) noexcept {
    DerReader ahead = reader;
    ByteView all;
    unsigned unused = 0;
    if (!readBitString(ahead, all, unused) || unused != 0) {
        return false;
    }
    bytes = all;
    reader = ahead;
    return true;
}

bool readSignatureBits(DerReader& reader, ByteView& bytes) noexcept {
    unsigned unused = 0;
    if (!readBitString(reader, bytes, unused)) {
        return false;
    }
    if (unused != 0) {
        bytes = bytes.first(0);
    }
    return true;
}

bool readNamedBits(DerReader& reader, std::uint32_t& bits) noexcept {
    ByteView bytes;
    unsigned unused = 0;
    if (!readBitString(reader, bytes, unused)) {
        return false;
    }
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < bytes.size() && i < 4; ++i) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            if ((bytes[i] & (0x80U >> bit)) != 0) {
                value |= std::uint32_t{1} << (8 * i + bit);
            }
        }
    }
    bits = value;
    return true;
}

} // namespace vantrel::asn1
