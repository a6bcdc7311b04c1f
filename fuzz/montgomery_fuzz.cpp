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
        }
    }
    return 0;
}
