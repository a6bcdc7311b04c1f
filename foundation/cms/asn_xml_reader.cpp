// SPDX-License-Identifier: MIT
#include "foundation/cms/asn_xml_reader.h"

#include "foundation/asn1/ber_header.h"
#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_writer.h"
#include "foundation/cms/asn_xml_types.h"
#include "foundation/cms/asn_xml_values.h"
#include "foundation/x509/keys/xml_element.h"

#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

namespace vantrel::cms {

using x509::XmlElement;

namespace {

// X.690 8.1.3: the first length octet, and how many more the long form may have (FF is reserved).
constexpr std::uint8_t kIndefinite = 0x80;
constexpr std::uint32_t kMaxLengthOctets = 126;

// Decimal digits and nothing else, below 2^32.
bool parseNumber(std::string_view text, std::uint32_t& value) noexcept {
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return result.ec == std::errc() && result.ptr == end;
}

// What an element of the rendering says of its ASN.1 element, apart from the contents.
struct Description {
    const AsnXmlType* type = nullptr; // null: known by class and number only
    unsigned classBits = 0;
    std::uint32_t number = 0;
    bool constructed = false;
    bool base64 = false;
    std::uint32_t unused = 0;
    bool indefinite = false;
    std::uint32_t lengthOctets = 0; // 0: as few as can be
};

// length="indefinite" or length="n". Only constructed elements can be indefinite (X.690 8.1.3.2).
bool describeLength(const XmlElement& element, Description& d) {
    std::string value;
    if (!element.attribute("length", value)) {
        return true;
    }
    d.indefinite = value == "indefinite";
    return d.indefinite ? d.constructed
                        : parseNumber(value, d.lengthOctets) && d.lengthOctets != 0 &&
                              d.lengthOctets <= kMaxLengthOctets;
}

// Everything that the element's name and attributes say; attributes that have no meaning are
// ignored.
bool describe(const XmlElement& element, Description& d) {
    std::string value;
    d.type = asnXmlTypeByName(element.localName());
    const bool marked = element.attribute("constructed", value);
    if (marked && value != "1") {
        return false;
    }
    if (d.type != nullptr) {
        d.number = d.type->number;
        d.constructed = marked || d.type->form == AsnXmlForm::Children;
        // A string may be cut into pieces, each an element; other types cannot be constructed, or
        // always are.
        if (marked && !asn1::isStringType(d.number)) {
            return false;
        }
    } else {
        const int classBits = asnXmlClassByName(element.localName());
        if (classBits < 0 || !element.attribute("tag", value) || !parseNumber(value, d.number)) {
            return false;
        }
        d.classBits = static_cast<unsigned>(classBits);
        d.constructed = marked;
    }
    // What is known by its number only has no text form.
    d.base64 = d.type == nullptr;
    if (element.attribute("encoding", value)) {
        if (value != "base64") {
            return false;
        }
        d.base64 = true;
    }
    if (element.attribute("unused", value) && !parseNumber(value, d.unused)) {
        return false;
    }
    return describeLength(element, d);
}

// Walks the subtree without recursion. Contents are written as they come and the length is put
// before them when their end is known: a byte moves at most once a level, and levels are few.
class AsnXmlReader {
public:
    AsnXmlReader(const xml::XmlDocument& document, std::vector<std::uint8_t>& out) noexcept
        : m_document(document), m_out(out) {}

    bool run(xml::ElementId root) {
        if (!visit(root)) {
            return false;
        }
        while (!m_levels.empty()) {
            Level& level = m_levels.back();
            const xml::ElementId child = level.nextChild;
            if (child == xml::kNoElement) {
                if (!closeLevel()) {
                    return false;
                }
                continue;
            }
            level.nextChild = m_document.nextChild(level.element, child);
            if (!visit(child)) {
                return false;
            }
        }
        return true;
    }

private:
    struct Level {
        Description description;
        xml::ElementId element;
        xml::ElementId nextChild;
        std::size_t start; // in the output, where the contents begin
    };

    bool visit(xml::ElementId id) {
        const XmlElement element(m_document, id);
        Description d;
        if (!describe(element, d)) {
            return false;
        }
        appendIdentifier(d);
        if (d.constructed) {
            if (m_levels.size() == asn1::kMaxNesting) {
                return false;
            }
            if (d.indefinite) {
                m_out.push_back(kIndefinite);
            }
            m_levels.push_back({d, id, m_document.firstChild(id), m_out.size()});
            return true;
        }
        // Primitive: the text directly in the element, references resolved.
        std::string text;
        element.appendContent(text);
        const std::size_t start = m_out.size();
        if (d.base64 ? !appendBase64Bytes(text, m_out)
                     : !appendValueBytes(*d.type, text, d.unused, m_out)) {
            return false;
        }
        return insertLength(d, start);
    }

    bool closeLevel() {
        const Level level = m_levels.back();
        m_levels.pop_back();
        if (level.description.indefinite) {
            // end-of-contents, X.690 8.1.5
            m_out.insert(m_out.end(), 2, 0);
            return true;
        }
        return insertLength(level.description, level.start);
    }

    // X.690 8.1.2: class, form and number in one octet, or numbers from 31 on behind it, seven bits an
    // octet, the highest first.
    void appendIdentifier(const Description& d) {
        const unsigned leading = d.classBits << 6U | (d.constructed ? 0x20U : 0U);
        if (d.number < 31) {
            m_out.push_back(static_cast<std::uint8_t>(leading | d.number));
            return;
        }
        m_out.push_back(static_cast<std::uint8_t>(leading | 0x1FU));
        unsigned shift = 28;
        while (d.number >> shift == 0) {
            shift -= 7;
        }
        for (; shift != 0; shift -= 7) {
            m_out.push_back(static_cast<std::uint8_t>(0x80U | (d.number >> shift & 0x7FU)));
        }
        m_out.push_back(static_cast<std::uint8_t>(d.number & 0x7FU));
    }

    // Puts the length before the contents that begin at `start`: in its shortest form, or in as
    // many octets as the rendering says. False when they are too few.
    bool insertLength(const Description& d, std::size_t start) {
        const std::size_t length = m_out.size() - start;
        const auto at = m_out.begin() + static_cast<std::ptrdiff_t>(start);
        if (d.lengthOctets == 0) {
            std::uint8_t octets[9];
            const std::size_t count = asn1::encodeLength(length, octets);
            m_out.insert(at, octets, octets + count);
            return true;
        }
        std::vector<std::uint8_t> octets(1 + d.lengthOctets, 0);
        octets[0] = static_cast<std::uint8_t>(0x80U | d.lengthOctets);
        std::size_t rest = length;
        for (std::size_t i = octets.size() - 1; i != 0; --i) {
            octets[i] = static_cast<std::uint8_t>(rest);
            rest >>= 8U;
        }
        m_out.insert(at, octets.begin(), octets.end());
        return rest == 0;
    }

    const xml::XmlDocument& m_document;
    std::vector<std::uint8_t>& m_out;
    std::vector<Level> m_levels;
};

} // namespace

bool readAsnXml(const xml::XmlDocument& document, xml::ElementId element,
                std::vector<std::uint8_t>& out) {
    return AsnXmlReader(document, out).run(element);
}

} // namespace vantrel::cms
