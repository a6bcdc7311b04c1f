// SPDX-License-Identifier: MIT
#include "dsig/document/locate_signature.h"

#include "foundation/xml/scan/_vlXmlDtd.h"

namespace vantrel::dsig {

void logNoSignatureWithId(const StringBuffer& id, LogBase& log) {
    log.LogError("Unable to find the Signature by Id.");
    log.LogDataSb("signatureId", id);
}

bool locateSelectedSignature(const Selection& selection, const StringBuffer& firstDigest,
                             XmlSigLocate& locator, LogBase& log) {
    if (selection.signature == nullptr) {
        return false;
    }
    _vlXmlDtd dtd;
    dtd.setDocument(selection.signature->document());
    // Two signatures may carry the same Id, or begin with the same digest. The value that is
    // checked must be over the SignedInfo of the one that the caller selected, so no other is
    // accepted.
    locator.m_selectedElement = selection.element();
    const StringBuffer& text = selection.signature->document()->sourceText();
    if (!selection.id.isEmpty()) {
        if (!locator.FindXmlSigById(selection.id, text, dtd, log)) {
            logNoSignatureWithId(selection.id, log);
            return false;
        }
        return true;
    }
    if (!locator.FindXmlSigByRefDigest(firstDigest, text, dtd, log)) {
        log.LogError("Unable to find the Signature.");
        return false;
    }
    return true;
}

} // namespace vantrel::dsig
