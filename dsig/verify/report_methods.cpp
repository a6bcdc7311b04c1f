// What an operation found out, for whoever asks afterwards.

#include "dsig/document/document.h"
#include "dsig/keys/candidate_keys.h"
#include "dsig/keys/key_report.h"
#include "dsig/keys/key_sources.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/reference/internal_reference.h"
#include "dsig/reference/reference_target.h"
#include "dsig/verify/signature_method.h"
#include "dsig/verify/signature_structure.h"
#include "foundation/base/CritSecExitor.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/xml/canon/fragment_id.h"
#include "foundation/xml/tree/ClsXml.h"

#include <algorithm>
#include <new>
#include <vector>

namespace vantrel {

namespace {

using dsig::SignatureReport;

void warnOfHash(const StringBuffer& algorithm, SignatureReport& report) {
    struct WeakHash {
        const char* name;
        std::string_view warning;
    };
    constexpr WeakHash kWeakHashes[] = {
        {"sha1", "sha1"}, {"md5", "md5"}, {"md2", "md2"}, {"ripemd128", "ripemd128"}};
    for (const WeakHash& weak : kWeakHashes) {
        if (algorithm.containsSubstringNoCase(weak.name)) {
            report.warnings.add(weak.warning);
        }
    }
}

void warnOfKey(const dsig::KeyReport& key, SignatureReport& report) {
    if (key.fromDocument) {
        report.warnings.add("key-from-document");
    }
    if (key.nameFromDocument) {
        report.warnings.add("name-from-document");
    }
    if (key.weak) {
        report.warnings.add("weak-key");
    }
    if (key.outsideValidity) {
        report.warnings.add("certificate-outside-validity");
    }
}

void warnOfReferences(SignatureReport& report) {
    for (const dsig::ReferenceReport& reference : report.references) {
        warnOfHash(reference.digestMethod, report);
        if (reference.accommodations.contains(dsig::accommodation::kDigestTolerated)) {
            report.warnings.add("digest-tolerated");
        }
        if (reference.dataMissing) {
            report.warnings.add("external-missing");
        }
        if (!reference.isSigned) {
            report.warnings.add("references-not-signed");
        }
    }
}

xml::TextRange sourceRangeOf(const xml::XmlDocument& document, xml::ElementId element) {
    xml::TextRange range;
    return document.sourceRange(element, range) ? range : xml::TextRange{};
}

// Something is left out besides the signature itself, and what it holds where it is left out whole.
bool excludesContent(const dsig::ReferenceReport& reference, xml::TextRange signature) {
    const bool withoutSignature = std::any_of(
        reference.excluded.begin(), reference.excluded.end(),
        [&](const dsig::Exclusion& one) { return dsig::isInside(signature, one.range); });
    return std::any_of(reference.excluded.begin(), reference.excluded.end(),
                       [&](const dsig::Exclusion& one) {
                           return !withoutSignature || !dsig::isInside(one.range, signature);
                       });
}

// The stretches of the loaded text that the reference's digest vouches for.
void appendDigested(const xml::XmlDocument& document, const dsig::ReferenceReport& reference,
                    std::vector<xml::TextRange>& digested) {
    std::vector<xml::TextRange> absent;
    for (const dsig::Exclusion& exclusion : reference.excluded) {
        absent.push_back(exclusion.range);
    }
    if (reference.covers == "document") {
        dsig::appendWithout(sourceRangeOf(document, 0), std::move(absent), digested);
        return;
    }
    for (const xml::ElementId element : reference.coveredElements) {
        dsig::appendWithout(sourceRangeOf(document, element), absent, digested);
    }
}

} // namespace

void ClsXmlDSig::beginReport() {
    m_report = {};
    m_report.present = true;
    // Stands in the log until the next operation forgets it, and the report with it.
    m_log.setLastJsonData(StringBuffer("{}"));
    m_report.profile = profileName();
    m_report.index = m_selector;
    const ClsXml* const signature = selectedSignature();
    if (signature == nullptr) {
        return;
    }
    warnOfDocument();
    LogNull log;
    selectedSignatureId(m_report.id, log);
    structure().account.begin(m_selector);
    m_report.signatureElement = signature->elementId();
    getSignatureMethod(m_report.signatureMethod, log);
    StringBuffer prefixList;
    getCanonicalizationMethod(m_report.canonicalizationMethod, prefixList, log);
    if (structure().timeStamps.within(*structure().structure, m_report.signatureElement)) {
        m_report.timestamp = "not-checked";
    }
}

// What makes other readers of the same document see another one.
void ClsXmlDSig::warnOfDocument() {
    if (m_encodingMismatch) {
        m_report.warnings.add("encoding-mismatch");
    }
    if (m_xmlRoot->document()->hasUnreadDeclarations()) {
        m_report.warnings.add("external-dtd-not-read");
    }
}

void ClsXmlDSig::finishReport() {
    if (!m_report.valid && m_report.reason.empty()) {
        m_report.reason = m_log.lastErrorLine();
    }
    warnOfHash(m_report.signatureMethod, m_report);
    warnOfCoverage();
    warnOfReferences(m_report);
    warnOfStructure();
    for (const dsig::KeyReport& key : m_report.keys) {
        if (key.used) {
            warnOfKey(key, m_report);
        }
    }
}

// What the digests leave open of the document, the signature itself apart.
void ClsXmlDSig::warnOfCoverage() {
    if (m_report.references.empty() || m_report.signatureElement == xml::kNoElement) {
        return;
    }
    const xml::XmlDocument& document = *structure().structure;
    const xml::TextRange signature = sourceRangeOf(document, m_report.signatureElement);
    std::vector<xml::TextRange> digested = {signature};
    for (const dsig::ReferenceReport& reference : m_report.references) {
        if (!reference.isSigned) {
            continue;
        }
        if (!reference.coverageKnown) {
            m_report.warnings.add("coverage-unknown");
            continue;
        }
        if (excludesContent(reference, signature)) {
            m_report.warnings.add("content-excluded");
        }
        appendDigested(document, reference, digested);
    }
    if (!dsig::coversAll(sourceRangeOf(document, 0), std::move(digested))) {
        m_report.warnings.add("document-not-covered");
    }
}

// What the signature holds that nobody looks into.
void ClsXmlDSig::warnOfStructure() {
    const ClsXml* const signature = selectedSignature();
    if (signature == nullptr) {
        return;
    }
    const xml::XmlDocument& document = *signature->document();
    if (!dsig::hasSchemaStructure(document, signature->elementId())) {
        m_report.warnings.add("signature-structure");
    }
    // A manifest in the signature, or one that a reference names.
    const xml::ElementId end = document.element(signature->elementId()).next;
    const std::vector<xml::ElementId>& manifests = structure().manifests();
    const auto inside =
        std::lower_bound(manifests.begin(), manifests.end(), signature->elementId());
    bool manifest = inside != manifests.end() && *inside < end;
    for (std::size_t i = 0; i < m_report.references.size() && !manifests.empty(); ++i) {
        for (const xml::ElementId element : m_report.references[i].coveredElements) {
            manifest = manifest || std::binary_search(manifests.begin(), manifests.end(), element);
        }
    }
    if (manifest) {
        m_report.warnings.add("manifest-not-checked");
    }
}

// The keys that KeyInfo gives, and what can be said against them and against the algorithms before
// anything is verified.
void ClsXmlDSig::describeKeys() {
    LogNull quiet(m_log);
    m_report.keys =
        dsig::describeKeys(dsig::candidateKeys(keyQuery(true), m_report.accommodations, quiet));
    for (const dsig::KeyReport& key : m_report.keys) {
        warnOfKey(key, m_report);
    }
    warnOfHash(m_report.signatureMethod, m_report);
    for (int i = get_NumReferences(); i-- > 0;) {
        if (const Ref<ClsXml> element = Ref<ClsXml>::adopt(getReference(i, quiet))) {
            DSigReference reference;
            reference.parseReference(*element, quiet);
            warnOfHash(reference.m_digestMethod, m_report);
        }
    }
}

// What the references name, where their digests were not asked for.
void ClsXmlDSig::reportUncheckedReferences() {
    LogNull log;
    const int count = get_NumReferences();
    for (int index = 0; index < count; ++index) {
        const Ref<ClsXml> element = Ref<ClsXml>::adopt(getReference(index, log));
        if (!element) {
            continue;
        }
        DSigReference ref;
        ref.parseReference(*element, log);
        dsig::ReferenceReport& report = m_report.reference(index);
        report.describe(ref.m_uri, ref.m_digestMethod);
        const dsig::ReferenceTarget target = dsig::targetOf(ref.m_uri);
        if (target.kind == dsig::ReferenceTarget::Kind::External) {
            report.covers = "external";
        } else {
            dsig::describeTarget(structure(), target.text, report);
        }
    }
}

void ClsXmlDSig::writeLastReport(StringBuffer& json) {
    const bool isThere = selectedSignature() != nullptr;
    std::optional<dsig::DocumentNames> names;
    if (isThere) {
        names.emplace(structure().paths);
    }
    if (!dsig::writeReport(m_report, isThere ? &*names : nullptr, m_limits.reportOctets, json)) {
        dsig::writeTooLargeReport(m_report, json);
    }
}

void ClsXmlDSig::reportHmacKey(bool used) {
    dsig::KeyReport key;
    key.source = dsig::keysource::kExplicit.name;
    key.type = "HMAC";
    key.bits = static_cast<int>(m_hmacKey.getSize()) * 8;
    key.used = used;
    m_report.keys = {key};
}

void ClsXmlDSig::get_LastJsonData(XString& json) {
    const CritSecExitor lock(m_critSec);
    try {
        // Written when somebody asks, since many a verification's result is never read.
        if (m_report.present && !m_log.lastJsonData().isEmpty()) {
            StringBuffer text;
            writeLastReport(text);
            m_log.setLastJsonData(text);
        }
        ClsBase::get_LastJsonData(json);
    } catch (const std::bad_alloc&) {
        json.clear();
    }
}

} // namespace vantrel
