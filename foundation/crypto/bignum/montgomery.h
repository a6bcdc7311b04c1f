// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_BIGNUM_MONTGOMERY_H
#define FOUNDATION_CRYPTO_BIGNUM_MONTGOMERY_H

#include "foundation/crypto/bignum/limbs.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::crypto {

inline constexpr std::size_t kMaxModulusBits = 16384;
inline constexpr std::size_t kMaxModulusLimbs = kMaxModulusBits / kLimbBits;
inline constexpr std::size_t kPowersAtOnce = 8;

struct MontgomeryKernel;

// One odd modulus n > 1 with its precomputed values, and Montgomery arithmetic over it. Numbers
// are in the representation of the kernel that was chosen when the modulus was set (`size()` limbs
// of its own radix); they enter by `enter` and leave by `leave`. Fixed storage, no allocation.
// Variable time: public data only. Immutable once set, so that threads may share it; what only
// numbers that enter need is worked out with the first of them, since many keys are never used.
class MontgomeryModulus final {
public:
    // The members are left unset on purpose: a modulus is several kilobytes.
    MontgomeryModulus() noexcept {} // NOLINT(modernize-use-equals-default)
    MontgomeryModulus(const MontgomeryModulus& other) noexcept { copyFrom(other); }
    MontgomeryModulus& operator=(const MontgomeryModulus& other) noexcept;
    ~MontgomeryModulus() = default;

    // Sets n, which must be odd, above 1, without leading zero limbs, of at most kMaxModulusLimbs.
    // The best kernel for its size on this machine is taken, or the one given.
    void set(std::span<const Limb> n) noexcept;
    void set(std::span<const Limb> n, const MontgomeryKernel& kernel) noexcept;

    // The limbs of n, and the number of limbs of a number in Montgomery form.
    [[nodiscard]] std::span<const Limb> value() const noexcept { return {m_n.data(), m_limbs}; }
    [[nodiscard]] std::size_t size() const noexcept { return m_size; }
    [[nodiscard]] const MontgomeryKernel& kernel() const noexcept { return *m_kernel; }

    // z := x * R mod n, for x[k] below n with k = value().size().
    void enter(std::span<Limb> z, std::span<const Limb> x) const noexcept;
    // z[k] := x / R mod n, fully reduced.
    void leave(std::span<Limb> z, std::span<const Limb> x) const noexcept;
    // z := x * y / R mod n and z := x * x / R mod n, in Montgomery form; z may alias x and y.
    void multiply(std::span<Limb> z, std::span<const Limb> x,
                  std::span<const Limb> y) const noexcept;
    void square(std::span<Limb> z, std::span<const Limb> x) const noexcept;
    // z := R mod n, the number one.
    void one(std::span<Limb> z) const noexcept;

    // z[k] := x^exponent mod n for x[k] below n, both plain. exponent[] > 0.
    void power(std::span<Limb> z, std::span<const Limb> x,
               std::span<const Limb> exponent) const noexcept;

    // The same power of several numbers, at most kPowersAtOnce, which stand one behind the other in
    // x and z, value().size() limbs each. The exponent is odd and above 1. z may be x.
    void powerOfEach(std::span<Limb> z, std::span<const Limb> x,
                     std::span<const Limb> exponent) const noexcept;
    // Whether that takes less time than so many powers one by one.
    [[nodiscard]] bool hasFastPowerOfEach() const noexcept;

private:
    void copyFrom(const MontgomeryModulus& other) noexcept;
    // R^2 mod n in the kernel's radix: what is kept, or `own` while another thread works that out.
    [[nodiscard]] std::span<const Limb> rSquared(std::span<Limb> own) const noexcept;
    void computeRSquared(std::span<Limb> form) const noexcept;
    void powersBeside(std::span<Limb> z, std::span<const Limb> x,
                      std::span<const Limb> exponent) const noexcept;
    // z[size] := R^2 mod n in the kernel's radix, for the R of numbers with so many digits.
    void rSquaredOf(std::span<Limb> z) const noexcept;
    // Between limbs and the digits of the kernel; the latter reduces from below 2n.
    void toKernel(std::span<Limb> z, std::span<const Limb> x) const noexcept;
    void fromKernel(std::span<Limb> z, std::span<const Limb> x) const noexcept;

    const MontgomeryKernel* m_kernel = nullptr;
    std::size_t m_limbs = 0; // of n
    std::size_t m_size = 0;  // of a number in Montgomery form
    std::size_t m_steps = 0; // digits that R counts; m_size less the padding
    Limb m_negInverse = 0;   // -1/n modulo the kernel's radix
    std::array<Limb, kMaxModulusLimbs> m_n;
    alignas(64) std::array<Limb, kMaxModulusLimbs> m_kernelN; // n in the kernel's radix
    enum class Kept : std::uint8_t { Nothing, InWork, RSquared };
    mutable std::atomic<Kept> m_kept = Kept::Nothing;
    alignas(64) mutable std::array<Limb, kMaxModulusLimbs> m_rSquared;
};

} // namespace vantrel::crypto

#endif
