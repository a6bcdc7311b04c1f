// SPDX-License-Identifier: MIT
// The selected signature as it stands, without verifying it.

#include "dsig/document/child_elements.h"
#include "dsig/document/document.h"
#include "dsig/document/signed_info.h"
#include "dsig/document/standards.h"
#include "dsig/keys/candidate_keys.h"
#include "dsig/keys/key_report.h"
#include "dsig/keys/standard_keys.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/object_state.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/report/warnings.h"
#include "dsig/transform/signature_profile.h"
#include "dsig/verify/report_steps.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/json/json_writer.h"
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/ClsXml.h"

#include <algorithm>
#include <iterator>

namespace vantrel {

namespace {

using json::JsonWriter;

// The identifiers as they stand, known or not; an empty text for a transform without one.
void writeTransforms(const ClsXml& reference, JsonWriter& out) {
    out.key("transforms");
    out.beginArray();
    if (const Ref<ClsXml> transforms =
            Ref<ClsXml>::adopt(reference.getChildWithTagUtf8("*:Transforms"))) {
        for (const xml::ElementId child : dsig::childElements(*transforms)) {
            StringBuffer algorithm;
            dsig::handleOn(*transforms, child)->getAttrValue("Algorithm", algorithm);
            out.text(algorithm.view());
        }
    }
    out.endArray();
}

void writeReference(const ClsXml& element, std::size_t index, JsonWriter& out) {
    // Nothing is judged here: what is missing is shown as empty, and gets no line.
    LogNull log;
    DSigReference reference;
    reference.parseReference(element, log);
    out.beginObject();
    out.integerMember("index", static_cast<std::int64_t>(index));
    out.textMember("uri", reference.m_uri.view());
    out.booleanMember("uriOmitted", reference.m_uriOmitted != 0);
    out.booleanMember("external", !reference.m_uri.isEmpty() && !reference.m_uri.beginsWith("#"));
    writeTransforms(element, out);
    out.textMember("digestMethod", reference.m_digestMethod.view());
    out.textMember("digestValue", reference.m_digestValue.view());
    out.endObject();
}

// The kinds of key information, by element name and, for X509Data and KeyValue, what they hold.
void writeKeyInfo(const ClsXml& signature, JsonWriter& out) {
    out.key("keyInfo");
    out.beginArray();
    if (const Ref<ClsXml> keyInfo =
            Ref<ClsXml>::adopt(signature.getChildWithTagUtf8("*:KeyInfo"))) {
        for (const xml::ElementId child : dsig::childElements(*keyInfo)) {
            const Ref<ClsXml> entry = dsig::handleOn(*keyInfo, child);
            out.beginObject();
            out.textMember("element", entry->localName());
            out.key("holds");
            out.beginArray();
            for (const xml::ElementId part : dsig::childElements(*entry)) {
                out.text(dsig::handleOn(*entry, part)->localName());
            }
            out.endArray();
            out.endObject();
        }
    }
    out.endArray();
}

// What can be said against the keys that KeyInfo gives and against the algorithms before anything
// is verified.
void warnOfDescribed(dsig::Document& document, const dsig::Selection& selection,
                     dsig::SignatureReport& report) {
    for (const dsig::KeyReport& key : report.keys) {
        dsig::warnOfKey(key, report);
    }
    dsig::warnOfHash(report.signatureMethod, report);
    LogNull quiet;
    for (int i = dsig::numReferences(*selection.signature); i-- > 0;) {
        if (const Ref<ClsXml> element = dsig::referenceElement(&document, selection, i, quiet)) {
            DSigReference reference;
            reference.parseReference(*element, quiet);
            dsig::warnOfHash(reference.m_digestMethod, report);
        }
    }
    dsig::warnOfStructure(document, report);
}

// Only the keys of KeyInfo, in whatever form: keys that the caller handed over say nothing about
// the signature.
std::vector<dsig::CandidateKey> keysOfKeyInfo(const dsig::KeyQuery& query,
                                              dsig::SignatureReport& report, LogBase& log) {
    std::vector<dsig::CandidateKey> keys = dsig::candidateKeys(query, report.accommodations, log);
    if (dsig::standardsApply(log)) {
        std::ranges::move(dsig::standardKeys(query, keys, log), std::back_inserter(keys));
    }
    return keys;
}

} // namespace

// Looking changes nothing: the report of the last verification stays.
bool ClsXmlDSig::DescribeSignature(XString& outJson) {
    return MethodFrame::runLater(*this, "DescribeSignature", [&](MethodFrame& frame) {
        outJson.clear();
        const ClsXml* const signature = selectedSignature();
        if (signature == nullptr) {
            m_log.LogError("No signature is selected.");
            return false;
        }
        dsig::SignatureReport report;
        dsig::startReport(document(), selection(), rules(), report);
        dsig::describeMethods(selection(), report);
        dsig::DocumentNames names(structure().paths);
        JsonWriter out(outJson.getUtf8Sb_rw(), m_state->limits.reportOctets);
        out.beginObject();
        out.integerMember("index", std::int64_t{m_state->firstIndex} + m_selector);
        out.textMember("id", report.id.view());
        if (!m_state->part.empty()) {
            out.textMember("part", m_state->part);
        }
        out.textMember("path", names.path(signature->elementId()));
        out.textMember("profile", dsig::profileName(selection(), report.profile));
        out.textMember("signatureMethod", report.signatureMethod.view());
        out.textMember("canonicalizationMethod", report.canonicalizationMethod.view());
        out.key("references");
        out.beginArray();
        const std::vector<xml::ElementId>& references = structure().referencesOf(*signature);
        for (std::size_t i = 0; i < references.size(); ++i) {
            writeReference(*dsig::handleOn(*signature, references[i]), i, out);
        }
        out.endArray();
        writeKeyInfo(*signature, out);
        LogNull quiet(m_log);
        report.keys = dsig::describeKeys(keysOfKeyInfo(keyQuery(true), report, quiet));
        warnOfDescribed(*document(), selection(), report);
        dsig::writeKeys(report.keys, out);
        dsig::writeCodes("warnings", report.warnings, out);
        out.booleanMember("timestamp", report.timestamp != "absent");
        out.endObject();
        if (out.passedLimit()) {
            outJson.clear();
            m_log.LogError(dsig::kReportTooLarge);
        }
        return frame.result(!out.passedLimit());
    });
}

} // namespace vantrel
