// SPDX-License-Identifier: MIT
// Loading a signed document, and choosing one of its signatures.

#include "dsig/document/document.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/object_state.h"
#include "dsig/reference/digest_ahead.h"
#include "dsig/transform/profile_detection.h"
#include "dsig/transform/signature_profile.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/base/ClsStringBuilder.h"
#include "foundation/base/CritSecExitor.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/text/xml_encoding.h"
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel {

// Text that is not UTF-8 is taken for Windows-1252, in the caller's own object.
bool ClsXmlDSig::LoadSignature(XString& xml) {
    return MethodFrame::runLater(*this, "LoadSignature", [&](MethodFrame& frame) {
        xml.checkFixUtf8Windows1252(m_log);
        frame.begin();
        return loadSignature(xml, m_log);
    });
}

bool ClsXmlDSig::LoadSignatureSb(ClsStringBuilder& sb) {
    return MethodFrame::run(*this, "LoadSignatureSb", [&](MethodFrame& /*frame*/) {
        return loadSignature(sb.xstring(), m_log);
    });
}

// No ZATCA test here: m_zatcaRules keeps what an earlier call left.
bool ClsXmlDSig::LoadSignatureBd(ClsBinData& bd) {
    return MethodFrame::run(*this, "LoadSignatureBd", [&](MethodFrame& /*frame*/) {
        unloadDocument();
        DataBuffer bytes = bd.data();
        const text::XmlEncoding encoding = text::convertXmlToUtf8(bytes);
        m_xmlText.takeFromDb(bytes);
        return parseLoadedText(encoding, m_log);
    });
}

bool ClsXmlDSig::loadSignature(XString& xml, LogBase& log) {
    unloadDocument();
    setZatca(m_log.options(), log);
    m_xmlText = xml.getUtf8Sb();
    return parseLoadedText(text::judgeDecodedXml(m_xmlText.view()), log);
}

// What the caller handed over stays for the next document: keys, external data, directories,
// options and limits. So do m_xmlText, until it is overwritten, and the profile's rules.
void ClsXmlDSig::unloadDocument() {
    m_selector = 0;
    if (m_state->report.present) {
        m_state->report = {};
    }
    m_state->acceptance.reset();
    m_state->explainBudget.reset();
    m_state->kept.clear();
    m_state->keptOctets = 0;
    m_state->parts.reset();
    m_state->part.clear();
    m_state->firstIndex = 0;
    releaseDocument();
}

void ClsXmlDSig::releaseDocument() {
    m_state->document.reset();
    m_state->digestAhead.reset();
    if (m_xmlRoot != nullptr) {
        m_xmlRoot->decRefCount();
        m_xmlRoot = nullptr;
    }
    m_signatures.removeAllObjects();
}

// On failure there are no signatures, so every operation on one fails with its own line. The
// profile is that of the text that was refused.
bool ClsXmlDSig::parseLoadedText(const text::XmlEncoding& encoding, LogBase& log) {
    // First, since the rules at loading are to be there even for a document that does not parse.
    detectSpecial(m_xmlText, log);
    m_state->rulesAtLoad = rules();
    m_state->encodingMismatch = encoding.verdict == text::XmlEncodingVerdict::Mismatch;
    m_xmlRoot = ClsXml::createNewCls();
    if (m_xmlRoot == nullptr || !text::acceptEncoding(encoding, log) || !readDocument(log)) {
        return false;
    }
    return m_xmlRoot->findSignatures(m_signatures, log);
}

bool ClsXmlDSig::readDocument(LogBase& log) {
    xml::ParseOptions options;
    std::shared_ptr<dsig::DigestAhead> ahead;
    if (m_state->threads > 1) {
        ahead = dsig::DigestAhead::guess(m_xmlText.view());
        options.follower = ahead != nullptr ? &ahead->follower() : nullptr;
    }
    if (!m_xmlRoot->loadXml(m_xmlText, options, log)) {
        return false;
    }
    if (ahead != nullptr) {
        ahead->endReading();
        m_state->digestAhead = std::move(ahead);
    }
    return true;
}

void ClsXmlDSig::SetPackage(std::shared_ptr<dsig::ExternalParts> package, std::string_view part,
                            int firstIndex) {
    const CritSecExitor lock(m_critSec);
    m_state->parts = std::move(package);
    m_state->part = part;
    m_state->firstIndex = firstIndex;
}

void ClsXmlDSig::ResetDocumentRules() {
    static_cast<void>(
        MethodFrame::runLater(*this, "ResetDocumentRules", [&](MethodFrame& /*frame*/) {
            keepRules(m_state->rulesAtLoad);
            return true;
        }));
}

void ClsXmlDSig::checkSetZatca(LogBase& log) { setZatca(log.options(), log); }

void ClsXmlDSig::setZatca(const StringBuffer& options, LogBase& log) {
    dsig::Rules inForce = rules();
    dsig::setZatcaFromOptions(options, inForce, log);
    keepRules(inForce);
}

int ClsXmlDSig::get_NumSignatures() {
    const CritSecExitor lock(m_critSec);
    return m_signatures.getSize();
}

// The list of the tree is that of the structure, in the same order.
bool ClsXmlDSig::IsSignature(int index) {
    const CritSecExitor lock(m_critSec);
    if (index < 0 || index >= m_signatures.getSize()) {
        return false;
    }
    const xml::SignatureElement& found =
        m_xmlRoot->document()->signatures()[static_cast<std::size_t>(index)];
    return found.kind != xml::SignatureKind::NoNamespace || found.signedInfoCount != 0;
}

std::string_view ClsXmlDSig::ProfileOf(int index) {
    const CritSecExitor lock(m_critSec);
    dsig::Selection signature;
    signature.index = index;
    signature.signature = static_cast<const ClsXml*>(m_signatures.elementAt(index));
    if (signature.signature != nullptr) {
        signature.id = structure().idOf(*signature.signature);
    }
    return dsig::profileName(signature, m_profileName);
}

void ClsXmlDSig::put_Selector(int index) {
    const CritSecExitor lock(m_critSec);
    const int count = m_signatures.getSize();
    // Without signatures this makes it -1, and the line below 0.
    if (count <= index) {
        index = count - 1;
    }
    m_selector = index < 0 ? 0 : index;
}

bool ClsXmlDSig::SelectById(XString& id) {
    return MethodFrame::run(*this, "SelectById", [&](MethodFrame& frame) {
        return frame.finish(selectBySignatureId(id.getUtf8Sb(), m_log));
    });
}

bool ClsXmlDSig::selectBySignatureId(const StringBuffer& id, LogBase& log) {
    const LogContextExitor context(log, "selectBySignatureId");
    log.LogDataSb("signatureId", id);
    for (int i = 0; i < m_signatures.getSize(); ++i) {
        const auto* const signature = static_cast<const ClsXml*>(m_signatures.elementAt(i));
        StringBuffer candidate;
        if (signature != nullptr && signature->getAttrValue("Id", candidate) &&
            // The whole value, letter case included. Where several carry the Id the first is taken,
            // as the documentation says; the verification then stays with that element.
            candidate.equals(id)) {
            m_selector = i;
            return true;
        }
    }
    log.LogError("Signature with Id not found.");
    return false;
}

bool ClsXmlDSig::selectedSignatureId(StringBuffer& out, LogBase& /*log*/) {
    out.clear();
    const ClsXml* const signature = selectedSignature();
    if (signature != nullptr) {
        out = structure().idOf(*signature);
    }
    return !out.isEmpty();
}

// Borrowed from the array; null when there are no signatures.
ClsXml* ClsXmlDSig::selectedSignature() const {
    return static_cast<ClsXml*>(m_signatures.elementAt(m_selector));
}

// Only with a loaded document; document() below asks first.
dsig::Document& ClsXmlDSig::structure() {
    if (!m_state->document) {
        m_state->document =
            std::make_unique<dsig::Document>(m_xmlRoot->document(), m_state->limits);
        m_state->document->threads = m_state->threads;
        m_state->document->digestAhead = std::move(m_state->digestAhead);
        // Known since loading, when there was no Document yet to keep it.
        m_state->document->encodingMismatch = m_state->encodingMismatch;
        // What comes from an entity was not there when the loaded text was searched.
        if (!m_state->rulesAtLoad.mayHoldTimestamp && !m_xmlRoot->document()->isExpanded()) {
            m_state->document->timeStamps.knowAbsent();
        }
    }
    return *m_state->document;
}

dsig::Document* ClsXmlDSig::document() {
    return selectedSignature() != nullptr ? &structure() : nullptr;
}

} // namespace vantrel
