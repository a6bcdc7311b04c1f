// SPDX-License-Identifier: MIT
#include "foundation/cms/signed_attributes.h"

#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_writer.h"
#include "foundation/cms/cms_oids.h"
#include "foundation/x509/oids.h"

#include <algorithm>

namespace vantrel::cms {

using asn1::DerElement;
using asn1::DerReader;
using asn1::Tag;
using x509::sameBytes;

namespace {

// AttributeValue ::= ANY
// Puts the one value of an attribute into `slot`, which no attribute may have filled before.
bool takeOnlyValue(DerReader values, ByteView& slot) noexcept {
    DerElement value;
    if (!slot.empty() || !values.readAny(value) || !values.atEnd()) {
        return false;
    }
    slot = value.whole;
    return true;
}

// Replaces the value in `slot` by its contents. False when the attribute was absent, or is of
// another type.
bool unwrap(Tag tag, ByteView& slot) noexcept {
    DerReader reader(slot);
    return reader.read(tag, slot) && !slot.empty();
}

} // namespace

bool parseSignedAttributes(ByteView elements, SignedAttributes& out) noexcept {
    // SignedAttributes ::= SET SIZE (1..MAX) OF Attribute
    SignedAttributes found;
    DerReader set(elements);
    for (std::size_t count = 0; !set.atEnd(); ++count) {
        // Attribute ::= SEQUENCE { attrType OBJECT IDENTIFIER, attrValues SET OF AttributeValue }
        DerReader attribute;
        ByteView type;
        DerReader values;
        if (!set.enter(Tag::Sequence, attribute) || !attribute.read(Tag::Oid, type) ||
            !attribute.enter(Tag::Set, values) || !attribute.atEnd() ||
            count == kMaxSignedAttributes) {
            return false;
        }
        ByteView* slot = nullptr;
        if (sameBytes(type, oid::kContentType)) {
            slot = &found.contentType;
        } else if (sameBytes(type, oid::kMessageDigest)) {
            slot = &found.messageDigest;
        } else if (sameBytes(type, oid::kSigningCertificate)) {
            slot = &found.signingCertificate;
        } else if (sameBytes(type, oid::kSigningCertificateV2)) {
            slot = &found.signingCertificateV2;
        }
        if (slot != nullptr && !takeOnlyValue(values, *slot)) {
            return false;
        }
    }
    // content-type ::= OBJECT IDENTIFIER, message-digest ::= OCTET STRING: RFC 5652 11.1 and 11.2
    // demand both. The other two stay whole, for signing_certificate.h.
    if (!unwrap(Tag::Oid, found.contentType) || !unwrap(Tag::OctetString, found.messageDigest)) {
        return false;
    }
    out = found;
    return true;
}

bool encodeSignedAttributes(ByteView elements, bool sorted, std::vector<std::uint8_t>& out) {
    std::vector<ByteView> order;
    DerReader set(elements);
    DerElement element;
    while (set.readAny(element)) {
        order.push_back(element.whole);
    }
    // X.690 11.6 pads the shorter encoding with zeros. Comparing as words of a dictionary gives the
    // same order: an encoding begins with its own length, so none is the beginning of another.
    const auto before = [](ByteView a, ByteView b) {
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
    };
    const bool reorder = sorted && !std::is_sorted(order.begin(), order.end(), before);
    if (reorder) {
        std::sort(order.begin(), order.end(), before);
    }
    asn1::DerWriter writer;
    writer.open(Tag::Set);
    for (const ByteView one : order) {
        writer.writeRaw(one);
    }
    writer.close();
    out.assign(writer.bytes().begin(), writer.bytes().end());
    return reorder;
}

} // namespace vantrel::cms
