// SPDX-License-Identifier: MIT
#include "foundation/crypto/signature/signature_value.h"

#include <cstddef>
#include <cstdint>

namespace vantrel::crypto {
namespace {

constexpr std::uint8_t kTagInteger = 0x02;
constexpr std::uint8_t kTagSequence = 0x30;

// Takes one element with `tag` off the front of `rest`. Contents of up to 255 bytes suffice for
// every signature: 2 * (2 + 67) < 256.
bool readElement(ByteView& rest, std::uint8_t tag, ByteView& contents) noexcept {
    if (rest.size() < 2 || rest[0] != tag) {
        return false;
    }
    std::size_t length = rest[1];
    std::size_t header = 2;
    if (length == 0x81) {
        if (rest.size() < 3 || rest[2] < 0x80) {
            return false;
        }
        length = rest[2];
        header = 3;
    } else if (length >= 0x80) {
        return false;
    }
    if (length > rest.size() - header) {
        return false;
    }
    contents = rest.subspan(header, length);
    rest = rest.subspan(header + length);
    return true;
}

bool readNonNegative(ByteView& rest, ByteView& magnitude) noexcept {
    ByteView contents;
    if (!readElement(rest, kTagInteger, contents) || contents.empty() || contents[0] >= 0x80) {
        return false;
    }
    if (contents[0] == 0) {
        contents = contents.subspan(1);
        // A zero byte in front is only for a number that would read as negative without it.
        if (!contents.empty() && contents[0] < 0x80) {
            return false;
        }
    }
    magnitude = contents;
    return true;
}

} // namespace

bool parseDerSignature(ByteView der, ByteView& r, ByteView& s) noexcept {
    ByteView sequence;
    return readElement(der, kTagSequence, sequence) && der.empty() &&
           readNonNegative(sequence, r) && readNonNegative(sequence, s) && sequence.empty();
}

bool splitRawSignature(ByteView raw, std::size_t width, ByteView& r, ByteView& s) noexcept {
    if (raw.size() != 2 * width) {
        return false;
    }
    r = raw.first(width);
    s = raw.subspan(width);
    return true;
}

} // namespace vantrel::crypto
