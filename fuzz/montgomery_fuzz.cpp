// SPDX-License-Identifier: MIT
// Every Montgomery kernel against the portable one: a modulus, a number and an exponent from the
// input. The first byte is the modulus's share of the rest, the second byte the exponent.

#include "foundation/crypto/bignum/montgomery.h"

#include "foundation/crypto/bignum/montgomery_kernels.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

using namespace vantrel;
using namespace vantrel::crypto;

// x, half of it and so on: together as one by one.
static void checkPowersOfEach(const MontgomeryModulus& modulus, std::vector<Limb> x, Limb odd) {
    const Limb exponent[1] = {odd};
    std::vector<Limb> numbers;
    std::vector<Limb> expected;
    for (std::size_t i = 0; i < kPowersAtOnce; ++i) {
        numbers.insert(numbers.end(), x.begin(), x.end());
        std::vector<Limb> one(x.size());
        modulus.power(one, x, exponent);
        expected.insert(expected.end(), one.begin(), one.end());
        for (std::size_t k = 0; k < x.size(); ++k) {
            x[k] = x[k] >> 1 | (k + 1 < x.size() ? x[k + 1] << (kLimbBits - 1) : 0);
        }
    }
    modulus.powerOfEach(numbers, numbers, exponent);
    if (numbers != expected) {
        std::abort();
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 4 || size > 1100) {
        return 0;
    }
    const ByteView rest(data + 2, size - 2);
    const std::size_t share = std::min<std::size_t>(1 + rest.size() * data[0] / 256, rest.size());
    const ByteView bytes = withoutLeadingZeros(rest.first(share));
    if (bytes.empty() || (bytes.size() == 1 && bytes[0] <= 1)) {
        return 0;
    }
    std::vector<Limb> n(limbsForBits(8 * bytes.size()));
    std::vector<Limb> x(n.size());
    static_cast<void>(loadBigEndian(n, bytes));
    n[0] |= 1;
    const ByteView other = rest.subspan(share);
    static_cast<void>(loadBigEndian(x, other.first(std::min(other.size(), 8 * n.size()))));
    while (!lessThan(x, n)) {
        subtract(x, n);
        x.back() >>= 1;
    }
    const Limb exponent[1] = {Limb{data[1]} + 2};
    static MontgomeryModulus modulus;
    std::vector<Limb> expected(n.size());
    std::vector<Limb> result(n.size());
    modulus.set(n, montgomeryKernels().back());
    modulus.power(expected, x, exponent);
    for (const MontgomeryKernel& kernel : montgomeryKernels()) {
        if (n.size() >= kernel.minLimbs && n.size() <= kernel.maxLimbs &&
            cpu::supports(kernel.needs)) {
            modulus.set(n, kernel);
            modulus.power(result, x, exponent);
            if (result != expected) {
                std::abort();
            }
            if (modulus.hasFastPowerOfEach()) {
                checkPowersOfEach(modulus, x, exponent[0] | 1);
            }
        }
    }
    return 0;
}
