// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_XPATH_FUNCTIONS_H
#define FOUNDATION_XML_XPATH_FUNCTIONS_H

#include <cstdint>
#include <string_view>

namespace vantrel::xml {

enum class XPathType : std::uint8_t { NodeSet, Boolean, Number, String };

// The core function library (XPath 1.0, section 4), and here() of XML Signature 1.1, 6.6.3.1.
enum class XPathFunction : std::uint8_t {
    Last,
    Position,
    Count,
    Id,
    LocalName,
    NamespaceUri,
    Name,
    String,
    Concat,
    StartsWith,
    Contains,
    SubstringBefore,
    SubstringAfter,
    Substring,
    StringLength,
    NormalizeSpace,
    Translate,
    Boolean,
    Not,
    True,
    False,
    Lang,
    Number,
    Sum,
    Floor,
    Ceiling,
    Round,
    Here
};

struct XPathSignature {
    std::string_view name;
    XPathFunction function;
    XPathType result;
    std::uint32_t least; // arguments
    std::uint32_t most;
    bool nodeSets;  // arguments must be node-sets
    bool ofContext; // depends on the context node without an argument, or always
};

inline constexpr std::uint32_t kAnyNumber = 0xFFFFFFFF;

// Null for a name that is no function.
[[nodiscard]] const XPathSignature* findXPathFunction(std::string_view name) noexcept;

} // namespace vantrel::xml

#endif
