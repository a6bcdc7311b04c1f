// SPDX-License-Identifier: MIT
#include "dsig/verify/verify_selection.h"

#include "dsig/document/locate_signature.h"
#include "dsig/document/signed_info.h"
#include "dsig/document/standards.h"
#include "dsig/keys/candidate_keys.h"
#include "dsig/keys/key_report.h"
#include "dsig/keys/key_sources.h"
#include "dsig/keys/standard_keys.h"
#include "dsig/reference/first_reference.h"
#include "dsig/transform/element_space.h"
#include "dsig/transform/signature_profile.h"
#include "dsig/verify/reference_pass.h"
#include "dsig/verify/signature_method.h"
#include "dsig/verify/signed_octets.h"
#include "dsig/verify/try_keys.h"
#include "dsig/xades/check_timestamp.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/text/encoders.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <vector>

namespace vantrel::dsig {

namespace {

// The signature value as it stands in the document, and what it is to be checked over. Filled step
// by step; a later step reads what an earlier one wrote.
struct SignedValue {
    SignedOctets octets;
    StringBuffer text; // base64
    DataBuffer value;
    StringBuffer method;   // its identifier
    SignatureMethod asked; // by it
    DataBuffer context;    // EdDSA, ML-DSA
    DataBuffer hash;       // of the octets; empty when the method names no digest
};

// False ends the verification: no key is tried for a signature whose time-stamp does not hold.
bool passTimestamp(const VerifyQuery& query, const XmlSigLocate& locator, SignatureReport& report,
                   LogBase& log) {
    const std::optional<TimestampResult> result = timestampPass(
        *query.document, query.selection, locator, query.cmsOptions, query.keys.store, log);
    if (!result) {
        return true; // there is nothing to check
    }
    report.timestamp = result->valid ? "valid" : "invalid";
    report.timestampTime = result->time;
    report.timestampAuthority = result->authority;
    report.timestampTrusted = result->trusted;
    report.stamp = result->stamp;
    // The token is sound in itself, but no certificate of the store vouches for its signer: anybody
    // can run such an authority.
    if (result->valid && !result->trusted) {
        report.warnings.add(warning::kTimestampAuthorityNotChecked);
    }
    return result->valid;
}

// XML Signature 3.2.2, with the canonical SignedInfo or what a profile puts in its place.
bool takeSignedOctets(const VerifyQuery& query, const Rules& rules, const XmlSigLocate& locator,
                      const DSigReference& first, SignedValue& value, SignatureReport& report,
                      LogBase& log) {
    report.value = ValueCheck::Structure;
    if (!makeSignedOctets(*query.document, query.selection, rules, locator, first, value.octets,
                          report.accommodations, log)) {
        return false;
    }
    // The value vouches for the first digest alone: every other reference can be exchanged together
    // with its digest.
    if (value.octets.isInvoiceHash()) {
        for (ReferenceResult& reference : report.references) {
            reference.isSigned = reference.index == 0;
        }
    }
    return true;
}

// XML Signature 4.3. The text is kept beside the bytes, since an HMAC is compared as text.
bool readValue(const VerifyQuery& query, SignedValue& value, SignatureReport& report,
               LogBase& log) {
    report.value = ValueCheck::MalformedValue;
    if (!signatureValue(query.selection.signature, value.text, log)) {
        log.LogError("Unable to find the SignatureValue element.");
        return false;
    }
    const ByteView known = query.document->rsaLookAhead.decoded(value.text.view());
    if (known.empty()
            ? !text::decodeBase64(value.text.view(), value.value)
            : !value.value.append(known.data(), static_cast<std::uint32_t>(known.size()))) {
        log.LogError("Failed to decode base64 SignatureValue.");
        return false;
    }
    return true;
}

// The element is looked for only where its children may say more than its identifier.
void readMethod(const VerifyQuery& query, SignedValue& value, LogBase& log) {
    value.asked = readSignatureMethod(value.method, nullptr, false, log);
    if ((value.asked.hashAlg > kHashNone && value.asked.keyType > 0) || !standardsApply(log)) {
        return;
    }
    const Ref<ClsXml> element =
        Ref<ClsXml>::adopt(query.selection.signature->findChild("*:SignedInfo|*:SignatureMethod"));
    const SignatureMethod method = readSignatureMethod(value.method, element.get(), true, log);
    // Under another context than the signer's the value would look wrong.
    if (method.takesHash() || !element || readMethodContext(method, *element, value.context)) {
        value.asked = method;
    }
}

// A method that names no digest leaves the hash empty, and an empty hash verifies under no key. A
// code with a secret is made of the octets themselves.
void hashSigned(SignedValue& value) {
    value.hash.clear();
    if (value.asked.hashAlg != kHashNone && value.asked.keyType != kKeyTypeHmac) {
        const ByteView octets = value.octets.octets();
        _vlHash::doHash(octets.data(), static_cast<std::uint32_t>(octets.size()),
                        value.asked.hashAlg, value.hash);
    }
}

// XML Signature 4.4.2: the identifier names a hash and a type of key. Both must be known, or there
// is nothing that the value could be checked with.
bool hashOctets(const VerifyQuery& query, SignedValue& value, SignatureReport& report,
                LogBase& log) {
    report.value = ValueCheck::UnsupportedMethod;
    if (!signedInfoField(query.selection.signature, "SignatureMethod", "Algorithm", value.method,
                         log)) {
        log.LogError("Unable to location the SignatureMethod algorithm within the SignedInfo.");
        return false;
    }
    log.LogDataSb("SignatureMethod", value.method);
    readMethod(query, value, log);
    // Refused before any key is tried: a hash that cannot be computed would look like a value that
    // is wrong.
    if (value.asked.hashAlg < 0) {
        log.LogError("Hash algorithm not implemented yet by Vantrel.");
        return false;
    }
    if (value.asked.keyType < 0) {
        log.LogError("Key type not implemented yet by Vantrel.");
        return false;
    }
    hashSigned(value);
    return true;
}

// Where the whole code does not stand in the value as one text.
bool checkStandardHmac(const VerifyQuery& query, const SignedValue& value, SignatureReport& report,
                       LogBase& log) {
    // A code that is cut is compared as far as it goes, so how far must be beyond doubt.
    constexpr std::size_t kMostDigits = 5;
    const Ref<ClsXml> method =
        Ref<ClsXml>::adopt(query.selection.signature->findChild("*:SignedInfo|*:SignatureMethod"));
    StringBuffer length;
    const bool isCut = method && method->getChildContentUtf8("*:HMACOutputLength", length, false);
    length.trim2();
    std::size_t bits = 0;
    for (const char digit : length.view()) {
        if (digit < '0' || digit > '9' || length.getSize() > kMostDigits) {
            return false;
        }
        bits = bits * 10 + static_cast<std::size_t>(digit - '0');
    }
    // Nothing and zero are no lengths.
    if ((isCut && bits == 0) ||
        !tryStandardHmac(value.octets.text, query.hmacKey, value.asked.hashAlg, bits,
                         value.value.view(), log)) {
        return false;
    }
    report.standards.add(isCut ? standard::kHmacLength : standard::kHmacWhitespace);
    return true;
}

// True when a value could be looked at. The secret is the caller's and never one of the document's:
// whoever rewrites the method of a public-key signature to an HMAC, in order to use the public key
// as the secret, gains nothing by it.
bool checkHmac(const VerifyQuery& query, const SignedValue& value, SignatureReport& report,
               LogBase& log) {
    if (query.hmacKey.isEmpty()) {
        report.value = ValueCheck::NoKey;
        log.LogError("No HMAC key available to verify signature.");
        return false;
    }
    const bool verified =
        tryHmac(value.octets.text, query.hmacKey, value.asked.hashAlg, value.text, log) ||
        (standardsApply(log) && checkStandardHmac(query, value, report, log));
    report.value = verified ? ValueCheck::Valid : ValueCheck::Mismatch;
    KeyReport key;
    key.source = keysource::kExplicit.name;
    key.type = "HMAC";
    // The secret itself is in no report, only its size.
    key.bits = static_cast<int>(query.hmacKey.getSize()) * 8;
    key.used = verified;
    key.keyGiven = true;
    report.keys.clear();
    report.keys.push_back(std::move(key));
    return true;
}

// What the search says of the value. Only RSA tells a wrong key from other octets.
ValueCheck valueCheckOf(const SignedValue& value, const ValueOutcome& outcome) {
    if (outcome.verified) {
        return ValueCheck::Valid;
    }
    if (outcome.limitPassed) {
        return ValueCheck::LimitPassed;
    }
    // Without a hash nothing was compared, whatever the keys said.
    if (value.asked.hashAlg == kHashNone && value.asked.takesHash()) {
        return ValueCheck::UnsupportedMethod;
    }
    if (!outcome.anyChecked) {
        return ValueCheck::NoKey;
    }
    return value.asked.keyType == kKeyTypeRsa && !outcome.rightKey ? ValueCheck::WrongKey
                                                                   : ValueCheck::Mismatch;
}

// Tries the keys in the further forms of the recommendations, where the usual ones did not verify
// the value, and appends them to `keys`. `outcome` becomes that of the whole search.
void tryStandardKeys(const VerifyQuery& query, const ValueQuery& value,
                     std::vector<CandidateKey>& keys, ValueOutcome& outcome, LogBase& log) {
    // The right key has said no, or there may be no more checks.
    if (outcome.verified || outcome.rightKey || outcome.limitPassed || query.keys.callerKeysOnly ||
        !standardsApply(log)) {
        return;
    }
    std::vector<CandidateKey> more = standardKeys(query.keys, keys, log);
    if (more.empty()) {
        return;
    }
    const bool anyChecked = outcome.anyChecked;
    outcome = tryKeys(value, more, log);
    outcome.anyChecked = outcome.anyChecked || anyChecked;
    if (outcome.usedIndex >= 0) {
        outcome.usedIndex += static_cast<int>(keys.size());
    }
    std::ranges::move(more, std::back_inserter(keys));
}

// Tries them over SignedInfo without the white space between its elements, where the signature's
// profile leaves it out and the value does not hold over SignedInfo as it stands.
void tryWithoutSpace(const VerifyQuery& query, const ValueQuery& asked, SignedValue& value,
                     const std::vector<CandidateKey>& keys, ValueOutcome& outcome,
                     SignatureReport& report, LogBase& log) {
    if (outcome.verified || outcome.limitPassed || value.octets.isInvoiceHash() ||
        value.asked.hashAlg == kHashNone || !leavesOutSpace(signatureProfile(query.selection))) {
        return;
    }
    value.octets.text = withoutElementSpace(value.octets.text.view());
    hashSigned(value);
    const ValueOutcome second = tryKeys(asked, keys, log);
    if (second.verified || second.limitPassed) {
        outcome = second;
    }
    if (second.verified) {
        report.accommodations.add(accommodation::kProfileSpace);
    }
}

// False where there is no key at all, or the search ended without a word on the value.
bool checkWithKeys(const VerifyQuery& query, SignedValue& value, SignatureReport& report,
                   LogBase& log) {
    std::vector<CandidateKey> keys = candidateKeys(query.keys, report.accommodations, log);
    KeyAccount& account = query.document->keyAccount;
    // What an earlier verification of this signature took is given back before keys are tried.
    account.begin(query.selection.index);
    const ValueQuery asked{value.asked,
                           value.octets,
                           value.hash,
                           value.value,
                           account,
                           query.limits.keyOperations,
                           value.context.view(),
                           query.document->mayRepeat ? query.document : nullptr,
                           query.selection.index};
    ValueOutcome outcome;
    if (!keys.empty()) {
        outcome = tryKeys(asked, keys, log);
    }
    tryStandardKeys(query, asked, keys, outcome, log);
    tryWithoutSpace(query, asked, value, keys, outcome, report, log);
    // All of them are reported, those that are not tried as well.
    report.keys = describeKeys(keys);
    if (keys.empty()) {
        report.value = ValueCheck::NoKey;
        log.LogError("No public key available to verify signature.");
        return false;
    }
    report.value = valueCheckOf(value, outcome);
    // The line of a wrong key is no error line, so the log's last one would name something else.
    if (outcome.wrongKey && !outcome.limitPassed) {
        report.reason = kWrongKeyLine;
    }
    if (outcome.usedIndex >= 0) {
        report.keys[static_cast<std::size_t>(outcome.usedIndex)].used = true;
    }
    return !outcome.endedEarly;
}

// As checkValue. Both need what the steps before them have found.
bool checkByMethod(const VerifyQuery& query, SignedValue& value, SignatureReport& report,
                   LogBase& log) {
    return value.asked.keyType == kKeyTypeHmac ? checkHmac(query, value, report, log)
                                               : checkWithKeys(query, value, report, log);
}

// Where the value is not that of the octets by Canonical XML 1.0: whether it is by 1.1, which is
// asked for. Nothing is said of it where it is not.
bool isValueByCanonical11(const VerifyQuery& query, SignedValue& value, SignatureReport& report,
                          LogBase& log) {
    if ((report.value != ValueCheck::Mismatch && report.value != ValueCheck::WrongKey) ||
        !standardsApply(log)) {
        return false;
    }
    LogNull quiet(log);
    SignatureReport found;
    if (!makeCanonical11Octets(*query.document, query.selection, value.octets, found.standards,
                               quiet)) {
        return false;
    }
    hashSigned(value);
    static_cast<void>(checkByMethod(query, value, found, quiet));
    if (found.value != ValueCheck::Valid) {
        return false;
    }
    report.value = found.value;
    report.keys = std::move(found.keys);
    report.reason.clear();
    for (const std::string_view code : found.standards.codes()) {
        report.standards.add(code);
    }
    for (const std::string_view code : found.accommodations.codes()) {
        report.accommodations.add(code);
    }
    log.LogInfo("The signature value is over SignedInfo by Canonical XML 1.1.");
    return true;
}

// Whether the value is over the octets by Canonical XML 1.0 alone, where 1.1 is asked for.
bool isOtherThanByCanonical11(const VerifyQuery& query, const SignedValue& value) {
    if (!value.octets.isOfCanonical11()) {
        return false;
    }
    LogNull quiet;
    CodeSet standards;
    SignedOctets by11 = value.octets;
    return makeCanonical11Octets(*query.document, query.selection, by11, standards, quiet) &&
           !by11.text.equals(value.octets.text);
}

// XML Signature 3.2.2, the value. False where the verification ends without a word on it. Each step
// writes its own error line, and needs what those before it have found.
bool checkValue(const VerifyQuery& query, const Rules& rules, const XmlSigLocate& locator,
                const DSigReference& first, SignatureReport& report, LogBase& log) {
    SignedValue value;
    if (!takeSignedOctets(query, rules, locator, first, value, report, log) ||
        !readValue(query, value, report, log) || !hashOctets(query, value, report, log)) {
        return false;
    }
    const bool summarise = checkByMethod(query, value, report, log);
    if (report.value == ValueCheck::Valid && isOtherThanByCanonical11(query, value)) {
        report.accommodations.add(accommodation::kC14n11As10);
    }
    return isValueByCanonical11(query, value, report, log) || summarise;
}

} // namespace

bool verifySelection(const VerifyQuery& query, Rules& rules, SignatureReport& report,
                     LogBase& log) {
    report.givenRulesOnly = !standardsApply(log);
    log.LogDataLong("verifyReferenceDigests", query.checkReferences ? 1 : 0);
    log.LogDataLong("selector", query.selection.index);
    if (query.document == nullptr) {
        log.LogError("There are no signatures.");
        return false;
    }
    log.LogDataSb("SignatureId", query.selection.id);
    // Such a SignedInfo could verify, and would say nothing of the document.
    if (query.document->referencesOf(*query.selection.signature).empty()) {
        log.LogError("There are no references.");
        return false;
    }
    // A digest that differs settles the outcome before a key operation is spent, and is summarised.
    if (query.checkReferences &&
        !checkAllReferences({query.document, query.selection, query.externalData,
                             query.externalDirs, query.ignoreMissing, query.parts},
                            rules, report, log)) {
        report.referencesFailed = true;
        return true;
    }
    // In a package a manifest is part of what is signed (external_parts.h).
    if (query.checkReferences && query.parts != nullptr &&
        !query.parts->checkManifests(*query.document, query.selection, rules, report, log)) {
        report.referencesFailed = true;
        return true;
    }

    DSigReference first;
    XmlSigLocate locator;
    report.value = ValueCheck::Structure;
    if (!parseFirstReference(query.document, query.selection, first, log) ||
        !locateSelectedSignature(query.selection, first.m_digestValue, locator, log)) {
        return false;
    }
    report.value = ValueCheck::NotReached;
    if (!passTimestamp(query, locator, report, log)) {
        return false;
    }
    const bool summarise = checkValue(query, rules, locator, first, report, log);
    report.valid = report.value == ValueCheck::Valid;
    return summarise;
}

// What was found out before stays: the reason of the failure, and that it is one.
void lookAtValue(const VerifyQuery& query, const Rules& rules, SignatureReport& report,
                 LogBase& log) {
    DSigReference first;
    XmlSigLocate locator;
    const std::string reason = report.reason;
    report.value = ValueCheck::Structure;
    if (parseFirstReference(query.document, query.selection, first, log) &&
        locateSelectedSignature(query.selection, first.m_digestValue, locator, log)) {
        static_cast<void>(checkValue(query, rules, locator, first, report, log));
    }
    report.reason = reason;
}

} // namespace vantrel::dsig
