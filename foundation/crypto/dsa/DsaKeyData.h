// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_DSA_DSAKEYDATA_H
#define FOUNDATION_CRYPTO_DSA_DSAKEYDATA_H

#include "foundation/crypto/bignum/limbs.h"
#include "foundation/text/byte_view.h"

#include <cstddef>
#include <memory>
#include <string_view>

namespace vantrel {

inline constexpr std::size_t kMinDsaBits = 512;
inline constexpr std::size_t kMaxDsaBits = 4096;
inline constexpr std::size_t kMinDsaOrderBits = 160;
inline constexpr std::size_t kMaxDsaOrderBits = 256;

// One DSA public key (FIPS 186-4): the domain p, q, g and the value y. Copies share the numbers,
// which do not change once they are loaded. The third verification with one key prepares tables
// that make all later ones faster. Several threads may use one key.
class DsaKeyData final {
public:
    struct Numbers;

    DsaKeyData() noexcept;
    DsaKeyData(const DsaKeyData&) noexcept;
    DsaKeyData(DsaKeyData&&) noexcept;
    DsaKeyData& operator=(const DsaKeyData&) noexcept;
    DsaKeyData& operator=(DsaKeyData&&) noexcept;
    ~DsaKeyData();

    // Takes the four numbers, big-endian, leading zero bytes allowed. Refused are: p even or
    // outside kMinDsaBits..kMaxDsaBits, q even, outside its limits or no divisor of p - 1, g
    // outside 2..p-2 or not of order q, y outside 2..p-2 or not of order q. On refusal `whyNot` is
    // a short fixed text and the key is empty.
    [[nodiscard]] bool load(ByteView pBE, ByteView qBE, ByteView gBE, ByteView yBE,
                            std::string_view& whyNot) noexcept;

    [[nodiscard]] bool isLoaded() const noexcept { return m_numbers != nullptr; }
    // The sizes of p and q in bits; 0 when empty.
    [[nodiscard]] std::size_t bits() const noexcept;
    [[nodiscard]] std::size_t orderBits() const noexcept;

    // Big-endian without leading zero bytes; views into the key.
    [[nodiscard]] ByteView p() const noexcept;
    [[nodiscard]] ByteView q() const noexcept;
    [[nodiscard]] ByteView g() const noexcept;
    [[nodiscard]] ByteView y() const noexcept;

    // For the verifier; null when empty.
    [[nodiscard]] const Numbers* numbers() const noexcept { return m_numbers.get(); }

private:
    std::shared_ptr<const Numbers> m_numbers;
};

} // namespace vantrel

#endif
