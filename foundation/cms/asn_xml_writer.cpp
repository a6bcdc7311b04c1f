// SPDX-License-Identifier: MIT
#include "foundation/cms/asn_xml_writer.h"

#include "foundation/asn1/ber_header.h"
#include "foundation/asn1/der_reader.h"
#include "foundation/cms/asn_xml_types.h"
#include "foundation/cms/asn_xml_values.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace vantrel::cms {

using asn1::BerHeader;

namespace {

// Reads one header at a time. `m_levels` are the constructed elements that are open; the innermost
// one holds what is left to be read.
class AsnXmlWriter {
public:
    AsnXmlWriter(ByteView ber, std::string& out) noexcept : m_rest(ber), m_out(out) {}

    bool run() {
        do {
            if (!m_levels.empty() && !m_levels.back().indefinite && m_levels.back().rest.empty()) {
                closeLevel();
            } else if (!step()) {
                return false;
            }
        } while (!m_levels.empty());
        return m_rest.empty();
    }

private:
    // One constructed element that is being written.
    struct Level {
        ByteView rest; // what is left of it; of an indefinite one, what is left of its parent
        std::string_view name;
        bool indefinite;
    };

    // What is to be read next; headers and contents are taken off its front.
    ByteView& input() noexcept { return m_levels.empty() ? m_rest : m_levels.back().rest; }

    bool step() {
        BerHeader header;
        if (!asn1::readBerHeader(input(), header)) {
            return false;
        }
        const ByteView after = input().subspan(header.size);
        // Two zero octets end an element of indefinite length, and are nothing anywhere else.
        if (header.isEndOfContents()) {
            if (m_levels.empty() || !m_levels.back().indefinite) {
                return false;
            }
            input() = after;
            closeLevel();
            return true;
        }
        if (header.constructed()) {
            return openLevel(header, after);
        }
        writePrimitive(header, after.first(header.length));
        input() = after.subspan(header.length);
        return true;
    }

    bool openLevel(const BerHeader& header, ByteView after) {
        if (m_levels.size() == asn1::kMaxNesting) {
            return false;
        }
        const AsnXmlType* const type =
            header.isUniversal() ? asnXmlTypeByNumber(header.number) : nullptr;
        // <sequence> and <set> are constructed by their names; <octets constructed="1"> is a string
        // in pieces; all else goes by class and number.
        const bool plain = type != nullptr && type->form == AsnXmlForm::Children;
        const bool string = type != nullptr && asn1::isStringType(header.number);
        // The contents of a definite level are cut off its parent at once; those of an indefinite
        // one end where its end-of-contents octets stand, so that it takes all its parent has left
        // and gives the rest back (closeLevel).
        Level level;
        level.name = plain || string ? type->name : asnXmlClassName(header.identifier >> 6U);
        level.indefinite = header.indefinite;
        openTag(level.name);
        if (!plain && !string) {
            attribute("tag", std::to_string(header.number));
        }
        if (!plain) {
            attribute("constructed", "1");
        }
        lengthAttribute(header);
        m_out.push_back('>');
        if (header.indefinite) {
            level.rest = after;
        } else {
            level.rest = after.first(header.length);
            input() = after.subspan(header.length);
        }
        m_levels.push_back(level);
        return true;
    }

    void closeLevel() {
        const Level level = m_levels.back();
        m_levels.pop_back();
        if (level.indefinite) {
            input() = level.rest; // goes on behind the end-of-contents octets
        }
        closeTag(level.name);
    }

    // Contents that their type's form cannot carry go as base64, and the attribute says so.
    // Elements that are known by class and number only are always base64.
    void writePrimitive(const BerHeader& header, ByteView contents) {
        const AsnXmlType* type = header.isUniversal() ? asnXmlTypeByNumber(header.number) : nullptr;
        if (type != nullptr && type->form == AsnXmlForm::Children) {
            type = nullptr; // a primitive SEQUENCE is not one
        }
        const std::string_view name =
            type != nullptr ? type->name : asnXmlClassName(header.identifier >> 6U);
        std::string text;
        unsigned unused = 0;
        const bool exact = type != nullptr && appendValueText(*type, contents, text, unused);
        if (!exact) {
            text.clear();
            static_cast<void>(appendBase64Text(contents, text));
        }
        openTag(name);
        if (type == nullptr) {
            attribute("tag", std::to_string(header.number));
        } else if (!exact) {
            attribute("encoding", "base64");
        } else if (unused != 0) {
            attribute("unused", std::to_string(unused));
        }
        lengthAttribute(header);
        if (text.empty()) {
            m_out += "/>";
            return;
        }
        m_out.push_back('>');
        m_out += text;
        closeTag(name);
    }

    void openTag(std::string_view name) {
        m_out.push_back('<');
        m_out += name;
    }
    void closeTag(std::string_view name) {
        m_out += "</";
        m_out += name;
        m_out.push_back('>');
    }
    void attribute(std::string_view name, std::string_view value) {
        m_out.append(" ").append(name).append("=\"").append(value).append("\"");
    }
    // The number of octets after the first in which the length is written, where DER would take
    // fewer.
    void lengthAttribute(const BerHeader& header) {
        if (header.indefinite) {
            attribute("length", "indefinite");
        } else if (!header.shortestLength) {
            attribute("length", std::to_string(header.size - header.tagSize - 1));
        }
    }

    ByteView m_rest;
    std::string& m_out;
    std::vector<Level> m_levels;
};

} // namespace

bool writeAsnXml(ByteView ber, std::string& out) {
    const std::size_t before = out.size();
    if (AsnXmlWriter(ber, out).run()) {
        return true;
    }
    out.resize(before);
    return false;
}

} // namespace vantrel::cms
