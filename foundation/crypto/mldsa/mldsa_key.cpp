// SPDX-License-Identifier: MIT
#include "foundation/crypto/mldsa/mldsa_key.h"

#include "foundation/crypto/hash/shake.h"
#include "foundation/crypto/mldsa/mldsa_coding.h"
#include "foundation/crypto/mldsa/mldsa_ring.h"
#include "foundation/crypto/mldsa/mldsa_sampling.h"

#include <algorithm>
#include <iterator>
#include <span>

namespace vantrel::crypto {

namespace {

using mldsa::Hints;
using mldsa::kQ;
using mldsa::packedSize;
using mldsa::Polynomial;
using mldsa::ProductSum;

constexpr std::size_t kMostRows = 8;
constexpr std::size_t kMostColumns = 7;
constexpr std::size_t kSeedBytes = 32;
constexpr std::size_t kKeyBits = 10;  // of a coefficient of t1
constexpr unsigned kDroppedBits = 13; // d: what t1 leaves out of t
constexpr std::size_t kMostContext = 255;
constexpr std::size_t kMostChallengeBytes = 64;
constexpr std::size_t kMostHighBits = 6;

constexpr MlDsaSet makeSet(MlDsaSet set) noexcept {
    set.keyBytes = kSeedBytes + set.rows * packedSize(kKeyBits);
    set.signatureBytes =
        set.challengeBytes + set.columns * packedSize(set.responseBits) + set.mostHints + set.rows;
    return set;
}

// FIPS 204, tables 1 and 2
constexpr MlDsaSet kSets[] = {
    makeSet(
        {"ML-DSA-44", "2.16.840.1.101.3.4.3.17", 4, 4, 32, 39, 18, (kQ - 1) / 44, 78, 80, 6, 0, 0}),
    makeSet({"ML-DSA-65", "2.16.840.1.101.3.4.3.18", 6, 5, 48, 49, 20, (kQ - 1) / 16, 196, 55, 4, 0,
             0}),
    makeSet({"ML-DSA-87", "2.16.840.1.101.3.4.3.19", 8, 7, 64, 60, 20, (kQ - 1) / 16, 120, 75, 4, 0,
             0}),
};
static_assert(kSets[1].keyBytes == 1952 && kSets[1].signatureBytes == 3309);

// A signature taken apart (FIPS 204, algorithm 27).
struct MlDsaSignature {
    ByteView challenge;
    std::array<Polynomial, kMostColumns> response; // z, transformed
    std::array<Hints, kMostRows> hints;
};

// z, whose coefficients stand as gamma1 - z and must all be smaller than gamma1 - beta (algorithm
// 8, step 13).
bool readResponse(Polynomial& response, ByteView bytes, const MlDsaSet& set) noexcept {
    const std::uint32_t gamma1 = std::uint32_t{1} << (set.responseBits - 1);
    mldsa::unpackBits(response, bytes, set.responseBits);
    for (std::uint32_t& coefficient : response) {
        if (coefficient <= set.margin || coefficient >= 2 * gamma1 - set.margin) {
            return false;
        }
        coefficient = coefficient <= gamma1 ? gamma1 - coefficient : kQ + gamma1 - coefficient;
    }
    return true;
}

bool readSignature(MlDsaSignature& signature, ByteView bytes, const MlDsaSet& set) noexcept {
    if (bytes.size() != set.signatureBytes) {
        return false;
    }
    signature.challenge = bytes.first(set.challengeBytes);
    bytes = bytes.subspan(set.challengeBytes);
    const std::size_t size = packedSize(set.responseBits);
    for (std::size_t column = 0; column < set.columns; ++column) {
        if (!readResponse(signature.response[column], bytes.first(size), set)) {
            return false;
        }
        mldsa::transform(signature.response[column]);
        bytes = bytes.subspan(size);
    }
    return mldsa::unpackHints(std::span(signature.hints).first(set.rows), bytes, set.mostHints);
}

// t1 * 2^d of a row, transformed.
void readKeyRow(Polynomial& row, ByteView encoded, std::size_t index) noexcept {
    const std::size_t size = packedSize(kKeyBits);
    mldsa::unpackBits(row, encoded.subspan(kSeedBytes + index * size, size), kKeyBits);
    for (std::uint32_t& coefficient : row) {
        coefficient <<= kDroppedBits; // at most q - 1
    }
    mldsa::transform(row);
}

// The octets of a row of w1 (algorithms 8 and 28): what the signer had, if z, c and the hints are
// the signer's. `challenge` is transformed.
void appendRow(Shake& hash, const MlDsaSignature& signature, const Polynomial& challenge,
               ByteView encoded, std::size_t row, const MlDsaSet& set) noexcept {
    Polynomial factor;
    ProductSum sum{};
    for (std::size_t column = 0; column < set.columns; ++column) {
        mldsa::sampleEntry(factor, encoded.first(kSeedBytes), static_cast<std::uint8_t>(row),
                           static_cast<std::uint8_t>(column));
        mldsa::addProduct(sum, factor, signature.response[column]);
    }
    readKeyRow(factor, encoded, row);
    mldsa::subtractProduct(sum, challenge, factor);
    Polynomial high;
    mldsa::transformBack(high, sum);
    for (std::size_t i = 0; i < mldsa::kDegree; ++i) {
        high[i] = mldsa::useHint(signature.hints[row].test(i), high[i], set.highRange);
    }
    std::array<std::uint8_t, packedSize(kMostHighBits)> octets;
    const std::span<std::uint8_t> used = std::span(octets).first(packedSize(set.highBits));
    mldsa::packBits(used, high, set.highBits);
    hash.update(used);
}

} // namespace

const MlDsaSet* findMlDsaSet(std::string_view name) noexcept {
    const auto* const found = std::ranges::find(kSets, name, &MlDsaSet::name);
    return found != std::end(kSets) ? found : nullptr;
}

const MlDsaSet* findMlDsaSetByOid(std::string_view oid) noexcept {
    const auto* const found = std::ranges::find(kSets, oid, &MlDsaSet::oid);
    return found != std::end(kSets) ? found : nullptr;
}

MlDsaKey::MlDsaKey(const MlDsaSet& set, ByteView encoded)
    : m_set(set), m_encoded(encoded.begin(), encoded.end()) {
    Shake hash(kShake256Rate);
    hash.update(encoded);
    hash.squeeze(m_hash);
}

std::unique_ptr<MlDsaKey> MlDsaKey::load(const MlDsaSet& set, ByteView encoded,
                                         std::string_view& whyNot) {
    if (encoded.size() != set.keyBytes) {
        whyNot = "the ML-DSA key has not the size of its parameters";
        return nullptr;
    }
    return std::unique_ptr<MlDsaKey>(new MlDsaKey(set, encoded));
}

bool MlDsaKey::verify(ByteView message, ByteView context, ByteView signature) const noexcept {
    MlDsaSignature parts;
    if (context.size() > kMostContext || !readSignature(parts, signature, m_set)) {
        return false;
    }
    // mu := H(tr || 0 || the context's length and octets || message)
    const std::array<std::uint8_t, 2> prefix = {0, static_cast<std::uint8_t>(context.size())};
    std::array<std::uint8_t, 64> mu;
    Shake messageHash(kShake256Rate);
    messageHash.update(m_hash);
    messageHash.update(prefix);
    messageHash.update(context);
    messageHash.update(message);
    messageHash.squeeze(mu);

    Polynomial challenge;
    mldsa::sampleInBall(challenge, parts.challenge, m_set.ones);
    mldsa::transform(challenge);
    Shake hash(kShake256Rate);
    hash.update(mu);
    for (std::size_t row = 0; row < m_set.rows; ++row) {
        appendRow(hash, parts, challenge, m_encoded, row, m_set);
    }
    std::array<std::uint8_t, kMostChallengeBytes> expected;
    hash.squeeze(std::span(expected).first(m_set.challengeBytes));
    return std::ranges::equal(parts.challenge, std::span(expected).first(m_set.challengeBytes));
}

} // namespace vantrel::crypto
