// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_CMS_OIDS_H
#define FOUNDATION_CMS_CMS_OIDS_H

#include <cstdint>
#include <string_view>

// Object identifiers of signed data and time-stamps, as contents octets: what stands behind tag and
// length (X.690 8.19). 2A 86 48 86 F7 0D is { iso(1) member-body(2) us(840) rsadsi(113549) }; under
// it 1 7 is pkcs-7, 1 9 is pkcs-9.
namespace vantrel::cms::oid {

// RFC 5652 4, 5.1, 11: content types and attributes
inline constexpr std::uint8_t kData[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 1, 7, 1};
inline constexpr std::uint8_t kSignedData[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 1, 7, 2};
inline constexpr std::uint8_t kContentType[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 1, 9, 3};
inline constexpr std::uint8_t kMessageDigest[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 1, 9, 4};

// RFC 3161 2.4.2: the content of a time-stamp token
inline constexpr std::uint8_t kTstInfo[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 1, 9, 16, 1, 4};

// RFC 5035 3, 4: signing-certificate attributes
inline constexpr std::uint8_t kSigningCertificate[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D,
                                                       1,    9,    16,   2,    12};
inline constexpr std::uint8_t kSigningCertificateV2[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D,
                                                         1,    9,    16,   2,    47};

// RFC 5126 6.3.3, 6.3.4: certificates and revocation data as unsigned attributes
inline constexpr std::uint8_t kCertificateValues[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D,
                                                      1,    9,    16,   2,    23};
inline constexpr std::uint8_t kRevocationValues[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D,
                                                     1,    9,    16,   2,    24};
// RFC 5940 2.1: id-ri-ocsp-response
inline constexpr std::uint8_t kOcspResponseFormat[] = {0x2B, 6, 1, 5, 5, 7, 16, 2};

// RFC 5280 4.2.1.1
inline constexpr std::uint8_t kAuthorityKeyId[] = {0x55, 0x1D, 35};

// RFC 3161 2.3: id-kp-timeStamping
inline constexpr std::string_view kTimeStampingPurpose = "1.3.6.1.5.5.7.3.8";

} // namespace vantrel::cms::oid

#endif
