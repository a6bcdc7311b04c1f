// SPDX-License-Identifier: MIT
#include "foundation/crypto/bignum/montgomery.h"

#include "foundation/crypto/bignum/montgomery_kernels.h"

#include <algorithm>
#include <bit>
#include <cassert>

namespace vantrel::crypto {
namespace {

using Buffer = std::array<Limb, kMaxModulusLimbs>;

// x := x * 2^shift mod n for x below n and shift < 64. n has `bits` >= 64 bits, or the shift goes
// bit by bit.
void shiftModulo(std::span<Limb> x, std::size_t shift, std::span<const Limb> n,
                 std::size_t bits) noexcept {
    if (bits < 2 * kLimbBits) {
        for (; shift > 0; --shift) {
            if (shiftLeftOne(x) != 0 || !lessThan(x, n)) {
                subtract(x, n);
            }
        }
        return;
    }
    if (shift == 0) {
        return;
    }
    Limb top = 0;
    for (Limb& limb : x) {
        const Limb next = limb >> (kLimbBits - shift);
        limb = limb << shift | top;
        top = next;
    }
    // The quotient from the leading 64 bits of n, rounded so that it is never too large and at
    // most a few too small.
    const std::size_t k = n.size();
    const std::size_t spare = k * kLimbBits - bits; // < 64
    const auto leading = [spare](Limb high, Limb low) {
        return spare == 0 ? high : high << spare | low >> (kLimbBits - spare);
    };
    const DoubleLimb numerator =
        static_cast<DoubleLimb>(leading(top, x[k - 1])) << kLimbBits | leading(x[k - 1], x[k - 2]);
    const DoubleLimb divisor = static_cast<DoubleLimb>(leading(n[k - 1], n[k - 2])) + 1;
    const Limb quotient = static_cast<Limb>(numerator / divisor);
    // x := x - quotient * n
    Limb carry = 0;
    Limb borrow = 0;
    for (std::size_t i = 0; i < k; ++i) {
        const DoubleLimb product = static_cast<DoubleLimb>(quotient) * n[i] + carry;
        carry = static_cast<Limb>(product >> kLimbBits);
        const DoubleLimb difference =
            static_cast<DoubleLimb>(x[i]) - static_cast<Limb>(product) - borrow;
        x[i] = static_cast<Limb>(difference);
        borrow = static_cast<Limb>(difference >> kLimbBits) & 1;
    }
    top -= carry + borrow;
    while (top != 0 || !lessThan(x, n)) {
        top -= subtract(x, n);
    }
}

// Splits x into digits of `bits` < 64 bits; digits beyond the number become zero.
void toDigits(std::span<Limb> digits, std::span<const Limb> x, std::size_t bits) noexcept {
    const Limb mask = (Limb{1} << bits) - 1;
    std::size_t position = 0;
    for (Limb& digit : digits) {
        const std::size_t limb = position / kLimbBits;
        const std::size_t offset = position % kLimbBits;
        Limb value = limb < x.size() ? x[limb] >> offset : 0;
        if (offset + bits > kLimbBits && limb + 1 < x.size()) {
            value |= x[limb + 1] << (kLimbBits - offset);
        }
        digit = value & mask;
        position += bits;
    }
}

// The reverse; what does not fit into x must be zero. x may be the storage of the digits.
void fromDigits(std::span<Limb> x, std::span<const Limb> digits, std::size_t bits) noexcept {
    DoubleLimb pending = 0;
    std::size_t have = 0;
    std::size_t next = 0;
    for (Limb& limb : x) {
        while (have < kLimbBits && next < digits.size()) {
            pending |= static_cast<DoubleLimb>(digits[next++]) << have;
            have += bits;
        }
        limb = static_cast<Limb>(pending);
        pending >>= kLimbBits;
        have = have > kLimbBits ? have - kLimbBits : 0;
    }
}

// Calls step(isSet, isLast) for the bits of an exponent from the second highest down.
template <class Step>
void forEachBitBelowTop(std::span<const Limb> exponent, const Step& step) noexcept {
    for (std::size_t i = bitLength(exponent) - 1; i-- > 0;) {
        step((exponent[i / kLimbBits] >> (i % kLimbBits) & 1) != 0, i == 0);
    }
}

} // namespace

MontgomeryModulus& MontgomeryModulus::operator=(const MontgomeryModulus& other) noexcept {
    if (this != &other) {
        copyFrom(other);
    }
    return *this;
}

void MontgomeryModulus::copyFrom(const MontgomeryModulus& other) noexcept {
    m_kernel = other.m_kernel;
    m_limbs = other.m_limbs;
    m_size = other.m_size;
    m_steps = other.m_steps;
    m_negInverse = other.m_negInverse;
    std::copy_n(other.m_n.begin(), m_limbs, m_n.begin());
    std::copy_n(other.m_kernelN.begin(), m_size, m_kernelN.begin());
    m_kept = Kept::Nothing;
    if (other.m_kept.load(std::memory_order_acquire) == Kept::RSquared) {
        std::copy_n(other.m_rSquared.begin(), m_size, m_rSquared.begin());
        m_kept = Kept::RSquared;
    }
}

void MontgomeryModulus::set(std::span<const Limb> n) noexcept {
    set(n, chosenMontgomeryKernel(n.size()));
}

void MontgomeryModulus::set(std::span<const Limb> n, const MontgomeryKernel& kernel) noexcept {
    assert(!n.empty() && n.size() <= kMaxModulusLimbs && (n[0] & 1) == 1 && n.back() != 0);
    m_kernel = &kernel;
    m_limbs = n.size();
    std::copy(n.begin(), n.end(), m_n.begin());
    m_negInverse = negInverse(n[0]);
    if (kernel.radixBits == kLimbBits) {
        m_steps = m_limbs;
        m_size = m_limbs;
        std::copy(n.begin(), n.end(), m_kernelN.begin());
    } else {
        // Two bits to spare, so that R is at least 4n.
        m_steps = (bitLength(n) + 2 + kernel.radixBits - 1) / kernel.radixBits;
        m_size = (m_steps + kernel.padding - 1) / kernel.padding * kernel.padding;
        m_negInverse &= (Limb{1} << kernel.radixBits) - 1;
        toDigits({m_kernelN.data(), m_size}, n, kernel.radixBits);
    }
    m_kept = Kept::Nothing;
}

std::span<const Limb> MontgomeryModulus::rSquared(std::span<Limb> own) const noexcept {
    const std::span<Limb> shared(m_rSquared.data(), m_size);
    Kept kept = m_kept.load(std::memory_order_acquire);
    if (kept == Kept::Nothing && m_kept.compare_exchange_strong(kept, Kept::InWork)) {
        computeRSquared(shared);
        m_kept.store(Kept::RSquared, std::memory_order_release);
        return shared;
    }
    if (kept == Kept::RSquared) {
        return shared;
    }
    // To wait for the other thread would take as long.
    computeRSquared(own.first(m_size));
    return own.first(m_size);
}

// The Montgomery form of 2^j is doubled (j + 1) or squared (2j) until it is that of R. A division
// would cost several multiplications; this costs about five and a few additions.
void MontgomeryModulus::computeRSquared(std::span<Limb> form) const noexcept {
    const std::span<const Limb> n = value();
    const std::size_t bits = bitLength(n);
    const std::size_t rBits = m_steps * m_kernel->radixBits;

    // 2^bits mod n = 2^bits - n, since n has its top bit at bits - 1.
    Buffer buffer;
    const std::span<Limb> x(buffer.data(), m_limbs);
    std::fill(x.begin(), x.end(), 0);
    subtract(x, n);
    if (bits % kLimbBits != 0) {
        x.back() &= (Limb{1} << (bits % kLimbBits)) - 1;
    }
    // The exponent's leading bits at once, up to two limbs of them, the others by squaring.
    std::size_t squarings = 0;
    while ((rBits >> squarings) >= 2 * kLimbBits - 2) {
        ++squarings;
    }
    std::size_t distance = rBits - bits + (rBits >> squarings);
    while (distance > 0) {
        const std::size_t step = std::min<std::size_t>(distance, kLimbBits - 1);
        shiftModulo(x, step, n, bits);
        distance -= step;
    }
    toKernel(form, x);
    while (squarings-- > 0) {
        square(form, form);
        if ((rBits >> squarings & 1) != 0) {
            fromKernel(x, form);
            shiftModulo(x, 1, n, bits);
            toKernel(form, x);
        }
    }
    fromKernel(x, form);
    toKernel(form, x);
}

void MontgomeryModulus::toKernel(std::span<Limb> z, std::span<const Limb> x) const noexcept {
    if (m_kernel->radixBits == kLimbBits) {
        std::copy(x.begin(), x.end(), z.begin());
    } else {
        toDigits(z, x, m_kernel->radixBits);
    }
}

void MontgomeryModulus::fromKernel(std::span<Limb> z, std::span<const Limb> x) const noexcept {
    if (m_kernel->radixBits == kLimbBits) {
        std::copy(x.begin(), x.end(), z.begin());
        return;
    }
    // Below 2n, which may need one bit more than n.
    std::array<Limb, kMaxModulusLimbs + 1> buffer;
    const std::span<Limb> wide(buffer.data(), m_limbs + 1);
    fromDigits(wide, x, m_kernel->radixBits);
    const std::span<Limb> low = wide.first(m_limbs);
    if (wide.back() != 0 || !lessThan(low, value())) {
        subtract(low, value());
    }
    std::copy(low.begin(), low.end(), z.begin());
}

void MontgomeryModulus::multiply(std::span<Limb> z, std::span<const Limb> x,
                                 std::span<const Limb> y) const noexcept {
    m_kernel->run.multiply(z.data(), x.data(), y.data(), m_kernelN.data(), m_negInverse, m_steps);
}

void MontgomeryModulus::square(std::span<Limb> z, std::span<const Limb> x) const noexcept {
    m_kernel->run.square(z.data(), x.data(), m_kernelN.data(), m_negInverse, m_steps);
}

void MontgomeryModulus::enter(std::span<Limb> z, std::span<const Limb> x) const noexcept {
    Buffer own;
    toKernel(z.first(m_size), x);
    multiply(z, z, rSquared(own));
}

void MontgomeryModulus::leave(std::span<Limb> z, std::span<const Limb> x) const noexcept {
    Buffer buffer;
    const std::span<Limb> unit(buffer.data(), m_size);
    std::fill(unit.begin(), unit.end(), 0);
    unit[0] = 1;
    multiply(unit, x, unit);
    fromKernel(z, unit);
}

void MontgomeryModulus::one(std::span<Limb> z) const noexcept {
    Buffer own;
    std::fill_n(z.begin(), m_size, 0);
    z[0] = 1;
    multiply(z, z, rSquared(own));
}

void MontgomeryModulus::power(std::span<Limb> z, std::span<const Limb> x,
                              std::span<const Limb> exponent) const noexcept {
    Buffer plainBuffer;
    Buffer formBuffer;
    Buffer resultBuffer;
    const std::span<Limb> plain(plainBuffer.data(), m_size);
    const std::span<Limb> form(formBuffer.data(), m_size);
    const std::span<Limb> result(resultBuffer.data(), m_size);
    toKernel(plain, x);
    multiply(form, plain, rSquared(resultBuffer));
    std::copy(form.begin(), form.end(), result.begin());

    // The last factor of an odd exponent is x itself, not its Montgomery form: that leaves the
    // Montgomery form in the same step.
    const bool odd = (exponent[0] & 1) != 0;
    forEachBitBelowTop(exponent, [&](bool isSet, bool isLast) {
        square(result, result);
        if (isSet) {
            multiply(result, result, isLast ? plain : form);
        }
    });
    if (odd && bitLength(exponent) > 1) {
        fromKernel(z, result);
    } else {
        leave(z, result);
    }
}

bool MontgomeryModulus::hasFastPowerOfEach() const noexcept {
    return m_kernel->run.squareBeside != nullptr && m_limbs <= kMaxLimbsBeside;
}

void MontgomeryModulus::powerOfEach(std::span<Limb> z, std::span<const Limb> x,
                                    std::span<const Limb> exponent) const noexcept {
    assert(x.size() % m_limbs == 0 && x.size() <= kPowersAtOnce * m_limbs);
    assert((exponent[0] & 1) != 0 && bitLength(exponent) > 1);
    if (x.size() > m_limbs && hasFastPowerOfEach()) {
        powersBeside(z, x, exponent);
        return;
    }
    for (std::size_t at = 0; at < x.size(); at += m_limbs) {
        power(z.subspan(at, m_limbs), x.subspan(at, m_limbs), exponent);
    }
}

void MontgomeryModulus::rSquaredOf(std::span<Limb> z) const noexcept {
    Buffer own;
    const std::span<const Limb> known = rSquared(own);
    if (z.size() == m_steps) {
        std::copy_n(known.begin(), z.size(), z.begin());
        return;
    }
    Buffer buffer;
    const std::span<Limb> x(buffer.data(), m_limbs);
    fromKernel(x, known);
    for (std::size_t i = 2 * (z.size() - m_steps); i > 0; --i) {
        shiftModulo(x, m_kernel->radixBits, value(), bitLength(value()));
    }
    toKernel(z, x);
}

void MontgomeryModulus::powersBeside(std::span<Limb> z, std::span<const Limb> x,
                                     std::span<const Limb> exponent) const noexcept {
    using Words = std::array<Limb, kMaxDigitsBeside * kNumbersBeside>;
    const MontgomeryProducts& run = m_kernel->run;
    const std::size_t size = (m_steps + kDigitsBeside - 1) / kDigitsBeside * kDigitsBeside;
    alignas(64) Words plain;
    alignas(64) Words form;
    alignas(64) Words result;
    std::array<Limb, kMaxDigitsBeside> buffer;
    const std::span<Limb> digits(buffer.data(), size);
    // Where there are fewer numbers, zeros take the other places.
    for (std::size_t k = 0; k < kNumbersBeside; ++k) {
        const bool isThere = k * m_limbs < x.size();
        toKernel(digits, isThere ? x.subspan(k * m_limbs, m_limbs) : std::span<const Limb>());
        for (std::size_t i = 0; i < size; ++i) {
            plain[kNumbersBeside * i + k] = digits[i];
        }
    }
    rSquaredOf(digits);
    for (std::size_t i = 0; i < size; ++i) {
        std::fill_n(result.begin() + kNumbersBeside * i, kNumbersBeside, digits[i]);
    }
    const Limb* const n = m_kernelN.data();
    run.multiplyBeside(form.data(), plain.data(), result.data(), n, m_negInverse, size);
    std::copy_n(form.begin(), kNumbersBeside * size, result.begin());
    // The last factor leaves the Montgomery form, as in power().
    forEachBitBelowTop(exponent, [&](bool isSet, bool isLast) {
        run.squareBeside(result.data(), result.data(), n, m_negInverse, size);
        if (isSet) {
            run.multiplyBeside(result.data(), result.data(), isLast ? plain.data() : form.data(), n,
                               m_negInverse, size);
        }
    });
    for (std::size_t k = 0; k * m_limbs < z.size(); ++k) {
        for (std::size_t i = 0; i < size; ++i) {
            digits[i] = result[kNumbersBeside * i + k];
        }
        fromKernel(z.subspan(k * m_limbs, m_limbs), digits);
    }
}

} // namespace vantrel::crypto
