// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_RSA_RECOVERED_VALUES_H
#define FOUNDATION_CRYPTO_RSA_RECOVERED_VALUES_H

#include "foundation/crypto/rsa/RsaKeyData.h"
#include "foundation/text/byte_view.h"

#include <cstdint>
#include <span>
#include <vector>

namespace vantrel {

// What one key recovers from a few signatures, worked out together (RsaKeyData::recoverEach).
// Looked up by the octets of the key's numbers and of the signature, so that it gives what the key
// would give, whatever became of the key since.
class RecoveredValues final {
public:
    // Holds these from now on, at most kRsaValuesAtOnce. May throw std::bad_alloc, and is empty
    // then.
    void recover(const RsaKeyData& key, std::span<const ByteView> signatures);

    // The block that recover() of the key gives for the signature; empty where it is not held.
    [[nodiscard]] ByteView find(const RsaKeyData& key, ByteView signature) const noexcept;

private:
    std::vector<std::uint8_t> m_modulus;
    std::vector<std::uint8_t> m_exponent;
    // One behind the other, each as long as the modulus; of those that are not held, anything.
    std::vector<std::uint8_t> m_signatures;
    std::vector<std::uint8_t> m_blocks;
    RsaKeyData::Recovered m_held;
};

} // namespace vantrel

#endif
