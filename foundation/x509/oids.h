// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_OIDS_H
#define FOUNDATION_X509_OIDS_H

#include "foundation/text/byte_view.h"

#include <cstdint>
#include <cstring>

namespace vantrel::x509 {

inline bool sameBytes(ByteView a, ByteView b) noexcept {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

// Object identifiers that code tests for, as contents octets.
namespace oid {

// RFC 3279, RFC 4055: public keys
inline constexpr std::uint8_t kRsaEncryption[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 1, 1, 1};
inline constexpr std::uint8_t kRsaPss[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 1, 1, 10};
inline constexpr std::uint8_t kRsaX500[] = {0x55, 8, 1, 1};
inline constexpr std::uint8_t kDsa[] = {0x2A, 0x86, 0x48, 0xCE, 0x38, 4, 1};
inline constexpr std::uint8_t kDsaOiw[] = {0x2B, 14, 3, 2, 12};
inline constexpr std::uint8_t kEcPublicKey[] = {0x2A, 0x86, 0x48, 0xCE, 0x3D, 2, 1};
inline constexpr std::uint8_t kPrimeField[] = {0x2A, 0x86, 0x48, 0xCE, 0x3D, 1, 1};
inline constexpr std::uint8_t kMgf1[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 1, 1, 8};

// RFC 5280 4.2: certificate extensions
inline constexpr std::uint8_t kSubjectKeyId[] = {0x55, 0x1D, 14};
inline constexpr std::uint8_t kKeyUsage[] = {0x55, 0x1D, 15};
inline constexpr std::uint8_t kBasicConstraints[] = {0x55, 0x1D, 19};
inline constexpr std::uint8_t kExtendedKeyUsage[] = {0x55, 0x1D, 37};

// X.520: the attribute that names are searched for
inline constexpr std::uint8_t kCommonName[] = {0x55, 4, 3};

} // namespace oid

} // namespace vantrel::x509

#endif
