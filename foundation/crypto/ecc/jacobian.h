// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_JACOBIAN_H
#define FOUNDATION_CRYPTO_ECC_JACOBIAN_H

#include <array>
#include <cstddef>
#include <span>

// Points of y^2 = x^3 + a*x + b. The formulas are those of the Explicit-Formulas Database for short
// Weierstrass curves in Jacobian coordinates; their names stand at each. M and S count
// multiplications and squarings. Variable time: public data only.
namespace vantrel::crypto {

enum class CoefficientA { Zero, MinusThree, Any };

template <class Field> struct AffinePoint { typename Field::Element x, y; };

// (X / Z^2, Y / Z^3); Z = 0 is the point at infinity.
template <class Field> struct JacobianPoint { typename Field::Element x, y, z; };

// Point arithmetic over one field; `a` is used with CoefficientA::Any only.
template <class Field, CoefficientA kA> class CurveArithmetic {
public:
    using Element = typename Field::Element;
    using Affine = AffinePoint<Field>;
    using Jacobian = JacobianPoint<Field>;

    CurveArithmetic(const Field& field, const Element& a) noexcept : m_field(field), m_a(a) {}

    [[nodiscard]] const Field& field() const noexcept { return m_field; }

    // p := 2p, with M = (3 X^2 + a Z^4) / 2 and S = X Y^2: X3 = M^2 - 2 S, Y3 = M (S - X3) - Y^4,
    // Z3 = Y Z. 3M+4S, 4M+4S for a = -3, 4M+6S for any a.
    [[gnu::noinline]] void doubleInPlace(Jacobian& p) const noexcept {
        const Field& f = m_field;
        Element m;
        Element s;
        Element yy;
        Element t;
        if constexpr (kA == CoefficientA::MinusThree) {
            // 3 X^2 - 3 Z^4 = 3 (X - Z^2) (X + Z^2)
            f.square(t, p.z);
            f.subtract(m, p.x, t);
            f.add(t, p.x, t);
            f.multiply(m, m, t);
        } else {
            f.square(m, p.x);
        }
        f.triple(m, m);
        if constexpr (kA == CoefficientA::Any) {
            f.square(t, p.z);
            f.square(t, t);
            f.multiply(t, t, m_a);
            f.add(m, m, t);
        }
        f.halve(m, m);
        f.square(yy, p.y);
        f.multiply(s, p.x, yy);
        f.multiply(p.z, p.y, p.z);
        f.square(t, m);
        f.subtractTwice(p.x, t, s);
        f.square(yy, yy);
        f.subtract(s, s, p.x);
        f.multiply(s, s, m);
        f.subtract(p.y, s, yy);
    }

    // p := p + q, or p - q. 8M+3S (madd with H not doubled). The ratio of p's new Z to its old
    // one goes to `ratio` if it is not null and the sum is the ordinary case.
    [[gnu::noinline]] void addInPlace(Jacobian& p, const Affine& q, bool negate,
                                      Element* ratio = nullptr) const noexcept {
        const Field& f = m_field;
        if (f.isZero(p.z)) {
            p.x = q.x;
            setSigned(p.y, q.y, negate);
            p.z = f.one();
            return;
        }
        Element zz;
        Element h;
        Element r;
        f.square(zz, p.z);
        f.multiply(h, q.x, zz);
        f.subtract(h, h, p.x);
        f.multiply(r, zz, p.z);
        f.multiply(r, r, q.y);
        if (negate) {
            // r = -S2 - Y1
            f.add(r, r, p.y);
            f.subtract(r, Element{}, r);
        } else {
            f.subtract(r, r, p.y);
        }
        if (f.isZero(h)) {
            if (f.isZero(r)) {
                doubleInPlace(p);
            } else {
                p.z = {};
            }
            return;
        }
        Element hh;
        Element v;
        f.square(hh, h);
        f.multiply(p.z, p.z, h);
        f.multiply(v, p.x, hh);
        if (ratio != nullptr) {
            *ratio = h;
        }
        f.multiply(h, h, hh); // H^3
        f.square(p.x, r);
        f.subtract(p.x, p.x, h);
        f.subtractTwice(p.x, p.x, v);
        f.subtract(v, v, p.x);
        f.multiply(v, v, r);
        f.multiply(p.y, p.y, h);
        f.subtract(p.y, v, p.y);
    }

    // table[i] := (2i + 1) p, with one inversion. The points are first computed on an isomorphic
    // curve on which 2p has Z = 1, so that all additions are mixed ones; p must have an order
    // above twice the table's size.
    template <std::size_t Size>
    void oddMultiples(std::span<Affine, Size> table, const Affine& p) const noexcept {
        const Field& f = m_field;
        Jacobian twice{p.x, p.y, f.one()};
        doubleInPlace(twice);
        const Affine step{twice.x, twice.y};
        Element scale;
        Element t;
        f.square(scale, twice.z);
        f.multiply(t, scale, twice.z);
        Jacobian sum;
        f.multiply(sum.x, p.x, scale);
        f.multiply(sum.y, p.y, t);
        sum.z = f.one();
        std::array<Element, Size> ratios; // Z of each by Z of the one before
        table[0] = {sum.x, sum.y};
        for (std::size_t i = 1; i < Size; ++i) {
            addInPlace(sum, step, false, &ratios[i]);
            table[i] = {sum.x, sum.y};
        }
        Element inverse;
        f.multiply(t, sum.z, twice.z);
        f.invert(inverse, t);
        for (std::size_t i = Size; i-- > 0;) {
            toAffine(table[i], inverse);
            if (i > 0) {
                f.multiply(inverse, inverse, ratios[i]);
            }
        }
    }

    // p in affine coordinates; p must not be the point at infinity.
    [[nodiscard]] Affine affine(const Jacobian& p) const noexcept {
        Element inverse;
        m_field.invert(inverse, p.z);
        Affine result{p.x, p.y};
        toAffine(result, inverse);
        return result;
    }

private:
    // (x, y) := (x / Z^2, y / Z^3), given 1 / Z
    [[gnu::noinline]] void toAffine(Affine& p, const Element& inverse) const noexcept {
        Element square;
        m_field.square(square, inverse);
        m_field.multiply(p.x, p.x, square);
        m_field.multiply(square, square, inverse);
        m_field.multiply(p.y, p.y, square);
    }
    void setSigned(Element& z, const Element& y, bool negate) const noexcept {
        if (negate) {
            m_field.subtract(z, Element{}, y);
        } else {
            z = y;
        }
    }

    const Field& m_field;
    const Element& m_a;
};

} // namespace vantrel::crypto

#endif
