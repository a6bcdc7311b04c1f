// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_SECP256K1_ENGINE_H
#define FOUNDATION_CRYPTO_ECC_SECP256K1_ENGINE_H

#include "foundation/crypto/ecc/endomorphism.h"
#include "foundation/crypto/ecc/weierstrass_engine.h"

namespace vantrel::crypto {

// The engine of secp256k1: a key that is used once has its scalar split by the endomorphism, so
// that the chain of doublings is half as long.
template <class Field>
class Secp256k1Engine final : public WeierstrassEngine<Field, CoefficientA::Zero> {
    using Base = WeierstrassEngine<Field, CoefficientA::Zero>;

public:
    using Base::satisfies;

    Secp256k1Engine(const Curve& curve, const Field& field) noexcept : Base(curve, field) {
        Base::enter(m_beta, kSecp256k1Beta);
        Base::needAllPieces(); // the third table serves keys that are used once, too
    }

    bool satisfies(const CurveNumber& u1, const CurveNumber& u2, const CurveNumber& x,
                   const CurveNumber& y, const CurveNumber& r) const noexcept override {
        typename Base::KeyTable table;
        Base::oddMultiples(table, Base::point(x, y));
        typename Base::KeyTable mapped = table;
        for (typename Base::Affine& p : mapped) {
            Base::arithmetic().field().multiply(p.x, p.x, m_beta);
        }
        const SplitScalar split = splitScalar(u2);
        std::array<typename Base::Term, 4> terms;
        Base::setTerm(terms[0], table, split.k1, 0, kSplitBits, Base::kKeyWidth);
        Base::setTerm(terms[1], mapped, split.k2, 0, kSplitBits, Base::kKeyWidth);
        terms[0].negate = split.negative1;
        terms[1].negate = split.negative2;
        // The generator's scalar in two halves: of four tables, the first and the third.
        constexpr std::size_t kHalf = Base::kPieces / 2;
        const std::size_t halfBits = kHalf * Base::pieceBits();
        Base::setTerm(terms[2], Base::generatorTable(0), u1, 0, halfBits, Base::kGeneratorWidth);
        Base::setTerm(terms[3], Base::generatorTable(kHalf), u1, halfBits, halfBits,
                      Base::kGeneratorWidth);
        return Base::hasX(Base::sum(terms), r);
    }

private:
    typename Base::Element m_beta;
};

} // namespace vantrel::crypto

#endif
