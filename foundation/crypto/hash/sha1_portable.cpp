// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/compress.h"
#include "foundation/crypto/hash/sha1_rounds.h"
#include "foundation/crypto/hash/unroll.h"

namespace vantrel::crypto {

// FIPS 180-4, 6.1.2. The schedule is a ring of 16 words.
void sha1Compress(HashState& state, const std::uint8_t* data, std::size_t blocks) noexcept {
    for (; blocks != 0; --blocks, data += 64) {
        std::uint32_t w[16];
        std::uint32_t v[5];
        unroll<5>([&](auto i) VANTREL_INLINE_STEP { v[i] = state.w32[i]; });

        unroll<80>([&](auto t) VANTREL_INLINE_STEP {
            std::uint32_t& word = w[t % 16];
            if constexpr (t < 16) {
                word = loadBigEndian<std::uint32_t>(data + t * 4);
            } else {
                word = std::rotl(w[(t + 13) % 16] ^ w[(t + 8) % 16] ^ w[(t + 2) % 16] ^ word, 1);
            }
            sha1Round<t>(v, word + kSha1Constants[t / 20]);
        });
        unroll<5>([&](auto i) VANTREL_INLINE_STEP { state.w32[i] += v[i]; });
    }
}

} // namespace vantrel::crypto
