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
#include <cstddef>
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

bool appendDerAttribute(const x509::DerAttribute& attribute, std::string& out) {
    if (!x509::appendAttributeLabel(attribute.type, out)) {
        return false;
    }
    out.push_back('=');
    std::string value;
    if (x509::appendStringValue(attribute.value.tag, attribute.value.contents, value)) {
        x509::appendEscapedValue(value, out);
    } else {
        x509::appendHexValue(attribute.value.whole, out);
    }
    return true;
}

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
        x509::NameReader reader(name);
        x509::DerAttribute attribute;
        while (reader.next(attribute)) {
            pieces.push_back({{}, attribute.startsComponent ? ',' : '+'});
            if (!appendDerAttribute(attribute, pieces.back().text)) {
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

} // namespace vantrel
