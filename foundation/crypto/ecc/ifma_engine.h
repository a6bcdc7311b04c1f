// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_IFMA_ENGINE_H
#define FOUNDATION_CRYPTO_ECC_IFMA_ENGINE_H

#include "foundation/crypto/ecc/ifma_fields.h"
#include "foundation/crypto/ecc/weierstrass_engine.h"

#if defined(__x86_64__)

namespace vantrel::crypto {

// The engine of a curve with a = -3 that adds and doubles with the AVX-512 IFMA instructions; what
// needs an inversion is left to the scalar field. The multiples of
// a key that is used once keep the Z they are computed with: such a point is added as quickly as
// one with Z = 1, which would take an inversion.
template <class Lanes>
class IfmaEngine final
    : public WeierstrassEngine<typename Lanes::Field, CoefficientA::MinusThree, Lanes> {
    using Base = WeierstrassEngine<typename Lanes::Field, CoefficientA::MinusThree, Lanes>;
    using typename Base::Affine;
    using typename Base::Jacobian;
    using typename Base::Term;
    using Sum = IfmaSum<Lanes>;

public:
    using Base::Base;
    using Base::satisfies;

    bool satisfies(const CurveNumber& u1, const CurveNumber& u2, const CurveNumber& x,
                   const CurveNumber& y, const CurveNumber& r) const noexcept override {
        std::array<typename Sum::Multiple, wnafTableSize(Base::kKeyWidth)> multiples;
        Sum::oddMultiples(multiples, Lanes::entryOf(Base::point(x, y)));
        std::array<Term, 2> terms;
        Base::setTerm(terms[0], Base::generatorTable(0), u1, 0, Base::orderBits(),
                      Base::kGeneratorWidth);
        Base::setDigits(terms[1], u2, 0, Base::orderBits(), Base::kKeyWidth);
        Jacobian result;
        if (!sumUp(result, terms, multiples)) {
            return Base::satisfies(u1, u2, x, y, r);
        }
        return Base::hasX(result, r);
    }

protected:
    [[nodiscard]] Jacobian doubled(const Affine& p, std::size_t times) const noexcept override {
        Sum running;
        running.start(Lanes::entryOf(p), false);
        running.twice(times);
        return running.value();
    }
    [[nodiscard]] Jacobian sum(std::span<const Term> terms) const noexcept override {
        Jacobian result;
        return sumUp(result, terms, {}) ? result : Base::sum(terms);
    }

private:
    // The sum of all terms; those without a table have `multiples`. False when a formula did not
    // hold or there is nothing to be added.
    static bool sumUp(Jacobian& result, std::span<const Term> terms,
                      std::span<const typename Sum::Multiple> multiples) noexcept {
        Sum running;
        bool started = false;
        std::size_t doublings = 0;
        const auto add = [&](const auto& q, bool negate) {
            if (!started) {
                running.start(q, negate);
                started = true;
                return;
            }
            if (doublings != 0) {
                running.twice(doublings);
                doublings = 0;
            }
            running.add(q, negate);
        };
        Base::walk(
            terms, [&] { ++doublings; },
            [&](const Term& term, std::size_t index, bool negate) {
                if (term.table.empty()) {
                    add(multiples[index], negate);
                } else {
                    add(term.table[index], negate);
                }
            });
        if (!started) {
            return false;
        }
        if (doublings != 0) {
            running.twice(doublings);
        }
        result = running.value();
        return !Base::Field::isZero(result.z);
    }
};

} // namespace vantrel::crypto

#endif
#endif
