// What an operation found out, for whoever asks afterwards.

#include "dsig/keys/key_sources.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/loaded_structure.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/verify/signature_method.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/log/CritSecExitor.h"
#include "foundation/xml/canon/fragment_id.h"
#include "foundation/xml/tree/ClsXml.h"

#include <new>

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
    if (key.weak) {
        report.warnings.add("weak-key");
    }
    if (key.outsideValidity) {
        report.warnings.add("certificate-outside-validity");
    }
}

void warnOfReferences(SignatureReport& report, bool documentCovered) {
    if (!documentCovered) {
        report.warnings.add("document-not-covered");
    }
    for (const dsig::ReferenceReport& reference : report.references) {
        warnOfHash(reference.digestMethod, report);
        if (reference.accommodations.contains(dsig::accommodation::kDigestTolerated)) {
            report.warnings.add("digest-tolerated");
        }
        if (reference.dataMissing) {
            report.warnings.add("external-missing");
        }
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
    LogNull log;
    selectedSignatureId(m_report.id, log);
    m_report.signatureElement = signature->elementId();
    getSignatureMethod(m_report.signatureMethod, log);
    StringBuffer prefixList;
    getCanonicalizationMethod(m_report.canonicalizationMethod, prefixList, log);
    if (const Ref<ClsXml> stamp =
            Ref<ClsXml>::adopt(signature->searchForTag(nullptr, "*:EncapsulatedTimeStamp"))) {
        m_report.timestamp = "not-checked";
    }
}

void ClsXmlDSig::finishReport() {
    if (!m_report.valid && m_report.reason.empty()) {
        m_report.reason = m_log.lastErrorLine();
    }
    warnOfHash(m_report.signatureMethod, m_report);
    bool documentCovered = m_report.references.empty();
    for (const dsig::ReferenceReport& reference : m_report.references) {
        // The root element is the document but for what may stand around it.
        documentCovered =
            documentCovered || reference.covers == "document" || reference.coveredElement == 0;
    }
    warnOfReferences(m_report, documentCovered);
    for (const dsig::KeyReport& key : m_report.keys) {
        if (key.used) {
            warnOfKey(key, m_report);
        }
    }
}

// The keys that KeyInfo gives, and what can be said against them and against the algorithms before
// anything is verified.
void ClsXmlDSig::describeKeys() {
    LogNull quiet(m_log);
    ExtPtrArrayRc keys;
    static_cast<void>(getPublicKey(true, keys, quiet));
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

// What the reference's digest covers, in the document as it was loaded.
void ClsXmlDSig::describeCoverage(const StringBuffer& fragmentId, dsig::ReferenceReport& report) {
    xml::ElementId element = xml::kNoElement;
    const xml::FragmentTarget target =
        xml::resolveFragment(*structure().document, fragmentId.view(), element);
    if (target == xml::FragmentTarget::Document) {
        report.covers = "document";
        return;
    }
    // An element that is not there, or not the only one, has neither name nor path.
    report.covers = "element";
    report.coveredElement = target == xml::FragmentTarget::Element ? element : xml::kNoElement;
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
        if (report.external) {
            report.covers = "external";
            continue;
        }
        StringBuffer fragmentId = ref.m_uri;
        fragmentId.removeChunk(0, 1);
        describeCoverage(fragmentId, report);
    }
}

// Names and paths of the elements that the report speaks of.
void ClsXmlDSig::nameElements() {
    if (m_report.signatureElement != xml::kNoElement && m_report.path.empty()) {
        structure().paths.append(m_report.signatureElement, m_report.path);
    }
    for (dsig::ReferenceReport& reference : m_report.references) {
        if (reference.coveredElement != xml::kNoElement && reference.path.empty()) {
            structure().paths.appendName(reference.coveredElement, reference.element);
            structure().paths.append(reference.coveredElement, reference.path);
        }
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
            nameElements();
            StringBuffer text;
            dsig::writeReport(m_report, text);
            m_log.setLastJsonData(text);
        }
        ClsBase::get_LastJsonData(json);
    } catch (const std::bad_alloc&) {
        json.clear();
    }
}

} // namespace vantrel
