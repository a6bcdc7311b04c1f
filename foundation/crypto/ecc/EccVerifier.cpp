// SPDX-License-Identifier: MIT
#include "foundation/crypto/ecc/EccVerifier.h"

#include "foundation/crypto/ecc/curve_engine.h"
#include "foundation/crypto/ecc/point_decoding.h"
#include "foundation/crypto/signature/scalars.h"
#include "foundation/crypto/signature/signature_value.h"
#include "foundation/text/LogBase.h"

#include <atomic>
#include <new>
#include <span>

namespace vantrel {

using crypto::CurveNumber;
using crypto::Limb;

namespace {

// Tables cost as much as a verification and halve the later ones.
constexpr std::uint32_t kUsesBeforeTables = 2;

} // namespace

// The uses of a key, and the tables once there are any.
struct EccVerifier::Usage {
    std::atomic<std::uint32_t> uses{0};
    std::atomic<const crypto::PreparedKey*> tables{nullptr};
    std::unique_ptr<crypto::PreparedKey> owner; // set once, by the thread that counts the use

    // The tables, or null as long as there are none. Exactly one caller makes them.
    const crypto::PreparedKey* tablesFor(const crypto::CurveEngine& engine, const CurveNumber& x,
                                         const CurveNumber& y) noexcept {
        const crypto::PreparedKey* ready = tables.load(std::memory_order_acquire);
        if (ready == nullptr && uses.load(std::memory_order_relaxed) <= kUsesBeforeTables &&
            uses.fetch_add(1, std::memory_order_relaxed) == kUsesBeforeTables) {
            owner = engine.prepare(x, y);
            ready = owner.get();
            tables.store(ready, std::memory_order_release);
        }
        return ready;
    }
};

bool EccVerifier::loadPoint(const crypto::Curve& curve, ByteView point,
                            std::string_view& whyNot) noexcept {
    m_curve = nullptr;
    m_usage.reset();
    if (!crypto::decodePoint(curve, point, m_x, m_y, whyNot)) {
        return false;
    }
    const std::size_t width = curve.fieldBytes();
    const std::span<std::uint8_t> encoded(m_point);
    encoded[0] = 4;
    crypto::storeBigEndian(encoded.subspan(1, width), m_x);
    crypto::storeBigEndian(encoded.subspan(1 + width, width), m_y);
    m_engine = &crypto::chosenCurveEngine(curve.id);
    m_curve = &curve;
    try {
        m_usage = std::make_shared<Usage>();
    } catch (const std::bad_alloc&) {
        m_usage.reset(); // the key works without
    }
    return true;
}

ByteView EccVerifier::point() const noexcept {
    if (m_curve == nullptr) {
        return {};
    }
    return {m_point.data(), 1 + 2 * m_curve->fieldBytes()};
}

bool EccVerifier::check(ByteView rBytes, ByteView sBytes, ByteView hash) const noexcept {
    const std::size_t k = crypto::limbsForBits(m_curve->orderBits);
    const std::span<const Limb> n = std::span<const Limb>(m_curve->n).first(k);
    CurveNumber r{};
    CurveNumber u1{};
    CurveNumber u2{};
    if (!crypto::signatureScalars(n, rBytes, sBytes, hash, std::span<Limb>(r).first(k),
                                  std::span<Limb>(u1).first(k), std::span<Limb>(u2).first(k))) {
        return false;
    }
    const crypto::PreparedKey* tables = m_usage ? m_usage->tablesFor(*m_engine, m_x, m_y) : nullptr;
    return tables != nullptr ? m_engine->satisfies(u1, u2, *tables, r)
                             : m_engine->satisfies(u1, u2, m_x, m_y, r);
}

bool EccVerifier::eccVerifyHash(const std::uint8_t* signature, std::uint32_t signatureLength,
                                bool derFirst, const std::uint8_t* hash, std::uint32_t hashLength,
                                bool& verified, LogBase& log, unsigned /*reserved*/) const {
    verified = false;
    if (m_curve == nullptr) {
        log.LogError("The elliptic-curve key is empty.");
        return false;
    }
    if (hash == nullptr || hashLength == 0) {
        log.LogError("There is no hash to be verified with the elliptic-curve key.");
        return false;
    }
    if (signature == nullptr) {
        return true;
    }
    const ByteView bytes(signature, signatureLength);
    const ByteView digest(hash, hashLength);
    verified =
        crypto::satisfiesInEitherForm(bytes, m_curve->orderBytes(), !derFirst,
                                      [&](ByteView r, ByteView s) { return check(r, s, digest); });
    return true;
}

} // namespace vantrel
