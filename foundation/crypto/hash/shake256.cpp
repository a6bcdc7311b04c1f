// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/shake256.h"

#include "foundation/crypto/hash/hash_ids.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace vantrel::crypto {

// The sponge is that of SHA3-256, which has the same rate.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): the buffer is written before it is read
Shake256::Shake256() noexcept : m_compress(chosenHashKernel(kHashSha3_256).run) {
    m_state.sponge = {.lanes = {}, .rate = kRate};
}

void Shake256::update(ByteView data) noexcept {
    while (!data.empty()) {
        const std::size_t count = std::min(data.size(), kRate - m_used);
        std::memcpy(m_buffer + m_used, data.data(), count);
        m_used += count;
        data = data.subspan(count);
        if (m_used == kRate) {
            m_compress(m_state, m_buffer, 1);
            m_used = 0;
        }
    }
}

void Shake256::final(std::span<std::uint8_t> out) noexcept {
    assert(out.size() <= kRate);
    // FIPS 202, B.2: the bits 1111 that mark SHAKE, a one bit, zeros, and a one bit at the end.
    std::memset(m_buffer + m_used, 0, kRate - m_used);
    m_buffer[m_used] = 0x1f;
    m_buffer[kRate - 1] |= 0x80;
    m_compress(m_state, m_buffer, 1);
    for (std::size_t i = 0; i < out.size(); ++i) {
        out[i] = static_cast<std::uint8_t>(m_state.sponge.lanes[i / 8] >> (i % 8 * 8));
    }
}

} // namespace vantrel::crypto
