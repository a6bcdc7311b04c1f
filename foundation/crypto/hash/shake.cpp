// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/shake.h"

#include "foundation/crypto/hash/hash_ids.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace vantrel::crypto {

// The sponge is that of SHA-3, whose kernels take any of the rates.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): the buffer is written before it is read
Shake::Shake(std::size_t rate) noexcept
    : m_compress(chosenHashKernel(kHashSha3_256).run), m_rate(rate) {
    assert(rate == kShake128Rate || rate == kShake256Rate);
    m_state.sponge = {.lanes = {}, .rate = rate};
}

void Shake::update(ByteView data) noexcept {
    assert(!m_squeezing);
    while (!data.empty()) {
        const std::size_t count = std::min(data.size(), m_rate - m_used);
        std::memcpy(m_buffer + m_used, data.data(), count);
        m_used += count;
        data = data.subspan(count);
        if (m_used == m_rate) {
            m_compress(m_state, m_buffer, 1);
            m_used = 0;
        }
    }
}

// FIPS 202, B.2: the bits 1111 that mark SHAKE, a one bit, zeros, and a one bit at the end.
void Shake::endInput() noexcept {
    std::memset(m_buffer + m_used, 0, m_rate - m_used);
    m_buffer[m_used] = 0x1f;
    m_buffer[m_rate - 1] |= 0x80;
    m_compress(m_state, m_buffer, 1);
    m_squeezing = true;
    m_used = 0;
    // A block of zeros absorbed is the permutation alone.
    std::memset(m_buffer, 0, m_rate);
}

void Shake::squeeze(std::span<std::uint8_t> out) noexcept {
    if (!m_squeezing) {
        endInput();
    }
    for (std::uint8_t& byte : out) {
        if (m_used == m_rate) {
            m_compress(m_state, m_buffer, 1);
            m_used = 0;
        }
        byte = static_cast<std::uint8_t>(m_state.sponge.lanes[m_used / 8] >> (m_used % 8 * 8));
        ++m_used;
    }
}

} // namespace vantrel::crypto
