// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_RULES_H
#define DSIG_DOCUMENT_RULES_H

#include "foundation/text/StringBuffer.h"
#include "foundation/xml/canon/canonicalizer.h"

#include <cstdint>
#include <string_view>

namespace vantrel::dsig {

// By what rules a document is verified: its recognised profile, and the switches that stay in force
// once a step has found that they are needed. A value: steps are given one, and what they change in
// it is kept by whoever called them.
struct Rules {
    std::string_view profileName; // as reports name it; empty for an ordinary document
    // 3 from the first Peru UBL document on, 0 before; other profiles have no code.
    std::int32_t profileCode = 0;

    // What the profile asks for.
    // The markers can be put into any document. A rule therefore only changes what is digested or
    // how it is written: the stored digest and the signature value still have to match that.
    bool siiDocument = false;    // digest the DTE element around the referenced Documento
    bool satDoda = false;        // digest the doda element
    bool peruUbl = false;        // recognised, nothing differs
    bool cmaStpDocument = false; // a whole-document reference is to the Document element
    bool skXmlSignedDoc = false; // SignedInfo receives no namespaces of its ancestors
    bool alwaysAttrSortBug = false;
    bool mayHoldLau = false; // the text could hold a SWIFT authentication block
    // As given, before entities are expanded: the text could hold an element of XAdES for a
    // time-stamp.
    bool mayHoldTimestamp = true;

    // Switched on by the profile, by an option or by a retry that helped.
    bool zatca = false;
    bool attrSortBug = false;     // write attributes in the order that faulty signers use
    bool noAttrSortRetry = false; // a digest that does not match is not tried in the other order
    bool secondAttrOrder = false; // of this attempt: the second of the faulty orders

    // The DTE element that the last reference was cut down to, and where it began in the document.
    std::uint32_t siiDteOffset = 0;
    StringBuffer siiDteXml;

    // Attributes are sorted other than Canonical XML 1.0, section 2.2, has it. Both flags name the
    // same fault; the second cannot be switched off by a retry.
    [[nodiscard]] bool emulatesAttrSort() const noexcept {
        return attrSortBug || alwaysAttrSortBug;
    }
    [[nodiscard]] xml::AttributeOrder attributeOrder() const noexcept {
        // The correct order is by namespace URI, then local name. Faulty signers sort by prefix in
        // place of the URI, or by local name alone.
        return !emulatesAttrSort() ? xml::AttributeOrder::Canonical
               : secondAttrOrder   ? xml::AttributeOrder::LocalName
                                   : xml::AttributeOrder::PrefixThenLocal;
    }
};

} // namespace vantrel::dsig

#endif
