// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_HASH_HASH_IDS_H
#define FOUNDATION_CRYPTO_HASH_HASH_IDS_H

#include <cstddef>
#include <string_view>

namespace vantrel {

// The integers by which hash algorithms are named between all parts.
inline constexpr int kHashNone = 0;
inline constexpr int kHashSha1 = 1;
inline constexpr int kHashSha384 = 2;
inline constexpr int kHashSha512 = 3;
inline constexpr int kHashMd2 = 4;
inline constexpr int kHashMd5 = 5;
inline constexpr int kHashSha256 = 7;
inline constexpr int kHashRipemd128 = 9;
inline constexpr int kHashRipemd160 = 10;
inline constexpr int kHashSha224 = 20;
inline constexpr int kHashSha3_224 = 21;
inline constexpr int kHashSha3_256 = 22;
inline constexpr int kHashSha3_384 = 23;
inline constexpr int kHashSha3_512 = 24;

namespace crypto {

inline constexpr std::size_t kMaxDigestSize = 64;
inline constexpr std::size_t kMaxHashBlockSize = 144; // the rate of SHA3-224

// What is fixed about an algorithm, apart from how it is computed.
struct HashInfo {
    int id;
    std::string_view name; // as standards write it: "SHA-256"
    std::string_view oid;  // dotted
    std::size_t digestSize;
    std::size_t blockSize;
};

// Null for an identifier that names no algorithm.
[[nodiscard]] const HashInfo* findHash(int id) noexcept;

// The digest's size in bytes; 0 for an identifier that names no algorithm.
[[nodiscard]] std::size_t hashDigestSize(int id) noexcept;

// The identifier of the algorithm with this dotted object identifier; kHashNone when unknown.
[[nodiscard]] int hashFromOid(std::string_view oid) noexcept;

} // namespace crypto
} // namespace vantrel

#endif
