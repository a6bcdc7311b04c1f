// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_WEIERSTRASS_ENGINE_H
#define FOUNDATION_CRYPTO_ECC_WEIERSTRASS_ENGINE_H

#include "foundation/crypto/ecc/curve_engine.h"
#include "foundation/crypto/ecc/jacobian.h"
#include "foundation/crypto/ecc/wnaf.h"
#include "foundation/text/once.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <span>

namespace vantrel::crypto {

// How tables hold points: in affine coordinates of the field.
template <class F> struct AffineTables {
    using Entry = AffinePoint<F>;

    [[nodiscard]] static const Entry& entryOf(const AffinePoint<F>& p) noexcept { return p; }
    [[nodiscard]] static const AffinePoint<F>& pointOf(const Entry& entry) noexcept {
        return entry;
    }
};

// A CurveEngine over any field and shape of curve.
//
// Sums of multiples are computed jointly: scalars in wNAF, one chain of doublings for all of them.
// A scalar is cut into kPieces pieces when there are tables for P, 2^L P, 2^2L P, ..; the chain is
// then only L doublings long. A key has such tables when it is prepared, and the generator from
// then on: a process that verifies one signature gets along with the first of them.
template <class F, CoefficientA kA, class Tables = AffineTables<F>>
class WeierstrassEngine : public CurveEngine {
public:
    using Field = F;
    using Entry = typename Tables::Entry;
    using Arithmetic = CurveArithmetic<Field, kA>;
    using Element = typename Field::Element;
    using Affine = typename Arithmetic::Affine;
    using Jacobian = typename Arithmetic::Jacobian;

    static constexpr std::size_t kLimbs = Field::kLimbs;
    static constexpr std::size_t kMaxBits = kLimbs * kLimbBits;
    static constexpr std::size_t kPieces = 4;
    static constexpr unsigned kGeneratorWidth = 8;
    static constexpr unsigned kKeyWidth = 5;      // of a key that is used once
    static constexpr unsigned kPreparedWidth = 6; // of a prepared key

    using KeyTable = std::array<Entry, wnafTableSize(kKeyWidth)>;
    using PreparedTable = std::array<Entry, wnafTableSize(kPreparedWidth)>;
    using GeneratorTable = std::array<Entry, wnafTableSize(kGeneratorWidth)>;

    WeierstrassEngine(const Curve& curve, const Field& field) noexcept
        : m_curve(curve), m_field(field), m_pieceBits((curve.orderBits + kPieces - 1) / kPieces),
          m_arithmetic(m_field, m_a) {
        enter(m_a, curve.a);
        enter(m_b, curve.b);
        oddMultiples(m_generator[0], point(curve.gx, curve.gy));
    }

    bool isOnCurve(const CurveNumber& x, const CurveNumber& y) const noexcept override {
        const Affine p = point(x, y);
        Element left;
        Element right;
        m_field.square(left, p.y);
        m_field.square(right, p.x);
        m_field.add(right, right, m_a);
        m_field.multiply(right, right, p.x);
        m_field.add(right, right, m_b);
        return m_field.equal(left, right);
    }

    bool satisfies(const CurveNumber& u1, const CurveNumber& u2, const CurveNumber& x,
                   const CurveNumber& y, const CurveNumber& r) const noexcept override {
        KeyTable table;
        oddMultiples(table, point(x, y));
        std::array<Term, 2> terms;
        setTerm(terms[0], m_generator[0], u1, 0, m_curve.orderBits, kGeneratorWidth);
        setTerm(terms[1], table, u2, 0, m_curve.orderBits, kKeyWidth);
        return hasX(sum(terms), r);
    }

    bool satisfies(const CurveNumber& u1, const CurveNumber& u2, const PreparedKey& key,
                   const CurveNumber& r) const noexcept override {
        const Prepared& prepared = static_cast<const Prepared&>(key);
        std::array<Term, 2 * kPieces> terms;
        for (std::size_t i = 0; i < kPieces; ++i) {
            const std::size_t first = i * m_pieceBits;
            setTerm(terms[2 * i], m_generator[i], u1, first, m_pieceBits, kGeneratorWidth);
            setTerm(terms[2 * i + 1], prepared.tables[i], u2, first, m_pieceBits, kPreparedWidth);
        }
        return hasX(sum(terms), r);
    }

    std::unique_ptr<PreparedKey> prepare(const CurveNumber& x,
                                         const CurveNumber& y) const noexcept override {
        std::unique_ptr<Prepared> prepared(new (std::nothrow) Prepared);
        if (prepared) {
            needAllPieces();
            fillTables(std::span<PreparedTable>(prepared->tables), point(x, y));
        }
        return prepared;
    }

protected:
    struct Prepared final : PreparedKey {
        std::array<PreparedTable, kPieces> tables;
    };

    // One scalar in wNAF with the odd multiples of its point.
    struct Term {
        std::span<const Entry> table;
        std::size_t length = 0;
        bool negate = false;
        std::array<std::int16_t, kMaxBits + 1> digits;
    };

    [[nodiscard]] std::size_t orderBits() const noexcept { return m_curve.orderBits; }
    [[nodiscard]] std::size_t pieceBits() const noexcept { return m_pieceBits; }
    [[nodiscard]] const Arithmetic& arithmetic() const noexcept { return m_arithmetic; }
    // Makes the generator's tables behind the first, once.
    void needAllPieces() const noexcept {
        m_piecesMade.run([this] {
            fillTables(std::span<GeneratorTable>(m_generator), point(m_curve.gx, m_curve.gy), 1);
        });
    }
    // Those behind the first are there once they were needed.
    [[nodiscard]] const GeneratorTable& generatorTable(std::size_t piece) const noexcept {
        return m_generator[piece];
    }

    void enter(Element& z, const CurveNumber& number) const noexcept {
        Element plain;
        std::copy_n(number.begin(), kLimbs, plain.begin());
        m_field.enter(z, plain);
    }

    [[nodiscard]] Affine point(const CurveNumber& x, const CurveNumber& y) const noexcept {
        Affine p;
        enter(p.x, x);
        enter(p.y, y);
        return p;
    }

    // table[i] := (2i + 1) p
    template <std::size_t Size>
    void oddMultiples(std::array<Entry, Size>& table, const Affine& p) const noexcept {
        std::array<Affine, Size> points;
        m_arithmetic.oddMultiples(std::span(points), p);
        std::transform(points.begin(), points.end(), table.begin(), Tables::entryOf);
    }

    static void setDigits(Term& term, std::span<const Limb> scalar, std::size_t first,
                          std::size_t count, unsigned width) noexcept {
        term.length =
            recodeWnaf(std::span(term.digits).first(count + 1), scalar, first, count, width);
    }
    template <std::size_t Size>
    static void setTerm(Term& term, const std::array<Entry, Size>& table,
                        std::span<const Limb> scalar, std::size_t first, std::size_t count,
                        unsigned width) noexcept {
        term.table = table;
        setDigits(term, scalar, first, count, width);
    }

    // 2^times * p
    [[nodiscard]] virtual Jacobian doubled(const Affine& p, std::size_t times) const noexcept {
        Jacobian result{p.x, p.y, m_field.one()};
        for (std::size_t i = 0; i < times; ++i) {
            m_arithmetic.doubleInPlace(result);
        }
        return result;
    }

    // The sum of all terms.
    [[nodiscard]] virtual Jacobian sum(std::span<const Term> terms) const noexcept {
        Jacobian result{};
        walk(
            terms, [&] { m_arithmetic.doubleInPlace(result); },
            [&](const Term& term, std::size_t index, bool negate) {
                m_arithmetic.addInPlace(result, Tables::pointOf(term.table[index]), negate);
            });
        return result;
    }

    // The steps of it in their order: `add` adds a point of a term's table or its negative, `twice`
    // doubles what has been added up, and is not called before the first `add`.
    template <class Twice, class Add>
    static void walk(std::span<const Term> terms, const Twice& twice, const Add& add) noexcept {
        std::size_t length = 0;
        for (const Term& term : terms) {
            length = std::max(length, term.length);
        }
        for (std::size_t i = length; i-- > 0;) {
            if (i + 1 < length) {
                twice();
            }
            for (const Term& term : terms) {
                const int digit = i < term.length ? term.digits[i] : 0;
                if (digit != 0) {
                    const std::size_t index = static_cast<std::size_t>(digit < 0 ? -digit : digit);
                    add(term, index / 2, (digit < 0) != term.negate);
                }
            }
        }
    }

    // x = X / Z^2 is r or, where that is still below p, r + n.
    [[nodiscard]] bool hasX(const Jacobian& p, const CurveNumber& r) const noexcept {
        if (m_field.isZero(p.z)) {
            return false;
        }
        Element zz;
        m_field.square(zz, p.z);
        CurveNumber candidate = r;
        for (int round = 0; round < 2; ++round) {
            if (!lessThan(candidate, m_curve.p)) {
                return false;
            }
            Element x;
            enter(x, candidate);
            m_field.multiply(x, x, zz);
            if (m_field.equal(x, p.x)) {
                return true;
            }
            if (add(candidate, m_curve.n) != 0) {
                return false;
            }
        }
        return false;
    }

private:
    // Tables for 2^(L i) `base`, from the `first` on.
    template <class Table>
    void fillTables(std::span<Table> tables, const Affine& base,
                    std::size_t first = 0) const noexcept {
        Affine p = base;
        for (std::size_t i = 0; i < tables.size(); ++i) {
            if (i >= first) {
                oddMultiples(tables[i], p);
            }
            if (i + 1 < tables.size()) {
                p = m_arithmetic.affine(doubled(p, m_pieceBits));
            }
        }
    }

    const Curve& m_curve;
    Field m_field;
    std::size_t m_pieceBits;
    Element m_a{};
    Element m_b{};
    Arithmetic m_arithmetic;
    mutable Once m_piecesMade;
    mutable std::array<GeneratorTable, kPieces> m_generator;
};

} // namespace vantrel::crypto

#endif
