// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_ASN1_DER_READER_H
#define FOUNDATION_ASN1_DER_READER_H

#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>

namespace vantrel::asn1 {

// Deepest nesting of elements that any reader of ASN.1 here follows.
inline constexpr std::size_t kMaxNesting = 64;

// The identifier octet: class, constructed bit and tag number (0 to 30).
enum class Tag : std::uint8_t {
    Boolean = 0x01,
    Integer = 0x02,
    BitString = 0x03,
    OctetString = 0x04,
    Null = 0x05,
    Oid = 0x06,
    Enumerated = 0x0A,
    Utf8String = 0x0C,
    NumericString = 0x12,
    PrintableString = 0x13,
    TeletexString = 0x14,
    VideotexString = 0x15,
    Ia5String = 0x16,
    UtcTime = 0x17,
    GeneralizedTime = 0x18,
    GraphicString = 0x19,
    VisibleString = 0x1A,
    GeneralString = 0x1B,
    UniversalString = 0x1C,
    BmpString = 0x1E,
    Sequence = 0x30,
    Set = 0x31,
};

// [number] of a primitive type, implicitly tagged; [number] of a constructed or explicitly tagged
// one.
constexpr Tag contextPrimitive(unsigned number) noexcept {
    return static_cast<Tag>(0x80U | number);
}
constexpr Tag contextConstructed(unsigned number) noexcept {
    return static_cast<Tag>(0xA0U | number);
}

// One element: `whole` is its header and contents.
struct DerElement {
    Tag tag{};
    ByteView contents;
    ByteView whole;
};

// A forward cursor over DER (X.690). It reads one tag-length-value at a time and never copies:
// every view it hands out points into the caller's bytes, which must outlive it. Accepted: tag
// numbers 0 to 30, definite lengths in their shortest form, below 4 GiB. BER input (some time-stamp
// tokens) goes through normalizeBer (ber_normalize.h) first. On failure no reading call changes the
// cursor or its output.
class DerReader {
public:
    DerReader() noexcept = default;
    explicit DerReader(ByteView der) noexcept : m_rest(der) {}

    [[nodiscard]] bool atEnd() const noexcept { return m_rest.empty(); }
    [[nodiscard]] ByteView rest() const noexcept { return m_rest; }
    // Whether another element follows and begins with `tag`.
    [[nodiscard]] bool nextIs(Tag tag) const noexcept {
        return !m_rest.empty() && m_rest[0] == static_cast<std::uint8_t>(tag);
    }

    // Reads the next element, whatever it is.
    [[nodiscard]] bool readAny(DerElement& element) noexcept {
        std::size_t header = 0;
        std::size_t length = 0;
        if (!readHeader(header, length)) {
            return false;
        }
        element.tag = static_cast<Tag>(m_rest[0]);
        element.contents = m_rest.subspan(header, length);
        element.whole = m_rest.first(header + length);
        m_rest = m_rest.subspan(header + length);
        return true;
    }
    // Reads the next element, which must carry `tag`, and puts its contents into `contents`.
    [[nodiscard]] bool read(Tag tag, ByteView& contents) noexcept {
        DerElement element;
        if (!nextIs(tag) || !readAny(element)) {
            return false;
        }
        contents = element.contents;
        return true;
    }
    // The same, yielding the element with its header.
    [[nodiscard]] bool readWhole(Tag tag, ByteView& whole) noexcept {
        DerElement element;
        if (!nextIs(tag) || !readAny(element)) {
            return false;
        }
        whole = element.whole;
        return true;
    }
    // The same, yielding a cursor over the contents.
    [[nodiscard]] bool enter(Tag tag, DerReader& inner) noexcept {
        ByteView contents;
        if (!read(tag, contents)) {
            return false;
        }
        inner = DerReader(contents);
        return true;
    }
    // Passes over the next element.
    [[nodiscard]] bool skip() noexcept {
        DerElement element;
        return readAny(element);
    }
    // Passes over the next element if it carries `tag`; false only when that element is malformed.
    [[nodiscard]] bool skipOptional(Tag tag) noexcept { return !nextIs(tag) || skip(); }

private:
    [[nodiscard]] bool readHeader(std::size_t& header, std::size_t& length) const noexcept {
        const std::size_t available = m_rest.size();
        if (available < 2 || (m_rest[0] & 0x1FU) == 0x1FU) {
            return false;
        }
        const std::size_t first = m_rest[1];
        if (first < 0x80) {
            header = 2;
            length = first;
            return length <= available - 2;
        }
        const std::size_t count = first & 0x7FU;
        if (count == 0 || count > 4 || available - 2 < count || m_rest[2] == 0) {
            return false;
        }
        std::size_t value = 0;
        for (std::size_t i = 0; i < count; ++i) {
            value = value << 8U | m_rest[2 + i];
        }
        header = 2 + count;
        length = value;
        return value >= 0x80 && value <= available - header;
    }

    ByteView m_rest;
};

} // namespace vantrel::asn1

#endif
