// SPDX-License-Identifier: MIT
#include "foundation/crypto/bignum/divisibility.h"
#include "foundation/crypto/bignum/inverse.h"
#include "foundation/crypto/bignum/montgomery.h"
#include "foundation/crypto/bignum/montgomery_kernels.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

using namespace crypto;
using Number = std::vector<Limb>;

Number number(const Bytes& bytes, std::size_t limbs = 0) {
    Number x(limbs != 0 ? limbs : limbsForBits(8 * bytes.size()));
    EXPECT_TRUE(loadBigEndian(x, bytes));
    while (limbs == 0 && x.size() > 1 && x.back() == 0) {
        x.pop_back();
    }
    return x;
}

// Bytes of every length to numbers and back, one octet after the other beside it.
TEST(Limbs, BigEndianBytesOfEveryLength) {
    for (std::size_t size = 0; size < 40; ++size) {
        Bytes bytes(size);
        Number plain(6);
        for (std::size_t i = 0; i < size; ++i) {
            bytes[i] = static_cast<std::uint8_t>(3 + 7 * i);
            const std::size_t bit = 8 * (size - 1 - i);
            plain[bit / kLimbBits] |= Limb{bytes[i]} << (bit % kLimbBits);
        }
        EXPECT_EQ(number(bytes, plain.size()), plain) << size;
        for (std::size_t room = size; room < size + 12; ++room) {
            Bytes wanted(room - size);
            wanted.insert(wanted.end(), bytes.begin(), bytes.end());
            Bytes stored(room, 0xEE);
            storeBigEndian(stored, plain);
            EXPECT_EQ(stored, wanted) << size << " in " << room;
        }
    }
}

bool takes(const MontgomeryKernel& kernel, std::size_t limbs) {
    return limbs >= kernel.minLimbs && limbs <= kernel.maxLimbs && cpu::supports(kernel.needs);
}

TEST(MontgomeryModulus, PowersOnEveryKernel) {
    std::size_t runs = 0;
    forEachVector("crypto/bignum/modular.vec", "power", [&](VecCase& c) {
        const Number n = number(c.hex("N"));
        const Number x = number(c.hex("X"), n.size());
        const Number e = number(c.hex("E"));
        const Number z = number(c.hex("Z"), n.size());
        for (const MontgomeryKernel& kernel : montgomeryKernels()) {
            if (takes(kernel, n.size())) {
                const auto modulus = std::make_unique<MontgomeryModulus>();
                modulus->set(n, kernel);
                Number result(n.size());
                modulus->power(result, x, e);
                EXPECT_EQ(result, z) << c.where() << kernel.name;
                ++runs;
            }
        }
    });
    EXPECT_GT(runs, 0U);
}

// Chains of products on each kernel against the portable one; z is x or y at times.
TEST(MontgomeryModulus, KernelsAgreeWithPortable) {
    RandomBytes random(7);
    const auto ours = std::make_unique<MontgomeryModulus>();
    const auto portable = std::make_unique<MontgomeryModulus>();
    for (const MontgomeryKernel& kernel : montgomeryKernels()) {
        for (std::size_t limbs = 1; limbs <= 70; ++limbs) {
            if (!takes(kernel, limbs)) {
                continue;
            }
            for (int shape = 0; shape < 4; ++shape) {
                Number n(limbs, shape == 0 ? ~Limb{0} : 0); // all ones: every carry is needed
                if (shape != 0) {
                    std::generate(n.begin(), n.end(), [&] { return random.word(); });
                }
                n.back() = shape == 2 ? 1 : n.back() | 1; // as short as it can be
                n.back() |= shape == 1 ? Limb{1} << 63 : 0;
                n[0] |= shape == 2 && limbs == 1 ? 3 : 1;
                ours->set(n, kernel);
                portable->set(n, montgomeryKernels().back());
                Number x = n;
                subtract(x, Number(limbs, 0));
                x[0] -= 1; // n - 1
                Number a(ours->size() + 16);
                Number b(a.size());
                Number p(limbs);
                Number q(limbs);
                ours->enter(a, x);
                portable->enter(p, x);
                ours->one(b);
                portable->one(q);
                for (int step = 0; step < 20; ++step) {
                    ours->multiply(step % 2 == 0 ? b : a, a, b);
                    portable->multiply(step % 2 == 0 ? q : p, p, q);
                    ours->square(a, a);
                    portable->square(p, p);
                }
                Number left(limbs);
                Number right(limbs);
                ours->leave(left, b);
                portable->leave(right, q);
                ASSERT_EQ(left, right) << kernel.name << ' ' << limbs << ' ' << shape;
                ours->leave(left, a);
                portable->leave(right, p);
                ASSERT_EQ(left, right) << kernel.name << ' ' << limbs << ' ' << shape;
            }
        }
    }
}

// Powers side by side against single ones on the portable kernel, for sizes at which R is the same
// for both and at which it is not.
TEST(MontgomeryModulus, PowersOfSeveralNumbersAreThoseOfEach) {
    RandomBytes random(9);
    const auto ours = std::make_unique<MontgomeryModulus>();
    const auto portable = std::make_unique<MontgomeryModulus>();
    for (const std::size_t limbs : {1U, 16U, 17U, 32U, 33U, 48U, 63U, 64U, 65U}) {
        for (const Limb top : {Limb{1}, Limb{1} << 63, ~Limb{0}}) {
            Number n(limbs, ~Limb{0}); // every carry is needed
            if (top != ~Limb{0}) {
                std::generate(n.begin(), n.end(), [&] { return random.word(); });
            }
            n.back() = top;
            n[0] |= limbs == 1 ? 3 : 1;
            portable->set(n, montgomeryKernels().back());
            ours->set(n);
            EXPECT_EQ(ours->hasFastPowerOfEach(), ours->kernel().name == "ifma");
            const Number exponents[] = {{3}, {65537}, {random.word() | 1, random.word() | 1}};
            for (std::size_t count = 1; count <= kPowersAtOnce; ++count) {
                Number numbers;
                for (std::size_t i = 0; i < count; ++i) {
                    Number x(limbs);
                    std::generate(x.begin(), x.end(), [&] { return random.word(); });
                    x.back() %= n.back();
                    if (i % 4 == 1) { // n - 1
                        x = n;
                        x[0] -= 1;
                    } else if (i % 4 == 2) { // 0 and 1
                        x.assign(limbs, 0);
                        x[0] = i / 4;
                    }
                    numbers.insert(numbers.end(), x.begin(), x.end());
                }
                const Number& e = exponents[count % 3];
                Number expected(numbers.size());
                for (std::size_t at = 0; at < numbers.size(); at += limbs) {
                    portable->power(std::span(expected).subspan(at, limbs),
                                    std::span(numbers).subspan(at, limbs), e);
                }
                ours->powerOfEach(numbers, numbers, e);
                ASSERT_EQ(numbers, expected) << limbs << ' ' << top << ' ' << count;
            }
        }
    }
}

// What is worked out with the first number is worked out by one thread, or by each for itself; a
// copy takes over what there is by then.
TEST(MontgomeryModulus, ThreadsShareANewOne) {
    RandomBytes random(8);
    const auto shared = std::make_unique<MontgomeryModulus>();
    for (int round = 0; round < 40; ++round) {
        Number n(32);
        std::generate(n.begin(), n.end(), [&] { return random.word() | 1; });
        const Number x(32, 1);
        const Number e(1, 65537);
        shared->set(n, montgomeryKernels().back());
        Number expected(32);
        shared->power(expected, x, e);
        shared->set(n);
        std::array<Number, 4> found;
        std::array<std::thread, 4> threads;
        for (std::size_t i = 0; i < threads.size(); ++i) {
            threads[i] = std::thread([&, i] {
                const auto copy = std::make_unique<MontgomeryModulus>(*shared);
                found[i].resize(32);
                (i % 2 == 0 ? *shared : *copy).power(found[i], x, e);
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(std::ranges::count(found, expected), 4);
    }
}

TEST(MontgomeryModulus, TheFastestKernelOfAMachineIsChosen) {
    EXPECT_EQ(montgomeryKernels().back().name, "portable");
    for (std::size_t limbs : {8U, 16U, 32U, 64U, 65U, 256U}) {
        const MontgomeryKernel& chosen = chosenMontgomeryKernel(limbs);
        for (const MontgomeryKernel& kernel : montgomeryKernels()) {
            if (takes(kernel, limbs)) {
                EXPECT_EQ(chosen.name, kernel.name) << limbs;
                break;
            }
        }
        const cpu::FeatureLimit limit(cpu::Feature::None);
        EXPECT_EQ(chosenMontgomeryKernel(limbs).name, "portable");
    }
}

TEST(InvertModulo, Vectors) {
    forEachVector("crypto/bignum/modular.vec", "inverse", [](VecCase& c) {
        const Number n = number(c.hex("N"));
        Number x = number(c.hex("X"), n.size());
        const std::string expected = c.text("Z");
        const bool done = invertModulo(x, x, n);
        EXPECT_EQ(done, expected != "none") << c.where();
        if (done) {
            EXPECT_EQ(x, number(fromHex(expected), n.size())) << c.where();
        }
    });
}

// x * (1/x) - 1 is a multiple of n, also where the last step leaves a number above n: with a
// modulus just below a power of 2^64 that happens once in some thousand inversions.
TEST(InvertModulo, RandomNumbers) {
    RandomBytes random(13);
    for (std::size_t limbs = 1; limbs <= kMaxInverseLimbs; ++limbs) {
        for (int round = 0; round < 20000; ++round) {
            Number n(limbs, ~Limb{0});
            n[0] = random.word() | Limb{1} << 63 | 1;
            Number x(limbs);
            std::generate(x.begin(), x.end(), [&] { return random.word(); });
            x.back() >>= 1;
            Number z(limbs);
            if (!invertModulo(z, x, n)) {
                continue; // a common factor: the vectors have such cases
            }
            ASSERT_TRUE(lessThan(z, n));
            Number product(2 * limbs);
            for (std::size_t i = 0; i < limbs; ++i) {
                product[i + limbs] = addScaled(std::span(product).subspan(i, limbs), x[i], z);
            }
            Number one(2 * limbs);
            one[0] = 1;
            subtract(product, one);
            ASSERT_TRUE(isMultipleOf(product, n)) << limbs << ' ' << round;
        }
    }
}

TEST(IsMultipleOf, ProductsAndTheirNeighbours) {
    RandomBytes random(11);
    for (int round = 0; round < 200; ++round) {
        const std::size_t small = 1 + random.below(9);
        const std::size_t large = 1 + random.below(kMaxDividendLimbs - small);
        Number n(small);
        std::generate(n.begin(), n.end(), [&] { return random.word(); });
        n[0] |= 3;
        Number product(small + large);
        for (std::size_t i = 0; i < large; ++i) {
            const Limb factor = random.word();
            const Limb carry = addScaled(std::span(product).subspan(i, small), factor, n);
            product[i + small] += carry; // a carry lost here would show below
        }
        EXPECT_TRUE(isMultipleOf(product, n));
        product[random.below(product.size())] ^= Limb{1} << random.below(64);
        EXPECT_FALSE(isMultipleOf(product, n)); // n is odd and above 1
    }
    EXPECT_TRUE(isMultipleOf(Number(3), Number{5}));
}

} // namespace
} // namespace vantrel::test
