// SPDX-License-Identifier: MIT
#include "foundation/asn1/der_writer.h"

#include "foundation/asn1/der_values.h"
#include "foundation/asn1/oid.h"

#include <cassert>

namespace vantrel::asn1 {

// X.690 8.1.3 and 10.1
std::size_t encodeLength(std::size_t length, std::uint8_t (&octets)[9]) noexcept {
    if (length < 0x80) {
        octets[0] = static_cast<std::uint8_t>(length);
        return 1;
    }
    std::size_t count = 0;
    for (std::size_t rest = length; rest != 0; rest >>= 8U) {
        ++count;
    }
    octets[0] = static_cast<std::uint8_t>(0x80U | count);
    for (std::size_t i = 0; i < count; ++i) {
        octets[1 + i] = static_cast<std::uint8_t>(length >> (8U * (count - 1 - i)));
    }
    return 1 + count;
}

void DerWriter::open(Tag tag) {
    m_bytes.push_back(static_cast<std::uint8_t>(tag));
    m_bytes.push_back(0); // room for a short length; close() makes more when it must
    m_open.push_back(m_bytes.size());
}

void DerWriter::close() {
    assert(!m_open.empty());
    const std::size_t start = m_open.back();
    m_open.pop_back();
    std::uint8_t octets[9];
    const std::size_t count = encodeLength(m_bytes.size() - start, octets);
    m_bytes[start - 1] = octets[0];
    m_bytes.insert(m_bytes.begin() + static_cast<std::ptrdiff_t>(start), octets + 1,
                   octets + count);
}

void DerWriter::write(Tag tag, ByteView contents) {
    std::uint8_t octets[9];
    const std::size_t count = encodeLength(contents.size(), octets);
    m_bytes.push_back(static_cast<std::uint8_t>(tag));
    m_bytes.insert(m_bytes.end(), octets, octets + count);
    writeRaw(contents);
}

void DerWriter::writeUnsigned(ByteView magnitude) {
    const ByteView digits = withoutLeadingZeros(magnitude);
    open(Tag::Integer);
    if (digits.empty() || (digits[0] & 0x80U) != 0) {
        m_bytes.push_back(0);
    }
    writeRaw(digits);
    close();
}

void DerWriter::writeUnsigned(std::uint64_t value) {
    std::uint8_t bytes[8];
    for (unsigned i = 0; i < 8; ++i) {
        bytes[i] = static_cast<std::uint8_t>(value >> (56U - 8U * i));
    }
    writeUnsigned(ByteView(bytes));
}

void DerWriter::writeBoolean(bool value) {
    const std::uint8_t contents = value ? 0xFF : 0x00;
    write(Tag::Boolean, {&contents, 1});
}

bool DerWriter::writeOid(std::string_view dotted) {
    OidBytes contents;
    if (!oidFromText(dotted, contents)) {
        return false;
    }
    write(Tag::Oid, contents.view());
    return true;
}

} // namespace vantrel::asn1
