// SPDX-License-Identifier: MIT
#include "foundation/x509/path/general_name.h"

#include "foundation/x509/path/directory_name.h"

#include <algorithm>

namespace vantrel::x509 {

using asn1::DerElement;
using asn1::DerReader;
using asn1::Tag;

namespace {

// GeneralName ::= CHOICE { otherName [0], rfc822Name [1] IA5String, dNSName [2] IA5String,
//     x400Address [3], directoryName [4] EXPLICIT Name, ediPartyName [5],
//     uniformResourceIdentifier [6] IA5String, iPAddress [7] OCTET STRING,
//     registeredID [8] OBJECT IDENTIFIER }
constexpr Tag kTags[kNameForms] = {
    asn1::contextConstructed(0), asn1::contextPrimitive(1),   asn1::contextPrimitive(2),
    asn1::contextConstructed(3), asn1::contextConstructed(4), asn1::contextConstructed(5),
    asn1::contextPrimitive(6),   asn1::contextPrimitive(7),   asn1::contextPrimitive(8)};

// IA5String is ASCII. An octet above it, or a NUL that a careless reader would take for the end of
// the name, shows up here or in the comparison, which always takes the whole length.
bool isIa5(ByteView text) noexcept {
    return std::all_of(text.begin(), text.end(), [](std::uint8_t c) { return c < 0x80; });
}

// Other forms are compared octet for octet, or not at all; their contents are nobody's business
// here.
bool isWellFormed(const GeneralName& name) {
    switch (name.form) {
    case NameForm::Email:
    case NameForm::Dns:
    case NameForm::Uri: return isIa5(name.contents);
    case NameForm::Directory: {
        DerReader wrapper(name.contents);
        ByteView whole;
        return wrapper.readWhole(Tag::Sequence, whole) && wrapper.atEnd();
    }
    default: return true;
    }
}

} // namespace

bool readGeneralName(DerReader& reader, GeneralName& name) {
    // On a copy, so that a failure leaves the reader where it was.
    DerReader ahead = reader;
    DerElement element;
    if (!ahead.readAny(element)) {
        return false;
    }
    for (std::size_t form = 0; form < kNameForms; ++form) {
        if (element.tag != kTags[form]) {
            continue;
        }
        const GeneralName found = {static_cast<NameForm>(form), element.contents};
        if (!isWellFormed(found)) {
            return false;
        }
        name = found;
        reader = ahead;
        return true;
    }
    // A tag of another number is no GeneralName, nor is one whose constructed bit is wrong.
    return false;
}

bool readGeneralNames(DerReader names, std::vector<GeneralName>& out) {
    // GeneralNames ::= SEQUENCE SIZE (1..MAX) OF GeneralName
    if (names.atEnd()) {
        return false;
    }
    while (!names.atEnd()) {
        GeneralName name;
        if (!readGeneralName(names, name)) {
            return false;
        }
        out.push_back(name);
    }
    return true;
}

bool appendGeneralNameKey(const GeneralName& name, std::string& key) {
    // A digit, to keep keys apart from each other by their first octet.
    key.push_back(static_cast<char>('0' + static_cast<int>(name.form)));
    if (name.form != NameForm::Directory) {
        key += asText(name.contents);
        return true;
    }
    if (appendNameKey(name.contents, key)) {
        return true;
    }
    key.pop_back();
    return false;
}

} // namespace vantrel::x509
