// SPDX-License-Identifier: MIT
#include "foundation/x509/path/directory_name.h"

#include "foundation/asn1/der_reader.h"
#include "foundation/text/name_preparation.h"
#include "foundation/text/utf8.h"
#include "foundation/x509/name_reader.h"
#include "foundation/x509/name_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vantrel::x509 {

using asn1::DerElement;
using asn1::DerReader;
using asn1::Tag;

namespace {

// What a value is compared as; part of its key, so that the two kinds never meet.
constexpr char kFolded = 'f';
constexpr char kEncoded = 'e';

// A length before the bytes keeps two neighbours from being read as one.
void appendCounted(std::string_view bytes, std::string& out) {
    for (unsigned shift = 32; shift != 0;) {
        shift -= 8;
        out.push_back(static_cast<char>(bytes.size() >> shift & 0xFFU));
    }
    out += bytes;
}

// X.680 41.4
// What a PrintableString holds beyond this is not what its type says, and then its octets may stand
// for other letters.
bool isPrintable(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view(" '()+,-./:=?").find(c) != std::string_view::npos;
}

bool isAscii(char c) noexcept { return static_cast<unsigned char>(c) < 0x80; }

// Whether the value is a text that can be compared with one of another type.
bool isComparableText(Tag tag, std::string_view contents) {
    switch (tag) {
    case Tag::PrintableString: return std::all_of(contents.begin(), contents.end(), isPrintable);
    case Tag::Ia5String: return std::all_of(contents.begin(), contents.end(), isAscii);
    case Tag::Utf8String: return text::isValidUtf8(contents);
    case Tag::BmpString:
    // Two and four octets a character; whether they are characters shows when they are converted.
    case Tag::UniversalString: return true;
    default: return false;
    }
}

bool isPlain(char c) noexcept { return c >= ' ' && c <= '~'; }

// RFC 5280 7.1 asks for the preparation of RFC 4518. Most names are printable ASCII, for which
// folding letter case and white space comes to the same and costs less.
bool appendComparable(std::string_view text, std::string& out) {
    if (!std::all_of(text.begin(), text.end(), isPlain)) {
        return text::appendPrepared(text, out);
    }
    appendFoldedValue(text, out);
    return true;
}

void appendValueKey(const DerElement& value, std::string& out) {
    std::string text;
    std::string comparable;
    // TeletexString and the like have no conversion that all programs agree on, and neither has a
    // text that breaks its own rules. Equal octets are equal names; more is not claimed. A wrong
    // match would hand one authority's certificates to another.
    if (!isComparableText(value.tag, asText(value.contents)) ||
        !appendStringValue(value.tag, value.contents, text) ||
        !appendComparable(text, comparable)) {
        out.push_back(kEncoded);
        appendCounted(asText(value.whole), out);
        return;
    }
    out.push_back(kFolded);
    appendCounted(comparable, out);
}

} // namespace

bool appendComponentKey(ByteView setContents, std::string& key) {
    // RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
    DerReader set(setContents);
    if (set.atEnd()) {
        return false;
    }
    std::vector<std::string> attributes;
    while (!set.atEnd()) {
        // AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
        DerReader pair;
        ByteView type;
        DerElement value;
        if (!set.enter(Tag::Sequence, pair) || !pair.read(Tag::Oid, type) || !pair.readAny(value) ||
            !pair.atEnd()) {
            return false;
        }
        std::string attribute;
        // The type goes ahead of the value, so that an organisation never equals a person of that
        // name.
        appendCounted(asText(type), attribute);
        appendValueKey(value, attribute);
        attributes.push_back(std::move(attribute));
    }
    // A component is a set: signers need not write its attributes in the order of DER.
    std::sort(attributes.begin(), attributes.end());
    std::string component;
    for (const std::string& attribute : attributes) {
        component += attribute;
    }
    appendCounted(component, key);
    return true;
}

bool appendNameKey(ByteView name, std::string& key) {
    // The empty name has an empty key, which no subject is found by (candidate_store.cpp).
    const std::size_t before = key.size();
    // Name ::= RDNSequence ::= SEQUENCE OF RelativeDistinguishedName
    DerReader reader(name);
    DerReader components;
    bool wellFormed = reader.enter(Tag::Sequence, components) && reader.atEnd();
    while (wellFormed && !components.atEnd()) {
        ByteView set;
        wellFormed = components.read(Tag::Set, set) && appendComponentKey(set, key);
    }
    if (!wellFormed) {
        key.resize(before);
    }
    return wellFormed;
}

} // namespace vantrel::x509
