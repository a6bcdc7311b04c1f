// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_HASH_HASHER_H
#define FOUNDATION_CRYPTO_HASH_HASHER_H

#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/hash/hash_kernels.h"
#include "foundation/text/byte_view.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace vantrel::crypto {

// A running hash of any algorithm. It lives on the stack, allocates nothing and can be copied at
// any point (the copy goes on by itself). An update that only fills the buffer is inline and costs
// a comparison and a memcpy; whole blocks are hashed where they lie.
class Hasher final {
public:
    // A hasher for an identifier that names no algorithm swallows everything and yields nothing.
    explicit Hasher(int id) noexcept;
    // The same with a given kernel of the algorithm, which must be able to run here.
    Hasher(int id, const HashKernel& kernel) noexcept;

    [[nodiscard]] bool valid() const noexcept { return m_compress != nullptr; }
    [[nodiscard]] int id() const noexcept { return m_id; }
    [[nodiscard]] std::size_t digestSize() const noexcept { return m_digestSize; }
    [[nodiscard]] std::size_t blockSize() const noexcept { return m_blockSize; }

    void update(ByteView data) noexcept {
        if (m_room > kMaxHashBlockSize) {
            __builtin_unreachable(); // tells the compiler how much the memcpy can write
        }
        // m_room is 0 in an invalid hasher and never 0 in a valid one.
        if (data.size() < m_room) {
            if (!data.empty()) {
                std::memcpy(m_buffer + (m_blockSize - m_room), data.data(), data.size());
                m_room -= static_cast<std::uint32_t>(data.size());
            }
            return;
        }
        updateBlocks(data);
    }
    void update(std::uint8_t byte) noexcept { update(ByteView(&byte, 1)); }

    // Writes the digest to the front of `out`, which must hold digestSize() bytes, and returns that
    // part. The hasher is used up; assign a new one, or a copy saved before, to start again.
    std::span<std::uint8_t> final(std::span<std::uint8_t> out) noexcept;

private:
    void start(const HashInfo& hash, const HashKernel& kernel) noexcept;
    void updateBlocks(ByteView data) noexcept;
    void padMd2() noexcept;
    void padSponge() noexcept;
    void padWithLength() noexcept;

    HashState m_state;
    HashCompress m_compress = nullptr;
    std::uint64_t m_blocks = 0; // absorbed so far, those in the buffer not counted
    std::uint32_t m_room = 0;   // free bytes of the buffer's current block
    std::uint8_t m_blockSize = 0;
    std::uint8_t m_digestSize = 0;
    std::uint8_t m_id = 0;
    std::uint8_t m_buffer[kMaxHashBlockSize];
};

// The digest of `data`, at the front of `out`, which must be large enough. Empty for an identifier
// that names no algorithm.
std::span<std::uint8_t> hashBytes(int id, ByteView data, std::span<std::uint8_t> out) noexcept;

} // namespace vantrel::crypto

#endif
