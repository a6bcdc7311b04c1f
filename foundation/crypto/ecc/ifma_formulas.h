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

// A running sum: (Y, alpha, X, -), and Z and Z^2 in the second lanes.
template <std::size_t N> struct Running { Quad<N> point, z, zz; };

// A point to be added: (Z^2, X, Z, -) and (-, -, Z^3, Y).
template <std::size_t N> struct Summand { Quad<N> first, second; };

VANTREL_IFMA_STEP __m256i signOfY(bool negate) noexcept {
    return _mm256_set_epi64x(negate ? -1 : 0, 0, 0, 0);
}

// dbl-2001-b: X3 = alpha^2 - 8 beta, Y3 = alpha (4 beta - X3) - 8 gamma^2, Z3 = 2 Y Z with
// gamma = Y^2, beta = X gamma. Three steps, since the alpha of the result is computed in its last.
template <class Steps, std::size_t N> VANTREL_IFMA_STEP void twicePoint(Running<N>& sum) noexcept {
    const Quad<N> p = sum.point;
    // gamma, Y Z, alpha^2 and gamma again
    const Quad<N> left1 = lanes<0, 0, 1, 0>(p);
    const Quad<N> first = Steps::multiply(left1, with<1>(left1, sum.z));
    // beta, Z3^2, - and gamma^2
    const Quad<N> factors = Steps::factor(with<1>(first, scaled<1>(first)));
    const Quad<N> second = Steps::multiply(with<0>(factors, everywhere<2>(p)), factors);
    const Quad<N> beta = evens(second);
    const Quad<N> zz = odds(second);
    const Quad<N> x3 =
        Steps::settled(Steps::template difference<8>(everywhere<2>(first), scaled<3>(beta)));
    // alpha (4 beta - X3) and (X3 - Z3^2) (X3 + Z3^2)
    const Quad<N> left3 = Steps::factor(Steps::template difference<1>(x3, zz));
    const Quad<N> right3 =
        Steps::factor(with<0>(sumOf(x3, zz), Steps::template difference<1>(scaled<2>(beta), x3)));
    const Quad<N> third = Steps::multiply(with<0>(left3, everywhere<1>(p)), right3);
    const Quad<N> y3 = Steps::template difference<8>(third, scaled<3>(everywhere<3>(second)));
    const Quad<N> alpha = tripled(third);
    sum = {Steps::reduced(with<2>(with<1>(y3, alpha), everywhere<0>(x3))), factors, second};
}

// add-2007-bl with H not doubled: U1 = X1 Z2^2, U2 = X2 Z1^2, S1 = Y1 Z2^3, S2 = Y2 Z1^3,
// H = U2 - U1, R = S2 - S1, V = U1 H^2, X3 = R^2 - H^3 - 2 V, Y3 = R (V - X3) - S1 H^3,
// Z3 = Z1 Z2 H. In lanes it takes as many steps as with Z2 = 1.
template <class Steps, std::size_t N>
VANTREL_IFMA_STEP void addPoint(Running<N>& sum, const Summand<N>& q) noexcept {
    const Quad<N> p = sum.point;
    // U1, U2, Z1 Z2 and Z1^3
    const Quad<N> zz = Steps::factor(everywhere<1>(sum.zz));
    const Quad<N> left1 = with<1>(with<0>(everywhere<1>(sum.z), everywhere<2>(p)), q.first);
    const Quad<N> first = Steps::multiply(left1, with<0, 2>(zz, q.first));
    const Quad<N> h = Steps::settled(Steps::template difference<1>(odds(first), evens(first)));
    // H^2, Z3, S1 and S2
    const Quad<N> ys = with<3>(everywhere<0>(p), q.second);
    const Quad<N> left2 = with<2, 3>(Steps::factor(with<1>(h, everywhere<2>(first))), ys);
    const Quad<N> right2 = with<2>(Steps::factor(with<3>(h, first)), q.second);
    const Quad<N> second = Steps::multiply(left2, right2);
    const Quad<N> r = Steps::settled(Steps::template difference<1>(odds(second), evens(second)));
    // V, H^3, R^2 and Z3^2
    const Quad<N> rAndZ = with<3>(r, everywhere<1>(second));
    const Quad<N> left3 = Steps::factor(with<0>(with<1>(rAndZ, h), first));
    const Quad<N> third = Steps::multiply(left3, Steps::factor(with<0, 1>(rAndZ, evens(second))));
    const Quad<N> less = sumOf(scaled<1>(everywhere<0>(third)), everywhere<1>(third));
    const Quad<N> x3 = Steps::settled(Steps::template difference<4>(everywhere<2>(third), less));
    // R (V - X3), S1 H^3, - and (X3 - Z3^2) (X3 + Z3^2)
    const Quad<N> rAndS = with<1>(everywhere<2>(r), everywhere<2>(second));
    const Quad<N> left4 =
        Steps::factor(with<0, 1>(Steps::template difference<1>(x3, third), rAndS));
    const Quad<N> right4 = Steps::factor(
        with<3>(with<0>(third, Steps::template difference<1>(third, x3)), sumOf(x3, third)));
    const Quad<N> fourth = Steps::multiply(left4, right4);
    const Quad<N> moved = lanes<1, 3, 3, 3>(fourth);
    const Quad<N> y3 = Steps::template difference<1>(fourth, moved);
    const Quad<N> alpha = tripled(moved);
    sum = {Steps::reduced(with<2>(with<1>(y3, alpha), x3)), everywhere<3>(left3),
           everywhere<3>(third)};
}

// The sum that is the point (X, Y, Z) with Z^2; x, z and zz are in all lanes, y in the first.
template <class Steps, std::size_t N>
VANTREL_IFMA_STEP Running<N> runningOf(const Quad<N>& x, const Quad<N>& y, const Quad<N>& z,
                                       const Quad<N>& zz) noexcept {
    const Quad<N> m = Steps::multiply(Steps::factor(Steps::template difference<1>(x, zz)),
                                      Steps::factor(sumOf(x, zz)));
    const Quad<N> alpha = Steps::reduced(tripled(m));
    return {with<0>(with<1>(x, alpha), y), z, zz};
}

template <std::size_t N> VANTREL_IFMA_STEP Running<N> load(const IfmaRunning<N>& sum) noexcept {
    return {load(sum.point), load(sum.z), load(sum.zz)};
}
template <std::size_t N>
VANTREL_IFMA_STEP void store(IfmaRunning<N>& z, const Running<N>& sum) noexcept {
    store(z.point, sum.point);
    store(z.z, sum.z);
    store(z.zz, sum.zz);
}

template <class Steps, std::size_t N>
VANTREL_IFMA_STEP Summand<N> summandOf(const IfmaPoint<N>& q, bool negate) noexcept {
    const Quad<N> own = load(q);
    const Quad<N> one = Steps::one();
    return {with<1>(one, evens(own)), with<3>(one, Steps::negated(own, signOfY(negate)))};
}
template <class Steps, std::size_t N>
VANTREL_IFMA_STEP Summand<N> summandOf(const IfmaMultiple<N>& q, bool negate) noexcept {
    return {load(q.first), Steps::negated(load(q.second), signOfY(negate))};
}

// What follows is called from code without the extension: all goes through memory.

template <class Steps, std::size_t N>
VANTREL_IFMA void start(IfmaRunning<N>& sum, const IfmaPoint<N>& q, bool negate) noexcept {
    const Summand<N> own = summandOf<Steps>(q, negate);
    const Quad<N> one = Steps::one();
    store(sum, runningOf<Steps>(everywhere<1>(own.first), everywhere<3>(own.second), one, one));
}
template <class Steps, std::size_t N>
VANTREL_IFMA void start(IfmaRunning<N>& sum, const IfmaMultiple<N>& q, bool negate) noexcept {
    const Summand<N> own = summandOf<Steps>(q, negate);
    store(sum, runningOf<Steps>(everywhere<1>(own.first), everywhere<3>(own.second),
                                everywhere<2>(own.first), everywhere<0>(own.first)));
}

template <class Steps, std::size_t N>
VANTREL_IFMA void twice(IfmaRunning<N>& stored, std::size_t times) noexcept {
    Running<N> sum = load(stored);
    for (std::size_t i = 0; i < times; ++i) {
        twicePoint<Steps>(sum);
    }
    store(stored, sum);
}

template <class Steps, std::size_t N>
VANTREL_IFMA __attribute__((noinline)) void add(IfmaRunning<N>& stored,
                                                const Summand<N>& q) noexcept {
    Running<N> sum = load(stored);
    addPoint<Steps>(sum, q);
    store(stored, sum);
}
template <class Steps, class Point, std::size_t N>
VANTREL_IFMA void add(IfmaRunning<N>& sum, const Point& q, bool negate) noexcept {
    add<Steps>(sum, summandOf<Steps>(q, negate));
}

template <class Steps, std::size_t N>
VANTREL_IFMA void storeMultiple(IfmaMultiple<N>& q, const IfmaRunning<N>& stored) noexcept {
    const Running<N> sum = load(stored);
    const Quad<N> p = Steps::stored(sum.point);
    const Quad<N> z = everywhere<1>(Steps::stored(sum.z));
    const Quad<N> zz = Steps::stored(Steps::reduced(everywhere<1>(sum.zz)));
    const Quad<N> zzz = Steps::stored(Steps::reduced(Steps::multiply(z, zz)));
    store(q.first, with<2>(with<1>(zz, everywhere<2>(p)), z));
    store(q.second, with<3>(zzz, everywhere<0>(p)));
}

// Y, Z and X with digits that may be read.
template <class Steps, std::size_t N>
VANTREL_IFMA void storeReadable(IfmaNumbers<N>& yzx, const IfmaRunning<N>& stored) noexcept {
    const Running<N> sum = load(stored);
    const Quad<N> product = Steps::multiply(with<1>(sum.point, sum.z), Steps::one());
    store(yzx, Steps::stored(Steps::carried(product)));
}

} // namespace vantrel::crypto::ifma

namespace vantrel::crypto {

template <class Lanes> void IfmaSum<Lanes>::start(const Point& q, bool negate) noexcept {
    ifma::start<typename Lanes::Steps>(m_sum, q, negate);
}
template <class Lanes> void IfmaSum<Lanes>::start(const Multiple& q, bool negate) noexcept {
    ifma::start<typename Lanes::Steps>(m_sum, q, negate);
}
template <class Lanes> void IfmaSum<Lanes>::twice(std::size_t times) noexcept {
    ifma::twice<typename Lanes::Steps>(m_sum, times);
}
template <class Lanes> void IfmaSum<Lanes>::add(const Point& q, bool negate) noexcept {
    ifma::add<typename Lanes::Steps>(m_sum, q, negate);
}
template <class Lanes> void IfmaSum<Lanes>::add(const Multiple& q, bool negate) noexcept {
    ifma::add<typename Lanes::Steps>(m_sum, q, negate);
}

template <class Lanes> typename IfmaSum<Lanes>::Jacobian IfmaSum<Lanes>::value() const noexcept {
    IfmaNumbers<kDigits> yzx;
    ifma::storeReadable<typename Lanes::Steps>(yzx, m_sum);
    return {Lanes::elementOf(yzx, 2), Lanes::elementOf(yzx, 0), Lanes::elementOf(yzx, 1)};
}

template <class Lanes> typename IfmaSum<Lanes>::Multiple IfmaSum<Lanes>::multiple() const noexcept {
    Multiple result;
    ifma::storeMultiple<typename Lanes::Steps>(result, m_sum);
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
