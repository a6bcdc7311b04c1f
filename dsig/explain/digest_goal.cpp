// SPDX-License-Identifier: MIT
#include "dsig/explain/digest_goal.h"

#include "dsig/explain/codes.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/encoders.h"

#include <algorithm>
#include <array>

namespace vantrel::dsig::explain {

namespace {

// Short of this a front of a digest would be met by chance, among as many candidates as are tried.
// Ten octets are 2^80 candidates away from chance.
constexpr std::size_t kShortestFront = 10;
// Identifiers are small numbers (hash_ids.h), with gaps.
constexpr int kHighestHashId = 63;

// A missing padding is made good: signers leave it out. White space is gone by now. Padding is
// removed and put back rather than checked, so that too little and too much of it are one case.
bool decoded(std::string text, text::Encoding encoding, std::string& octets) {
    if (encoding == text::Encoding::Base64 || encoding == text::Encoding::Base64Url) {
        while (!text.empty() && text.back() == '=') {
            text.pop_back();
        }
        text.append((4 - text.size() % 4) % 4, '=');
    }
    DataBuffer bytes;
    // An empty text would decode to the empty digest, which begins every other.
    if (text.empty() || !text::decode(text, encoding, bytes)) {
        return false;
    }
    octets = asText(bytes.view());
    return true;
}

} // namespace

std::vector<int> allHashes() {
    std::vector<int> ids;
    for (int id = 1; id <= kHighestHashId; ++id) {
        if (crypto::findHash(id) != nullptr) {
            ids.push_back(id);
        }
    }
    return ids;
}

std::string hashName(int hashId) {
    const crypto::HashInfo* const hash = crypto::findHash(hashId);
    return hash != nullptr ? std::string(hash->name) : std::string();
}

DigestGoal::DigestGoal(std::string_view stored, int hashId) : m_hashId(hashId) {
    const std::string text(stored);
    std::string octets;
    std::string inner;
    // The standard reading comes first: where several fit, it is the one that counts.
    const bool isBase64 = decoded(text, text::Encoding::Base64, octets);
    if (isBase64) {
        addReading(octets, "");
        // Interfaces that hand digests out as hexadecimal text tempt their callers to encode that
        // text.
        if (decoded(octets, text::Encoding::Hex, inner)) {
            addReading(inner, "DigestValue is base64 of the digest's hexadecimal text");
        }
        if (decoded(octets, text::Encoding::Base64, inner)) {
            addReading(inner, "DigestValue is base64 of the digest's base64");
        }
        // Little-endian numbers of some interfaces come out this way round.
        addReading({octets.rbegin(), octets.rend()},
                   "DigestValue has the digest's octets reversed");
    }
    // A text without "+", "/", "-" and "_" is the same in both, and then there is nothing to tell.
    if (decoded(text, text::Encoding::Base64Url, inner) && inner != octets) {
        addReading(inner, "DigestValue is base64url, not base64");
    }
    if (decoded(text, text::Encoding::Hex, inner)) {
        addReading(inner, "DigestValue is hexadecimal, not base64");
    }
    // Where no hash has so short a digest it may be one that was cut. A digest of 20 octets is
    // whole, even if it may be the front of one of 32: the shorter explanation is tried.
    const std::vector<int> hashes = allHashes();
    for (Reading& reading : m_readings) {
        reading.isWhole = std::any_of(hashes.begin(), hashes.end(), [&](int id) {
            return crypto::hashDigestSize(id) == reading.octets.size();
        });
    }
    // Only hashes of a fitting size are ever computed.
    for (const int id : hashes) {
        if (id != m_hashId &&
            std::any_of(m_readings.begin(), m_readings.end(),
                        [&](const Reading& reading) { return mayBeOf(reading, id); })) {
            m_others.push_back(id);
        }
    }
}

// Too short for proof, or longer than any hash makes.
void DigestGoal::addReading(std::string octets, std::string_view evidence) {
    if (octets.size() >= kShortestFront && octets.size() <= crypto::kMaxDigestSize) {
        m_readings.push_back({std::move(octets), evidence});
    }
}

bool DigestGoal::mayBeOf(const Reading& reading, int hashId) const noexcept {
    const std::size_t size = crypto::hashDigestSize(hashId);
    return reading.isWhole ? size == reading.octets.size() : size > reading.octets.size();
}

// The declared hash comes first, since it is nearly always the one.
bool DigestGoal::isReachedBy(ByteView octets, Depth depth, Deviation& deviation) {
    if (octets.empty()) {
        return false;
    }
    if (m_hashId != kHashNone && matches(m_hashId, octets, deviation)) {
        return true;
    }
    // Where the declared method is not known all hashes are tried at any depth: there is no plain
    // case.
    return (depth != Depth::Plain || m_hashId == kHashNone) &&
           std::any_of(m_others.begin(), m_others.end(),
                       [&](int hashId) { return matches(hashId, octets, deviation); });
}

bool DigestGoal::matches(int hashId, ByteView octets, Deviation& deviation) const {
    // One digest serves all readings.
    std::array<std::uint8_t, crypto::kMaxDigestSize> bytes{};
    std::string_view digest;
    for (const Reading& reading : m_readings) {
        if (!mayBeOf(reading, hashId)) {
            continue;
        }
        if (digest.empty()) {
            digest = asText(crypto::hashBytes(hashId, octets, bytes));
        }
        if (!digest.starts_with(reading.octets)) {
            continue;
        }
        // What an earlier candidate left in it must not be told of this one.
        deviation = {};
        if (!reading.evidence.empty() || !reading.isWhole) {
            deviation.code = cause::kDigestEncoding;
            deviation.evidence = reading.evidence;
        }
        if (!reading.isWhole) {
            deviation.evidence += reading.evidence.empty() ? "" : "; ";
            deviation.evidence += "DigestValue has the first " +
                                  std::to_string(reading.octets.size()) +
                                  " octets of the digest only";
        }
        // The hash weighs more than how its digest is written.
        if (hashId != m_hashId) {
            deviation.code = cause::kOtherHash;
            deviation.evidence += deviation.evidence.empty() ? "" : "; ";
            deviation.evidence +=
                "the stored digest is " + hashName(hashId) + ", not " +
                (m_hashId == kHashNone ? "of a method that is known" : hashName(m_hashId));
        }
        return true;
    }
    return false;
}

// What the search for single changes compares with; a cut digest would do, but its caller wants a
// whole one.
const DigestGoal::Reading* DigestGoal::usualReading() const noexcept {
    const auto at = std::find_if(m_readings.begin(), m_readings.end(), [&](const Reading& each) {
        return each.isWhole && m_hashId != kHashNone && mayBeOf(each, m_hashId);
    });
    return at != m_readings.end() ? &*at : nullptr;
}

int DigestGoal::knownHash() const { return usualReading() != nullptr ? m_hashId : kHashNone; }

ByteView DigestGoal::knownDigest() const {
    const Reading* const usual = usualReading();
    return usual != nullptr ? asBytes(usual->octets) : ByteView();
}

// With the block of the padding.
std::uint64_t DigestGoal::cost(std::size_t octets, Depth depth) const {
    return octets * (depth != Depth::Plain ? 1 + m_others.size() : 1) + 64;
}

} // namespace vantrel::dsig::explain
