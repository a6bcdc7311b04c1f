// SPDX-License-Identifier: MIT
#include "dsig/report/causes.h"

#include "dsig/document/certificate_texts.h"

#include <algorithm>
#include <array>

namespace vantrel::dsig {

namespace {

// What a document says is shown up to this many bytes: an identifier can be as long as the
// document.
constexpr std::size_t kLongestQuote = 200;

constexpr const char* kTryKey = "--key FILE";
constexpr const char* kTryCertificate = "--cert FILE";
constexpr const char* kTryNamedKey = "--named-key NAME=FILE";

std::string quoted(std::string_view text) {
    std::string out = "\"";
    out += shownText(text, kLongestQuote);
    return out += '"';
}

std::string limitOption(std::string_view limit) {
    return "--limit " + std::string(limit) + "=VALUE";
}

// The part of a URI that names the Id.
std::string idOf(const ReferenceResult& reference) {
    std::string_view uri = reference.uri.view();
    uri.remove_prefix(std::min(uri.size(), uri.find('#') + 1));
    return quoted(uri);
}

Cause mismatch(const ReferenceResult& reference) {
    // Whoever gave the wrong file mends that first.
    std::vector<std::string> tries = {kTryExplain};
    if (reference.external && !reference.found->isPart) {
        tries.insert(tries.begin(), "--ref-data " + std::to_string(reference.index) + "=FILE");
    }
    return {cause::kDigestMismatch,
            "What is digested here is not what was signed: the content was changed after signing, "
            "or the signer digested it in another way.",
            std::move(tries),
            {}};
}

Cause externalMissing(const ReferenceResult& reference) {
    const std::string name = quoted(reference.uri.view());
    if (reference.found->isPart) {
        return {cause::kExternalMissing,
                (reference.dataMissing ? "The package has no part " : "The package's part ") +
                    name + (reference.dataMissing ? "." : " is damaged."),
                {},
                {}};
    }
    return {cause::kExternalMissing,
            reference.dataMissing ? "The external data " + name + " was not given."
                                  : "The external data " + name + " could not be read.",
            {"--ref-data " + std::to_string(reference.index) + "=FILE", "--ref-dir DIR",
             "--ignore-external"},
            {}};
}

// The transform that nobody here knows, else the expression, which is of no known shape.
Cause unsupportedTransform(const ReferenceResult& reference) {
    constexpr std::array<std::string_view, 6> kKnown = {"enveloped-signature", "xml-c14n",
                                                        "xml-exc-c14n",        "xmldsig#base64",
                                                        "REC-xpath",           "xmldsig-filter2"};
    std::string what = "a transform";
    for (const TransformReport& transform : reference.text->transforms) {
        const bool known = std::ranges::any_of(kKnown, [&](std::string_view part) {
            return transform.algorithm.find(part) != std::string::npos;
        });
        if (!known) {
            what = "the transform " + quoted(transform.algorithm);
            break;
        }
        if (!transform.expressions.empty()) {
            what = "the XPath expression " + quoted(transform.expressions.front().xpath);
        }
    }
    return {cause::kUnsupportedTransform,
            "This program does not support " + what +
                "; whether the content is what was signed is not known.",
            {},
            {}};
}

Cause transformFailed(const ReferenceResult& reference) {
    return {cause::kTransformFailed,
            reference.reason == RefReason::TransformFailed
                ? "A transform could not be carried out: what it would take out is not whole "
                  "elements."
                : "The octets to digest could not be made of the document.",
            {},
            {}};
}

} // namespace

Cause causeOfLimit(std::string_view limit) {
    return {cause::kLimit,
            "The check needs more work than the limit " + std::string(limit) + " allows.",
            {limitOption(limit)},
            {}};
}

Cause causeOf(const ReferenceResult& reference) {
    if (!reference.checked) {
        return {cause::kNotChecked, "The digest of this reference was not asked for.", {}, {}};
    }
    // Its transforms were not carried out, so the comparison says nothing.
    if (reference.reason == RefReason::Mismatch && reference.external && !reference.found->isPart &&
        !reference.text->transforms.empty() && reference.standards->codes().empty()) {
        return {cause::kUnsupportedTransform,
                "The transforms on external data were not carried out; whether the data "
                "is what was signed is not known.",
                {},
                {}};
    }
    switch (reference.reason) {
    case RefReason::Match: return {};
    case RefReason::Mismatch: return mismatch(reference);
    case RefReason::UnsupportedDigest:
        return {cause::kUnsupportedDigest,
                "This program does not support the digest method " +
                    quoted(reference.digestMethod.view()) +
                    "; whether the content is what was signed is not known.",
                {},
                {}};
    case RefReason::ExternalMissing:
    case RefReason::ExternalUnreadable: return externalMissing(reference);
    case RefReason::NoReference:
        return {cause::kNoSuchReference, "The signature has no reference with this index.", {}, {}};
    case RefReason::NoSuchId:
        return {cause::kNoSuchId,
                "No element has the Id " + idOf(reference) +
                    ", or a transform has taken it out before.",
                {},
                {}};
    case RefReason::DuplicateId:
        return {cause::kDuplicateId,
                "Several elements have the Id " + idOf(reference) +
                    ", so which of them was signed is not known; an element may have been added.",
                {},
                {}};
    case RefReason::OtherContentType:
        return {cause::kOtherContentType,
                "The part " + quoted(reference.uri.view()) +
                    " has another content type in the package than the one that was signed.",
                {},
                {}};
    case RefReason::UnsupportedTransform: return unsupportedTransform(reference);
    default: return transformFailed(reference);
    }
}

namespace {

std::string_view afterFailedReference(ValueCheck value) {
    const std::string_view text = valueText(value);
    if (text == "valid") {
        return "The signature value is intact: the list of digests is what was signed; what they "
               "are of was changed or is missing.";
    }
    return text == "invalid" ? "The signature value does not verify either."
                             : "The signature value was not checked.";
}

// What mends the first of them stands for all; the others have causes of their own.
Cause referenceFailed(const SignatureReport& report) {
    Cause failed{cause::kReferenceFailed, {}, {}, {}};
    int failures = 0;
    int first = 0;
    bool inManifest = false;
    for (const std::vector<ReferenceResult>* const list : {&report.references, &report.manifest}) {
        for (const ReferenceResult& reference : *list) {
            if (!reference.checked || reference.matched()) {
                continue;
            }
            if (failures++ == 0) {
                first = reference.index;
                inManifest = list == &report.manifest;
                failed.tries = reference.cause->tries;
            }
        }
    }
    const std::string which = std::to_string(first) + (inManifest ? " of the manifest" : "");
    failed.text = failures == 1
                      ? "Reference " + which + " fails. "
                      : std::to_string(failures) + " references fail, the first is " + which + ". ";
    failed.text += afterFailedReference(report.value);
    return failed;
}

bool isHmac(const SignatureReport& report) {
    return report.signatureMethod.containsSubstring("#hmac-");
}

Cause noKey(const SignatureReport& report, const KeyHints& hints) {
    if (isHmac(report)) {
        return {cause::kNoKey,
                "The signature value is a code under a shared secret, which was not given.",
                {"--hmac-key TEXT", "--hmac-key-file FILE"},
                {}};
    }
    if (!report.keys.empty()) {
        return {cause::kNoKey,
                "None of the keys is of the kind that the signature method asks for.",
                {kTryKey, kTryCertificate},
                {}};
    }
    if (hints.carriesKey) {
        return {cause::kUnsupportedKey,
                "The key or certificate in KeyInfo is damaged, or of a kind, curve or size that "
                "this program does not support.",
                {kTryKey},
                {}};
    }
    if (!hints.names.empty()) {
        std::string text = "KeyInfo holds no key, it only names one: ";
        for (const std::string& name : hints.names) {
            text += (&name == &hints.names.front() ? "" : "; ") + name;
        }
        Cause cause = {cause::kNoKey, text + ".", {kTryCertificate, kTryKey}, {}};
        if (hints.hasKeyName) {
            cause.tries.emplace_back(kTryNamedKey);
        }
        return cause;
    }
    return {cause::kNoKey,
            hints.isThere ? "KeyInfo neither holds nor names a key."
                          : "The signature has no KeyInfo, and no key was given.",
            {kTryKey, kTryCertificate},
            {}};
}

// RSA shows that the key is right and SignedInfo is not what it was; the others do not tell.
Cause valueMismatch(const SignatureReport& report) {
    if (isHmac(report)) {
        return {cause::kValueMismatch,
                "The signature value does not fit: the secret is another one, or SignedInfo was "
                "changed after signing.",
                {"--hmac-key TEXT", "--hmac-encoding hex|base64|ascii", kTryExplain},
                {}};
    }
    const bool rsa = !report.keys.empty() && report.keys.front().type == "RSA";
    return {cause::kValueMismatch,
            rsa ? "The key is the signer's, but SignedInfo is not what was signed: it was changed "
                  "after signing, or the signer wrote it in another form."
                : "The signature value does not fit: SignedInfo was changed after signing, or the "
                  "key is not the signer's. Values of this kind do not show which.",
            {kTryExplain, kTryKey},
            {}};
}

Cause ofValue(const SignatureReport& report, const KeyHints& hints) {
    switch (report.value) {
    case ValueCheck::MalformedValue:
        return {cause::kMalformedValue, "SignatureValue is missing, empty or no base64.", {}, {}};
    case ValueCheck::UnsupportedMethod:
        return {cause::kUnsupportedMethod,
                "This program does not support the signature method " +
                    quoted(report.signatureMethod.view()) +
                    "; whether the signature is right is not known.",
                {},
                {}};
    case ValueCheck::NoKey: return noKey(report, hints);
    case ValueCheck::LimitPassed: return causeOfLimit("keyOperations");
    case ValueCheck::WrongKey:
        return {cause::kWrongKey,
                "None of the keys made the signature value: the signer's is another one, or the "
                "value itself was changed.",
                {kTryKey, kTryCertificate, kTryExplain},
                {}};
    case ValueCheck::Mismatch: return valueMismatch(report);
    default:
        return {cause::kStructure,
                "The signature is not built as XML Signature has it, so what its value is over "
                "cannot be told.",
                {},
                {}};
    }
}

} // namespace

Cause causeOf(const SignatureReport& report, const KeyHints& hints) {
    if (report.valid) {
        return {};
    }
    if (report.referencesFailed) {
        return referenceFailed(report);
    }
    if (report.timestamp == "invalid") {
        return {cause::kTimestampFailed,
                "The time-stamp in the signature does not hold, so the signature was not looked "
                "at further.",
                {"verify without --timestamps"},
                {}};
    }
    if (report.present && report.referenceCount == 0 && !report.canonicalizationMethod.isEmpty()) {
        return {cause::kNoReferences,
                "SignedInfo has no references, so the signature is over nothing of the document.",
                {},
                {}};
    }
    return ofValue(report, hints);
}

} // namespace vantrel::dsig
