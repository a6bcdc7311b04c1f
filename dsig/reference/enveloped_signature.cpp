// The enveloped-signature transform, on text: the selected signature and the signatures that stand
// directly behind it are taken out.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/loaded_structure.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/reference/adjacent_signatures.h"
#include "dsig/transform/working_text.h"
#include "foundation/log/LogContextExitor.h"
#include "foundation/xml/locate/XmlSigLocate.h"
#include "foundation/xml/scan/_vlXmlDtd.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel {

bool ClsXmlDSig::transformEnvelopedSignature(StringBuffer& workingText, StringBuffer& /*unused1*/,
                                             StringBuffer& /*unused2*/, DSigReference& ref,
                                             LogBase& log) {
    dsig::onWorkingText(workingText,
                        [&](dsig::WorkingText& text) { removeEnvelopedSignature(text, ref, log); });
    return true;
}

void ClsXmlDSig::removeEnvelopedSignature(dsig::WorkingText& text, const DSigReference& ref,
                                          LogBase& log) {
    const LogContextExitor context(log, "transformEnvelopedSignature");
    StringBuffer id;
    selectedSignatureId(id, log);
    // Invoices of the ZATCA rules carry this Id, and their digest leaves the signature where it is:
    // the XPath transforms of the same reference have removed what is to be removed.
    if (m_zatcaRules && id.equals("signature")) {
        return;
    }
    XmlSigLocate locator;
    if (!locateEnvelopedSignature(id, ref, text, locator, log)) {
        return;
    }
    const std::uint32_t length = dsig::lengthWithFollowingSignatures(
        text.text().view(), locator.m_sigStart, locator.m_sigLength);
    if (length != locator.m_sigLength) {
        dsig::noteAccommodation(m_accommodations, dsig::accommodation::kEnvelopedExtraRemoved);
    }
    text.omit({locator.m_sigStart, length});
}

bool ClsXmlDSig::locateEnvelopedSignature(const StringBuffer& id, const DSigReference& ref,
                                          dsig::WorkingText& text, XmlSigLocate& locator,
                                          LogBase& log) const {
    const StringBuffer& searched = text.text();
    _vlXmlDtd dtd;
    if (text.isWholeLoadedText()) {
        useSelectedSignature(locator, dtd);
    }
    if (!id.isEmpty()) {
        if (log.verbose()) {
            log.LogDataSb("removeSignatureWithId", id);
        }
        return locateSignatureById(id, searched, locator, dtd, log);
    }
    if (log.verbose()) {
        log.LogDataSb("removeSignatureHavingDigest", ref.m_digestValue);
    }
    if (!locator.FindXmlSigByRefDigest(ref.m_digestValue, searched, dtd, log)) {
        log.LogError("Unable to find Signature by digest value for enveloped-signature..");
        return false;
    }
    return true;
}

bool ClsXmlDSig::removeSignatureAndFollowingSigs(StringBuffer& text, std::uint32_t start,
                                                 std::uint32_t length, LogBase& /*log*/) {
    text.removeChunk(start, dsig::lengthWithFollowingSignatures(text.view(), start, length));
    return true;
}

} // namespace vantrel
