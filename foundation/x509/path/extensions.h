// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_EXTENSIONS_H
#define FOUNDATION_X509_PATH_EXTENSIONS_H

#include "foundation/text/byte_view.h"

#include <cstdint>
#include <vector>

namespace vantrel::x509 {

// Object identifiers of certification paths, as contents octets, and the Extensions that all
// signed objects of RFC 5280 and RFC 6960 share.
namespace oid {

// RFC 5280 4.2.1: certificate extensions
inline constexpr std::uint8_t kSubjectAltName[] = {0x55, 0x1D, 17};
inline constexpr std::uint8_t kIssuerAltName[] = {0x55, 0x1D, 18};
inline constexpr std::uint8_t kNameConstraints[] = {0x55, 0x1D, 30};
inline constexpr std::uint8_t kCrlDistributionPoints[] = {0x55, 0x1D, 31};
inline constexpr std::uint8_t kCertificatePolicies[] = {0x55, 0x1D, 32};
inline constexpr std::uint8_t kPolicyMappings[] = {0x55, 0x1D, 33};
inline constexpr std::uint8_t kAuthorityKeyId[] = {0x55, 0x1D, 35};
inline constexpr std::uint8_t kPolicyConstraints[] = {0x55, 0x1D, 36};
inline constexpr std::uint8_t kInhibitAnyPolicy[] = {0x55, 0x1D, 54};

// In a certificate anyPolicy and anyExtendedKeyUsage are wildcards.
inline constexpr std::uint8_t kAnyPolicy[] = {0x55, 0x1D, 32, 0};
inline constexpr std::uint8_t kAnyPurpose[] = {0x55, 0x1D, 37, 0};
inline constexpr std::uint8_t kCpsQualifier[] = {0x2B, 6, 1, 5, 5, 7, 2, 1};
inline constexpr std::uint8_t kUserNotice[] = {0x2B, 6, 1, 5, 5, 7, 2, 2};
// PKCS #9
inline constexpr std::uint8_t kEmailAddress[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 1, 9, 1};

// RFC 5280 5.2, 5.3: extensions of revocation lists and of their entries
inline constexpr std::uint8_t kCrlNumber[] = {0x55, 0x1D, 20};
inline constexpr std::uint8_t kReasonCode[] = {0x55, 0x1D, 21};
inline constexpr std::uint8_t kInvalidityDate[] = {0x55, 0x1D, 24};
inline constexpr std::uint8_t kDeltaCrlIndicator[] = {0x55, 0x1D, 27};
inline constexpr std::uint8_t kIssuingDistributionPoint[] = {0x55, 0x1D, 28};
inline constexpr std::uint8_t kCertificateIssuer[] = {0x55, 0x1D, 29};

// RFC 6960
inline constexpr std::uint8_t kOcspBasic[] = {0x2B, 6, 1, 5, 5, 7, 48, 1, 1};
inline constexpr std::uint8_t kOcspSigning[] = {0x2B, 6, 1, 5, 5, 7, 3, 9};
inline constexpr std::uint8_t kOcspNoCheck[] = {0x2B, 6, 1, 5, 5, 7, 48, 1, 5};
// RFC 6962 3.3: lists of signed certificate time-stamps inside an answer
inline constexpr std::uint8_t kOcspTimestampList[] = {0x2B, 6, 1, 4, 1, 0xD6, 0x79, 2, 4, 5};

} // namespace oid

// One Extension (RFC 5280 4.1): views into what it was read from.
struct Extension {
    ByteView id;
    ByteView value;
    bool critical = false;
};

// Reads an Extensions (header included). False when it is malformed, empty, or has one identifier
// twice. May throw std::bad_alloc. On failure `out` is half filled and must not be used.
[[nodiscard]] bool readExtensions(ByteView whole, std::vector<Extension>& out);

// An order of octet strings, for sorting. Shorter ones come before those that they begin.
[[nodiscard]] bool bytesBefore(ByteView a, ByteView b) noexcept;

} // namespace vantrel::x509

#endif
