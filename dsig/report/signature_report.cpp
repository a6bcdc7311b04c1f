// SPDX-License-Identifier: MIT
#include "dsig/report/signature_report.h"

#include "dsig/document/fingerprint.h"
#include "foundation/asn1/asn1_time.h"
#include "foundation/json/json_writer.h"
#include "foundation/x509/keys/key_der.h"

#include <algorithm>
#include <limits>

namespace vantrel::dsig {

using json::JsonWriter;

void ReferenceResult::describe(const StringBuffer& itsUri, const StringBuffer& itsDigestMethod) {
    uri = itsUri;
    digestMethod = itsDigestMethod;
    // XML Signature, 4.4.3.1: an empty URI is the document, "#..." an element of it.
    external = !uri.isEmpty() && !uri.beginsWith("#");
}

std::string KeyReport::spkiSha256() const {
    if (certificateTexts != nullptr && certificate.isLoaded()) {
        certificateTexts->make(certificate);
        return certificateTexts->spkiSha256();
    }
    return key ? sha256Text(x509::subjectPublicKeyInfo(key->key())) : std::string();
}

std::string DocumentNames::name(xml::ElementId element) {
    std::string name;
    m_paths.appendName(element, name);
    return name;
}

std::string DocumentNames::path(xml::ElementId element) {
    std::string path;
    m_paths.append(element, path);
    return path;
}

// References are asked for in ascending order, the current one many times.
ReferenceResult& SignatureReport::reference(int refIndex) {
    const auto place = std::lower_bound(
        references.begin(), references.end(), refIndex,
        [](const ReferenceResult& report, int index) { return report.index < index; });
    if (place != references.end() && place->index == refIndex) {
        return *place;
    }
    const auto added = references.emplace(place);
    added->index = refIndex;
    return *added;
}

void writeCodes(std::string_view name, const CodeSet& codes, JsonWriter& out) {
    out.key(name);
    out.beginArray();
    for (const std::string_view code : codes.codes()) {
        out.text(code);
    }
    out.endArray();
}

namespace {

// Fixed words of the report. What could not be computed is an error, not a mismatch: nothing can be
// said about the content then.
std::string_view statusOf(const ReferenceResult& reference) {
    if (!reference.checked) {
        return "not-checked";
    }
    switch (reference.reason) {
    case RefReason::Match: return "match";
    case RefReason::Mismatch:
    case RefReason::UnsupportedDigest: return "mismatch";
    case RefReason::ExternalMissing: return "missing";
    default: return "error";
    }
}

// Start and length count bytes of the loaded text as UTF-8.
void writeExclusion(JsonWriter& out, const Exclusion& exclusion, DocumentNames& names) {
    out.beginObject();
    out.textMember("path", exclusion.element != xml::kNoElement ? names.path(exclusion.element)
                                                                : std::string());
    out.integerMember("start", static_cast<std::int64_t>(exclusion.range.start));
    out.integerMember("length", static_cast<std::int64_t>(exclusion.range.length));
    out.textMember("why", exclusion.why);
    out.endObject();
}

// Elements can be named only while the document is there to name them.
void writeCoverage(JsonWriter& out, const ReferenceResult& reference, DocumentNames* names) {
    out.textMember("covers", reference.covers);
    const ElementList& elements = reference.coveredElements;
    if (names != nullptr && reference.covers == "element" && !elements.empty()) {
        out.textMember("element", names->name(elements.front()));
        out.textMember("path", names->path(elements.front()));
    } else if (names != nullptr && reference.covers == "elements") {
        out.key("paths");
        out.beginArray();
        for (const xml::ElementId element : elements.all()) {
            out.text(names->path(element));
        }
        out.endArray();
    }
    out.key("excluded");
    out.beginArray();
    if (names != nullptr) {
        for (const Exclusion& exclusion : reference.excluded) {
            writeExclusion(out, exclusion, *names);
        }
    }
    out.endArray();
}

// Empty for what needs no reason: the member is then not there.
void writeCause(JsonWriter& out, const Cause& cause) {
    if (cause.empty()) {
        return;
    }
    out.key("cause");
    out.beginObject();
    out.textMember("code", cause.code);
    out.textMember("text", cause.text);
    out.key("try");
    out.beginArray();
    for (const std::string& one : cause.tries) {
        out.text(one);
    }
    out.endArray();
    if (!cause.evidence.empty()) {
        out.textMember("evidence", cause.evidence);
    }
    out.endObject();
}

void writeExpression(JsonWriter& out, const TransformReport::Expression& expression) {
    out.textMember("xpath", expression.xpath);
    if (!expression.filter.empty()) {
        out.textMember("filter", expression.filter);
    }
}

// The first expression stands in the transform itself; where there are several, "filters" has all.
void writeTransform(JsonWriter& out, const TransformReport& transform) {
    out.beginObject();
    out.textMember("algorithm", transform.algorithm);
    if (!transform.prefixList.empty()) {
        out.textMember("prefixList", transform.prefixList);
    }
    if (!transform.expressions.empty()) {
        writeExpression(out, transform.expressions.front());
    }
    if (transform.expressions.size() > 1) {
        out.key("filters");
        out.beginArray();
        for (const TransformReport::Expression& expression : transform.expressions) {
            out.beginObject();
            writeExpression(out, expression);
            out.endObject();
        }
        out.endArray();
    }
    out.endObject();
}

// What was digested, how it was made, and both digests.
void writeDigest(JsonWriter& out, const ReferenceResult& reference) {
    out.key("digest");
    out.beginObject();
    out.textMember("stored", reference.text->digest.view());
    out.textMember("computed", reference.computedDigest.view());
    out.endObject();
    out.integerMember("octets", static_cast<std::int64_t>(reference.octetCount));
    out.key("transforms");
    out.beginArray();
    for (const TransformReport& transform : reference.text->transforms) {
        writeTransform(out, transform);
    }
    out.endArray();
}

void writeReference(JsonWriter& out, const ReferenceResult& reference, DocumentNames* names) {
    out.beginObject();
    out.integerMember("index", static_cast<std::int64_t>(reference.index));
    out.textMember("uri", reference.uri.view());
    out.booleanMember("external", reference.external);
    out.booleanMember("signed", reference.isSigned);
    out.textMember("digestMethod", reference.digestMethod.view());
    if (!reference.found->name.empty()) {
        out.textMember(reference.found->isPart ? "part" : "file", reference.found->name);
    }
    out.textMember("status", statusOf(reference));
    out.integerMember("reason", static_cast<std::int64_t>(publicCode(reference.reason)));
    writeCause(out, *reference.cause);
    writeDigest(out, reference);
    writeCoverage(out, reference, names);
    writeCodes("accommodations", reference.accommodations, out);
    out.endObject();
}

void writeReferences(std::string_view name, const std::vector<ReferenceResult>& references,
                     DocumentNames* names, JsonWriter& out) {
    out.key(name);
    out.beginArray();
    for (const ReferenceResult& reference : references) {
        // The text is cut off at the limit; going on would cost time in proportion to the
        // references and write nothing.
        if (!out.ok()) {
            break;
        }
        writeReference(out, reference, names);
    }
    out.endArray();
}

// Texts of a certificate, made when a report is read.
void writeCertificate(JsonWriter& out, const VantrelX509& certificate, CertificateTexts& texts) {
    texts.make(certificate);
    out.textMember("subject", texts.subject());
    out.textMember("issuer", texts.issuer());
    out.textMember("serial", texts.serial());
    std::int64_t notBefore = 0;
    std::int64_t notAfter = 0;
    std::string first;
    std::string last;
    // Two empty texts when either date cannot be read.
    if (certificate.validity(notBefore, notAfter)) {
        asn1::appendIsoTime(notBefore, first);
        asn1::appendIsoTime(notAfter, last);
    }
    out.textMember("notBefore", first);
    out.textMember("notAfter", last);
    out.textMember("certificateSha256", texts.sha256());
}

void writeKey(JsonWriter& out, const KeyReport& key) {
    out.beginObject();
    out.textMember("source", key.source);
    out.textMember("type", key.type);
    out.integerMember("bits", static_cast<std::int64_t>(key.bits));
    // Members that do not apply are left out; those that are always there may be empty.
    if (!key.curve.empty()) {
        out.textMember("curve", key.curve);
    }
    if (key.certificateTexts != nullptr && key.certificate.isLoaded()) {
        writeCertificate(out, key.certificate, *key.certificateTexts);
    }
    // None for a secret, of which nothing is told.
    if (const std::string fingerprint = key.spkiSha256(); !fingerprint.empty()) {
        out.textMember("spkiSha256", fingerprint);
    }
    if (key.nameFromDocument) {
        out.booleanMember("nameFromDocument", true);
    }
    if (key.used) {
        out.booleanMember("used", true);
    }
    out.endObject();
}

// The member is there only where a public key has verified the value.
void writeSigner(JsonWriter& out, const SignerReport& signer) {
    if (signer.spkiSha256.empty()) {
        return;
    }
    out.key("signer");
    out.beginObject();
    out.textMember("source", signer.source);
    out.textMember("spkiSha256", signer.spkiSha256);
    if (signer.certificateTexts != nullptr && signer.certificate.isLoaded()) {
        writeCertificate(out, signer.certificate, *signer.certificateTexts);
    }
    out.endObject();
}

} // namespace

void writeKeys(const std::vector<KeyReport>& keys, JsonWriter& out) {
    out.key("keys");
    out.beginArray();
    for (const KeyReport& key : keys) {
        writeKey(out, key);
    }
    out.endArray();
}

bool writeReport(const SignatureReport& report, DocumentNames* names, std::uint64_t most,
                 StringBuffer& json, const MoreMembers& more) {
    JsonWriter out(json, most);
    out.beginObject();
    out.integerMember("index", std::int64_t{report.firstIndex} + report.index);
    out.textMember("id", report.id.view());
    if (!report.part.empty()) {
        out.textMember("part", report.part);
    }
    const bool isThere = names != nullptr && report.signatureElement != xml::kNoElement;
    out.textMember("path", isThere ? names->path(report.signatureElement) : std::string());
    out.textMember("status", report.tooLarge ? "error" : report.valid ? "valid" : "invalid");
    out.textMember("reason", report.reason);
    writeCause(out, report.cause);
    out.textMember("value", valueText(report.value));
    writeSigner(out, report.signer);
    out.textMember("profile", report.profile);
    out.textMember("signatureMethod", report.signatureMethod.view());
    out.textMember("canonicalizationMethod", report.canonicalizationMethod.view());
    out.integerMember("referenceCount", report.referenceCount);
    writeReferences("references", report.references, names, out);
    if (!report.manifest.empty()) {
        writeReferences("manifest", report.manifest, names, out);
    }
    writeKeys(report.keys, out);
    out.textMember("timestamp", report.timestamp);
    if (!report.timestampTime.empty()) {
        out.textMember("timestampTime", report.timestampTime);
        out.textMember("timestampAuthority", report.timestampAuthority);
        out.booleanMember("timestampTrusted", report.timestampTrusted);
    }
    writeCodes("warnings", report.warnings, out);
    writeCodes("accommodations", report.accommodations, out);
    writeCodes("standards", report.standards, out);
    if (report.parts && !report.parts->missing.empty()) {
        out.key("partsNotCovered");
        out.beginArray();
        for (const std::string& name : report.parts->missing) {
            out.text(name);
        }
        out.endArray();
    }
    if (more) {
        more(out);
    }
    out.endObject();
    return !out.passedLimit();
}

void writeTooLargeReport(const SignatureReport& report, StringBuffer& json) {
    // Only what cannot be long is taken over: the index, and the fixed reason.
    SignatureReport brief;
    brief.index = report.index;
    brief.firstIndex = report.firstIndex;
    brief.part = report.part;
    brief.tooLarge = true;
    brief.reason = kReportTooLarge;
    json.clear();
    static_cast<void>(writeReport(brief, nullptr, std::numeric_limits<std::uint64_t>::max(), json));
}

} // namespace vantrel::dsig
