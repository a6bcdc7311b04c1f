// SPDX-License-Identifier: MIT
#include "foundation/x509/path/extensions.h"

#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_values.h"
#include "foundation/x509/oids.h"

#include <algorithm>

namespace vantrel::x509 {

using asn1::DerReader;
using asn1::Tag;

bool bytesBefore(ByteView a, ByteView b) noexcept {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
}

bool readExtensions(ByteView whole, std::vector<Extension>& out) {
    // Extensions ::= SEQUENCE SIZE (1..MAX) OF Extension
    DerReader reader(whole);
    DerReader list;
    if (!reader.enter(Tag::Sequence, list) || !reader.atEnd() || list.atEnd()) {
        return false;
    }
    while (!list.atEnd()) {
        // False written out is tolerated: DER forbids it, certificates in use have it, and it means
        // the same.
        // Extension ::= SEQUENCE {
        //     extnID     OBJECT IDENTIFIER,
        //     critical   BOOLEAN DEFAULT FALSE,
        //     extnValue  OCTET STRING }
        DerReader fields;
        Extension extension;
        if (!list.enter(Tag::Sequence, fields) || !fields.read(Tag::Oid, extension.id) ||
            (fields.nextIs(Tag::Boolean) && !asn1::readBoolean(fields, extension.critical)) ||
            !fields.read(Tag::OctetString, extension.value) || !fields.atEnd()) {
            return false;
        }
        out.push_back(extension);
    }
    // RFC 5280 4.2: no extension twice. Sorted, since a hostile list may be long. Two programs of
    // which one takes the first and the other the last would see two certificates in one.
    std::vector<ByteView> ids;
    for (const Extension& extension : out) {
        ids.push_back(extension.id);
    }
    std::sort(ids.begin(), ids.end(), bytesBefore);
    return std::adjacent_find(ids.begin(), ids.end(), sameBytes) == ids.end();
}

} // namespace vantrel::x509
