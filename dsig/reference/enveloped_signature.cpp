// SPDX-License-Identifier: MIT
#include "dsig/reference/enveloped_signature.h"

#include "dsig/document/locate_signature.h"
#include "dsig/reference/adjacent_signatures.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/xml/locate/XmlSigLocate.h"
#include "foundation/xml/scan/_vlXmlDtd.h"

#include <optional>

namespace vantrel::dsig {

namespace {

// The selected signature itself, wherever it stands in the text by now; no other takes its place.
// An element that an earlier transform took out, or that a cut left behind, is not there. A text
// that stands for itself is searched for the first signature that fits.
bool locate(const Selection& selection, const DSigReference& reference, WorkingText& text,
            xml::TextRange& range, LogBase& log) {
    const auto structure = text.structure(log);
    if (structure == nullptr) {
        return false;
    }
    const bool known = text.loaded() != nullptr;
    const xml::ElementId element = known && selection.signature != nullptr
                                       ? text.elementOf(selection.element())
                                       : xml::kNoElement;
    const bool isThere = !known || element != xml::kNoElement;
    XmlSigLocate locator;
    locator.m_selectedElement = element;
    // Lends the locator the structure that is there already, so that the text is not parsed again.
    _vlXmlDtd dtd;
    dtd.setDocument(structure);
    const StringBuffer& id = selection.id;
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
            log.LogDataSb("removeSignatureHavingDigest", reference.m_digestValue);
        }
        if (!isThere ||
            !locator.FindXmlSigByRefDigest(reference.m_digestValue, searched, dtd, log)) {
            log.LogError("Unable to find Signature by digest value for enveloped-signature..");
            return false;
        }
    }
    // The locator's offsets are those of its text; the structure's own are surer where the element
    // is known.
    range = element != xml::kNoElement
                ? xml::rangeOf(structure->element(element).start, structure->element(element).end)
                : xml::TextRange{locator.m_sigStart, locator.m_sigLength};
    return true;
}

} // namespace

bool removeEnvelopedSignature(const Selection& selection, const DSigReference& reference,
                              const Rules& rules, WorkingText& text, CodeSet& leniencies,
                              LogBase& log) {
    const LogContextExitor context(log, "transformEnvelopedSignature");
    // Invoices of the ZATCA rules carry this Id, and their digest leaves the signature where it is:
    // the XPath transforms of the same reference have removed what is to be removed.
    if (rules.zatca && selection.id.equals("signature")) {
        return true;
    }
    xml::TextRange signature;
    if (!locate(selection, reference, text, signature, log)) {
        return true;
    }
    const std::optional<SignatureRow> row = signatureRow(text.searchable().text(), signature.start,
                                                         signature.length, text.account(), log);
    if (!row) {
        return false;
    }
    if (row->more) {
        leniencies.add(accommodation::kLimit100);
    }
    if (row->length == signature.length) {
        const WorkingText::Cut cuts[] = {{signature, exclusion::kEnvelopedSignature}};
        return text.takeOut(cuts, log);
    }
    leniencies.add(accommodation::kEnvelopedExtraRemoved);
    const WorkingText::Cut cuts[] = {
        {signature, exclusion::kEnvelopedSignature},
        {{signature.end(), row->length - signature.length}, exclusion::kEnvelopedExtra}};
    return text.takeOut(cuts, log);
}

} // namespace vantrel::dsig
