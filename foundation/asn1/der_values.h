// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_ASN1_DER_VALUES_H
#define FOUNDATION_ASN1_DER_VALUES_H

#include "foundation/asn1/der_reader.h"
#include "foundation/text/byte_view.h"

#include <cstdint>

namespace vantrel::asn1 {

// Values of the simple types, read through a cursor (X.690 clause 8). As with the cursor, a failure
// changes neither the cursor nor the output.

// A BOOLEAN; any byte but zero is true, since signers in the wild write 01.
[[nodiscard]] bool readBoolean(DerReader& reader, bool& value) noexcept;

// A non-negative INTEGER in its shortest form, as a magnitude without leading zero bytes (empty for
// zero).
[[nodiscard]] bool readUnsigned(DerReader& reader, ByteView& magnitude) noexcept;

// An INTEGER or ENUMERATED (`tag`) that fits in 64 bits.
[[nodiscard]] bool readSmallInteger(DerReader& reader, std::int64_t& value,
                                    Tag tag = Tag::Integer) noexcept;

// A BIT STRING whose last byte has `unused` bits of padding.
[[nodiscard]] bool readBitString(DerReader& reader, ByteView& bytes, unsigned& unused) noexcept;
// A BIT STRING that is a whole number of bytes, as keys and signatures are.
[[nodiscard]] bool readOctetBits(DerReader& reader, ByteView& bytes) noexcept;
// The BIT STRING of a signature. One that is no whole number of bytes is well-formed, and the
// signature of no key: `bytes` is then an empty view of where it stands, and whatever is signed
// that way can be read and told to be badly signed.
[[nodiscard]] bool readSignatureBits(DerReader& reader, ByteView& bytes) noexcept;

// A BIT STRING of named bits: bit n of `bits` is the bit numbered n. Bits beyond 31 are ignored.
[[nodiscard]] bool readNamedBits(DerReader& reader, std::uint32_t& bits) noexcept;

// The bytes without leading zero bytes.
[[nodiscard]] ByteView withoutLeadingZeros(ByteView bytes) noexcept;

} // namespace vantrel::asn1

#endif
