// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_LOCATE_XMLSIGREMOVAL_H
#define FOUNDATION_XML_LOCATE_XMLSIGREMOVAL_H

#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/scan/_vlXmlDtd.h"

#include <memory>
#include <vector>

namespace vantrel {

// Removes every `Signature` element of the XML Signature namespace from XML text, nested ones with
// their outermost. Namesakes of other vocabularies, and unqualified ones, stay: what they hold is
// signed content. In a text cut out of its document, an element with an undeclared prefix counts
// when it has a SignedInfo child. A structure of the text that `dtd` knows is used.
class XmlSigRemoval final {
public:
    // out := `xml` without its signatures, all other bytes as they are. Text that is not
    // well-formed is an error line and false, with `out` unchanged.
    bool removeSignatures(const char* xml, _vlXmlDtd& dtd, StringBuffer& out, LogBase& log);
    // The same for a text with a length; where there is nothing to remove, `out` shares its
    // storage.
    bool removeSignatures(const StringBuffer& xml, _vlXmlDtd& dtd, StringBuffer& out, LogBase& log);

    // The signatures that are removed from a known structure, as ranges of its text(), ascending
    // and disjoint.
    [[nodiscard]] static std::vector<xml::TextRange> signatureRanges(
        const xml::XmlDocument& document);

    // Set by a successful call: what was removed, as ranges of `xml`, ascending and disjoint. Empty
    // also when a signature came from an entity; `out` is then made from the expanded text.
    std::vector<xml::TextRange> m_removed;
};

} // namespace vantrel

#endif
