// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_HASH_SHAKE_H
#define FOUNDATION_CRYPTO_HASH_SHAKE_H

#include "foundation/crypto/hash/hash_kernels.h"
#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::crypto {

// The rates of the two functions, in bytes.
inline constexpr std::size_t kShake128Rate = 168;
inline constexpr std::size_t kShake256Rate = 136;

// SHAKE128 or SHAKE256 (FIPS 202, 6.2), running, with output of any length. It names no hash
// algorithm: nothing in a document can ask for it.
class Shake final {
public:
    // `rate` is one of the two above.
    explicit Shake(std::size_t rate) noexcept;

    // Not after the first output.
    void update(ByteView data) noexcept;
    // Fills `out` with the next bytes of the output.
    void squeeze(std::span<std::uint8_t> out) noexcept;

private:
    void endInput() noexcept;

    HashState m_state;
    HashCompress m_compress;
    std::size_t m_rate;
    std::size_t m_used = 0; // bytes of the buffer that hold input, or of the block that are out
    bool m_squeezing = false;
    std::uint8_t m_buffer[kShake128Rate];
};

} // namespace vantrel::crypto

#endif
