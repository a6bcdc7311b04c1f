// SPDX-License-Identifier: MIT
#ifndef DSIG_VERIFY_SIGNED_OCTETS_H
#define DSIG_VERIFY_SIGNED_OCTETS_H

#include "dsig/document/document.h"
#include "dsig/document/rules.h"
#include "dsig/document/selection.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/report/codes.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/byte_view.h"
#include "foundation/xml/locate/XmlSigLocate.h"

#include <string_view>

namespace vantrel::dsig {

// What a signature value is computed over. It owns its texts. An HMAC is over `text` by every
// route; a public-key signature is over octets().
struct SignedOctets {
    // The canonical SignedInfo or, by the ZATCA rules, the first reference's DigestValue as
    // written.
    StringBuffer text;
    // Empty by every other route.
    DataBuffer invoiceHash; // by the ZATCA rules: the text decoded
    // Which text SignedInfo was canonicalized in: "document", "sii", "doda"; or "zatca".
    std::string_view route = "document";
    StringBuffer algorithm; // CanonicalizationMethod

    [[nodiscard]] bool isInvoiceHash() const noexcept { return route == "zatca"; }
    // Whether SignedInfo asks for Canonical XML 1.1, which is carried out as 1.0 at first.
    [[nodiscard]] bool isOfCanonical11() const noexcept {
        return route == "document" &&
               algorithm.view().starts_with("http://www.w3.org/2006/12/xml-c14n11");
    }
    // The octets that are hashed for a public-key signature.
    [[nodiscard]] ByteView octets() const noexcept {
        return isInvoiceHash() ? invoiceHash.view() : asBytes(text.view());
    }
};

// Makes them, by the route that the rules in force ask for. `locator` has found the signature,
// `first` is its first reference. False after an error line. `out` is then of no use. `leniencies`
// gets a canonicalization method that is not known, and the ZATCA rules.
[[nodiscard]] bool makeSignedOctets(Document& document, const Selection& selection,
                                    const Rules& rules, const XmlSigLocate& locator,
                                    const DSigReference& first, SignedOctets& out,
                                    CodeSet& leniencies, LogBase& log);

// Makes them anew with Canonical XML 1.1, where SignedInfo asks for it, `out` has it by Canonical
// XML 1.0, and the two differ: SignedInfo inherits an xml:id or an xml:base. False, `out` as it
// was, everywhere else. `standards` gains the code.
[[nodiscard]] bool makeCanonical11Octets(Document& document, const Selection& selection,
                                         SignedOctets& out, CodeSet& standards, LogBase& log);

// Canonical XML 1.1, 2.4: whether it may have another form of the element than 1.0, which inherits
// xml:id and does not join the values of xml:base.
[[nodiscard]] bool inheritsIdOrBase(const xml::XmlDocument& document, xml::ElementId element);

} // namespace vantrel::dsig

#endif
