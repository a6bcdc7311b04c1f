// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_CANONICALIZATION_METHOD_H
#define DSIG_DOCUMENT_CANONICALIZATION_METHOD_H

#include "foundation/text/StringBuffer.h"
#include "foundation/xml/canon/XmlCanon.h"
#include "foundation/xml/tree/ClsXml.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

// What a canonicalization algorithm identifier asks for. Identifiers are recognised by a part of
// them, since what stands around it varies.
namespace vantrel::dsig {

// XmlCanon::m_method
inline constexpr std::int32_t kInclusive = 1;
inline constexpr std::int32_t kExclusive = 2;

// Both names are asked for wherever a canonicalization is to be recognised: "xml-exc-c14n" does not
// contain "xml-c14n". Letter case counts. Canonical XML 1.1 ("xml-c14n11") is an inclusive name as
// well.
inline bool namesInclusive(const StringBuffer& algorithm) {
    return algorithm.containsSubstring("xml-c14n");
}
inline bool namesExclusive(const StringBuffer& algorithm) {
    return algorithm.containsSubstring("xml-exc-c14n");
}

// "WithComments" is looked for in any letter case. The usual identifiers are known not to hold it.
inline bool namesComments(const StringBuffer& algorithm) {
    constexpr std::string_view kUsual[] = {"http://www.w3.org/2001/10/xml-exc-c14n#",
                                           "http://www.w3.org/TR/2001/REC-xml-c14n-20010315"};
    return algorithm.view() != kUsual[0] && algorithm.view() != kUsual[1] &&
           algorithm.containsSubstringNoCase("WithComments");
}

// Method and comments from the identifier of a transform; whatever is not exclusive is inclusive.
// An identifier without either name therefore selects Canonical XML 1.0, the method that XML
// Signature 1.1, 4.4.3.2 prescribes where none is written.
inline void selectTransformMethod(const StringBuffer& algorithm, XmlCanon& canonicalizer) {
    canonicalizer.m_method = namesExclusive(algorithm) ? kExclusive : kInclusive;
    canonicalizer.m_withComments = namesComments(algorithm);
}

// What a canonicalization transform asks for.
struct CanonicalizationChoice {
    bool exclusive = false;
    bool withComments = false;
    std::optional<StringBuffer> prefixList; // of Exclusive XML Canonicalization 1.0
};

// `transform` (null for an implied step) may hold InclusiveNamespaces, by its local name, whatever
// its prefix; below an inclusive method it means nothing and is not read.
[[nodiscard]] inline CanonicalizationChoice chosenCanonicalization(const StringBuffer& algorithm,
                                                                   const ClsXml* transform) {
    XmlCanon canonicalizer;
    selectTransformMethod(algorithm, canonicalizer);
    CanonicalizationChoice choice;
    choice.exclusive = canonicalizer.m_method == kExclusive;
    choice.withComments = canonicalizer.m_withComments;
    StringBuffer prefixList;
    if (choice.exclusive && transform != nullptr &&
        transform->getChildAttrValue("*:InclusiveNamespaces", "PrefixList", prefixList)) {
        choice.prefixList = std::move(prefixList);
    }
    return choice;
}

// The prefixes of an InclusiveNamespaces list, separated by spaces. Exclusive XML Canonicalization
// 1.0, section 4 makes it an attribute of type NMTOKENS, so any white space separates. The prefixes
// are added to those that the canonicalizer has; an empty list adds none.
inline void setPrefixList(XmlCanon& canonicalizer, const StringBuffer& prefixList) {
    StringBuffer list = prefixList;
    list.replaceChar5("\t\r\n", ' ');
    list.split(canonicalizer.m_inclusivePrefixes, ' ', true, true);
}

} // namespace vantrel::dsig

#endif
