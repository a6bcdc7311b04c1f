// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_DSA_DSA_NUMBERS_H
#define FOUNDATION_CRYPTO_DSA_DSA_NUMBERS_H

#include "foundation/crypto/bignum/montgomery.h"
#include "foundation/crypto/dsa/DsaKeyData.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace vantrel {

namespace crypto {

inline constexpr std::size_t kMaxDsaLimbs = limbsForBits(kMaxDsaBits);
inline constexpr std::size_t kMaxDsaOrderLimbs = limbsForBits(kMaxDsaOrderBits);

// Room for a number modulo p in the form of any Montgomery kernel.
using DsaElement = std::array<Limb, kMaxDsaLimbs * 5 / 4 + 8>;

// The odd powers of a base: b, b^3, .. b^15, in Montgomery form.
inline constexpr unsigned kDsaWindow = 5;
using DsaPowers = std::array<DsaElement, std::size_t{1} << (kDsaWindow - 1)>;

// Powers of g and y for scalars cut into pieces of `pieceBits` bits, for keys used repeatedly.
struct DsaTables {
    static constexpr std::size_t kPieces = 4;
    std::array<DsaPowers, kPieces> g;
    std::array<DsaPowers, kPieces> y;
};

} // namespace crypto

// What a DsaKeyData holds, and the tables that repeated use adds.
struct DsaKeyData::Numbers {
    crypto::MontgomeryModulus p;
    std::array<crypto::Limb, crypto::kMaxDsaOrderLimbs> q;
    std::array<crypto::Limb, crypto::kMaxDsaLimbs> g;
    std::array<crypto::Limb, crypto::kMaxDsaLimbs> y;
    std::size_t bits = 0;
    std::size_t orderBits = 0;
    std::array<std::uint8_t, 3 * (kMaxDsaBits / 8) + kMaxDsaOrderBits / 8> bytes; // p, q, g, y
    ByteView pBytes, qBytes, gBytes, yBytes;                                      // into bytes

    // True when g^u1 * y^u2 mod p mod q is r. All are below q and of its limbs.
    [[nodiscard]] bool satisfies(std::span<const crypto::Limb> u1, std::span<const crypto::Limb> u2,
                                 std::span<const crypto::Limb> r) const noexcept;

    // Copies the four numbers into `bytes`.
    void keepBytes(ByteView pBE, ByteView qBE, ByteView gBE, ByteView yBE) noexcept;

    [[nodiscard]] std::span<const crypto::Limb> order() const noexcept {
        return {q.data(), crypto::limbsForBits(orderBits)};
    }

private:
    [[nodiscard]] const crypto::DsaTables* tables() const noexcept;
    void fillPowers(crypto::DsaPowers& powers, std::span<const crypto::Limb> base) const noexcept;
    void fillPieces(std::span<crypto::DsaPowers> pieces,
                    std::span<const crypto::Limb> base) const noexcept;

    mutable std::atomic<std::uint32_t> m_uses{0};
    mutable std::atomic<const crypto::DsaTables*> m_ready{nullptr};
    mutable std::unique_ptr<crypto::DsaTables> m_tables; // set once, by the thread that makes them
};

} // namespace vantrel

#endif
