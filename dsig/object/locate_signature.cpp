// Finding the selected signature in the text of the document.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/loaded_structure.h"
#include "foundation/xml/locate/XmlSigLocate.h"
#include "foundation/xml/scan/_vlXmlDtd.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel {

void ClsXmlDSig::useSelectedSignature(XmlSigLocate& locator, _vlXmlDtd& dtd) const {
    const ClsXml* const signature = selectedSignature();
    if (signature != nullptr) {
        dtd.setDocument(signature->document());
        locator.m_selectedElement = signature->elementId();
    }
}

bool ClsXmlDSig::locateSignatureById(const StringBuffer& id, const StringBuffer& text,
                                     XmlSigLocate& locator, _vlXmlDtd& dtd, LogBase& log) {
    if (!locator.FindXmlSigById(id, text, dtd, log)) {
        logNoSignatureWithId(id, log);
        return false;
    }
    return true;
}

void ClsXmlDSig::logNoSignatureWithId(const StringBuffer& id, LogBase& log) {
    log.LogError("Unable to find the Signature by Id.");
    log.LogDataSb("signatureId", id);
}

bool ClsXmlDSig::locateSelectedSignature(const StringBuffer& signatureId,
                                         const StringBuffer& firstDigest, XmlSigLocate& locator,
                                         LogBase& log) const {
    _vlXmlDtd dtd;
    useSelectedSignature(locator, dtd);
    if (!signatureId.isEmpty()) {
        return locateSignatureById(signatureId, m_xmlText, locator, dtd, log);
    }
    if (!locator.FindXmlSigByRefDigest(firstDigest, m_xmlText, dtd, log)) {
        log.LogError("Unable to find the Signature.");
        return false;
    }
    return true;
}

} // namespace vantrel
