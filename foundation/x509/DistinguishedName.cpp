// SPDX-License-Identifier: MIT
#include "foundation/x509/DistinguishedName.h"

#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/text/no_throw.h"
#include "foundation/x509/attribute_types.h"
#include "foundation/x509/name_reader.h"
#include "foundation/x509/name_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

namespace {

using x509::TextAttribute;

std::string_view asView(const char* text) noexcept {
    return text != nullptr ? std::string_view(text) : std::string_view();
}

std::string foldedLabel(std::string_view label) {
    std::string folded;
    x509::appendFoldedLabel(label, folded);
    return folded;
}

// The attributes of one component as key text, sorted: their order means nothing (X.501 9.3).
std::string componentKey(const TextAttribute* first, const TextAttribute* last) {
    std::vector<std::string> parts;
    for (const TextAttribute* attribute = first; attribute != last; ++attribute) {
        std::string part = foldedLabel(attribute->label);
        part.push_back('=');
        std::string value;
        x509::appendFoldedValue(attribute->value, value);
        x509::appendEscapedValue(value, part);
        parts.push_back(std::move(part));
    }
    std::sort(parts.begin(), parts.end());
    std::string key;
    for (const std::string& part : parts) {
        key += key.empty() ? "" : "+";
        key += part;
    }
    return key;
}

// Components in their order, which does count; components of several attributes with a plus sign.
std::string nameKey(const std::vector<TextAttribute>& attributes) {
    std::string key;
    for (std::size_t i = 0; i < attributes.size();) {
        std::size_t end = i + 1;
        while (end < attributes.size() && !attributes[end].startsComponent) {
            ++end;
        }
        key += i == 0 ? "" : ",";
        key += componentKey(attributes.data() + i, attributes.data() + end);
        i = end;
    }
    return key;
}

// One attribute as text, and what parts it from the one before it in the encoding.
struct NamePiece {
    std::string text;
    char separator;
};

// `value`: room for the value.
bool appendDerAttribute(const x509::DerAttribute& attribute, std::string& value, std::string& out) {
    if (!x509::appendAttributeLabel(attribute.type, out)) {
        return false;
    }
    out.push_back('=');
    value.clear();
    if (x509::appendStringValue(attribute.value.tag, attribute.value.contents, value)) {
        x509::appendEscapedValue(value, out);
    } else {
        x509::appendHexValue(attribute.value.whole, out);
    }
    return true;
}

// Whether `dn` is the text of these attributes from the first to the last, or from the last to the
// first, with the separators of fromDer and any blanks behind these.
class SpelledName final {
public:
    SpelledName(std::span<const x509::DerAttribute> attributes, std::string_view dn) noexcept
        : m_attributes(attributes), m_dn(dn) {}

    [[nodiscard]] bool inOrder(bool backwards) {
        m_rest = m_dn;
        for (std::size_t i = 0; i < m_attributes.size(); ++i) {
            const std::size_t at = backwards ? m_attributes.size() - 1 - i : i;
            // The later of the two in the encoding says how they are parted.
            if ((i != 0 && !takeSeparator(m_attributes[backwards ? at + 1 : at])) ||
                !take(m_attributes[at])) {
                return false;
            }
        }
        return m_rest.empty();
    }

private:
    bool takeSeparator(const x509::DerAttribute& later) noexcept {
        if (!m_rest.starts_with(later.startsComponent ? ',' : '+')) {
            return false;
        }
        m_rest.remove_prefix(std::min(m_rest.find_first_not_of(' ', 1), m_rest.size()));
        return true;
    }
    bool take(const x509::DerAttribute& attribute) {
        if (takeAtAGlance(attribute)) {
            return true;
        }
        m_text.clear();
        if (!appendDerAttribute(attribute, m_value, m_text) || !m_rest.starts_with(m_text)) {
            return false;
        }
        m_rest.remove_prefix(m_text.size());
        return true;
    }

    // A known type and a value that needs no escapes are compared without making their text.
    bool takeAtAGlance(const x509::DerAttribute& attribute) noexcept {
        const asn1::Tag tag = attribute.value.tag;
        const std::string_view value = asText(attribute.value.contents);
        const x509::AttributeType* const type = x509::findAttributeByOid(attribute.type);
        if (type == nullptr ||
            (tag != asn1::Tag::Utf8String && tag != asn1::Tag::PrintableString) ||
            !m_rest.starts_with(type->label)) {
            return false;
        }
        const std::string_view rest = m_rest.substr(type->label.size());
        if (!rest.starts_with('=') || !rest.substr(1).starts_with(value) ||
            !x509::isPlainValue(value)) {
            return false;
        }
        m_rest = rest.substr(1 + value.size());
        return true;
    }

    std::span<const x509::DerAttribute> m_attributes;
    std::string_view m_dn;
    std::string_view m_rest;
    std::string m_text;
    std::string m_value;
};

} // namespace

bool DistinguishedName::getDnPart(const char* dn, const char* label, StringBuffer& out,
                                  LogBase& /*log*/) {
    return text::noThrow(false, [&] {
        std::vector<TextAttribute> attributes;
        static_cast<void>(
            x509::parseNameText(asView(dn), attributes)); // what was read still counts
        const std::string wanted = foldedLabel(asView(label));
        for (const TextAttribute& attribute : attributes) {
            if (foldedLabel(attribute.label) == wanted) {
                return out.appendView(attribute.value);
            }
        }
        return false;
    });
}

bool DistinguishedName::toVlCanonHashKey(const char* dn, StringBuffer& out, LogBase& /*log*/) {
    return text::noThrow(false, [&] {
        std::vector<TextAttribute> attributes;
        if (x509::parseNameText(asView(dn), attributes)) {
            return out.appendView(nameKey(attributes));
        }
        // What is no name still gets a key, by which equal texts are found.
        std::string folded;
        x509::appendFoldedValue(asView(dn), folded);
        out.appendView(folded);
        return false;
    });
}

void DistinguishedName::removeDnTags(const XString& dn, XString& out) {
    static_cast<void>(text::noThrow(false, [&] {
        std::vector<TextAttribute> attributes;
        static_cast<void>(x509::parseNameText(dn.getUtf8Sb().view(), attributes));
        std::string values;
        for (const TextAttribute& attribute : attributes) {
            values += &attribute == attributes.data() ? "" : ", ";
            values += attribute.value;
        }
        return out.setFromSbUtf8(StringBuffer(values));
    }));
}

bool DistinguishedName::fromDer(ByteView name, bool mostSpecificFirst, StringBuffer& out) {
    return text::noThrow(false, [&] {
        std::vector<NamePiece> pieces;
        std::string value;
        x509::NameReader reader(name);
        x509::DerAttribute attribute;
        while (reader.next(attribute)) {
            pieces.push_back({{}, attribute.startsComponent ? ',' : '+'});
            if (!appendDerAttribute(attribute, value, pieces.back().text)) {
                return false;
            }
        }
        if (reader.failed()) {
            return false;
        }
        std::string text;
        if (mostSpecificFirst) {
            for (std::size_t i = pieces.size(); i-- > 0;) {
                text += pieces[i].text;
                text.append(i != 0 ? 1 : 0, pieces[i].separator);
            }
        } else {
            for (std::size_t i = 0; i < pieces.size(); ++i) {
                text.append(i != 0 ? 1 : 0, pieces[i].separator);
                text += pieces[i].text;
            }
        }
        return out.appendView(text);
    });
}

bool DistinguishedName::isSpelledOut(ByteView name, std::string_view dn, bool eitherOrder) {
    return text::noThrow(false, [&] {
        constexpr std::size_t kMost = 16;
        std::array<x509::DerAttribute, kMost> attributes;
        std::size_t count = 0;
        x509::NameReader reader(name);
        for (; count < kMost && reader.next(attributes[count]); ++count) {}
        if (count == 0 || count == kMost || reader.failed()) {
            return false;
        }
        const std::span<const x509::DerAttribute> read(attributes.data(), count);
        SpelledName spelled(read, dn);
        return spelled.inOrder(true) || (eitherOrder && spelled.inOrder(false));
    });
}

} // namespace vantrel
