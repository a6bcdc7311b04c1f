// SPDX-License-Identifier: MIT
#include "dsig/explain/value_goal.h"

#include "dsig/document/key_account.h"
#include "dsig/explain/codes.h"
#include "dsig/explain/digest_goal.h"
#include "dsig/explain/form_tokens.h"
#include "foundation/crypto/dsa/DsaVerifier.h"
#include "foundation/crypto/ecc/EccVerifier.h"
#include "foundation/crypto/edwards/edwards_key.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/crypto/mac/Hmac.h"
#include "foundation/crypto/mldsa/mldsa_key.h"
#include "foundation/crypto/rsa/RsaKeyData.h"
#include "foundation/crypto/rsa/digest_info.h"
#include "foundation/crypto/rsa/padding.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/encoders.h"
#include "foundation/text/strings.h"

#include <algorithm>
#include <array>

namespace vantrel::dsig::explain {

namespace {

// Appendable forms of what the foundation gives as views and buffers. Empty for a hash that is not
// known, which equals no digest.
std::string digestOf(int hashId, ByteView octets) {
    std::array<std::uint8_t, crypto::kMaxDigestSize> bytes{};
    return std::string(asText(crypto::hashBytes(hashId, octets, bytes)));
}

// Encoding in memory does not fail.
std::string encoded(std::string_view octets, text::Encoding encoding) {
    StringBuffer text;
    static_cast<void>(text::encode(asBytes(octets), encoding, text));
    return std::string(text.view());
}

bool decoded(std::string_view text, text::Encoding encoding, std::string& octets) {
    DataBuffer bytes;
    if (!text::decode(text, encoding, bytes) || bytes.isEmpty()) {
        return false;
    }
    octets = asText(bytes.view());
    return true;
}

// The first code stays: it is that of the earlier step. Evidence of both is kept, in the order of
// the steps.
Deviation both(const Deviation& one, const Deviation& other) {
    if (one.code.empty()) {
        return other;
    }
    if (other.code.empty()) {
        return one;
    }
    return {one.code, one.evidence + "; and " + other.evidence};
}

// `made`: by the value; `named`: by the method. No difference is no deviation.
Deviation otherHash(int made, int named) {
    if (made == named) {
        return {};
    }
    return {cause::kOtherSignatureHash, "the value was made with " + hashName(made) +
                                            ", the method says " +
                                            (named > 0 ? hashName(named) : std::string("another"))};
}

// How a digest becomes the text that is hashed again. Which text depends on what the caller's
// library prints a digest as.
struct SecondHash {
    std::string_view what;
    std::string (*text)(std::string_view digest);
};
// Interfaces that sign a digest hash what they are given; callers who gave a digest had it hashed
// twice. The first entry is the commonest, the others come from passing a digest on as text.
constexpr SecondHash kSecondHashes[] = {
    {"the digest", [](std::string_view d) { return std::string(d); }},
    {"the digest's hexadecimal text",
     [](std::string_view d) { return encoded(d, text::Encoding::HexLower); }},
    {"the digest's upper-case hexadecimal text",
     [](std::string_view d) { return encoded(d, text::Encoding::Hex); }},
    {"the digest's base64", [](std::string_view d) { return encoded(d, text::Encoding::Base64); }},
};

constexpr std::size_t kLeastPadding = 8; // RFC 8017, 9.2

// What stands behind 00 01 FF..FF 00; empty where the block has no such form. A block of PKCS #1
// v1.5 (RFC 8017, 8.2) is taken apart leniently: what follows is compared with known forms.
std::string_view paddedContent(std::string_view block) {
    if (!block.starts_with(std::string_view("\0\1", 2))) {
        return {};
    }
    const std::size_t end = block.find_first_not_of('\xFF', 2);
    return end == std::string_view::npos || end < 2 + kLeastPadding || block[end] != 0
               ? std::string_view()
               : block.substr(end + 1);
}

} // namespace

std::vector<ValueReading> valueReadings(std::string_view given) {
    std::string text(given);
    std::erase_if(text, text::isSpaceAscii);
    // Base64 in documents has line ends in it.
    std::vector<ValueReading> readings;
    std::string octets;
    std::string inner;
    // Numbers of some interfaces stand with their least octet first, as a whole or r and s each.
    if (decoded(text, text::Encoding::Base64, octets)) {
        readings.push_back({octets, {}});
        readings.push_back({{octets.rbegin(), octets.rend()},
                            {cause::kReversedValue, "the value's octets stand in reverse order"}});
        if (decoded(octets, text::Encoding::Hex, inner)) {
            readings.push_back({inner,
                                {cause::kValueEncoding,
                                 "the value is base64 of hexadecimal text, not of the octets"}});
        }
        if (decoded(octets, text::Encoding::Base64, inner)) {
            readings.push_back({inner, {cause::kValueEncoding, "the value is base64 of base64"}});
        }
        // As r and s of DSA and ECDSA stand (RFC 4050, 3.3): two numbers of one size.
        if (octets.size() % 2 == 0) {
            const std::size_t half = octets.size() / 2;
            std::string reversed = octets;
            std::reverse(reversed.begin(), reversed.begin() + static_cast<std::ptrdiff_t>(half));
            std::reverse(reversed.begin() + static_cast<std::ptrdiff_t>(half), reversed.end());
            readings.push_back({std::move(reversed),
                                {cause::kReversedValue,
                                 "the value's two numbers stand in reverse order of octets each"}});
        }
    }
    // Hexadecimal digits are base64 digits too, so both readings are kept.
    if (decoded(text, text::Encoding::Hex, inner)) {
        readings.push_back(
            {inner, {cause::kValueEncoding, "the value is hexadecimal, not base64"}});
    }
    if (decoded(text, text::Encoding::Base64Url, inner) && inner != octets) {
        readings.push_back({inner, {cause::kValueEncoding, "the value is base64url, not base64"}});
    }
    return readings;
}

std::vector<TriedSecret> secretReadings(std::string_view secret) {
    std::vector<TriedSecret> secrets{{std::string(secret), {}}};
    // Each in the direction of one mistake: the signer took text for octets, or octets for text.
    const auto add = [&](std::string octets, std::string_view evidence) {
        secrets.push_back({std::move(octets), {cause::kSecretEncoding, std::string(evidence)}});
    };
    std::string octets;
    if (decoded(secret, text::Encoding::Hex, octets)) {
        add(octets, "the secret is hexadecimal text, not ASCII");
    }
    if (decoded(secret, text::Encoding::Base64, octets)) {
        add(octets, "the secret is base64, not ASCII");
    }
    add(encoded(secret, text::Encoding::HexLower), "the signer took the secret's text, lower-case "
                                                   "hexadecimal, for the secret");
    add(encoded(secret, text::Encoding::Hex),
        "the signer took the secret's text, upper-case hexadecimal, for the secret");
    add(encoded(secret, text::Encoding::Base64),
        "the signer took the secret's text, base64, for the secret");
    // Hexadecimal that was meant as base64, and the other way round. The caller gave one encoding
    // and meant the other; the given octets are turned back into text for that.
    if (decoded(encoded(secret, text::Encoding::HexLower), text::Encoding::Base64, octets)) {
        add(octets, "the secret's text is base64, not hexadecimal");
    }
    if (decoded(encoded(secret, text::Encoding::Hex), text::Encoding::Base64, octets)) {
        add(octets, "the secret's text is base64, not hexadecimal");
    }
    if (decoded(encoded(secret, text::Encoding::Base64), text::Encoding::Hex, octets)) {
        add(octets, "the secret's text is hexadecimal, not base64");
    }
    if (const std::string_view core = text::trimmed(secret); core.size() < secret.size()) {
        add(std::string(core), "the secret was used without the white space around it");
    }
    // Secrets read from a file with an editor's line end are common.
    add(std::string(secret) + "\n", "the secret was used with a line end behind it");
    return secrets;
}

RsaGoal::RsaGoal(std::span<const ValueReading> values, std::span<const TriedKey> keys,
                 ValueMethod method, Budget& budget)
    : m_method(method) {
    for (const ValueReading& value : values) {
        for (const TriedKey& tried : keys) {
            const RsaKeyData* const rsa = tried.key->getRsaKeyPtr();
            // A value of another size cannot be this key's (RFC 8017, 8.2.2).
            if (rsa == nullptr || value.octets.size() != rsa->sizeInBytes() ||
                !budget.takeKeyOperation(keyOperationWeight(*tried.key))) {
                continue;
            }
            // The operation of the key is done here, once; candidates cost a hash from now on.
            std::vector<std::uint8_t> block(rsa->sizeInBytes());
            if (rsa->recover(asBytes(value.octets), block)) {
                takeBlock(std::string(asText(block)), rsa->bits(),
                          both(tried.deviation, value.deviation));
            }
        }
    }
}

void RsaGoal::takeBlock(std::string block, std::size_t bits, const Deviation& deviation) {
    const std::string_view content = paddedContent(block);
    if (content.empty()) {
        // No PKCS #1 v1.5 block. The trailer is all that a PSS block shows without a digest, so one
        // other block in 256 is kept for nothing.
        constexpr char kTrailer = '\xBC'; // RFC 8017, 9.1.1
        if (block.back() == kTrailer) {
            const Deviation padding =
                m_method.isPss ? Deviation{}
                               : Deviation{cause::kOtherPadding,
                                           "the value is padded by RSASSA-PSS, the method says "
                                           "PKCS #1 v1.5"};
            m_blocks.push_back({std::move(block), bits, both(deviation, padding)});
        }
        return;
    }
    // The form of the block tells how it was padded, whatever the method says.
    const Deviation padding =
        m_method.isPss
            ? Deviation{cause::kOtherPadding, "the value is padded by PKCS #1 v1.5, the method "
                                              "says RSASSA-PSS"}
            : Deviation{};
    // With and without the NULL of the parameters: both are in use (RFC 8017, A.2.4).
    for (const int hashId : allHashes()) {
        for (const bool withNull : {true, false}) {
            const std::string_view prefix = asText(crypto::digestInfoPrefix(hashId, withNull));
            if (!prefix.empty() && content.starts_with(prefix) &&
                content.size() == prefix.size() + crypto::hashDigestSize(hashId)) {
                m_digests.push_back(
                    {std::string(content.substr(prefix.size())), hashId, both(deviation, padding)});
                return;
            }
        }
    }
    // A digest, or its text, without a DigestInfo around. Signers that pass the digest to a raw
    // private-key function leave the DigestInfo out.
    m_digests.push_back({std::string(content), kHashNone,
                         both(both(deviation, padding),
                              {cause::kOtherPadding,
                               "the padding holds the digest alone, without its algorithm"})});
}

bool RsaGoal::isDigestOf(const KnownDigest& known, ByteView octets, Depth depth,
                         Deviation& deviation) const {
    // Without a name the size has to tell.
    const std::vector<int> hashes =
        known.hashId != kHashNone ? std::vector<int>{known.hashId} : allHashes();
    for (const int hashId : hashes) {
        if (crypto::hashDigestSize(hashId) != known.digest.size()) {
            continue;
        }
        if (digestOf(hashId, octets) == known.digest) {
            deviation = both(known.deviation, otherHash(hashId, m_method.hashId));
            return true;
        }
        // Hashing twice is tried for forms that are likely in themselves.
        if (depth == Depth::Plain) {
            continue;
        }
        // The first hash may be another one than the second.
        for (const int first : allHashes()) {
            const std::string inner = digestOf(first, octets);
            for (const SecondHash& second : kSecondHashes) {
                if (digestOf(hashId, asBytes(second.text(inner))) == known.digest) {
                    deviation =
                        both(known.deviation,
                             {cause::kHashOfHash, std::string(second.what) + " (" +
                                                      hashName(first) + ") was hashed once more"});
                    return true;
                }
            }
        }
    }
    return false;
}

bool RsaGoal::isBlockOf(const PssBlock& block, ByteView octets, Depth depth,
                        Deviation& deviation) const {
    // More combinations of hash and mask than these have not been seen.
    const std::vector<int> hashes =
        depth == Depth::Plain ? std::vector<int>{m_method.hashId} : allHashes();
    for (const int hashId : hashes) {
        const std::string digest = digestOf(hashId, octets);
        // Signers take SHA-1 for the mask by default where nobody says otherwise (RFC 8017, A.2.3).
        for (const int mask : {hashId, kHashSha1, m_method.hashId}) {
            const auto fits = [&](int saltLength) {
                // The check writes into the block.
                std::vector<std::uint8_t> copy(block.octets.begin(), block.octets.end());
                return crypto::checkPss(copy, block.modulusBits, hashId, mask, asBytes(digest),
                                        saltLength) == crypto::PaddingVerdict::Match;
            };
            if (digest.empty() || mask <= 0 || !fits(crypto::kAnySalt)) {
                continue;
            }
            const Deviation salted =
                fits(m_method.saltLength)
                    ? Deviation{}
                    : Deviation{cause::kOtherPadding,
                                "the salt of the padding has not the length that SaltLength names"};
            const Deviation masked =
                mask == hashId ? Deviation{}
                               : Deviation{cause::kOtherPadding, "the mask of the padding was made "
                                                                 "with " +
                                                                     hashName(mask)};
            deviation = both(both(block.deviation, both(masked, salted)),
                             otherHash(hashId, m_method.hashId));
            return true;
        }
    }
    return false;
}

// Digests before blocks: comparing costs a hash, a block costs its mask besides.
bool RsaGoal::isReachedBy(ByteView octets, Depth depth, Deviation& deviation) {
    return std::any_of(m_digests.begin(), m_digests.end(),
                       [&](const KnownDigest& each) {
                           return isDigestOf(each, octets, depth, deviation);
                       }) ||
           std::any_of(m_blocks.begin(), m_blocks.end(), [&](const PssBlock& each) {
               return isBlockOf(each, octets, depth, deviation);
           });
}

// The first is that of the plainest reading and the first key.
int RsaGoal::knownHash() const { return m_digests.empty() ? kHashNone : m_digests.front().hashId; }

ByteView RsaGoal::knownDigest() const {
    return m_digests.empty() ? ByteView() : asBytes(m_digests.front().digest);
}

// An estimate: the double hashes are left out, since few forms are tried with them.
std::uint64_t RsaGoal::cost(std::size_t octets, Depth depth) const {
    constexpr std::uint64_t kPaddingCheck = 4096;
    const std::uint64_t hashes = depth == Depth::Plain ? 1 : allHashes().size();
    return (octets * hashes + 64) * (m_digests.size() + 1) +
           kPaddingCheck * hashes * m_blocks.size();
}

KeyOperationGoal::KeyOperationGoal(std::vector<ValueReading> values, std::vector<TriedKey> keys,
                                   Budget& budget)
    : m_values(std::move(values)), m_keys(std::move(keys)), m_budget(budget) {}

bool KeyOperationGoal::anyVerifies(ByteView octets, bool all, Deviation& deviation) {
    for (const TriedKey& key : m_keys) {
        for (const ValueReading& value : m_values) {
            if ((all || (key.deviation.code.empty() && value.deviation.code.empty())) &&
                verifies(key, value, octets)) {
                deviation = both(key.deviation, value.deviation);
                return true;
            }
        }
    }
    return false;
}

CurveGoal::CurveGoal(std::vector<ValueReading> values, std::vector<TriedKey> keys,
                     ValueMethod method, Budget& budget)
    : KeyOperationGoal(std::move(values), std::move(keys), budget), m_method(method) {}

// One operation of one key, where the budget allows it. The verdict in `verified` counts; a
// malformed value is no error but a false one.
bool CurveGoal::verifies(const TriedKey& key, const ValueReading& value, ByteView digest) {
    LogNull log;
    bool verified = false;
    const ByteView octets = asBytes(value.octets);
    const bool isEc = key.key->getEccKeyPtr() != nullptr;
    // The sizes tell most readings apart from a value, without an operation.
    constexpr std::size_t kMostOctets = 160;
    if (octets.size() > kMostOctets || digest.empty() ||
        (!isEc && key.key->getDsaKeyPtr() == nullptr) ||
        !m_budget.takeKeyOperation(keyOperationWeight(*key.key))) {
        return false;
    }
    // Both sizes were bounded above.
    const auto size = static_cast<std::uint32_t>(octets.size());
    const auto digestSize = static_cast<std::uint32_t>(digest.size());
    if (isEc) {
        key.key->getEccKeyPtr()->eccVerifyHash(octets.data(), size, false, digest.data(),
                                               digestSize, verified, log, 0);
    } else {
        DsaVerifier::verifyHash(*key.key->getDsaKeyPtr(), octets.data(), size, true, digest.data(),
                                digestSize, verified, log);
    }
    return verified;
}

// All of it together is tried on one form only; on others the key, value and hash that the
// signature names.
bool CurveGoal::isReachedBy(ByteView octets, Depth depth, Deviation& deviation) {
    const bool all = depth == Depth::Exhaustive;
    // The hash of the method goes first: it is right in nearly all cases, and a hit ends the
    // operations.
    std::vector<int> hashes{m_method.hashId};
    for (const int hashId : allHashes()) {
        if (all && hashId != m_method.hashId) {
            hashes.push_back(hashId);
        }
    }
    for (const int hashId : hashes) {
        const std::string digest = digestOf(hashId, octets);
        if (anyVerifies(asBytes(digest), all, deviation)) {
            deviation = both(deviation, otherHash(hashId, m_method.hashId));
            return true;
        }
        // With the keys of the signature only: two mistakes at once are rare, and operations dear.
        for (const SecondHash& second : kSecondHashes) {
            for (const TriedKey& key : m_keys) {
                if (all && key.deviation.code.empty() && !m_values.empty() && !digest.empty() &&
                    verifies(key, m_values.front(),
                             asBytes(digestOf(m_method.hashId, asBytes(second.text(digest)))))) {
                    deviation = {cause::kHashOfHash, std::string(second.what) + " (" +
                                                         hashName(hashId) +
                                                         ") was hashed once more"};
                    return true;
                }
            }
        }
    }
    return false;
}

MessageGoal::MessageGoal(std::vector<ValueReading> values, std::vector<TriedKey> keys,
                         const SignatureMethod& method, std::string context, Budget& budget)
    : KeyOperationGoal(std::move(values), std::move(keys), budget), m_method(method),
      m_context(std::move(context)) {}

bool MessageGoal::verifies(const TriedKey& key, const ValueReading& value, ByteView message) {
    const ByteView octets = asBytes(value.octets);
    if (const crypto::EdwardsKey* const edwards = key.key->getEdwardsKeyPtr()) {
        return edwards->curve().name == m_method.curve &&
               octets.size() == 2 * edwards->curve().keyBytes &&
               m_budget.takeKeyOperation(keyOperationWeight(*key.key)) &&
               edwards->verifyVariant(
                   {m_method.withContext, m_method.preHashed, asBytes(m_context)}, message, octets);
    }
    const crypto::MlDsaKey* const mlDsa = key.key->getMlDsaKeyPtr();
    return mlDsa != nullptr && mlDsa->set().name == m_method.curve &&
           octets.size() == mlDsa->set().signatureBytes &&
           m_budget.takeKeyOperation(keyOperationWeight(*key.key)) &&
           mlDsa->verify(message, asBytes(m_context), octets);
}

// Signers that know RSA hand a digest to whatever signs, which these methods then hash once more.
bool MessageGoal::isReachedBy(ByteView octets, Depth depth, Deviation& deviation) {
    const bool all = depth == Depth::Exhaustive;
    if (anyVerifies(octets, all, deviation)) {
        return true;
    }
    for (const int hashId : all && !m_values.empty() ? allHashes() : std::vector<int>()) {
        const std::string digest = digestOf(hashId, octets);
        for (const TriedKey& key : m_keys) {
            if (key.deviation.code.empty() && verifies(key, m_values.front(), asBytes(digest))) {
                deviation = {cause::kHashOfHash,
                             "the value is of the digest (" + hashName(hashId) + ")"};
                return true;
            }
        }
    }
    return false;
}

MacGoal::MacGoal(std::vector<ValueReading> values, std::vector<TriedSecret> secrets,
                 ValueMethod method)
    : m_values(std::move(values)), m_secrets(std::move(secrets)), m_method(method) {}

bool MacGoal::isReachedBy(ByteView octets, Depth depth, Deviation& deviation) {
    // XML Signature 1.1, 6.3.1: a MAC may be cut, though not shorter than this.
    constexpr std::size_t kShortestMac = 10;
    LogNull log;
    // Other hashes are tried for the form as it stands only.
    const std::vector<int> hashes =
        depth == Depth::Exhaustive ? allHashes() : std::vector<int>{m_method.hashId};
    for (const int hashId : hashes) {
        for (const TriedSecret& secret : m_secrets) {
            DataBuffer bytes;
            if (!Hmac::doHMAC(octets.data(), static_cast<int>(octets.size()), secret.octets.data(),
                              static_cast<int>(secret.octets.size()), hashId, bytes, log)) {
                continue;
            }
            // Compared in variable time: the secret is the caller's, and so is the answer.
            const std::string_view mac = asText(bytes.view());
            for (const ValueReading& value : m_values) {
                // HMACOutputLength belongs to the method; whoever cuts a MAC without saying so ends
                // here.
                const bool isCut = value.octets.size() < mac.size();
                if (value.octets.size() < kShortestMac || !mac.starts_with(value.octets)) {
                    continue;
                }
                const Deviation cut = isCut ? Deviation{cause::kValueEncoding,
                                                        "the value is the front of the MAC only"}
                                            : Deviation{};
                deviation = both(both(secret.deviation, value.deviation),
                                 both(otherHash(hashId, m_method.hashId), cut));
                return true;
            }
        }
    }
    return false;
}

} // namespace vantrel::dsig::explain
