// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_ASN1_DER_WRITER_H
#define FOUNDATION_ASN1_DER_WRITER_H

#include "foundation/asn1/der_reader.h"
#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace vantrel::asn1 {

// Writes DER into a buffer of its own. A constructed element is opened, filled and closed; its
// length is put in when it is closed, so the caller counts nothing. May throw std::bad_alloc.
class DerWriter {
public:
    // Opens a constructed element (or a primitive one that wraps DER, such as an OCTET STRING).
    void open(Tag tag);
    // Closes the element opened last; one must be open.
    void close();

    void write(Tag tag, ByteView contents);
    // Appends finished DER.
    void writeRaw(ByteView der) { m_bytes.insert(m_bytes.end(), der.begin(), der.end()); }
    // A non-negative INTEGER from a magnitude of any length.
    void writeUnsigned(ByteView magnitude);
    void writeUnsigned(std::uint64_t value);
    void writeBoolean(bool value);
    void writeNull() { write(Tag::Null, {}); }
    // False, with nothing written, when the text is no dotted object identifier.
    [[nodiscard]] bool writeOid(std::string_view dotted);

    // The DER so far; complete when every element is closed.
    [[nodiscard]] ByteView bytes() const noexcept { return m_bytes; }
    [[nodiscard]] std::size_t openElements() const noexcept { return m_open.size(); }

private:
    std::vector<std::uint8_t> m_bytes;
    std::vector<std::size_t> m_open; // where the contents of each open element begin
};

// The octets of a definite length in its shortest form; returns their number (1 to 9).
std::size_t encodeLength(std::size_t length, std::uint8_t (&octets)[9]) noexcept;

} // namespace vantrel::asn1

#endif
