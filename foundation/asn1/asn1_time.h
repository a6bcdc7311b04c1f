// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_ASN1_ASN1_TIME_H
#define FOUNDATION_ASN1_ASN1_TIME_H

#include "foundation/asn1/der_reader.h"
#include "foundation/text/byte_view.h"

#include <cstdint>
#include <string>

namespace vantrel::asn1 {

// Points in time as seconds since 1970-01-01T00:00:00Z, leap seconds not counted.
//
// UTCTime: YYMMDDhhmm[ss] and "Z" or an offset; years 50 to 99 are 1950 to 1999 (RFC
// 5280 4.1.2.5.1). GeneralizedTime: YYYYMMDDhh[mm[ss]], an optional fraction (which is dropped),
// and "Z" or an offset; local time, which names no moment, is refused.
[[nodiscard]] bool parseUtcTime(ByteView contents, std::int64_t& seconds) noexcept;
[[nodiscard]] bool parseGeneralizedTime(ByteView contents, std::int64_t& seconds) noexcept;

// Time ::= CHOICE { UTCTime, GeneralizedTime }. The cursor moves only on success.
[[nodiscard]] bool readTime(DerReader& reader, std::int64_t& seconds) noexcept;

// Appends "2026-01-31T23:59:59Z".
void appendIsoTime(std::int64_t seconds, std::string& out);

} // namespace vantrel::asn1

#endif
