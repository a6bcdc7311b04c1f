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
    dsig::onWorkingText(workingText, [&](dsig::WorkingText& text) {
        static_cast<void>(removeEnvelopedSignature(text, ref, log));
    });
    return true;
}

// A signature that is not there is no failure: the digest then decides. False only when what would
// have to go with it is not structure of the document.
bool ClsXmlDSig::removeEnvelopedSignature(dsig::WorkingText& text, const DSigReference& ref,
                                          LogBase& log) {
    const LogContextExitor context(log, "transformEnvelopedSignature");
    StringBuffer id;
    selectedSignatureId(id, log);
    // Invoices of the ZATCA rules carry this Id, and their digest leaves the signature where it is:
    // the XPath transforms of the same reference have removed what is to be removed.
    if (m_zatcaRules && id.equals("signature")) {
        return true;
    }
    xml::TextRange signature;
    if (!locateEnvelopedSignature(id, ref, text, signature, log)) {
        return true;
    }
    const std::uint32_t length = dsig::lengthWithFollowingSignatures(
        text.searchable().text(), signature.start, signature.length);
    if (length == signature.length) {
        return text.takeOut({signature}, dsig::exclusion::kEnvelopedSignature, log);
    }
    dsig::noteAccommodation(m_accommodations, dsig::accommodation::kEnvelopedExtraRemoved);
    const xml::TextRange following{signature.end(), length - signature.length};
    return text.takeOut({following}, dsig::exclusion::kEnvelopedExtra, log) &&
           text.takeOut({signature}, dsig::exclusion::kEnvelopedSignature, log);
}

// The selected signature itself, wherever it stands in the text by now; no other takes its place.
bool ClsXmlDSig::locateEnvelopedSignature(const StringBuffer& id, const DSigReference& ref,
                                          dsig::WorkingText& text, xml::TextRange& range,
                                          LogBase& log) const {
    const auto structure = text.structure(log);
    if (structure == nullptr) {
        return false;
    }
    const bool known = text.loaded() != nullptr;
    const ClsXml* const selected = selectedSignature();
    const xml::ElementId element =
        known && selected != nullptr ? text.elementOf(selected->elementId()) : xml::kNoElement;
    const bool isThere = !known || element != xml::kNoElement;
    XmlSigLocate locator;
    locator.m_selectedElement = element;
    _vlXmlDtd dtd;
    dtd.setDocument(structure);
    const StringBuffer& searched = structure->sourceText();
    if (!id.isEmpty()) {
        if (log.verbose()) {
            log.LogDataSb("removeSignatureWithId", id);
        }
        if (!isThere || !locator.FindXmlSigById(id, searched, dtd, log)) {
            logNoSignatureWithId(id, log);
            return false;
        }
    } else {
        if (log.verbose()) {
            log.LogDataSb("removeSignatureHavingDigest", ref.m_digestValue);
        }
        if (!isThere || !locator.FindXmlSigByRefDigest(ref.m_digestValue, searched, dtd, log)) {
            log.LogError("Unable to find Signature by digest value for enveloped-signature..");
            return false;
        }
    }
    range = element != xml::kNoElement
                ? xml::rangeOf(structure->element(element).start, structure->element(element).end)
                : xml::TextRange{locator.m_sigStart, locator.m_sigLength};
    return true;
}

bool ClsXmlDSig::removeSignatureAndFollowingSigs(StringBuffer& text, std::uint32_t start,
                                                 std::uint32_t length, LogBase& /*log*/) {
    text.removeChunk(start, dsig::lengthWithFollowingSignatures(text.view(), start, length));
    return true;
}

} // namespace vantrel
