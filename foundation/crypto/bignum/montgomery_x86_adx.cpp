// SPDX-License-Identifier: MIT
#include "foundation/crypto/bignum/montgomery.h"

#include "foundation/crypto/bignum/montgomery_kernels_list.h"

#if defined(__x86_64__)

#include <algorithm>
#include <array>
#include <span>

// Montgomery products with the BMI2 and ADX instructions: mulx leaves the flags alone, and adcx and
// adox carry in two chains, one for the limbs of the product and one for the sum it is added to.
// The product is computed first, squares with half of the multiplications, then reduced.
namespace vantrel::crypto {
namespace {

constexpr std::size_t kBlock = 4;

// t[count] := t + factor * y + carry; the limb carried out is returned.
inline Limb addRow(Limb* t, Limb factor, const Limb* y, std::size_t count, Limb carry) noexcept {
    for (; count >= kBlock; count -= kBlock) {
        Limb a;
        Limb b;
        Limb c;
        // clang-format off
        __asm__(
            "xorl %k[c], %k[c]\n\t"
            "mulxq 0(%[y]), %[a], %[b]\n\t"
            "adcxq %[carry], %[a]\n\t"
            "adoxq 0(%[t]), %[a]\n\t"
            "movq %[a], 0(%[t])\n\t"
            "mulxq 8(%[y]), %[a], %[carry]\n\t"
            "adcxq %[b], %[a]\n\t"
            "adoxq 8(%[t]), %[a]\n\t"
            "movq %[a], 8(%[t])\n\t"
            "mulxq 16(%[y]), %[a], %[b]\n\t"
            "adcxq %[carry], %[a]\n\t"
            "adoxq 16(%[t]), %[a]\n\t"
            "movq %[a], 16(%[t])\n\t"
            "mulxq 24(%[y]), %[a], %[carry]\n\t"
            "adcxq %[b], %[a]\n\t"
            "adoxq 24(%[t]), %[a]\n\t"
            "movq %[a], 24(%[t])\n\t"
            "adcxq %[c], %[carry]\n\t"
            "adoxq %[c], %[carry]\n\t"
            : [carry] "+&r"(carry), [a] "=&r"(a), [b] "=&r"(b), [c] "=&r"(c)
            : [t] "r"(t), [y] "r"(y), "d"(factor)
            : "cc", "memory");
        // clang-format on
        t += kBlock;
        y += kBlock;
    }
    for (; count > 0; --count, ++t, ++y) {
        const DoubleLimb sum = static_cast<DoubleLimb>(factor) * *y + *t + carry;
        *t = static_cast<Limb>(sum);
        carry = static_cast<Limb>(sum >> kLimbBits);
    }
    return carry;
}

// z := t / R mod n for t of 2 * size limbs below n * R.
void reduce(Limb* z, Limb* t, const Limb* n, Limb negInverse, std::size_t size) noexcept {
    Limb top = 0; // carried out of t[i + size]
    for (std::size_t i = 0; i < size; ++i) {
        const Limb carry = addRow(t + i, t[i] * negInverse, n, size, 0);
        const DoubleLimb sum = static_cast<DoubleLimb>(t[i + size]) + carry + top;
        t[i + size] = static_cast<Limb>(sum);
        top = static_cast<Limb>(sum >> kLimbBits);
    }
    const std::span<Limb> high(t + size, size);
    if (top != 0 || !lessThan(high, {n, size})) {
        subtract(high, {n, size});
    }
    std::copy(high.begin(), high.end(), z);
}

using Product = std::array<Limb, 2 * kMaxModulusLimbs>;

} // namespace

void montgomeryMultiplyAdx(Limb* z, const Limb* x, const Limb* y, const Limb* n, Limb negInverse,
                           std::size_t size) noexcept {
    Product t;
    std::fill_n(t.begin(), size, 0);
    for (std::size_t i = 0; i < size; ++i) {
        t[i + size] = addRow(t.data() + i, x[i], y, size, 0);
    }
    reduce(z, t.data(), n, negInverse, size);
}

void montgomerySquareAdx(Limb* z, const Limb* x, const Limb* n, Limb negInverse,
                         std::size_t size) noexcept {
    // The products of two different limbs, each once; t[2 i + 1] is where row i begins.
    Product t;
    std::fill_n(t.begin(), size, 0);
    for (std::size_t i = 0; i < size; ++i) {
        t[i + size] = addRow(t.data() + 2 * i + 1, x[i], x + i + 1, size - 1 - i, 0);
    }
    // Twice that, and the squares.
    Limb shifted = 0;
    Limb carry = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const DoubleLimb square = static_cast<DoubleLimb>(x[i]) * x[i];
        const Limb low = t[2 * i];
        const Limb high = t[2 * i + 1];
        DoubleLimb sum =
            static_cast<DoubleLimb>(low << 1 | shifted) + static_cast<Limb>(square) + carry;
        t[2 * i] = static_cast<Limb>(sum);
        sum = static_cast<DoubleLimb>(high << 1 | low >> (kLimbBits - 1)) +
              static_cast<Limb>(square >> kLimbBits) + static_cast<Limb>(sum >> kLimbBits);
        t[2 * i + 1] = static_cast<Limb>(sum);
        carry = static_cast<Limb>(sum >> kLimbBits);
        shifted = high >> (kLimbBits - 1);
    }
    reduce(z, t.data(), n, negInverse, size);
}

} // namespace vantrel::crypto

#endif
