// SPDX-License-Identifier: MIT
// Verifying a signature value with the candidate keys, in their order.

#include "dsig/verify/try_keys.h"

#include "dsig/keys/known_to_caller.h"
#include "foundation/crypto/dsa/DsaVerifier.h"
#include "foundation/crypto/ecc/EccVerifier.h"
#include "foundation/crypto/edwards/edwards_key.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/mac/Hmac.h"
#include "foundation/crypto/mac/constant_time.h"
#include "foundation/crypto/mldsa/mldsa_key.h"
#include "foundation/crypto/rsa/RsaVerifier.h"
#include "foundation/x509/keys/ClsPublicKey.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace vantrel::dsig {

namespace {

constexpr std::size_t kMinHmacBits = 80; // XML Signature 1.1, 6.3.1

// Of one key on one value. SignatureInvalid: the padding that this key recovers is sound, so it is
// the signer's; WrongKey: it recovers no padding at all.
enum class KeyVerdict { Verified, SignatureInvalid, WrongKey, Failed };

// PKCS #1 v1.5, or PSS where the method has a mask.
KeyVerdict verifyWithRsaKey(const ValueQuery& query, RsaKeyData& key, LogBase& log) {
    const bool pss = query.method.mgfHashAlg != kHashNone;
    Document* const document = query.document;
    const ByteView recovered =
        document != nullptr ? document->rsaLookAhead.before(*document->structure, query.index, key,
                                                            query.signature.view())
                            : ByteView();
    bool verified = false;
    bool wrongKey = false;
    const bool ran = RsaVerifier::verifyHashExt(
        query.signature.getData2(), query.signature.getSize(), query.hash.getData2(),
        query.hash.getSize(), query.method.hashAlg, pss ? kPaddingPss : kPaddingPkcs1,
        query.method.mgfHashAlg, verified, key, 0, true, wrongKey, log, query.method.saltLength,
        recovered);

    if (verified && document != nullptr) {
        document->rsaLookAhead.noteVerified(*document->structure, query.index, key);
    }
    if (!ran) {
        return wrongKey ? KeyVerdict::WrongKey : KeyVerdict::Failed;
    }
    return verified ? KeyVerdict::Verified : KeyVerdict::SignatureInvalid;
}

// The keys that were checked against one signature value. Neither the order of the candidates nor
// what is said of each changes when an equal one takes over the verdict of the first. A KeyInfo
// that repeats one key a thousand times so costs one key operation. Keys that share their
// distinctive number only, such as one modulus with several exponents, are told apart by isSameKey.
// The keys are borrowed from the candidates.
class CheckedKeys {
public:
    // The verdict on an equal key; nothing when this is the first.
    [[nodiscard]] std::optional<KeyVerdict> verdictOn(const ClsPublicKey& key) const {
        const auto [first, last] = m_checked.equal_range(number(key));
        for (auto at = first; at != last; ++at) {
            if (isSameKey(at->second.first->key(), key.key())) {
                return at->second.second;
            }
        }
        return std::nullopt;
    }
    void add(const ClsPublicKey& key, KeyVerdict verdict) {
        m_checked.emplace(number(key), std::pair(&key, verdict));
    }

private:
    static std::string_view number(const ClsPublicKey& key) noexcept {
        return asText(distinctiveNumber(key.key()));
    }

    std::multimap<std::string_view, std::pair<const ClsPublicKey*, KeyVerdict>> m_checked;
};

// Asked before every check, with the weight of the key: a document decides how many keys it carries
// and how large they are.
bool mayCheck(const ValueQuery& query, const ClsPublicKey& key, ValueOutcome& outcome,
              LogBase& log) {
    outcome.limitPassed =
        !query.account.charge(keyOperationWeight(key.key()), query.mostKeyOperations);
    if (outcome.limitPassed) {
        log.LogError(
            "The signatures of the document need more key operations than their limit (keyOperations).");
    }
    return !outcome.limitPassed;
}

// The first key that verifies ends the search: what a later one would say changes nothing.
void noteVerified(std::size_t index, ValueOutcome& outcome) noexcept {
    outcome.verified = true;
    outcome.usedIndex = static_cast<int>(index);
}

// The canonical form goes to the log only where a right key says no: then it is what differs from
// what the signer had.
void logRsaVerdict(const ValueQuery& query, KeyVerdict verdict, LogBase& log) {
    switch (verdict) {
    case KeyVerdict::WrongKey: log.LogInfo(kWrongKeyLine); break;
    case KeyVerdict::Failed: log.LogError("RSA verify hash failed."); break;
    case KeyVerdict::Verified: log.LogInfo("The RSA signature was verified."); break;
    case KeyVerdict::SignatureInvalid:
        log.LogError("RSA verify hash found the signature to be invalid.");
        log.LogDataHexDb("signedInfoHash", query.hash);
        log.LogDataSb("canonicalizationMethod", query.signedOctets.algorithm);
        log.LogDataSb("canonicalizedSignedInfo", query.signedOctets.text);
        break;
    }
}

// RSA tells a wrong key from a wrong value, so each key has its line and the search may end early.
ValueOutcome tryRsaKeys(const ValueQuery& query, std::span<const CandidateKey> keys, LogBase& log) {
    log.LogDataLong("numRsaKeys", static_cast<std::int64_t>(keys.size()));
    ValueOutcome outcome;
    CheckedKeys checked;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (!keys[i].key) {
            continue;
        }
        const ClsPublicKey& key = *keys[i].key;
        RsaKeyData* const rsa = key.key().getRsaKeyPtr();
        if (rsa == nullptr) {
            // The error line is to be the reason of a failure, and not the wrong key before it.
            outcome.wrongKey = false;
            log.LogError("Public key is not an RSA key.");
            continue;
        }
        // An equal key before it settles this one, with the line that it would have had.
        std::optional<KeyVerdict> verdict = checked.verdictOn(key);
        if (!verdict) {
            if (!mayCheck(query, key, outcome, log)) {
                return outcome;
            }
            outcome.anyChecked = true;
            verdict = verifyWithRsaKey(query, *rsa, log);
            checked.add(key, *verdict);
        }
        logRsaVerdict(query, *verdict, log);
        outcome.wrongKey = verdict == KeyVerdict::WrongKey;
        if (verdict == KeyVerdict::Verified) {
            noteVerified(i, outcome);
            return outcome;
        }
        // The right key says no: no other key can say yes.
        if (verdict == KeyVerdict::SignatureInvalid) {
            outcome.rightKey = true;
            return outcome;
        }
    }
    return outcome;
}

// The kinds whose signatures do not tell a wrong key from a wrong value: their keys are tried
// without a word, and one line says that none of them did it.
struct QuietKind {
    KeyKind kind;
    const char* countKey;
    const char* failed;
    // A value that could be either is read first as r and s one after the other, for DSA and ECDSA
    // alike, as XML Signature writes them. The others have one form.
    bool (*verify)(const ValueQuery& query, const _vlPublicKey& key, LogBase& log);
};

// What cannot be checked leaves `verified` false, here and below.
bool verifyWithDsaKey(const ValueQuery& query, const _vlPublicKey& key, LogBase& log) {
    bool verified = false;
    DsaVerifier::verifyHash(*key.getDsaKeyPtr(), query.signature.getData2(),
                            query.signature.getSize(), true, query.hash.getData2(),
                            query.hash.getSize(), verified, log);
    return verified;
}

bool verifyWithEcKey(const ValueQuery& query, const _vlPublicKey& key, LogBase& log) {
    bool verified = false;
    key.getEccKeyPtr()->eccVerifyHash(query.signature.getData2(), query.signature.getSize(), false,
                                      query.hash.getData2(), query.hash.getSize(), verified, log,
                                      0);
    return verified;
}

// RFC 8032: over the octets themselves. The method names the curve, and a key of the other one is
// not tried as if it were of that.
bool verifyWithEdwardsKey(const ValueQuery& query, const _vlPublicKey& key, LogBase& /*log*/) {
    const crypto::EdwardsKey& edwards = *key.getEdwardsKeyPtr();
    return edwards.curve().name == query.method.curve &&
           edwards.verifyVariant({query.method.withContext, query.method.preHashed, query.context},
                                 query.signedOctets.octets(), query.signature.view());
}

// FIPS 204: the same.
bool verifyWithMlDsaKey(const ValueQuery& query, const _vlPublicKey& key, LogBase& /*log*/) {
    const crypto::MlDsaKey& mlDsa = *key.getMlDsaKeyPtr();
    return mlDsa.set().name == query.method.curve &&
           mlDsa.verify(query.signedOctets.octets(), query.context, query.signature.view());
}

constexpr QuietKind kDsa{KeyKind::Dsa, "numDsaKeys", "DSA verify hash failed.", verifyWithDsaKey};
constexpr QuietKind kEcdsa{KeyKind::Ec, "numEcdsaKeys",
                           "ECDSA verify hash found the signature to be invalid.", verifyWithEcKey};

constexpr QuietKind kEdDsa{KeyKind::Edwards, "numEdDsaKeys",
                           "EdDSA verification found the signature to be invalid.",
                           verifyWithEdwardsKey};
constexpr QuietKind kMlDsa{KeyKind::MlDsa, "numMlDsaKeys",
                           "ML-DSA verification found the signature to be invalid.",
                           verifyWithMlDsaKey};

ValueOutcome tryQuietly(const QuietKind& rule, const ValueQuery& query,
                        std::span<const CandidateKey> keys, LogBase& log) {
    log.LogDataLong(rule.countKey, static_cast<std::int64_t>(keys.size()));
    ValueOutcome outcome;
    LogNull quiet(log);
    CheckedKeys checked;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (!keys[i].key) {
            // Kept: a candidate without a key ends the search of these kinds, not that of RSA.
            outcome.endedEarly = true;
            return outcome;
        }
        const ClsPublicKey& key = *keys[i].key;
        if (key.key().kind() != rule.kind || checked.verdictOn(key)) {
            continue;
        }
        if (!mayCheck(query, key, outcome, log)) {
            return outcome;
        }
        outcome.anyChecked = true;
        // Noted before the check is made: after a success nobody asks any more.
        checked.add(key, KeyVerdict::Failed);
        if (rule.verify(query, key.key(), quiet)) {
            noteVerified(i, outcome);
            return outcome;
        }
    }
    if (!keys.empty()) {
        log.LogError(rule.failed);
    }
    return outcome;
}

} // namespace

// The identifier alone says of which type a key has to be; one of another type is never tried, so
// no number of a key is read as that of another algorithm.
ValueOutcome tryKeys(const ValueQuery& query, std::span<const CandidateKey> keys, LogBase& log) {
    switch (query.method.keyType) {
    case kKeyTypeRsa: return tryRsaKeys(query, keys, log);
    case kKeyTypeDsa: return tryQuietly(kDsa, query, keys, log);
    case kKeyTypeEcdsa: return tryQuietly(kEcdsa, query, keys, log);
    case kKeyTypeEdDsa: return tryQuietly(kEdDsa, query, keys, log);
    case kKeyTypeMlDsa: return tryQuietly(kMlDsa, query, keys, log);
    default:
        log.LogInfo("Unknown key type...");
        log.LogError("Invalid key type");
        return {};
    }
}

bool tryHmac(const StringBuffer& text, const DataBuffer& key, int hashAlg,
             const StringBuffer& given, LogBase& log) {
    // A text of 2 GiB or more has a negative length here, which doHMAC refuses.
    DataBuffer mac;
    if (!Hmac::doHMAC(text.getString(), static_cast<int>(text.getSize()), key.getData2(),
                      static_cast<int>(key.getSize()), hashAlg, mac, log)) {
        log.LogError("HMAC verify failed.");
        return false;
    }
    StringBuffer expected;
    mac.encodeDB("base64", expected);
    StringBuffer trimmed = given;
    trimmed.trim2();
    // In constant time: how long a refusal takes must not tell how much of a guess was right.
    const bool verified =
        crypto::constantTimeEqual(asBytes(expected.view()), asBytes(trimmed.view()));
    if (!verified) {
        log.LogError("HMAC validation failed.");
    }
    return verified;
}

bool tryStandardHmac(const StringBuffer& text, const DataBuffer& key, int hashAlg,
                     std::size_t outputLength, ByteView given, LogBase& log) {
    const std::size_t bits = crypto::hashDigestSize(hashAlg) * 8;
    const std::size_t used = outputLength != 0 ? outputLength : bits;
    // A shorter one could be forged by trying: the attacker chooses the length.
    if (used < kMinHmacBits || used * 2 < bits || used > bits || used % 8 != 0) {
        log.LogInfo("The HMACOutputLength is not one that is accepted.");
        return false;
    }
    DataBuffer mac;
    return Hmac::doHMAC(text.getString(), static_cast<int>(text.getSize()), key.getData2(),
                        static_cast<int>(key.getSize()), hashAlg, mac, log) &&
           crypto::constantTimeEqual(mac.view().first(used / 8), given);
}

} // namespace vantrel::dsig
