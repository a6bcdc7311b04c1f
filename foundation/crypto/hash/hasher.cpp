// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/hasher.h"

#include "foundation/crypto/hash/compress.h"

namespace vantrel::crypto {

namespace {

// FIPS 180-4, 5.3.1; its first words are those of MD5 (RFC 1321, 3.3) and of RIPEMD.
constexpr HashState kSha1Start = {
    .w32 = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0, 0, 0, 0}};
// FIPS 180-4, 5.3.3
constexpr HashState kSha256Start = {.w32 = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                            0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19}};
// FIPS 180-4, 5.3.4
constexpr HashState kSha384Start = {
    .w64 = {0xcbbb9d5dc1059ed8, 0x629a292a367cd507, 0x9159015a3070dd17, 0x152fecd8f70e5939,
            0x67332667ffc00b31, 0x8eb44a8768581511, 0xdb0c2e0d64f98fa7, 0x47b5481dbefa4fa4}};
// FIPS 180-4, 5.3.5
constexpr HashState kSha512Start = {
    .w64 = {0x6a09e667f3bcc908, 0xbb67ae8584caa73b, 0x3c6ef372fe94f82b, 0xa54ff53a5f1d36f1,
            0x510e527fade682d1, 0x9b05688c2b3e6c1f, 0x1f83d9abfb41bd6b, 0x5be0cd19137e2179}};
// FIPS 180-4, 5.3.2
constexpr HashState kSha224Start = {.w32 = {0xc1059ed8, 0x367cd507, 0x3070dd17, 0xf70e5939,
                                            0xffc00b31, 0x68581511, 0x64f98fa7, 0xbefa4fa4}};
constexpr HashState kMd2Start = {.w64 = {0, 0, 0, 0, 0, 0, 0, 0}};

const HashState& startState(int id) noexcept {
    switch (id) {
    case kHashSha256: return kSha256Start;
    case kHashSha384: return kSha384Start;
    case kHashSha512: return kSha512Start;
    case kHashSha224: return kSha224Start;
    case kHashMd2: return kMd2Start;
    default: return kSha1Start;
    }
}

bool isSponge(int id) noexcept { return id >= kHashSha3_224 && id <= kHashSha3_512; }

// The order in which an algorithm writes its words and its length.
bool isLittleEndian(int id) noexcept {
    return id == kHashMd5 || id == kHashRipemd128 || id == kHashRipemd160;
}

void writeDigest(int id, const HashState& state, std::span<std::uint8_t> out) noexcept {
    if (id == kHashMd2) {
        std::memcpy(out.data(), state.bytes, out.size());
    } else if (isLittleEndian(id)) {
        for (std::size_t i = 0; i * 4 < out.size(); ++i) {
            storeLittleEndian(out.data() + i * 4, state.w32[i]);
        }
    } else if (isSponge(id)) {
        for (std::size_t i = 0; i < out.size(); ++i) {
            out[i] = static_cast<std::uint8_t>(state.sponge.lanes[i / 8] >> (i % 8 * 8));
        }
    } else if (id == kHashSha384 || id == kHashSha512) {
        for (std::size_t i = 0; i * 8 < out.size(); ++i) {
            storeBigEndian(out.data() + i * 8, state.w64[i]);
        }
    } else {
        for (std::size_t i = 0; i * 4 < out.size(); ++i) {
            storeBigEndian(out.data() + i * 4, state.w32[i]);
        }
    }
}

} // namespace

// State and buffer are written before they are read; filling them here would be felt in short
// hashes.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
Hasher::Hasher(int id) noexcept {
    if (const HashInfo* const hash = findHash(id); hash != nullptr) {
        start(*hash, chosenHashKernel(id));
    }
}

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): as above
Hasher::Hasher(int id, const HashKernel& kernel) noexcept {
    if (const HashInfo* const hash = findHash(id); hash != nullptr) {
        start(*hash, kernel);
    }
}

void Hasher::start(const HashInfo& hash, const HashKernel& kernel) noexcept {
    if (isSponge(hash.id)) {
        m_state.sponge = {.lanes = {}, .rate = hash.blockSize};
    } else {
        // The other algorithms' states end here; most of a sponge's would be copied for nothing.
        std::memcpy(m_state.w64, startState(hash.id).w64, sizeof m_state.w64);
    }
    m_compress = kernel.run;
    m_room = static_cast<std::uint32_t>(hash.blockSize);
    m_blockSize = static_cast<std::uint8_t>(hash.blockSize);
    m_digestSize = static_cast<std::uint8_t>(hash.digestSize);
    m_id = static_cast<std::uint8_t>(hash.id);
}

void Hasher::updateBlocks(ByteView data) noexcept {
    if (!valid()) {
        return;
    }
    if (m_room < m_blockSize) {
        std::memcpy(m_buffer + (m_blockSize - m_room), data.data(), m_room);
        data = data.subspan(m_room);
        m_compress(m_state, m_buffer, 1);
        ++m_blocks;
    }
    const std::size_t whole = data.size() / m_blockSize;
    if (whole != 0) {
        m_compress(m_state, data.data(), whole);
        m_blocks += whole;
        data = data.subspan(whole * m_blockSize);
    }
    if (!data.empty()) {
        std::memcpy(m_buffer, data.data(), data.size());
    }
    m_room = m_blockSize - static_cast<std::uint32_t>(data.size());
}

// RFC 1319, 3.1 and 3.2: always some padding, then the checksum as one more block.
void Hasher::padMd2() noexcept {
    std::memset(m_buffer + (m_blockSize - m_room), static_cast<int>(m_room), m_room);
    m_compress(m_state, m_buffer, 1);
    std::memcpy(m_buffer, m_state.bytes + 16, 16);
    m_compress(m_state, m_buffer, 1);
}

// A one bit, zeros, and the length in bits in 8 bytes (16 with blocks of 128 bytes) at the end.
void Hasher::padWithLength() noexcept {
    const std::size_t lengthSize = m_blockSize / 8;
    std::size_t used = m_blockSize - m_room;
    const std::uint64_t bytes = m_blocks * m_blockSize + used;

    m_buffer[used++] = 0x80;
    if (m_blockSize - used < lengthSize) {
        std::memset(m_buffer + used, 0, m_blockSize - used);
        m_compress(m_state, m_buffer, 1);
        used = 0;
    }
    std::memset(m_buffer + used, 0, m_blockSize - used);
    std::uint8_t* const last = m_buffer + m_blockSize - 8;
    if (isLittleEndian(m_id)) {
        storeLittleEndian(last, bytes << 3);
    } else {
        storeBigEndian(last, bytes << 3);
        if (lengthSize == 16) {
            storeBigEndian(last - 8, bytes >> 61);
        }
    }
    m_compress(m_state, m_buffer, 1);
}

// FIPS 202, B.2: the bits 01 that mark SHA-3, a one bit, zeros, and a one bit at the end.
void Hasher::padSponge() noexcept {
    std::memset(m_buffer + (m_blockSize - m_room), 0, m_room);
    m_buffer[m_blockSize - m_room] = 0x06;
    m_buffer[m_blockSize - 1] |= 0x80;
    m_compress(m_state, m_buffer, 1);
}

std::span<std::uint8_t> Hasher::final(std::span<std::uint8_t> out) noexcept {
    if (!valid()) {
        return {};
    }
    assert(out.size() >= m_digestSize);
    if (m_id == kHashMd2) {
        padMd2();
    } else if (isSponge(m_id)) {
        padSponge();
    } else {
        padWithLength();
    }
    const std::span<std::uint8_t> digest = out.first(m_digestSize);
    writeDigest(m_id, m_state, digest);
    return digest;
}

std::span<std::uint8_t> hashBytes(int id, ByteView data, std::span<std::uint8_t> out) noexcept {
    Hasher hasher(id);
    hasher.update(data);
    return hasher.final(out);
}

} // namespace vantrel::crypto
