// SPDX-License-Identifier: MIT
#include "dsig/trust/demands.h"

#include "dsig/document/fingerprint.h"
#include "dsig/report/codes.h"
#include "dsig/report/refusals.h"
#include "dsig/trust/covered_targets.h"
#include "foundation/text/strings.h"

#include <algorithm>
#include <array>

// One function a demand. Each looks at the report alone where that says enough; what a document
// that was built to mislead may hide from it is asked of the document.
namespace vantrel::dsig {

namespace {

const KeyReport* usedKey(const SignatureReport& report) {
    const auto used =
        std::ranges::find_if(report.keys, [](const KeyReport& key) { return key.used; });
    return used == report.keys.end() ? nullptr : &*used;
}

bool isPin(const Policy& policy, std::string_view fingerprint) {
    return !fingerprint.empty() && std::ranges::find(policy.pins, fingerprint) != policy.pins.end();
}

// A certificate is pinned for its key: any certificate of the key that verified counts, wherever it
// stands.
bool isPinned(const JudgedSignature& it) {
    const SignerReport& signer = it.report.signer;
    if (it.policy.pins.empty() || signer.spkiSha256.empty()) {
        return false;
    }
    if (isPin(it.policy, signer.spkiSha256)) {
        return true;
    }
    return std::ranges::any_of(it.material.certificates(), [&](const VantrelX509* one) {
        return isPin(it.policy, sha256Text(one->certificate())) &&
               sha256Text(one->publicKeyInfo()) == signer.spkiSha256;
    });
}

bool isTrusted(const JudgedSignature& it) { return it.trust != nullptr && it.trust->path.trusted; }

// An HMAC secret is the caller's own, and reported as given.
bool isVouchedFor(const JudgedSignature& it) {
    const KeyReport* const used = usedKey(it.report);
    return isPinned(it) || isTrusted(it) || (used != nullptr && used->keyGiven);
}

bool namesWeakHash(const StringBuffer& algorithm) {
    constexpr std::array<const char*, 6> kWeak = {"md2",   "md5",    "sha1",
                                                  "sha-1", "ripemd", "rmd160"};
    return std::ranges::any_of(
        kWeak, [&](const char* name) { return algorithm.containsSubstringNoCase(name); });
}

// The hashes and keys of the certificates by which the signer is trusted. That of the anchor's own
// signature is none of them, since nobody relies on it.
bool isPathStrong(const JudgedSignature& it) {
    return !isTrusted(it) ||
           std::ranges::none_of(it.trust->path.problems, [](const x509::PathProblem& problem) {
               return problem.fault == x509::PathFault::WeakAlgorithm;
           });
}

bool isWeak(const ReferenceResult& reference) {
    return namesWeakHash(reference.digestMethod) ||
           reference.accommodations.contains(accommodation::kDigestUnknownSha1);
}

// What was digested by a hash that nobody named was digested by SHA-1. A truncated HMAC has
// half its hash and 80 bits at least, or it does not verify.
bool isStrong(const JudgedSignature& it) {
    const KeyReport* const used = usedKey(it.report);
    return (used == nullptr || !used->weak) && isPathStrong(it) &&
           !namesWeakHash(it.report.signatureMethod) &&
           std::ranges::none_of(it.report.references, isWeak) &&
           std::ranges::none_of(it.report.manifest, isWeak);
}

bool neededNoLeniency(const JudgedSignature& it) {
    const auto isPlain = [](const ReferenceResult& reference) {
        return reference.accommodations.codes().empty();
    };
    return it.report.accommodations.codes().empty() &&
           std::ranges::all_of(it.report.references, isPlain) &&
           std::ranges::all_of(it.report.manifest, isPlain);
}

bool isAllChecked(const JudgedSignature& it) {
    return it.report.referenceCount > 0 && !it.report.warnings.contains(warning::kNotAllChecked) &&
           std::ranges::all_of(it.report.references,
                               [](const ReferenceResult& one) { return one.matched(); });
}

// An Id that a reference uses and another element bears as well: a reader who looks for it by
// another attribute than the verifier finds what nobody signed.
bool sharesNoId(const JudgedSignature& it) {
    return std::ranges::none_of(it.report.references, [&](const ReferenceResult& reference) {
        const std::string id = fragmentId(reference.uri.view());
        return !id.empty() && it.document->idRivals().has(id);
    });
}

// Readers that do not read declarations, as many are told not to, see the attributes that are
// written.
bool hasWrittenAttributesOnly(const xml::XmlDocument& document) {
    return document.documentType() == nullptr || !document.documentType()->hasAttributeDefaults();
}

bool isUnambiguous(const JudgedSignature& it) {
    constexpr std::array kAmbiguous = {warning::kSignatureStructure, warning::kContentExcluded,
                                       warning::kCoverageUnknown,    warning::kReferencesNotSigned,
                                       warning::kExternalDtdNotRead, warning::kEncodingMismatch,
                                       warning::kEntitiesUsed,       warning::kCommentsInText};
    return it.document != nullptr && hasWrittenAttributesOnly(*it.document->structure) &&
           std::ranges::none_of(
               kAmbiguous,
               [&](std::string_view word) { return it.report.warnings.contains(word); }) &&
           sharesNoId(it) &&
           it.document->timeStamps.count(*it.document->structure, it.report.signatureElement) <= 1;
}

// In a package it is the parts that have to be covered, and something must be.
bool isCovered(const JudgedSignature& it) {
    if (it.report.parts) {
        return it.report.parts->missing.empty() && !it.report.parts->covered.empty();
    }
    return coversTarget("document", it);
}

bool isTimeStamped(const JudgedSignature& it) {
    return it.report.timestamp == "valid" &&
           (it.trust != nullptr ? it.trust->authorityTrusted : it.report.timestampTrusted);
}

constexpr auto kDemands = std::to_array<DemandEntry>({
    {Demand::Pinned, "pinned", refusal::kNotPinned, isPinned},
    {Demand::Trusted, "trusted", refusal::kNotTrusted, isTrusted},
    {Demand::Vouched, "vouched", refusal::kNotVouched, isVouchedFor},
    {Demand::Strong, "strong", refusal::kWeakAlgorithm, isStrong},
    {Demand::NoLeniency, "no-leniency", refusal::kLeniencyUsed, neededNoLeniency},
    {Demand::AllChecked, "all-checked", refusal::kNotAllChecked, isAllChecked},
    {Demand::Unambiguous, "unambiguous", refusal::kAmbiguous, isUnambiguous},
    {Demand::Covered, "covered", refusal::kDocumentNotCovered, isCovered},
    {Demand::Timestamp, "timestamp", refusal::kNoTimestamp, isTimeStamped},
});

} // namespace

JudgedSignature::JudgedSignature(const Policy& itsPolicy, const SignatureReport& itsReport,
                                 Document* itsDocument, const Material& itsMaterial)
    : policy(itsPolicy), report(itsReport), document(itsDocument), material(itsMaterial) {
    if (document != nullptr) {
        digested = digestedRanges(*document->structure, report);
    }
}

std::span<const DemandEntry> demandTable() noexcept { return kDemands; }

} // namespace vantrel::dsig
