// SPDX-License-Identifier: MIT
#include "foundation/crypto/dsa/DsaKeyData.h"

#include "foundation/crypto/bignum/divisibility.h"
#include "foundation/crypto/dsa/dsa_numbers.h"

#include <algorithm>
#include <new>

namespace vantrel {

using crypto::Limb;

namespace {

// 2 <= x <= p - 2. p is odd, so that p - 1 differs from it in the lowest bit only.
bool inGroup(std::span<const Limb> x, std::span<const Limb> p) noexcept {
    if (crypto::bitLength(x) < 2 || !crypto::lessThan(x, p)) {
        return false;
    }
    const bool last = x[0] == (p[0] ^ 1) && crypto::equal(x.subspan(1), p.subspan(1));
    return !last;
}

} // namespace

DsaKeyData::DsaKeyData() noexcept = default;
DsaKeyData::DsaKeyData(const DsaKeyData&) noexcept = default;
DsaKeyData::DsaKeyData(DsaKeyData&&) noexcept = default;
DsaKeyData& DsaKeyData::operator=(const DsaKeyData&) noexcept = default;
DsaKeyData& DsaKeyData::operator=(DsaKeyData&&) noexcept = default;
DsaKeyData::~DsaKeyData() = default;

bool DsaKeyData::load(ByteView pBE, ByteView qBE, ByteView gBE, ByteView yBE,
                      std::string_view& whyNot) noexcept {
    m_numbers.reset();
    std::shared_ptr<Numbers> numbers;
    try {
        numbers = std::make_shared<Numbers>();
    } catch (const std::bad_alloc&) {
        whyNot = "There is no memory for the DSA key.";
        return false;
    }
    std::array<Limb, crypto::kMaxDsaLimbs> pBuffer;
    if (!crypto::loadBigEndian(pBuffer, pBE) || crypto::bitLength(pBuffer) < kMinDsaBits ||
        (pBuffer[0] & 1) == 0) {
        whyNot = "The DSA prime p is even or not of an accepted size.";
        return false;
    }
    numbers->bits = crypto::bitLength(pBuffer);
    const std::span<Limb> p = std::span(pBuffer).first(crypto::limbsForBits(numbers->bits));
    if (!crypto::loadBigEndian(numbers->q, qBE) ||
        crypto::bitLength(numbers->q) < kMinDsaOrderBits || (numbers->q[0] & 1) == 0) {
        whyNot = "The DSA order q is even or not of an accepted size.";
        return false;
    }
    numbers->orderBits = crypto::bitLength(numbers->q);
    p[0] ^= 1;
    const bool divides = crypto::isMultipleOf(p, numbers->order());
    p[0] ^= 1;
    if (!divides) {
        whyNot = "The DSA order q does not divide p - 1.";
        return false;
    }
    const std::span<Limb> g = std::span(numbers->g).first(p.size());
    const std::span<Limb> y = std::span(numbers->y).first(p.size());
    if (!crypto::loadBigEndian(g, gBE) || !inGroup(g, p)) {
        whyNot = "The DSA generator g is out of range.";
        return false;
    }
    if (!crypto::loadBigEndian(y, yBE) || !inGroup(y, p)) {
        whyNot = "The DSA public value y is out of range.";
        return false;
    }
    numbers->p.set(p);
    numbers->keepBytes(pBE, qBE, gBE, yBE);
    m_numbers = std::move(numbers);
    return true;
}

void DsaKeyData::Numbers::keepBytes(ByteView pBE, ByteView qBE, ByteView gBE,
                                    ByteView yBE) noexcept {
    std::size_t used = 0;
    const auto keep = [&](ByteView source) {
        const ByteView number = crypto::withoutLeadingZeros(source);
        const std::span<std::uint8_t> target = std::span(bytes).subspan(used, number.size());
        std::copy(number.begin(), number.end(), target.begin());
        used += number.size();
        return ByteView(target);
    };
    pBytes = keep(pBE);
    qBytes = keep(qBE);
    gBytes = keep(gBE);
    yBytes = keep(yBE);
}

std::size_t DsaKeyData::bits() const noexcept { return m_numbers ? m_numbers->bits : 0; }
std::size_t DsaKeyData::orderBits() const noexcept { return m_numbers ? m_numbers->orderBits : 0; }
ByteView DsaKeyData::p() const noexcept { return m_numbers ? m_numbers->pBytes : ByteView(); }
ByteView DsaKeyData::q() const noexcept { return m_numbers ? m_numbers->qBytes : ByteView(); }
ByteView DsaKeyData::g() const noexcept { return m_numbers ? m_numbers->gBytes : ByteView(); }
ByteView DsaKeyData::y() const noexcept { return m_numbers ? m_numbers->yBytes : ByteView(); }

} // namespace vantrel
