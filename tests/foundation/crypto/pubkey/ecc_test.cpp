// SPDX-License-Identifier: MIT
#include "foundation/crypto/ecc/EccVerifier.h"
#include "foundation/crypto/ecc/curve_engine.h"
#include "foundation/crypto/ecc/endomorphism.h"
#include "foundation/crypto/ecc/ifma_fields.h"
#include "foundation/crypto/ecc/p384_x86_adx.h"
#include "foundation/crypto/ecc/point_decoding.h"
#include "foundation/crypto/ecc/wnaf.h"
#include "foundation/text/LogBase.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

using namespace crypto;

CurveNumber number(const Bytes& bytes) {
    CurveNumber x{};
    EXPECT_TRUE(loadBigEndian(x, bytes));
    return x;
}

bool verify(const EccVerifier& key, const Bytes& signature, const Bytes& hash,
            bool derFirst = false) {
    LogNull log;
    bool verified = true;
    const bool ran =
        key.eccVerifyHash(signature.data(), static_cast<std::uint32_t>(signature.size()), derFirst,
                          hash.data(), static_cast<std::uint32_t>(hash.size()), verified, log, 0);
    EXPECT_TRUE(ran || !verified);
    return verified;
}

// u1 * G + u2 * Q on every kernel, with and without tables for Q; the right x and its neighbours.
TEST(CurveEngine, SumsOnEveryKernel) {
    forEachVector("crypto/pubkey/ecc.vec", "sums", [](VecCase& c) {
        const Curve& curve = *findCurveByName(c.text("Curve"));
        const CurveNumber u1 = number(c.hex("U1"));
        const CurveNumber u2 = number(c.hex("U2"));
        const CurveNumber x = number(c.hex("X"));
        const CurveNumber y = number(c.hex("Y"));
        const std::string expected = c.text("R");
        const CurveNumber r = expected == "none" ? CurveNumber{1} : number(fromHex(expected));
        CurveNumber above = r;
        above[0] ^= 1;
        const std::string about = c.where() + c.text("About");
        for (const CurveKernel& kernel : curveKernels(curve.id)) {
            if (!cpu::supports(kernel.needs)) {
                c.skip(kernel.name);
                continue;
            }
            const CurveEngine& engine = kernel.run();
            const std::unique_ptr<PreparedKey> key = engine.prepare(x, y);
            ASSERT_NE(key, nullptr);
            EXPECT_TRUE(engine.isOnCurve(x, y)) << about << kernel.name;
            EXPECT_EQ(engine.satisfies(u1, u2, x, y, r), expected != "none")
                << about << kernel.name;
            EXPECT_EQ(engine.satisfies(u1, u2, *key, r), expected != "none")
                << about << kernel.name;
            EXPECT_FALSE(engine.satisfies(u1, u2, x, y, above)) << about << kernel.name;
            EXPECT_FALSE(engine.satisfies(u1, u2, *key, above)) << about << kernel.name;
            CurveNumber off = y;
            off[0] ^= 1;
            EXPECT_FALSE(engine.isOnCurve(x, off)) << about << kernel.name;
        }
    });
}

#if defined(__x86_64__)
// Beside the field of any prime; most of the limbs are such that carries run through them.
TEST(FieldP384Adx, AgreesWithTheFieldOfAnyPrime) {
    if (!cpu::supports(cpu::Feature::Bmi2 | cpu::Feature::Adx)) {
        GTEST_SKIP() << "no ADX";
    }
    const Curve& curve = *findCurve(CurveId::P384);
    const MontgomeryField<6> plain(curve.p);
    const FieldP384Adx own(curve.p);
    EXPECT_EQ(own.one(), plain.one());
    RandomBytes random(3);
    const std::array<Limb, 4> runs = {0, ~Limb{0}, 0xffffffff, ~Limb{0} << 32};
    const auto element = [&] {
        FieldElement<6> x;
        for (std::size_t i = 0; i < x.size(); ++i) {
            const Limb word = random.word();
            x[i] = word % 3 == 0 ? random.word() : word % 3 == 1 ? curve.p[i] : runs[word >> 62];
        }
        return lessThan(x, plain.prime()) ? x
               : plain.prime() == x       ? FieldElement<6>{}
                                          : plain.one();
    };
    for (int round = 0; round < 20000; ++round) {
        const FieldElement<6> x = element();
        FieldElement<6> y = element();
        FieldElement<6> expected;
        FieldElement<6> z;
        const auto check = [&](const char* what) { ASSERT_EQ(z, expected) << what << round; };
        plain.multiply(expected, x, y);
        own.multiply(z, x, y);
        check("x * y ");
        plain.square(expected, x);
        own.square(z, x);
        check("x * x ");
        plain.add(expected, x, y);
        own.add(z, x, y);
        check("x + y ");
        plain.subtractTwice(expected, x, y);
        own.subtractTwice(z, x, y);
        check("x - 2y ");
        plain.triple(expected, x);
        own.triple(z, x);
        check("3x ");
        plain.halve(expected, x);
        own.halve(z, x);
        check("x / 2 ");
        plain.enter(expected, y);
        own.enter(y, y);
        EXPECT_EQ(y, expected);
    }
}

// Beside the formulas of any curve, step by step, over points with x near zero and near p: their
// digits are nearly all zeros or ones.
template <class L, CurveId kId> struct IfmaCase {
    using Lanes = L;
    using Sum = IfmaSum<Lanes>;
    using Field = typename Lanes::Field;
    static const Curve& curve() { return *findCurve(kId); }
};
template <class Case> class IfmaSums : public testing::Test {};
using IfmaCases =
    testing::Types<IfmaCase<P256Lanes, CurveId::P256>, IfmaCase<P384Lanes, CurveId::P384>,
                   IfmaCase<P521Lanes, CurveId::P521>>;
TYPED_TEST_SUITE(IfmaSums, IfmaCases);

TYPED_TEST(IfmaSums, AgreeWithTheFormulasOfAnyCurve) {
    if (!cpu::supports(cpu::Feature::Avx512 | cpu::Feature::Avx512Ifma)) {
        GTEST_SKIP() << "no AVX-512 IFMA";
    }
    using Field = typename TypeParam::Field;
    using Sum = typename TypeParam::Sum;
    using Affine = AffinePoint<Field>;
    const Curve& curve = TypeParam::curve();
    const Field field(curve.p);
    const typename Field::Element a{};
    const CurveArithmetic<Field, CoefficientA::MinusThree> plain(field, a);
    std::vector<Affine> points;
    for (Limb i = 0; i < 80; ++i) {
        CurveNumber x = curve.p;
        x[0] -= i;
        Bytes encoded(1 + curve.fieldBytes(), 0);
        storeBigEndian(std::span(encoded).subspan(1), i % 2 == 0 ? x : CurveNumber{i});
        encoded[0] = 2;
        CurveNumber y;
        std::string_view whyNot;
        if (decodePoint(curve, encoded, x, y, whyNot)) {
            typename Field::Element plainX;
            typename Field::Element plainY;
            std::copy_n(x.begin(), Field::kLimbs, plainX.begin());
            std::copy_n(y.begin(), Field::kLimbs, plainY.begin());
            Field::enter(points.emplace_back().x, plainX);
            Field::enter(points.back().y, plainY);
        }
    }
    ASSERT_GT(points.size(), 20U);
    const auto entry = [](const Affine& p) { return TypeParam::Lanes::entryOf(p); };
    const auto expectEqual = [&](const Affine& p, const Affine& q, int where) {
        EXPECT_TRUE(Field::equal(p.x, q.x) && Field::equal(p.y, q.y)) << where;
    };
    // Multiples whose Z is not one
    std::array<typename Sum::Multiple, 8> multiples;
    std::array<Affine, 8> expectedMultiples;
    Sum::oddMultiples(multiples, entry(points[2]));
    plain.oddMultiples(std::span(expectedMultiples), points[2]);
    RandomBytes random(5);
    Sum own;
    JacobianPoint<Field> expected{};
    for (int round = 0; round < 5000; ++round) {
        const bool negate = random.below(2) == 0;
        const std::size_t index = random.below(points.size());
        if (round % 50 == 0) {
            expected = {};
        } else if (round % 50 == 1 || random.below(2) == 0) { // equal points are not added
            const std::size_t times = 1 + random.below(3);
            own.twice(times);
            for (std::size_t i = 0; i < times; ++i) {
                plain.doubleInPlace(expected);
            }
            continue;
        }
        if (random.below(2) == 0) {
            round % 50 == 0 ? own.start(entry(points[index]), negate)
                            : own.add(entry(points[index]), negate);
            plain.addInPlace(expected, points[index], negate);
        } else {
            round % 50 == 0 ? own.start(multiples[index % 8], negate)
                            : own.add(multiples[index % 8], negate);
            plain.addInPlace(expected, expectedMultiples[index % 8], negate);
        }
        expectEqual(plain.affine(own.value()), plain.affine(expected), round);
        expectEqual(TypeParam::Lanes::pointOf(entry(points[index])), points[index], round);
    }
    // What the formula for additions does not hold for.
    for (const bool negate : {false, true}) {
        for (const bool ofTable : {false, true}) {
            own.start(entry(points[2]), false);
            ofTable ? own.add(multiples[0], negate) : own.add(entry(points[2]), negate);
            own.twice();
            own.add(entry(points[3]), negate);
            own.add(multiples[3], negate);
            EXPECT_TRUE(Field::isZero(own.value().z));
        }
    }
}
#endif

TEST(CurveEngine, WithoutFeaturesNoExtensionIsUsed) {
    const cpu::FeatureLimit limit(cpu::Feature::None);
    for (const Curve& curve : allCurves()) {
        const std::span<const CurveKernel> kernels = curveKernels(curve.id);
        ASSERT_FALSE(kernels.empty());
        EXPECT_EQ(kernels.back().name, "portable");
        for (const CurveKernel& kernel : kernels) {
            if (kernel.needs == cpu::Feature::None) {
                EXPECT_EQ(&chosenCurveEngine(curve.id), &kernel.run()) << curve.name;
                break;
            }
        }
    }
}

TEST(EccVerifier, Signatures) {
    forEachVector("crypto/pubkey/ecc.vec", "signatures", [](VecCase& c) {
        const Curve& curve = *findCurveByName(c.text("Curve"));
        EccVerifier key;
        std::string_view whyNot;
        ASSERT_TRUE(key.loadPoint(curve, c.hex("Point"), whyNot)) << c.where() << whyNot;
        const Bytes raw = c.hex("Raw");
        const Bytes der = c.hex("Der");
        const Bytes hash = c.hex("Digest");
        const Bytes n = [&] {
            Bytes bytes(curve.orderBytes());
            storeBigEndian(bytes, curve.n);
            return bytes;
        }();
        for (int use = 0; use < 4; ++use) {
            EXPECT_TRUE(verify(key, raw, hash)) << c.where() << use;
            EXPECT_TRUE(verify(key, der, hash, true)) << c.where() << use;
            Bytes bad = raw;
            bad[bad.size() - 1 - static_cast<std::size_t>(use) * 5] ^= 2;
            EXPECT_FALSE(verify(key, bad, hash)) << c.where() << use;
        }
        EXPECT_FALSE(verify(key, raw, {})) << "an empty hash";
        // r or s zero, n, all ones
        const auto width = static_cast<std::ptrdiff_t>(n.size());
        for (const Bytes& value : {Bytes(n.size()), n, Bytes(n.size(), 0xff)}) {
            for (const std::ptrdiff_t at : {std::ptrdiff_t{0}, width}) {
                Bytes bad = raw;
                std::copy(value.begin(), value.end(), bad.begin() + at);
                EXPECT_FALSE(verify(key, bad, hash)) << c.where() << toHex(value);
            }
        }
        for (std::size_t size = 0; size < raw.size(); size += 3) {
            const auto cut = raw.begin() + static_cast<std::ptrdiff_t>(size);
            EXPECT_FALSE(verify(key, {raw.begin(), cut}, hash)) << size;
        }
        Bytes longer = raw;
        longer.push_back(0);
        longer.push_back(0);
        EXPECT_FALSE(verify(key, longer, hash));
    });
}

TEST(EccVerifier, CompressedPoints) {
    forEachVector("crypto/pubkey/ecc.vec", "compressed", [](VecCase& c) {
        const Curve& curve = *findCurveByName(c.text("Curve"));
        EccVerifier key;
        std::string_view whyNot;
        ASSERT_TRUE(key.loadPoint(curve, c.hex("Compressed"), whyNot)) << c.where() << whyNot;
        EXPECT_EQ(toHex(key.point()), c.text("Uncompressed")) << c.where();
    });
}

TEST(EccVerifier, PointsThatAreRefused) {
    const auto load = [](const Curve& curve, const Bytes& point) {
        EccVerifier key;
        std::string_view whyNot;
        const bool loaded = key.loadPoint(curve, point, whyNot);
        EXPECT_EQ(loaded, whyNot.empty());
        EXPECT_EQ(loaded, key.isLoaded());
        return loaded;
    };
    forEachVector("crypto/pubkey/ecc.vec", "not on the curve", [&](VecCase& c) {
        EXPECT_FALSE(load(*findCurveByName(c.text("Curve")), c.hex("Point"))) << c.where();
    });
    for (const Curve& curve : allCurves()) {
        const std::size_t width = curve.fieldBytes();
        Bytes point(1 + 2 * width);
        const std::span<std::uint8_t> x = std::span(point).subspan(1, width);
        const std::span<std::uint8_t> y = std::span(point).subspan(1 + width);
        point[0] = 4;
        EXPECT_FALSE(load(curve, point)) << "zeros";
        storeBigEndian(x, curve.gx);
        storeBigEndian(y, curve.gy);
        ASSERT_TRUE(load(curve, point));
        EXPECT_FALSE(load(curve, {0})) << "the point at infinity";
        EXPECT_FALSE(load(curve, {}));
        for (const int form : {0, 1, 2, 3, 5, 6, 7, 0xff}) {
            point[0] = static_cast<std::uint8_t>(form);
            EXPECT_FALSE(load(curve, point)) << form;
        }
        point[0] = 4;
        for (std::size_t size = 1; size < point.size(); ++size) {
            const auto cut = point.begin() + static_cast<std::ptrdiff_t>(size);
            EXPECT_FALSE(load(curve, {point.begin(), cut})) << curve.name << size;
        }
        // x + p stands for the same x modulo p, where the width has room for it.
        CurveNumber wide = curve.gx;
        if (add(wide, curve.p) == 0 && bitLength(wide) <= 8 * width) {
            storeBigEndian(x, wide);
            EXPECT_FALSE(load(curve, point)) << curve.name;
        }
        storeBigEndian(x, curve.p);
        EXPECT_FALSE(load(curve, point)) << curve.name;
    }
}

TEST(Curves, FoundByEachOfTheirNamesAndByParameters) {
    for (const Curve& curve : allCurves()) {
        EXPECT_EQ(findCurveByOid(curve.oid), &curve);
        EXPECT_EQ(findCurveByName(curve.name), &curve);
        EXPECT_EQ(findCurveByName(curve.secName), &curve);
        const std::size_t width = curve.fieldBytes();
        std::array<Bytes, 5> v; // p, a, b, g, n
        v.fill(Bytes(width + 2));
        storeBigEndian(v[0], curve.p);
        storeBigEndian(v[1], curve.a);
        storeBigEndian(v[2], curve.b);
        v[3].resize(1 + 2 * width);
        v[3][0] = 4;
        storeBigEndian(std::span(v[3]).subspan(1, width), curve.gx);
        storeBigEndian(std::span(v[3]).subspan(1 + width), curve.gy);
        storeBigEndian(v[4], curve.n);
        EXPECT_EQ(findCurveByParameters(v[0], v[1], v[2], v[3], v[4]), &curve) << curve.name;
        // Any number changed: a curve of one's own making.
        for (Bytes& value : v) {
            value.back() ^= 2;
            EXPECT_EQ(findCurveByParameters(v[0], v[1], v[2], v[3], v[4]), nullptr);
            value.back() ^= 2;
        }
        v[3].resize(1 + width);
        v[3][0] = static_cast<std::uint8_t>(2 + (curve.gy[0] & 1));
        EXPECT_EQ(findCurveByParameters(v[0], v[1], v[2], v[3], v[4]), &curve) << curve.name;
        v[3][0] ^= 1;
        EXPECT_EQ(findCurveByParameters(v[0], v[1], v[2], v[3], v[4]), nullptr);
    }
    EXPECT_EQ(findCurveByName("PRIME256V1"), findCurve(CurveId::P256));
    EXPECT_EQ(findCurveByName(""), nullptr);
    EXPECT_EQ(findCurveByOid("1.2.3"), nullptr);
}

TEST(Wnaf, DigitsStandForTheNumber) {
    RandomBytes random(3);
    for (int round = 0; round < 400; ++round) {
        const unsigned width = 2 + static_cast<unsigned>(random.below(9));
        const std::size_t first = random.below(64);
        const std::size_t count = 1 + random.below(60);
        const bool ones = round % 4 == 0;
        const std::array<Limb, 2> k = {ones ? ~Limb{0} : random.word(),
                                       ones ? ~Limb{0} : random.word()};
        std::array<std::int16_t, 61> digits;
        const std::size_t length =
            recodeWnaf(std::span(digits).first(count + 1), k, first, count, width);
        const DoubleLimb whole = static_cast<DoubleLimb>(k[1]) << 64 | k[0];
        const auto expected =
            static_cast<std::int64_t>(static_cast<Limb>(whole >> first) & ((Limb{1} << count) - 1));
        std::int64_t sum = 0;
        std::size_t last = 100; // position of the last digit that is not zero
        for (std::size_t i = 0; i < length; ++i) {
            sum += std::int64_t{digits[i]} * (std::int64_t{1} << i);
            if (digits[i] != 0) {
                EXPECT_NE(digits[i] % 2, 0);
                EXPECT_LT(std::abs(digits[i]), 1 << (width - 1));
                EXPECT_TRUE(last == 100 || i - last >= width);
                last = i;
            }
        }
        EXPECT_EQ(sum, expected) << width << ' ' << count;
    }
}

TEST(SplitScalar, HalvesAreShort) {
    const CurveNumber& n = findCurve(CurveId::Secp256k1)->n;
    RandomBytes random(5);
    for (int round = 0; round < 500; ++round) {
        CurveNumber k{random.word(), random.word(), random.word(), random.word() >> (round % 60)};
        if (round < 3) {
            k = round == 0 ? CurveNumber{} : n;
            k[0] -= round == 2 ? 1 : 0;
        }
        const SplitScalar split = splitScalar(k);
        EXPECT_LE(bitLength(split.k1), kSplitBits);
        EXPECT_LE(bitLength(split.k2), kSplitBits);
    }
}

} // namespace
} // namespace vantrel::test
