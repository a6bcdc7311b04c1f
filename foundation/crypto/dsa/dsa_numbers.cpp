// SPDX-License-Identifier: MIT
#include "foundation/crypto/dsa/dsa_numbers.h"

#include "foundation/crypto/bignum/divisibility.h"

#include <algorithm>
#include <new>

namespace vantrel {

using crypto::DsaElement;
using crypto::DsaPowers;
using crypto::DsaTables;
using crypto::Limb;

namespace {

// Making the tables costs about as much as one verification and speeds up the later ones.
constexpr std::uint32_t kUsesBeforeTables = 2;

// An exponent, read from its top by sliding windows: digit[i] is zero or an odd number below
// 2^kDsaWindow that stands for bits i and above.
struct Term {
    const DsaPowers* powers = nullptr;
    std::array<std::uint8_t, kMaxDsaOrderBits> digits;
};

bool bitAt(std::span<const Limb> x, std::size_t i) noexcept {
    return (x[i / crypto::kLimbBits] >> (i % crypto::kLimbBits) & 1) != 0;
}

// Bits first .. first + count - 1 of the exponent as windows.
void setTerm(Term& term, const DsaPowers& powers, std::span<const Limb> exponent, std::size_t first,
             std::size_t count) noexcept {
    term.powers = &powers;
    std::fill_n(term.digits.begin(), count, std::uint8_t{0});
    const std::size_t limit = std::min(first + count, exponent.size() * crypto::kLimbBits);
    for (std::size_t i = first; i < limit;) {
        if (!bitAt(exponent, i)) {
            ++i;
            continue;
        }
        unsigned digit = 0;
        for (std::size_t j = std::min(limit - i, std::size_t{crypto::kDsaWindow}); j-- > 0;) {
            digit = digit << 1 | static_cast<unsigned>(bitAt(exponent, i + j));
        }
        term.digits[i - first] = static_cast<std::uint8_t>(digit);
        i += crypto::kDsaWindow;
    }
}

} // namespace

void DsaKeyData::Numbers::fillPowers(DsaPowers& powers, std::span<const Limb> base) const noexcept {
    DsaElement square;
    p.square(square, base);
    std::copy_n(base.begin(), p.size(), powers[0].begin());
    for (std::size_t i = 1; i < powers.size(); ++i) {
        p.multiply(powers[i], powers[i - 1], square);
    }
}

void DsaKeyData::Numbers::fillPieces(std::span<DsaPowers> pieces,
                                     std::span<const Limb> base) const noexcept {
    const std::size_t pieceBits = (orderBits + pieces.size() - 1) / pieces.size();
    DsaElement power;
    std::copy_n(base.begin(), p.size(), power.begin());
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        fillPowers(pieces[i], power);
        for (std::size_t bit = 0; i + 1 < pieces.size() && bit < pieceBits; ++bit) {
            p.square(power, power);
        }
    }
}

const DsaTables* DsaKeyData::Numbers::tables() const noexcept {
    const DsaTables* ready = m_ready.load(std::memory_order_acquire);
    if (ready != nullptr || m_uses.load(std::memory_order_relaxed) > kUsesBeforeTables ||
        m_uses.fetch_add(1, std::memory_order_relaxed) != kUsesBeforeTables) {
        return ready;
    }
    m_tables.reset(new (std::nothrow) DsaTables);
    if (m_tables) {
        DsaElement base;
        p.enter(base, std::span<const Limb>(g).first(p.value().size()));
        fillPieces(m_tables->g, base);
        p.enter(base, std::span<const Limb>(y).first(p.value().size()));
        fillPieces(m_tables->y, base);
        m_ready.store(m_tables.get(), std::memory_order_release);
    }
    return m_tables.get();
}

bool DsaKeyData::Numbers::satisfies(std::span<const Limb> u1, std::span<const Limb> u2,
                                    std::span<const Limb> r) const noexcept {
    std::array<Term, 2 * DsaTables::kPieces> terms;
    std::size_t termCount = 2;
    std::size_t length = orderBits;
    std::array<DsaPowers, 2> powers;
    if (const DsaTables* const ready = tables(); ready != nullptr) {
        termCount = terms.size();
        length = (orderBits + DsaTables::kPieces - 1) / DsaTables::kPieces;
        for (std::size_t i = 0; i < DsaTables::kPieces; ++i) {
            setTerm(terms[2 * i], ready->g[i], u1, i * length, length);
            setTerm(terms[2 * i + 1], ready->y[i], u2, i * length, length);
        }
    } else {
        DsaElement base;
        p.enter(base, std::span<const Limb>(g).first(p.value().size()));
        fillPowers(powers[0], base);
        p.enter(base, std::span<const Limb>(y).first(p.value().size()));
        fillPowers(powers[1], base);
        setTerm(terms[0], powers[0], u1, 0, length);
        setTerm(terms[1], powers[1], u2, 0, length);
    }

    DsaElement product;
    p.one(product);
    bool started = false;
    for (std::size_t i = length; i-- > 0;) {
        if (started) {
            p.square(product, product);
        }
        for (const Term& term : std::span(terms).first(termCount)) {
            if (term.digits[i] != 0) {
                p.multiply(product, product, (*term.powers)[term.digits[i] / 2]);
                started = true;
            }
        }
    }
    // v mod q = r, that is: v - r is a multiple of q. (A v below r is below q as well, and not r.)
    std::array<Limb, crypto::kMaxDsaLimbs> buffer;
    const std::span<Limb> v = std::span(buffer).first(p.value().size());
    p.leave(v, product);
    std::array<Limb, crypto::kMaxDsaLimbs> wide{};
    std::copy(r.begin(), r.end(), wide.begin());
    return crypto::subtract(v, std::span<const Limb>(wide).first(v.size())) == 0 &&
           crypto::isMultipleOf(v, order());
}

} // namespace vantrel
