#include "dsig/object/verification_report.h"

#include "foundation/json/json_writer.h"

#include <algorithm>

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

void writeCodes(JsonWriter& out, std::string_view name, const CodeSet& codes) {
    out.key(name);
    out.beginArray();
    for (const std::string_view code : codes.codes()) {
        out.value(code);
    }
    out.endArray();
}

void writeReference(JsonWriter& out, const ReferenceReport& reference) {
    out.beginObject();
    out.member("index", static_cast<std::int64_t>(reference.index));
    out.member("uri", reference.uri.view());
    out.member("external", reference.external);
    out.member("digestMethod", reference.digestMethod.view());
    out.member("status", statusOf(reference));
    out.member("reason", static_cast<std::int64_t>(reference.reason));
    if (!reference.covers.empty()) {
        out.member("covers", reference.covers);
    }
    if (!reference.element.empty()) {
        out.member("element", std::string_view(reference.element));
        out.member("path", std::string_view(reference.path));
    }
    writeCodes(out, "accommodations", reference.accommodations);
    out.endObject();
}

void writeKey(JsonWriter& out, const KeyReport& key) {
    out.beginObject();
    out.member("source", key.source);
    out.member("type", std::string_view(key.type));
    out.member("bits", static_cast<std::int64_t>(key.bits));
    if (!key.curve.empty()) {
        out.member("curve", std::string_view(key.curve));
    }
    if (key.hasCertificate) {
        out.member("subject", std::string_view(key.subject));
        out.member("issuer", std::string_view(key.issuer));
        out.member("serial", std::string_view(key.serial));
        out.member("notBefore", std::string_view(key.notBefore));
        out.member("notAfter", std::string_view(key.notAfter));
    }
    if (key.used) {
        out.member("used", true);
    }
    out.endObject();
}

} // namespace

void writeReport(const SignatureReport& report, StringBuffer& json) {
    JsonWriter out(json);
    out.beginObject();
    out.member("index", static_cast<std::int64_t>(report.index));
    out.member("id", report.id.view());
    out.member("path", std::string_view(report.path));
    out.member("status", std::string_view(report.valid ? "valid" : "invalid"));
    out.member("reason", std::string_view(report.reason));
    out.member("profile", report.profile);
    out.member("signatureMethod", report.signatureMethod.view());
    out.member("canonicalizationMethod", report.canonicalizationMethod.view());
    out.key("references");
    out.beginArray();
    for (const ReferenceReport& reference : report.references) {
        writeReference(out, reference);
    }
    out.endArray();
    out.key("keys");
    out.beginArray();
    for (const KeyReport& key : report.keys) {
        writeKey(out, key);
    }
    out.endArray();
    out.member("timestamp", report.timestamp);
    if (!report.timestampTime.empty()) {
        out.member("timestampTime", std::string_view(report.timestampTime));
        out.member("timestampAuthority", std::string_view(report.timestampAuthority));
        out.member("timestampTrusted", report.timestampTrusted);
    }
    writeCodes(out, "warnings", report.warnings);
    writeCodes(out, "accommodations", report.accommodations);
    out.endObject();
}

} // namespace vantrel::dsig
