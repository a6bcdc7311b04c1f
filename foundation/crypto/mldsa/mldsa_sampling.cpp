// SPDX-License-Identifier: MIT
#include "foundation/crypto/mldsa/mldsa_sampling.h"

#include "foundation/crypto/hash/shake.h"

#include <array>

namespace vantrel::crypto::mldsa {

// What is not below q is left out: one candidate in a thousand. How often that happens is for the
// seed to say, and no seed is known that makes it happen often.
void sampleEntry(Polynomial& entry, ByteView seed, std::uint8_t row, std::uint8_t column) noexcept {
    const std::array<std::uint8_t, 2> position = {column, row};
    Shake shake(kShake128Rate);
    shake.update(seed);
    shake.update(position);
    std::array<std::uint8_t, kShake128Rate> block; // a multiple of three
    std::size_t count = 0;
    while (count < kDegree) {
        shake.squeeze(block);
        for (std::size_t i = 0; i < block.size() && count < kDegree; i += 3) {
            const std::uint32_t candidate = block[i] | std::uint32_t{block[i + 1]} << 8 |
                                            (std::uint32_t{block[i + 2]} & 0x7f) << 16;
            if (candidate < kQ) {
                entry[count] = candidate;
                ++count;
            }
        }
    }
}

void sampleInBall(Polynomial& challenge, ByteView seed, std::size_t ones) noexcept {
    Shake shake(kShake256Rate);
    shake.update(seed);
    std::array<std::uint8_t, 8> signs;
    shake.squeeze(signs);
    challenge.fill(0);
    for (std::size_t i = kDegree - ones; i < kDegree; ++i) {
        std::array<std::uint8_t, 1> place;
        do {
            shake.squeeze(place);
        } while (place[0] > i);
        const std::size_t sign = i + ones - kDegree;
        challenge[i] = challenge[place[0]];
        challenge[place[0]] = (signs[sign / 8] >> sign % 8 & 1) != 0 ? kQ - 1 : 1;
    }
}

} // namespace vantrel::crypto::mldsa
