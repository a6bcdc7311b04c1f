// SPDX-License-Identifier: MIT
#include "api/read_report.h"

#include "api/document_acceptance.h"
#include "api/words.h"
#include "foundation/json/json_value.h"

#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel::api {

using json::JsonValue;

namespace {

// A member as text; empty where there is none.
std::string textOf(const JsonValue& object, std::string_view name) {
    const JsonValue* const value = object.find(name);
    return value != nullptr ? std::string(value->text()) : std::string();
}

std::int64_t integerOf(const JsonValue& object, std::string_view name) {
    std::int64_t number = 0;
    const JsonValue* const value = object.find(name);
    return value != nullptr && value->integer(number) ? number : 0;
}

int smallOf(const JsonValue& object, std::string_view name) {
    const std::int64_t number = integerOf(object, name);
    const bool fits = number >= 0 && number <= std::numeric_limits<int>::max();
    return fits ? static_cast<int>(number) : 0;
}

// Sizes are never negative; a number that is, is none of the verifier's.
std::uint64_t sizeOf(const JsonValue& object, std::string_view name) {
    const std::int64_t number = integerOf(object, name);
    return number > 0 ? static_cast<std::uint64_t>(number) : 0;
}

bool flagOf(const JsonValue& object, std::string_view name, bool otherwise = false) {
    const JsonValue* const value = object.find(name);
    return value != nullptr ? value->kind() == JsonValue::Kind::True : otherwise;
}

const std::vector<JsonValue>& listOf(const JsonValue& object, std::string_view name) {
    static const std::vector<JsonValue> kNone;
    const JsonValue* const value = object.find(name);
    return value != nullptr ? value->elements() : kNone;
}

std::vector<std::string> textsOf(const JsonValue& object, std::string_view name) {
    std::vector<std::string> texts;
    for (const JsonValue& text : listOf(object, name)) {
        texts.emplace_back(text.text());
    }
    return texts;
}

// Only what fails has a cause.
std::optional<Cause> causeOf(const JsonValue& object) {
    const JsonValue* const cause = object.find("cause");
    if (cause == nullptr) {
        return std::nullopt;
    }
    return Cause{textOf(*cause, "code"), textOf(*cause, "text"), textsOf(*cause, "try"),
                 textOf(*cause, "evidence")};
}

KeyResult keyOf(const JsonValue& object) {
    KeyResult key;
    key.source = textOf(object, "source");
    key.type = textOf(object, "type");
    key.bits = smallOf(object, "bits");
    key.curve = textOf(object, "curve");
    key.spkiSha256 = textOf(object, "spkiSha256");
    key.certificateSha256 = textOf(object, "certificateSha256");
    key.subject = textOf(object, "subject");
    key.issuer = textOf(object, "issuer");
    key.serial = textOf(object, "serial");
    key.notBefore = textOf(object, "notBefore");
    key.notAfter = textOf(object, "notAfter");
    key.nameFromDocument = flagOf(object, "nameFromDocument");
    key.used = flagOf(object, "used");
    return key;
}

std::vector<KeyResult> keysOf(const JsonValue& object) {
    std::vector<KeyResult> keys;
    for (const JsonValue& key : listOf(object, "keys")) {
        keys.push_back(keyOf(key));
    }
    return keys;
}

// One element has a member of its own, several a list.
std::vector<std::string> pathsOf(const JsonValue& object) {
    std::vector<std::string> paths = textsOf(object, "paths");
    if (const JsonValue* const path = object.find("path"); path != nullptr && paths.empty()) {
        paths.emplace_back(path->text());
    }
    return paths;
}

ReferenceResult referenceOf(const JsonValue& object) {
    ReferenceResult reference;
    reference.index = smallOf(object, "index");
    reference.uri = textOf(object, "uri");
    reference.target = textOf(object, "part") + textOf(object, "file");
    reference.external = flagOf(object, "external");
    reference.isSigned = flagOf(object, "signed", true);
    reference.digestMethod = textOf(object, "digestMethod");
    reference.status =
        enumOf(kReferenceWords, textOf(object, "status"), ReferenceStatus::NotChecked);
    reference.reason = smallOf(object, "reason");
    if (const JsonValue* const digest = object.find("digest")) {
        reference.storedDigest = textOf(*digest, "stored");
        reference.computedDigest = textOf(*digest, "computed");
    }
    reference.octets = sizeOf(object, "octets");
    reference.covers = enumOf(kCoversWords, textOf(object, "covers"), Covers::Unknown);
    reference.paths = pathsOf(object);
    for (const JsonValue& each : listOf(object, "excluded")) {
        reference.excluded.push_back({textOf(each, "path"), sizeOf(each, "start"),
                                      sizeOf(each, "length"), textOf(each, "why")});
    }
    reference.accommodations = textsOf(object, "accommodations");
    reference.cause = causeOf(object);
    return reference;
}

// The report has the codes; the sentences are those of the library that reads it.
std::vector<Refusal> refusalsOf(const JsonValue& object) {
    std::vector<Refusal> refusals;
    for (const JsonValue& code : listOf(object, "refusals")) {
        refusals.push_back(api::refusalOf(code.text()));
    }
    return refusals;
}

TrustResult trustOf(const JsonValue& object) {
    TrustResult trust;
    trust.trusted = textOf(object, "status") == "trusted";
    trust.time = textOf(object, "time");
    trust.path = textsOf(object, "path");
    trust.policies = textsOf(object, "policies");
    for (const JsonValue& each : listOf(object, "problems")) {
        trust.problems.push_back(
            {textOf(each, "code"), textOf(each, "certificate"), textOf(each, "text")});
    }
    return trust;
}

// All these members are there, or none, as without a policy.
void readAcceptance(const JsonValue& object, SignatureResult& result) {
    if (object.find("accepted") == nullptr) {
        return;
    }
    result.acceptance = flagOf(object, "accepted") ? Acceptance::Accepted : Acceptance::Refused;
    result.refusals = refusalsOf(object);
    // A word that is not known vouches for no certificate.
    result.signingCertificate =
        enumOf(kSigningCertificateWords, textOf(object, "signingCertificate"),
               SigningCertificate::Mismatch);
    if (const JsonValue* const trust = object.find("trust")) {
        result.trust = trustOf(*trust);
    }
}

// A report is the verifier's own and is JSON, unless memory ran out while it was written.
bool parseObject(std::string_view text, JsonValue& object) {
    std::size_t faultAt = 0;
    return json::parseJson(text, object, faultAt) && object.isObject();
}

} // namespace

bool readSignature(std::string json, SignatureResult& result) {
    JsonValue object;
    if (!parseObject(json, object)) {
        return false;
    }
    result.index = smallOf(object, "index");
    result.id = textOf(object, "id");
    result.path = textOf(object, "path");
    result.part = textOf(object, "part");
    result.valid = textOf(object, "status") == toString(Status::Valid);
    result.reason = textOf(object, "reason");
    result.cause = causeOf(object);
    result.value = enumOf(kValueWords, textOf(object, "value"), ValueStatus::NotChecked);
    if (const JsonValue* const signer = object.find("signer")) {
        result.signer = keyOf(*signer);
    }
    result.profile = textOf(object, "profile");
    result.signatureMethod = textOf(object, "signatureMethod");
    result.canonicalizationMethod = textOf(object, "canonicalizationMethod");
    for (const JsonValue& reference : listOf(object, "references")) {
        result.references.push_back(referenceOf(reference));
    }
    for (const JsonValue& reference : listOf(object, "manifest")) {
        result.manifest.push_back(referenceOf(reference));
    }
    result.keys = keysOf(object);
    // A word that is not known is no time-stamp that somebody could rely on.
    result.timestamp =
        enumOf(kTimestampWords, textOf(object, "timestamp"), TimestampStatus::NotChecked);
    result.warnings = textsOf(object, "warnings");
    result.accommodations = textsOf(object, "accommodations");
    result.standards = textsOf(object, "standards");
    readAcceptance(object, result);
    result.json = std::move(json);
    return true;
}

bool readDescription(std::string json, SignatureInfo& info) {
    JsonValue object;
    if (!parseObject(json, object)) {
        return false;
    }
    info.index = smallOf(object, "index");
    info.id = textOf(object, "id");
    info.path = textOf(object, "path");
    info.profile = textOf(object, "profile");
    info.signatureMethod = textOf(object, "signatureMethod");
    info.canonicalizationMethod = textOf(object, "canonicalizationMethod");
    for (const JsonValue& each : listOf(object, "references")) {
        info.references.push_back({textOf(each, "uri"), flagOf(each, "external"),
                                   textsOf(each, "transforms"), textOf(each, "digestMethod"),
                                   textOf(each, "digestValue")});
    }
    info.keys = keysOf(object);
    info.timestamp = flagOf(object, "timestamp");
    info.json = std::move(json);
    return true;
}

} // namespace vantrel::api
