// Verifying a signature value with the candidate keys, in their order.

#include "dsig/keys/known_to_caller.h"
#include "dsig/verify/signature_method.h"
#include "dsig/verify/verify_run.h"
#include "foundation/crypto/dsa/DsaVerifier.h"
#include "foundation/crypto/ecc/EccVerifier.h"
#include "foundation/crypto/mac/Hmac.h"
#include "foundation/crypto/mac/constant_time.h"
#include "foundation/crypto/rsa/RsaVerifier.h"
#include "foundation/text/LogBase.h"
#include "foundation/x509/keys/ClsPublicKey.h"

#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace vantrel::dsig {

namespace {

// RsaVerifier's codes of padding schemes.
constexpr int kPaddingPkcs1 = 1;
constexpr int kPaddingPss = 3;

enum class KeyVerdict { Verified, SignatureInvalid, WrongKey, Failed };

// PKCS #1 v1.5, or PSS when the method's identifier names MGF1.
KeyVerdict verifyWithRsaKey(const VerifyRun& run, RsaKeyData& key, LogBase& log) {
    const bool pss = run.signatureMethod.containsSubstring("MGF1");
    bool verified = false;
    bool wrongKey = false;
    const bool ran = RsaVerifier::verifyHashExt(run.signature.getData2(), run.signature.getSize(),
                                                run.hash.getData2(), run.hash.getSize(),
                                                run.hashAlg, pss ? kPaddingPss : kPaddingPkcs1,
                                                run.hashAlg, verified, key, 0, true, wrongKey, log);

    if (!ran) {
        return wrongKey ? KeyVerdict::WrongKey : KeyVerdict::Failed;
    }
    return verified ? KeyVerdict::Verified : KeyVerdict::SignatureInvalid;
}

// The keys that were checked against one signature value. Neither the order of the candidates nor
// what is said of each changes when an equal one takes over the verdict of the first.
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

bool mayCheck(const VerifyRun& run, const ClsPublicKey& key, LogBase& log) {
    if (run.account->charge(keyOperationWeight(key.key()), run.mostKeyOperations)) {
        return true;
    }
    log.LogError(
        "The signatures of the document need more key operations than their limit (keyOperations).");
    return false;
}

void logRsaVerdict(const VerifyRun& run, KeyVerdict verdict, LogBase& log) {
    switch (verdict) {
    case KeyVerdict::WrongKey: log.LogInfo(kWrongKeyLine); break;
    case KeyVerdict::Failed: log.LogError("RSA verify hash failed."); break;
    case KeyVerdict::Verified: log.LogInfo("The RSA signature was verified."); break;
    case KeyVerdict::SignatureInvalid:
        log.LogError("RSA verify hash found the signature to be invalid.");
        log.LogDataHexDb("signedInfoHash", run.hash);
        log.LogDataSb("canonicalizationMethod", run.signedOctets.algorithm);
        log.LogDataSb("canonicalizedSignedInfo", run.signedOctets.text);
        break;
    }
}

ClsPublicKey* keyAt(const VerifyRun& run, int index) {
    return static_cast<ClsPublicKey*>(run.keys.elementAt(index));
}

int tryRsaKeys(VerifyRun& run, LogBase& log) {
    log.LogDataLong("numRsaKeys", run.keys.getSize());
    CheckedKeys checked;
    for (int i = 0; i < run.keys.getSize(); ++i) {
        ClsPublicKey* const key = keyAt(run, i);
        if (key == nullptr) {
            continue;
        }
        RsaKeyData* const rsa = key->key().getRsaKeyPtr();
        if (rsa == nullptr) {
            run.wrongKey = false;
            log.LogError("Public key is not an RSA key.");
            continue;
        }
        std::optional<KeyVerdict> verdict = checked.verdictOn(*key);
        if (!verdict) {
            if (!mayCheck(run, *key, log)) {
                return -1;
            }
            verdict = verifyWithRsaKey(run, *rsa, log);
            checked.add(*key, *verdict);
        }
        logRsaVerdict(run, *verdict, log);
        run.wrongKey = verdict == KeyVerdict::WrongKey;
        if (verdict == KeyVerdict::Verified) {
            run.verified = true;
            return i;
        }
        // The right key says no: no other key can say yes.
        if (verdict == KeyVerdict::SignatureInvalid) {
            return -1;
        }
    }
    return -1;
}

int tryDsaKeys(VerifyRun& run, LogBase& log, bool& endedEarly) {
    log.LogDataLong("numDsaKeys", run.keys.getSize());
    LogNull quiet(log);
    CheckedKeys checked;
    for (int i = 0; i < run.keys.getSize(); ++i) {
        ClsPublicKey* const key = keyAt(run, i);
        if (key == nullptr) {
            endedEarly = true;
            return -1;
        }
        DsaKeyData* const dsa = key->key().getDsaKeyPtr();
        if (dsa == nullptr || checked.verdictOn(*key)) {
            continue;
        }
        if (!mayCheck(run, *key, log)) {
            return -1;
        }
        checked.add(*key, KeyVerdict::Failed);
        DsaVerifier::verifyHash(*dsa, run.signature.getData2(), run.signature.getSize(), true,
                                run.hash.getData2(), run.hash.getSize(), run.verified, quiet);
        if (run.verified) {
            return i;
        }
    }
    if (run.keys.getSize() > 0) {
        log.LogError("DSA verify hash failed.");
    }
    return -1;
}

int tryEcdsaKeys(VerifyRun& run, LogBase& log, bool& endedEarly) {
    log.LogDataLong("numEcdsaKeys", run.keys.getSize());
    LogNull quiet(log);
    CheckedKeys checked;
    for (int i = 0; i < run.keys.getSize(); ++i) {
        ClsPublicKey* const key = keyAt(run, i);
        if (key == nullptr) {
            endedEarly = true;
            return -1;
        }
        EccVerifier* const ecc = key->key().getEccKeyPtr();
        if (ecc == nullptr || checked.verdictOn(*key)) {
            continue;
        }
        if (!mayCheck(run, *key, log)) {
            return -1;
        }
        checked.add(*key, KeyVerdict::Failed);
        ecc->eccVerifyHash(run.signature.getData2(), run.signature.getSize(), false,
                           run.hash.getData2(), run.hash.getSize(), run.verified, quiet, 0);
        if (run.verified) {
            return i;
        }
    }
    if (run.keys.getSize() > 0) {
        log.LogError("ECDSA verify hash found the signature to be invalid.");
    }
    return -1;
}

} // namespace

int tryKeys(VerifyRun& run, LogBase& log, bool& endedEarly) {
    switch (run.keyType) {
    case kKeyTypeRsa: return tryRsaKeys(run, log);
    case kKeyTypeDsa: return tryDsaKeys(run, log, endedEarly);
    case kKeyTypeEcdsa: return tryEcdsaKeys(run, log, endedEarly);
    default:
        log.LogInfo("Unknown key type...");
        log.LogError("Invalid key type");
        return -1;
    }
}

// The whole MAC is compared, as text: a truncated one (HMACOutputLength) does not verify, and
// neither does one with white space inside.
bool tryHmac(VerifyRun& run, const DataBuffer& key, LogBase& log) {
    DataBuffer mac;
    if (!Hmac::doHMAC(run.signedOctets.text.getString(),
                      static_cast<int>(run.signedOctets.text.getSize()), key.getData2(),
                      static_cast<int>(key.getSize()), run.hashAlg, mac, log)) {
        log.LogError("HMAC verify failed.");
        return false;
    }
    StringBuffer expected;
    mac.encodeDB("base64", expected);
    StringBuffer given = run.signatureText;
    given.trim2();
    run.verified = crypto::constantTimeEqual(asBytes(expected.view()), asBytes(given.view()));
    if (!run.verified) {
        log.LogError("HMAC validation failed.");
    }
    return run.verified;
}

} // namespace vantrel::dsig
