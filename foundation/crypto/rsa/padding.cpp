// SPDX-License-Identifier: MIT
#include "foundation/crypto/rsa/padding.h"

#include "foundation/crypto/hash/hasher.h"
#include "foundation/crypto/rsa/digest_info.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace vantrel::crypto {
namespace {

constexpr std::size_t kMinPkcs1Fill = 8;

// data := data xor MGF1(seed) (RFC 8017, B.2.1).
void unmask(std::span<std::uint8_t> data, ByteView seed, int hashId) noexcept {
    Hasher seeded(hashId);
    seeded.update(seed);
    std::array<std::uint8_t, kMaxDigestSize> mask;
    const std::size_t size = seeded.digestSize();
    std::uint32_t counter = 0;
    for (std::size_t done = 0; done < data.size(); done += size, ++counter) {
        const std::array<std::uint8_t, 4> suffix = {
            static_cast<std::uint8_t>(counter >> 24), static_cast<std::uint8_t>(counter >> 16),
            static_cast<std::uint8_t>(counter >> 8), static_cast<std::uint8_t>(counter)};
        Hasher hasher = seeded;
        hasher.update(suffix);
        hasher.final(std::span(mask).first(size));
        const std::size_t count = std::min(size, data.size() - done);
        for (std::size_t i = 0; i < count; ++i) {
            data[done + i] ^= mask[i];
        }
    }
}

// The number of bytes FF at the front; eight at a time, since nearly the whole block is of them.
std::size_t fillOf(ByteView bytes) noexcept {
    constexpr std::uint64_t kEight = ~std::uint64_t{0};
    std::size_t fill = 0;
    for (std::uint64_t word = kEight; bytes.size() - fill >= 8; fill += 8) {
        std::memcpy(&word, bytes.data() + fill, 8);
        if (word != kEight) {
            break;
        }
    }
    while (fill < bytes.size() && bytes[fill] == 0xff) {
        ++fill;
    }
    return fill;
}

} // namespace

PaddingVerdict checkPkcs1(ByteView block, int hashId, ByteView hash) noexcept {
    if (block.size() < 3 + kMinPkcs1Fill || block[0] != 0 || block[1] != 1) {
        return PaddingVerdict::NoForm;
    }
    const ByteView afterType = block.subspan(2);
    const std::size_t fill = fillOf(afterType);
    if (fill < kMinPkcs1Fill || fill == afterType.size() || afterType[fill] != 0) {
        return PaddingVerdict::NoForm;
    }
    // The fill ends at the first byte that is not FF, so that comparing what follows it, to the
    // end of the block, compares the whole block.
    const ByteView content = afterType.subspan(fill + 1);
    for (const bool withNull : {true, false}) {
        const ByteView prefix = digestInfoPrefix(hashId, withNull);
        if (!prefix.empty() && content.size() == prefix.size() + hash.size() &&
            std::equal(prefix.begin(), prefix.end(), content.begin()) &&
            std::equal(hash.begin(), hash.end(), content.subspan(prefix.size()).begin())) {
            return PaddingVerdict::Match;
        }
    }
    return PaddingVerdict::Different;
}

PaddingVerdict checkPss(std::span<std::uint8_t> block, std::size_t modulusBits, int hashId,
                        int mgfHashId, ByteView hash, int saltLength) noexcept {
    const std::size_t encodedBits = modulusBits - 1;
    const std::size_t encodedSize = (encodedBits + 7) / 8;
    // A modulus of 8k + 1 bits leaves a whole zero byte in front of the encoding.
    if (encodedSize < block.size() && block[0] != 0) {
        return PaddingVerdict::NoForm;
    }
    const std::span<std::uint8_t> encoded = block.last(encodedSize);
    const std::size_t hashSize = hash.size();
    if (encodedSize < hashSize + 2 || encoded.back() != 0xbc) {
        return PaddingVerdict::NoForm;
    }
    const std::span<std::uint8_t> masked = encoded.first(encodedSize - hashSize - 1);
    const ByteView digest = encoded.subspan(masked.size(), hashSize);
    const std::uint8_t topMask = static_cast<std::uint8_t>(0xff >> (8 * encodedSize - encodedBits));
    if ((masked[0] & static_cast<std::uint8_t>(~topMask)) != 0) {
        return PaddingVerdict::NoForm;
    }
    unmask(masked, digest, mgfHashId);
    masked[0] &= topMask;
    const auto one =
        std::find_if(masked.begin(), masked.end(), [](std::uint8_t byte) { return byte != 0; });
    if (one == masked.end() || *one != 1) {
        return PaddingVerdict::NoForm;
    }
    const ByteView salt(one + 1, masked.end());
    if (saltLength != kAnySalt && !std::cmp_equal(salt.size(), saltLength)) {
        return PaddingVerdict::Different;
    }
    // H' = Hash(00 00 00 00 00 00 00 00 || mHash || salt)
    const std::array<std::uint8_t, 8> zeros{};
    std::array<std::uint8_t, kMaxDigestSize> expected;
    Hasher hasher(hashId);
    hasher.update(zeros);
    hasher.update(hash);
    hasher.update(salt);
    hasher.final(std::span(expected).first(hashSize));
    return std::equal(digest.begin(), digest.end(), expected.begin()) ? PaddingVerdict::Match
                                                                      : PaddingVerdict::Different;
}

} // namespace vantrel::crypto
