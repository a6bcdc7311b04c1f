// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_EDWARDS_EDWARDS_GROUP_H
#define FOUNDATION_CRYPTO_EDWARDS_EDWARDS_GROUP_H

#include "foundation/crypto/bignum/limbs.h"
#include "foundation/text/byte_view.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

// Internal to the folder: the group of a curve a x^2 + y^2 = 1 + d x^2 y^2, where a is 1 or -1 and
// a square, and d is none, so that the formulas hold for all points. `Params` has the field, the
// constants, and how roots are taken.
namespace vantrel::crypto {

template <class Params> class EdwardsGroup {
public:
    using Field = typename Params::Field;
    using Element = typename Field::Element;

    // x = X / Z, y = Y / Z, T = X Y / Z
    struct Point {
        Element x, y, z, t;
    };
    // A summand: with d * T in the place of T.
    struct Summand {
        Element x, y, z, dt;
    };

    static constexpr Point kNeutral = {{}, Field::kOne, Field::kOne, {}};

    // Hisil, Wong, Carter, Dawson: Twisted Edwards Curves Revisited, 3.3. T of the result is left
    // out where the next step doubles again.
    static void twice(Point& p, bool withT) noexcept {
        Element a, b, c, sum, e, f, g, h;
        Field::square(a, p.x);
        Field::square(b, p.y);
        Field::square(c, p.z);
        Field::add(c, c, c);
        Field::add(e, p.x, p.y);
        Field::square(e, e);
        Field::add(sum, a, b);
        Field::subtract(e, e, sum);
        if constexpr (Params::kNegativeA) {
            Field::subtract(g, b, a);
            Field::subtract(h, Element{}, sum);
        } else {
            g = sum;
            Field::subtract(h, a, b);
        }
        Field::subtract(f, g, c);
        Field::multiply(p.x, e, f);
        Field::multiply(p.y, g, h);
        Field::multiply(p.z, f, g);
        if (withT) {
            Field::multiply(p.t, e, h);
        }
    }

    // The same, 3.1: p := p + q, or p - q, which is the sum with x and T negated.
    static void add(Point& p, const Summand& q, bool negate, bool withT) noexcept {
        Element qx = q.x;
        Element dt = q.dt;
        if (negate) {
            Field::subtract(qx, Element{}, q.x);
            Field::subtract(dt, Element{}, q.dt);
        }
        Element a, b, c, d, e, f, g, h, sum;
        Field::multiply(a, p.x, qx);
        Field::multiply(b, p.y, q.y);
        Field::multiply(c, p.t, dt);
        Field::multiply(d, p.z, q.z);
        Field::add(sum, p.x, p.y);
        Field::add(e, qx, q.y);
        Field::multiply(e, sum, e);
        Field::add(sum, a, b);
        Field::subtract(e, e, sum);
        Field::subtract(f, d, c);
        Field::add(g, d, c);
        if constexpr (Params::kNegativeA) {
            h = sum;
        } else {
            Field::subtract(h, b, a);
        }
        Field::multiply(p.x, e, f);
        Field::multiply(p.y, g, h);
        Field::multiply(p.z, f, g);
        if (withT) {
            Field::multiply(p.t, e, h);
        }
    }

    static Summand summand(const Point& p) noexcept {
        Summand q{p.x, p.y, p.z, {}};
        Field::multiply(q.dt, p.t, Params::kD);
        return q;
    }

    // 1P, 3P, 5P, ... for the digits of a non-adjacent form.
    static void oddMultiples(const Point& p, std::span<Summand> table) noexcept {
        Point doubled = p;
        twice(doubled, true);
        const Summand step = summand(doubled);
        Point multiple = p;
        table[0] = summand(p);
        for (Summand& entry : table.subspan(1)) {
            add(multiple, step, false, true);
            entry = summand(multiple);
        }
    }

    // RFC 8032, 5.1.2: y with the lowest bit of x above it. `bytes` has the size of a key.
    static void encode(std::span<std::uint8_t> bytes, const Point& p) noexcept {
        Element inverse;
        Element x;
        Element y;
        Params::invert(inverse, p.z);
        Field::multiply(x, p.x, inverse);
        Field::multiply(y, p.y, inverse);
        std::fill(bytes.begin(), bytes.end(), std::uint8_t{0});
        Field::encode(bytes.first(Field::kBytes), y);
        if (isOdd(x)) {
            bytes.back() |= 0x80;
        }
    }

    // RFC 8032, 5.1.3 and 5.2.3. False, `p` unspecified, for what encodes no point, or not in the
    // one way in which it is encoded.
    [[nodiscard]] static bool decode(Point& p, ByteView bytes) noexcept {
        std::array<std::uint8_t, Params::kKeyBytes> text;
        std::copy(bytes.begin(), bytes.end(), text.begin());
        const bool odd = (text.back() & 0x80) != 0;
        text.back() &= 0x7f;
        const auto above = std::span(text).subspan(Field::kBytes);
        if (std::any_of(above.begin(), above.end(), [](std::uint8_t b) { return b != 0; }) ||
            !Field::decode(p.y, std::span(text).first(Field::kBytes))) {
            return false;
        }
        // x^2 = (y^2 - 1) / (d y^2 - a)
        Element square;
        Element u;
        Element v;
        Field::square(square, p.y);
        Field::subtract(u, square, Field::kOne);
        Field::multiply(v, square, Params::kD);
        if constexpr (Params::kNegativeA) {
            Field::add(v, v, Field::kOne);
        } else {
            Field::subtract(v, v, Field::kOne);
        }
        if (!Params::rootOfQuotient(p.x, u, v)) {
            return false;
        }
        if (isOdd(p.x) != odd) {
            // Zero has no negative.
            if (isEqual(p.x, Element{})) {
                return false;
            }
            negate(p.x);
        }
        p.z = Field::kOne;
        Field::multiply(p.t, p.x, p.y);
        return true;
    }

    // Whether `p`, times the cofactor, is the neutral point.
    [[nodiscard]] static bool hasSmallOrder(Point p) noexcept {
        for (int i = 0; i < Params::kCofactorBits; ++i) {
            twice(p, false);
        }
        return isEqual(p.x, Element{}) && isEqual(p.y, p.z);
    }

    // x := -x, with the small digits of a product.
    static void negate(Element& x) noexcept {
        Field::subtract(x, Element{}, x);
        Field::multiply(x, x, Field::kOne);
    }

    [[nodiscard]] static bool isOdd(const Element& x) noexcept {
        std::array<std::uint8_t, Field::kBytes> bytes;
        Field::encode(bytes, x);
        return (bytes[0] & 1) != 0;
    }

    [[nodiscard]] static bool isEqual(const Element& x, const Element& y) noexcept {
        std::array<std::uint8_t, Field::kBytes> xBytes;
        std::array<std::uint8_t, Field::kBytes> yBytes;
        Field::encode(xBytes, x);
        Field::encode(yBytes, y);
        return xBytes == yBytes;
    }
};

// z := x^(2^count)
template <class Field>
void squareTimes(typename Field::Element& z, const typename Field::Element& x,
                 std::size_t count) noexcept {
    z = x;
    for (std::size_t i = 0; i < count; ++i) {
        Field::square(z, z);
    }
}

// z := x^(2^bits - 1), whose exponent is ones alone: their number is doubled, or one more is put
// behind them, as the bits of `bits` say.
template <class Field>
void powerOfOnes(typename Field::Element& z, const typename Field::Element& x,
                 std::size_t bits) noexcept {
    using Element = typename Field::Element;
    Element power = x;
    std::size_t ones = 1;
    std::size_t top = 1;
    while (top * 2 <= bits) {
        top *= 2;
    }
    for (std::size_t bit = top / 2; bit != 0; bit /= 2) {
        Element shifted;
        squareTimes<Field>(shifted, power, ones);
        Field::multiply(power, shifted, power);
        ones *= 2;
        if ((bits & bit) != 0) {
            Field::square(power, power);
            Field::multiply(power, power, x);
            ++ones;
        }
    }
    z = power;
}

} // namespace vantrel::crypto

#endif
