#ifndef DSIG_TRANSFORM_CANONICALIZATION_METHOD_H
#define DSIG_TRANSFORM_CANONICALIZATION_METHOD_H

#include "foundation/text/StringBuffer.h"
#include "foundation/xml/canon/XmlCanon.h"

#include <cstdint>

namespace vantrel::dsig {

// XmlCanon::m_method
inline constexpr std::int32_t kInclusive = 1;
inline constexpr std::int32_t kExclusive = 2;

// Both names are asked for wherever a canonicalization is to be recognised: "xml-exc-c14n" does not
// contain "xml-c14n".
inline bool namesInclusive(const StringBuffer& algorithm) {
    return algorithm.containsSubstring("xml-c14n");
}
inline bool namesExclusive(const StringBuffer& algorithm) {
    return algorithm.containsSubstring("xml-exc-c14n");
}

// Method and comments from the identifier of a transform; whatever is not exclusive is inclusive.
inline void selectTransformMethod(const StringBuffer& algorithm, XmlCanon& canonicalizer) {
    canonicalizer.m_method = namesExclusive(algorithm) ? kExclusive : kInclusive;
    canonicalizer.m_withComments = algorithm.containsSubstringNoCase("WithComments");
}

// The prefixes of an InclusiveNamespaces list, separated by spaces.
inline void setPrefixList(XmlCanon& canonicalizer, const StringBuffer& prefixList) {
    StringBuffer list = prefixList;
    list.replaceChar5("\t\r\n", ' ');
    list.split(canonicalizer.m_inclusivePrefixes, ' ', true, true);
}

} // namespace vantrel::dsig

#endif
