// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_HASH_SHAKE256_H
#define FOUNDATION_CRYPTO_HASH_SHAKE256_H

#include "foundation/crypto/hash/hash_kernels.h"
#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::crypto {

// SHAKE256 (FIPS 202, 6.2), running, with up to one block of output. It names no hash algorithm:
// nothing in a document can ask for it.
class Shake256 final {
public:
    static constexpr std::size_t kRate = 136;

    Shake256() noexcept;

    void update(ByteView data) noexcept;
    // Fills `out`, of at most kRate bytes. The object is used up.
    void final(std::span<std::uint8_t> out) noexcept;

private:
    HashState m_state;
    HashCompress m_compress;
    std::size_t m_used = 0; // bytes of the buffer
    std::uint8_t m_buffer[kRate];
};

} // namespace vantrel::crypto

#endif
