// Loading a signed document, and choosing one of its signatures.

#include "dsig/document/document.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/transform/profile_detection.h"
#include "foundation/log/ClsBinData.h"
#include "foundation/log/ClsStringBuilder.h"
#include "foundation/log/LogContextExitor.h"
#include "foundation/log/MethodFrame.h"
#include "foundation/xml/tree/ClsXml.h"

#include <new>

namespace vantrel {

bool ClsXmlDSig::LoadSignature(XString& xml) {
    MethodFrame frame(*this, "LoadSignature");
    try {
        xml.checkFixUtf8Windows1252(m_log);
        frame.begin();
        return loadSignature(xml, m_log);
    } catch (const std::bad_alloc&) {
        return frame.outOfMemory();
    }
}

bool ClsXmlDSig::LoadSignatureSb(ClsStringBuilder& sb) {
    MethodFrame frame(*this, "LoadSignatureSb");
    frame.begin();
    try {
        return loadSignature(sb.xstring(), m_log);
    } catch (const std::bad_alloc&) {
        return frame.outOfMemory();
    }
}

// No ZATCA test here: m_zatcaRules keeps what an earlier call left.
bool ClsXmlDSig::LoadSignatureBd(ClsBinData& bd) {
    MethodFrame frame(*this, "LoadSignatureBd");
    frame.begin();
    try {
        unloadDocument();
        DataBuffer bytes = bd.data();
        // Whatever the buffer holds after a failed conversion goes to the parser, which then says
        // what is wrong with it.
        bytes.convertXmlToUtf8(m_log);
        m_xmlText.takeFromDb(bytes);
        return parseLoadedText(m_log);
    } catch (const std::bad_alloc&) {
        return frame.outOfMemory();
    }
}

bool ClsXmlDSig::loadSignature(XString& xml, LogBase& log) {
    unloadDocument();
    setZatca(m_log.options(), log);
    m_xmlText = xml.getUtf8Sb();
    return parseLoadedText(log);
}

void ClsXmlDSig::unloadDocument() {
    m_selector = 0;
    m_structure.reset();
    m_report = {};
    if (m_xmlRoot != nullptr) {
        m_xmlRoot->decRefCount();
        m_xmlRoot = nullptr;
    }
    m_signatures.removeAllObjects();
}

bool ClsXmlDSig::parseLoadedText(LogBase& log) {
    detectSpecial(m_xmlText, log);
    m_xmlRoot = ClsXml::createNewCls();
    if (m_xmlRoot == nullptr || !m_xmlRoot->loadXml(m_xmlText, false, log)) {
        return false;
    }
    return m_xmlRoot->findSignatures(m_signatures, log);
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

void ClsXmlDSig::put_Selector(int index) {
    const CritSecExitor lock(m_critSec);
    const int count = m_signatures.getSize();
    if (count <= index) {
        index = count - 1;
    }
    m_selector = index < 0 ? 0 : index;
}

bool ClsXmlDSig::SelectById(XString& id) {
    MethodFrame frame(*this, "SelectById");
    frame.begin();
    return frame.finish(selectBySignatureId(id.getUtf8Sb(), m_log));
}

bool ClsXmlDSig::selectBySignatureId(const StringBuffer& id, LogBase& log) {
    const LogContextExitor context(log, "selectBySignatureId");
    log.LogDataSb("signatureId", id);
    for (int i = 0; i < m_signatures.getSize(); ++i) {
        const auto* const signature = static_cast<const ClsXml*>(m_signatures.elementAt(i));
        StringBuffer candidate;
        if (signature != nullptr && signature->getAttrValue("Id", candidate) &&
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

ClsXml* ClsXmlDSig::selectedSignature() const {
    return static_cast<ClsXml*>(m_signatures.elementAt(m_selector));
}

dsig::Document& ClsXmlDSig::structure() {
    if (!m_structure) {
        m_structure = std::make_unique<dsig::Document>(m_xmlRoot->document(), m_limits);
    }
    return *m_structure;
}

dsig::Document* ClsXmlDSig::document() {
    return selectedSignature() != nullptr ? &structure() : nullptr;
}

} // namespace vantrel
