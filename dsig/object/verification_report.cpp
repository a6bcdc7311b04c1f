#include "dsig/object/verification_report.h"

#include "foundation/asn1/asn1_time.h"
#include "foundation/json/json_writer.h"

#include <algorithm>
#include <limits>

namespace vantrel::dsig {

using json::JsonWriter;

void CodeSet::add(std::string_view code) {
    if (!contains(code)) {
        m_codes.push_back(code);
    }
}

bool CodeSet::contains(std::string_view code) const noexcept {
    return std::find(m_codes.begin(), m_codes.end(), code) != m_codes.end();
}

void ReferenceReport::describe(const StringBuffer& itsUri, const StringBuffer& itsDigestMethod) {
    uri = itsUri;
    digestMethod = itsDigestMethod;
    external = !uri.isEmpty() && !uri.beginsWith("#");
}

// References are asked for in ascending order, the current one many times.
ReferenceReport& SignatureReport::reference(int refIndex) {
    const auto place = std::lower_bound(
        references.begin(), references.end(), refIndex,
        [](const ReferenceReport& report, int index) { return report.index < index; });
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

// RefFailReason codes.
constexpr int kReasonMismatch = 1;
constexpr int kReasonNoData = 2;

std::string_view statusOf(const ReferenceReport& reference) {
    if (!reference.checked) {
        return "not-checked";
    }
    if (reference.matched) {
        return "match";
    }
    if (reference.reason == kReasonMismatch) {
        return "mismatch";
    }
    return reference.reason == kReasonNoData ? "missing" : "error";
}

void writeReference(JsonWriter& out, const ReferenceReport& reference) {
    out.beginObject();
    out.integerMember("index", static_cast<std::int64_t>(reference.index));
    out.textMember("uri", reference.uri.view());
    out.booleanMember("external", reference.external);
    out.textMember("digestMethod", reference.digestMethod.view());
    out.textMember("status", statusOf(reference));
    out.integerMember("reason", static_cast<std::int64_t>(reference.reason));
    out.textMember("covers", reference.covers);
    if (!reference.element.empty()) {
        out.textMember("element", reference.element);
        out.textMember("path", reference.path);
    }
    writeCodes("accommodations", reference.accommodations, out);
    out.endObject();
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
    if (certificate.validity(notBefore, notAfter)) {
        asn1::appendIsoTime(notBefore, first);
        asn1::appendIsoTime(notAfter, last);
    }
    out.textMember("notBefore", first);
    out.textMember("notAfter", last);
}

void writeKey(JsonWriter& out, const KeyReport& key) {
    out.beginObject();
    out.textMember("source", key.source);
    out.textMember("type", key.type);
    out.integerMember("bits", static_cast<std::int64_t>(key.bits));
    if (!key.curve.empty()) {
        out.textMember("curve", key.curve);
    }
    if (key.certificateTexts != nullptr && key.certificate.isLoaded()) {
        writeCertificate(out, key.certificate, *key.certificateTexts);
    }
    if (key.nameFromDocument) {
        out.booleanMember("nameFromDocument", true);
    }
    if (key.used) {
        out.booleanMember("used", true);
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

bool writeReport(const SignatureReport& report, std::uint64_t most, StringBuffer& json) {
    JsonWriter out(json, most);
    out.beginObject();
    out.integerMember("index", static_cast<std::int64_t>(report.index));
    out.textMember("id", report.id.view());
    out.textMember("path", report.path);
    out.textMember("status", report.tooLarge ? "error" : report.valid ? "valid" : "invalid");
    out.textMember("reason", report.reason);
    out.textMember("profile", report.profile);
    out.textMember("signatureMethod", report.signatureMethod.view());
    out.textMember("canonicalizationMethod", report.canonicalizationMethod.view());
    out.key("references");
    out.beginArray();
    for (const ReferenceReport& reference : report.references) {
        writeReference(out, reference);
    }
    out.endArray();
    writeKeys(report.keys, out);
    out.textMember("timestamp", report.timestamp);
    if (!report.timestampTime.empty()) {
        out.textMember("timestampTime", report.timestampTime);
        out.textMember("timestampAuthority", report.timestampAuthority);
        out.booleanMember("timestampTrusted", report.timestampTrusted);
    }
    writeCodes("warnings", report.warnings, out);
    writeCodes("accommodations", report.accommodations, out);
    out.endObject();
    return !out.passedLimit();
}

void writeTooLargeReport(const SignatureReport& report, StringBuffer& json) {
    SignatureReport brief;
    brief.index = report.index;
    brief.tooLarge = true;
    brief.reason = kReportTooLarge;
    json.clear();
    static_cast<void>(writeReport(brief, std::numeric_limits<std::uint64_t>::max(), json));
}

} // namespace vantrel::dsig
