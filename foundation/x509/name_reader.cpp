// SPDX-License-Identifier: MIT
#include "foundation/x509/name_reader.h"

#include "foundation/text/utf8.h"
#include "foundation/x509/oids.h"

#include <cstddef>
#include <cstdint>

namespace vantrel::x509 {

using asn1::DerElement;
using asn1::DerReader;
using asn1::Tag;

namespace {

bool appendCodePoint(std::uint32_t c, std::string& out) {
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0U | c >> 6U));
        out.push_back(static_cast<char>(0x80U | (c & 0x3FU)));
    } else if (c < 0x10000) {
        // Half of a pair is no character.
        if (c >= 0xD800 && c <= 0xDFFF) {
            return false;
        }
        out.push_back(static_cast<char>(0xE0U | c >> 12U));
        out.push_back(static_cast<char>(0x80U | (c >> 6U & 0x3FU)));
        out.push_back(static_cast<char>(0x80U | (c & 0x3FU)));
    } else if (c < 0x110000) {
        out.push_back(static_cast<char>(0xF0U | c >> 18U));
        out.push_back(static_cast<char>(0x80U | (c >> 12U & 0x3FU)));
        out.push_back(static_cast<char>(0x80U | (c >> 6U & 0x3FU)));
        out.push_back(static_cast<char>(0x80U | (c & 0x3FU)));
    } else {
        return false;
    }
    return true;
}

bool appendLatin1(ByteView bytes, std::string& out) {
    for (const std::uint8_t byte : bytes) {
        static_cast<void>(appendCodePoint(byte, out));
    }
    return true;
}

// Issuers put ISO 8859-1 into strings of every type; showing it so is better than not at all.
bool appendUtf8(ByteView bytes, std::string& out) {
    if (!text::isValidUtf8(asText(bytes))) {
        return appendLatin1(bytes, out);
    }
    out += asText(bytes);
    return true;
}

// UTF-16, big-endian; surrogate pairs are accepted though BMPString should have none.
bool appendBmp(ByteView bytes, std::string& out) {
    if (bytes.size() % 2 != 0) {
        return false;
    }
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        std::uint32_t c = static_cast<std::uint32_t>(bytes[i]) << 8U | bytes[i + 1];
        if (c >= 0xD800 && c < 0xDC00 && bytes.size() - i >= 4) {
            const std::uint32_t low = static_cast<std::uint32_t>(bytes[i + 2]) << 8U | bytes[i + 3];
            if (low >= 0xDC00 && low < 0xE000) {
                c = 0x10000 + ((c - 0xD800) << 10U) + (low - 0xDC00);
                i += 2;
            }
        }
        if (!appendCodePoint(c, out)) {
            return false;
        }
    }
    return true;
}

bool appendUniversal(ByteView bytes, std::string& out) {
    if (bytes.size() % 4 != 0) {
        return false;
    }
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        const std::uint32_t c = static_cast<std::uint32_t>(bytes[i]) << 24U |
                                static_cast<std::uint32_t>(bytes[i + 1]) << 16U |
                                static_cast<std::uint32_t>(bytes[i + 2]) << 8U | bytes[i + 3];
        if (!appendCodePoint(c, out)) {
            return false;
        }
    }
    return true;
}

bool appendByTag(Tag tag, ByteView contents, std::string& out) {
    switch (tag) {
    case Tag::Utf8String:
    case Tag::PrintableString:
    case Tag::Ia5String:
    case Tag::NumericString:
    case Tag::VisibleString:
    case Tag::GeneralString:
    case Tag::GraphicString:
    case Tag::VideotexString: return appendUtf8(contents, out);
    case Tag::TeletexString: return appendLatin1(contents, out);
    case Tag::BmpString: return appendBmp(contents, out);
    case Tag::UniversalString: return appendUniversal(contents, out);
    default: return false;
    }
}

} // namespace

NameReader::NameReader(ByteView name) noexcept {
    // Name ::= RDNSequence ::= SEQUENCE OF RelativeDistinguishedName
    DerReader reader(name);
    m_failed = !reader.enter(Tag::Sequence, m_components) || !reader.atEnd();
}

bool NameReader::next(DerAttribute& attribute) noexcept {
    if (m_failed) {
        return false;
    }
    attribute.startsComponent = m_attributes.atEnd();
    while (m_attributes.atEnd()) {
        if (m_components.atEnd()) {
            return false;
        }
        // RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue. Issuers in the
        // wild write empty sets, which are passed over.
        if (!m_components.enter(Tag::Set, m_attributes)) {
            m_failed = true;
            return false;
        }
    }
    // AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
    DerReader pair;
    if (!m_attributes.enter(Tag::Sequence, pair) || !pair.read(Tag::Oid, attribute.type) ||
        !pair.readAny(attribute.value) || !pair.atEnd()) {
        m_failed = true;
        return false;
    }
    return true;
}

bool isWellFormedName(ByteView name) noexcept {
    NameReader reader(name);
    DerAttribute attribute;
    while (reader.next(attribute)) {}
    return !reader.failed();
}

bool appendStringValue(Tag tag, ByteView contents, std::string& out) {
    const std::size_t before = out.size();
    if (appendByTag(tag, contents, out)) {
        return true;
    }
    out.resize(before);
    return false;
}

bool appendCommonName(ByteView name, std::string& out) {
    NameReader reader(name);
    DerAttribute attribute;
    DerElement found;
    while (reader.next(attribute)) {
        // Names run from the root to the leaf, so the last is the most specific.
        if (sameBytes(attribute.type, oid::kCommonName)) {
            found = attribute.value;
        }
    }
    return !reader.failed() && !found.whole.empty() &&
           appendStringValue(found.tag, found.contents, out);
}

} // namespace vantrel::x509
