// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_HASH_COMPRESS_H
#define FOUNDATION_CRYPTO_HASH_COMPRESS_H

#include "foundation/crypto/hash/hash_kernels.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

// Internal to the hash folder: the compression functions behind the kernel lists, one file each,
// and the loads and stores they share. The signature is that of HashCompress. A function for an
// extension may be called only where cpu::supports says so.
namespace vantrel::crypto {

void md2Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
void md5Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
void ripemd128Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
void ripemd160Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
void sha1Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
void sha256Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
void sha512Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;

void sha3Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;

#if defined(__x86_64__)
void sha3CompressX86Bmi2(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
void sha3CompressX86Avx512(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
void sha1CompressX86Avx2(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
void sha1CompressX86Sha(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
void sha256CompressX86Avx2(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
void sha256CompressX86Sha(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
void sha512CompressX86Bmi2(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
void sha512CompressX86Avx512(HashState& state, const std::uint8_t* data,
                             std::size_t blocks) noexcept;
#elif defined(__aarch64__)
void sha1CompressArm(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
void sha256CompressArm(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
void sha512CompressArm(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept;
#endif

template <typename Word> constexpr Word swapBytes(Word value) noexcept {
    if constexpr (sizeof(Word) == 8) {
        return __builtin_bswap64(value);
    } else {
        return __builtin_bswap32(value);
    }
}

template <typename Word> inline Word loadBigEndian(const std::uint8_t* from) noexcept {
    Word value;
    std::memcpy(&value, from, sizeof value);
    return std::endian::native == std::endian::big ? value : swapBytes(value);
}
template <typename Word> inline Word loadLittleEndian(const std::uint8_t* from) noexcept {
    Word value;
    std::memcpy(&value, from, sizeof value);
    return std::endian::native == std::endian::little ? value : swapBytes(value);
}
template <typename Word> inline void storeBigEndian(std::uint8_t* to, Word value) noexcept {
    const Word stored = std::endian::native == std::endian::big ? value : swapBytes(value);
    std::memcpy(to, &stored, sizeof stored);
}
template <typename Word> inline void storeLittleEndian(std::uint8_t* to, Word value) noexcept {
    const Word stored = std::endian::native == std::endian::little ? value : swapBytes(value);
    std::memcpy(to, &stored, sizeof stored);
}

} // namespace vantrel::crypto

#endif
