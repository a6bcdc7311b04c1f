// SPDX-License-Identifier: MIT
#include "foundation/crypto/rsa/recovered_values.h"

#include <algorithm>

namespace vantrel {

// What the key does not take is not held: its refusal is found out anew.
void RecoveredValues::recover(const RsaKeyData& key, std::span<const ByteView> signatures) {
    const std::size_t size = key.sizeInBytes();
    m_held.reset();
    m_modulus.assign(key.modulus().begin(), key.modulus().end());
    m_exponent.assign(key.exponent().begin(), key.exponent().end());
    m_signatures.resize(signatures.size() * size);
    m_blocks.resize(signatures.size() * size);
    m_held = key.recoverEach(signatures, m_blocks);
    for (std::size_t i = 0; i < signatures.size(); ++i) {
        if (m_held[i]) {
            std::copy(signatures[i].begin(), signatures[i].end(), m_signatures.data() + i * size);
        }
    }
}

ByteView RecoveredValues::find(const RsaKeyData& key, ByteView signature) const noexcept {
    const std::size_t size = m_modulus.size();
    if (signature.size() != size || asText(key.modulus()) != asText(m_modulus) ||
        asText(key.exponent()) != asText(m_exponent)) {
        return {};
    }
    const std::string_view wanted = asText(signature);
    for (std::size_t at = 0; at < m_signatures.size(); at += size) {
        if (m_held[at / size] &&
            std::string_view(asText(m_signatures)).substr(at, size) == wanted) {
            return ByteView(m_blocks).subspan(at, size);
        }
    }
    return {};
}

} // namespace vantrel
