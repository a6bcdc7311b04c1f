// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_IFMA_FORMULAS_H
#define FOUNDATION_CRYPTO_ECC_IFMA_FORMULAS_H

#include "foundation/crypto/ecc/ifma_lanes.h"

#if defined(__x86_64__)

// IfmaSum's members, for the files that have a field's products. Their `Steps` computes with four
// numbers of the field at once:
//   multiply(x, y)       products of factors
//   factor(x)            makes a factor of a sum or a difference of a few products
//   settled(x)           makes such a sum one that may enter further sums
//   reduced(x)           makes any sum of the formulas a factor
//   carried(x)           makes a product one
//   stored(x)            a factor with digits that may enter sums again
//   difference<k>(x, y)  x - y, where y is the sum of at most k products
//   negated(x, sign)     -x in the lanes where `sign` is all ones, as a factor; x is `stored`
//   one()
namespace vantrel::crypto::ifma {

// A running sum as IfmaSum keeps it.
template <std::size_t N> struct Running { Quad<N> point, zz, zzz; };

// A point to be added: (Z^2, X, -, Z) and (Z^3, Y, -, -).
template <std::size_t N> struct Summand { Quad<N> first, second; };

VANTREL_IFMA_STEP __m256i signOfY(bool negate) noexcept {
    return _mm256_set_epi64x(0, 0, negate ? -1 : 0, 0);
}

template <class Steps, std::size_t N>
VANTREL_IFMA_STEP Summand<N> summandOf(const IfmaPoint<N>& q, bool negate) noexcept {
    const Quad<N> own = load(q);
    const Quad<N> y = withLane<1>(Steps::one(), own);
    return {withLane<1>(Steps::one(), lanes<0, 0, 0, 0>(own)), Steps::negated(y, signOfY(negate))};
}

// The last steps of both formulas: (x, a, z, m) becomes (x, a - b, z, 3 m), b being in the second
// lane and the sum of at most `times` products.
template <class Steps, int times, std::size_t N>
VANTREL_IFMA_STEP Quad<N> finished(const Quad<N>& x, const Quad<N>& b) noexcept {
    const Quad<N> y = Steps::template difference<times>(x, b);
    return Steps::reduced(withLane<3>(withLane<1>(x, y), sumOf(x, scaled<1>(x))));
}

// dbl-2001-b: X3 = alpha^2 - 8 beta, Y3 = alpha (4 beta - X3) - 8 gamma^2, Z3 = 2 Y Z with
// gamma = Y^2, beta = X gamma. Three steps, since the alpha of the result is computed in its last.
template <class Steps, std::size_t N> VANTREL_IFMA_STEP void twicePoint(Running<N>& sum) noexcept {
    const Quad<N> p = sum.point;
    // gamma, Y Z, alpha^2
    const Quad<N> first = Steps::multiply(lanes<1, 1, 3, 3>(p), lanes<1, 2, 3, 3>(p));
    // beta, gamma^2, and twice Z3^2
    const Quad<N> gammas = lanes<0, 0, 1, 1>(first);
    const Quad<N> z3 = sumOf(gammas, gammas);
    const Quad<N> factor = Steps::factor(withLane<3>(withLane<2>(gammas, z3), z3));
    const Quad<N> second = Steps::multiply(withLane<0>(factor, p), factor);
    const Quad<N> x3 = Steps::settled(
        Steps::template difference<8>(everywhere<2>(first), scaled<3>(everywhere<0>(second))));
    // alpha (4 beta - X3), (X3 - Z3^2) (X3 + Z3^2) and Z3^3
    const Quad<N> spread = lanes<0, 2, 2, 2>(second);
    const Quad<N> left = withLane<3>(
        withLane<0>(Steps::factor(Steps::template difference<1>(x3, spread)), everywhere<3>(p)),
        factor);
    const Quad<N> right = Steps::factor(
        withLane<3>(withLane<0>(sumOf(x3, spread),
                                Steps::template difference<1>(scaled<2>(spread), x3)),
                    spread));
    const Quad<N> third = Steps::multiply(left, right);
    const Quad<N> result = withLane<2>(withLane<0>(lanes<0, 0, 0, 1>(third), x3), z3);
    sum = {finished<Steps, 8>(result, scaled<3>(second)), second, third};
}

// add-2007-bl with H not doubled: U1 = X1 Z2^2, U2 = X2 Z1^2, S1 = Y1 Z2^3, S2 = Y2 Z1^3,
// H = U2 - U1, R = S2 - S1, V = U1 H^2, X3 = R^2 - H^3 - 2 V, Y3 = R (V - X3) - S1 H^3,
// Z3 = Z1 Z2 H. In lanes it takes as many steps as with Z2 = 1.
template <class Steps, std::size_t N>
VANTREL_IFMA_STEP void addPoint(Running<N>& sum, const Summand<N>& q) noexcept {
    const Quad<N> p = sum.point;
    // U1, U2, Z1^3 and Z1 Z2
    const Quad<N> zz = Steps::factor(everywhere<3>(sum.zz));
    const Quad<N> first =
        Steps::multiply(withLane<1>(lanes<0, 0, 2, 2>(p), q.first),
                        withLane<3>(withLane<0>(zz, q.first), q.first));
    const Quad<N> h = Steps::settled(
        Steps::template difference<1>(everywhere<1>(first), everywhere<0>(first)));
    // S1, S2, H^2 and Z3
    const Quad<N> ys = withLane<1>(everywhere<1>(p), q.second);
    const Quad<N> second = Steps::multiply(
        withLane<1>(withLane<0>(Steps::factor(withLane<2>(first, h)), ys), ys),
        withLane<0>(Steps::factor(withLane<1>(h, everywhere<2>(first))), q.second));
    const Quad<N> r = Steps::settled(
        Steps::template difference<1>(everywhere<1>(second), everywhere<0>(second)));
    // V, H^3, R^2 and Z3^2
    const Quad<N> left3 =
        Steps::factor(withLane<2>(withLane<1>(withLane<0>(second, first), h), r));
    const Quad<N> squares = withLane<3>(everywhere<2>(second), second);
    const Quad<N> third = Steps::multiply(left3, Steps::factor(withLane<2>(squares, r)));
    const Quad<N> twoV = scaled<1>(everywhere<0>(third));
    const Quad<N> x3 = Steps::settled(Steps::template difference<4>(
        everywhere<2>(third), sumOf(twoV, everywhere<1>(third))));
    // R (V - X3), S1 H^3, (X3 - Z3^2) (X3 + Z3^2) and Z3^3
    const Quad<N> spread = lanes<0, 1, 3, 3>(third);
    const Quad<N> rAndS = withLane<1>(r, everywhere<0>(second));
    const Quad<N> left4 = Steps::factor(withLane<3>(
        withLane<2>(rAndS, Steps::template difference<1>(x3, spread)), second));
    const Quad<N> right4 = Steps::factor(
        withLane<2>(withLane<0>(spread, Steps::template difference<1>(spread, x3)),
                    sumOf(x3, spread)));
    const Quad<N> fourth = Steps::multiply(left4, right4);
    const Quad<N> z3 = everywhere<3>(second);
    const Quad<N> result = withLane<2>(withLane<0>(lanes<0, 0, 0, 2>(fourth), x3), z3);
    sum = {finished<Steps, 1>(result, fourth), third, fourth};
}

template <class Steps, std::size_t N>
VANTREL_IFMA void startAt(IfmaNumbers<N>& point, IfmaNumbers<N>& zz, IfmaNumbers<N>& zzz,
                          const IfmaPoint<N>& q, bool negate) noexcept {
    const Quad<N> one = Steps::one();
    const Quad<N> own = Steps::negated(load(q), signOfY(negate));
    const Quad<N> x = everywhere<0>(load(q));
    const Quad<N> m = Steps::multiply(Steps::factor(Steps::template difference<1>(x, one)),
                                      Steps::factor(sumOf(x, one)));
    const Quad<N> threeM = Steps::reduced(sumOf(m, scaled<1>(m)));
    store(point, withLane<3>(withLane<2>(own, one), threeM));
    store(zz, one);
    store(zzz, one);
}

template <class Steps, std::size_t N>
VANTREL_IFMA void startAt(IfmaNumbers<N>& point, IfmaNumbers<N>& zz, IfmaNumbers<N>& zzz,
                          const IfmaNumbers<N>& firstRows, const IfmaNumbers<N>& secondRows,
                          bool negate) noexcept {
    const Quad<N> first = load(firstRows);
    const Quad<N> second = load(secondRows);
    const Quad<N> x = everywhere<1>(first);
    const Quad<N> square = everywhere<0>(first);
    const Quad<N> m = Steps::multiply(Steps::factor(Steps::template difference<1>(x, square)),
                                      Steps::factor(sumOf(x, square)));
    const Quad<N> threeM = Steps::reduced(sumOf(m, scaled<1>(m)));
    const Quad<N> y = Steps::negated(second, signOfY(negate));
    const Quad<N> xyz = withLane<2>(withLane<1>(x, y), everywhere<3>(first));
    store(point, withLane<3>(xyz, threeM));
    store(zz, square);
    store(zzz, everywhere<0>(second));
}

template <class Steps, std::size_t N>
VANTREL_IFMA void twiceStored(IfmaNumbers<N>& point, IfmaNumbers<N>& zz, IfmaNumbers<N>& zzz,
                              std::size_t times) noexcept {
    Running<N> sum{load(point), zeros<N>(), zeros<N>()};
    for (std::size_t i = 0; i < times; ++i) {
        twicePoint<Steps>(sum);
    }
    store(point, sum.point);
    store(zz, sum.zz);
    store(zzz, sum.zzz);
}

template <class Steps, std::size_t N>
VANTREL_IFMA __attribute__((noinline)) void addStored(IfmaNumbers<N>& point, IfmaNumbers<N>& zz,
                                                      IfmaNumbers<N>& zzz,
                                                      const Summand<N>& q) noexcept {
    Running<N> sum{load(point), load(zz), zeros<N>()};
    addPoint<Steps>(sum, q);
    store(point, sum.point);
    store(zz, sum.zz);
    store(zzz, sum.zzz);
}

template <class Steps, std::size_t N>
VANTREL_IFMA void addStored(IfmaNumbers<N>& point, IfmaNumbers<N>& zz, IfmaNumbers<N>& zzz,
                            const IfmaPoint<N>& q, bool negate) noexcept {
    addStored<Steps>(point, zz, zzz, summandOf<Steps>(q, negate));
}
template <class Steps, std::size_t N>
VANTREL_IFMA void addStored(IfmaNumbers<N>& point, IfmaNumbers<N>& zz, IfmaNumbers<N>& zzz,
                            const IfmaNumbers<N>& first, const IfmaNumbers<N>& second,
                            bool negate) noexcept {
    const Summand<N> q{load(first), Steps::negated(load(second), signOfY(negate))};
    addStored<Steps>(point, zz, zzz, q);
}

// The sum as a Multiple.
template <class Steps, std::size_t N>
VANTREL_IFMA void storeMultiple(IfmaNumbers<N>& first, IfmaNumbers<N>& second,
                                const IfmaNumbers<N>& point, const IfmaNumbers<N>& zz,
                                const IfmaNumbers<N>& zzz) noexcept {
    const Quad<N> p = Steps::stored(load(point));
    const Quad<N> square = Steps::stored(Steps::reduced(everywhere<3>(load(zz))));
    const Quad<N> cube = Steps::stored(Steps::reduced(everywhere<3>(load(zzz))));
    store(first, withLane<3>(withLane<1>(square, everywhere<0>(p)), everywhere<2>(p)));
    store(second, withLane<1>(cube, p));
}

// The numbers with digits that may be read.
template <class Steps, std::size_t N>
VANTREL_IFMA void storeReadable(IfmaNumbers<N>& z, const IfmaNumbers<N>& x) noexcept {
    store(z, Steps::stored(Steps::carried(Steps::multiply(load(x), Steps::one()))));
}

} // namespace vantrel::crypto::ifma

namespace vantrel::crypto {

template <class Lanes> void IfmaSum<Lanes>::start(const Point& q, bool negate) noexcept {
    ifma::startAt<typename Lanes::Steps>(m_point, m_zz, m_zzz, q, negate);
}
template <class Lanes> void IfmaSum<Lanes>::start(const Multiple& q, bool negate) noexcept {
    ifma::startAt<typename Lanes::Steps>(m_point, m_zz, m_zzz, q.first, q.second, negate);
}
template <class Lanes> void IfmaSum<Lanes>::twice(std::size_t times) noexcept {
    ifma::twiceStored<typename Lanes::Steps>(m_point, m_zz, m_zzz, times);
}
template <class Lanes> void IfmaSum<Lanes>::add(const Point& q, bool negate) noexcept {
    ifma::addStored<typename Lanes::Steps>(m_point, m_zz, m_zzz, q, negate);
}
template <class Lanes> void IfmaSum<Lanes>::add(const Multiple& q, bool negate) noexcept {
    ifma::addStored<typename Lanes::Steps>(m_point, m_zz, m_zzz, q.first, q.second, negate);
}

template <class Lanes> typename IfmaSum<Lanes>::Jacobian IfmaSum<Lanes>::value() const noexcept {
    Numbers readable;
    ifma::storeReadable<typename Lanes::Steps>(readable, m_point);
    return {Lanes::elementOf(readable, 0), Lanes::elementOf(readable, 1),
            Lanes::elementOf(readable, 2)};
}

template <class Lanes> typename IfmaSum<Lanes>::Multiple IfmaSum<Lanes>::multiple() const noexcept {
    Multiple result;
    ifma::storeMultiple<typename Lanes::Steps>(result.first, result.second, m_point, m_zz, m_zzz);
    return result;
}

template <class Lanes>
void IfmaSum<Lanes>::oddMultiples(std::span<Multiple> table, const Point& q) noexcept {
    IfmaSum sum;
    sum.start(q, false);
    sum.twice();
    const Multiple step = sum.multiple();
    sum.start(q, false);
    table[0] = sum.multiple();
    for (std::size_t i = 1; i < table.size(); ++i) {
        sum.add(step, false);
        table[i] = sum.multiple();
    }
}

} // namespace vantrel::crypto

#endif
#endif
