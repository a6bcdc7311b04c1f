// SPDX-License-Identifier: MIT
#include "foundation/asn1/asn1_time.h"
#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_values.h"
#include "foundation/asn1/oid.h"
#include "foundation/text/no_throw.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/oids.h"

#include <limits>

// What a certificate says about its key and its holder (RFC 5280 4.1.2.5, 4.2).

namespace vantrel {

using asn1::DerReader;
using asn1::Tag;

bool VantrelX509::validity(std::int64_t& notBefore, std::int64_t& notAfter) const noexcept {
    DerReader reader(part(kValidity));
    // Validity ::= SEQUENCE { notBefore Time, notAfter Time }
    DerReader dates;
    return reader.enter(Tag::Sequence, dates) && asn1::readTime(dates, notBefore) &&
           asn1::readTime(dates, notAfter) && dates.atEnd();
}

ByteView VantrelX509::subjectPublicKeyBits() const noexcept {
    DerReader reader(publicKeyInfo());
    DerReader info;
    ByteView bits;
    if (!reader.enter(Tag::Sequence, info) || !info.skip() || !asn1::readOctetBits(info, bits)) {
        return {};
    }
    return bits;
}

bool VantrelX509::extension(ByteView oid, ByteView& value, bool& critical) const noexcept {
    DerReader reader(part(kExtensions));
    // Extensions ::= SEQUENCE SIZE (1..MAX) OF Extension
    DerReader extensions;
    if (!reader.enter(Tag::Sequence, extensions)) {
        return false;
    }
    while (!extensions.atEnd()) {
        // Extension ::= SEQUENCE {
        //     extnID     OBJECT IDENTIFIER,
        //     critical   BOOLEAN DEFAULT FALSE,
        //     extnValue  OCTET STRING }
        DerReader one;
        ByteView id;
        ByteView contents;
        bool isCritical = false;
        if (!extensions.enter(Tag::Sequence, one) || !one.read(Tag::Oid, id) ||
            (one.nextIs(Tag::Boolean) && !asn1::readBoolean(one, isCritical)) ||
            !one.read(Tag::OctetString, contents) || !one.atEnd()) {
            return false;
        }
        if (x509::sameBytes(id, oid)) {
            value = contents;
            critical = isCritical;
            return true;
        }
    }
    return false;
}

bool VantrelX509::subjectKeyId(ByteView& id) const noexcept {
    ByteView value;
    bool critical = false;
    if (!extension(x509::oid::kSubjectKeyId, value, critical)) {
        return false;
    }
    // SubjectKeyIdentifier ::= KeyIdentifier ::= OCTET STRING
    DerReader reader(value);
    ByteView contents;
    if (!reader.read(Tag::OctetString, contents) || !reader.atEnd() || contents.empty()) {
        return false;
    }
    id = contents;
    return true;
}

bool VantrelX509::keyUsage(std::uint32_t& bits) const noexcept {
    ByteView value;
    bool critical = false;
    if (!extension(x509::oid::kKeyUsage, value, critical)) {
        return false;
    }
    // KeyUsage ::= BIT STRING
    DerReader reader(value);
    return asn1::readNamedBits(reader, bits) && reader.atEnd();
}

void VantrelX509::extendedKeyUsage(std::string_view purpose, bool& present, bool& named,
                                   bool& onlyOne, bool& critical) const {
    named = false;
    onlyOne = false;
    critical = false;
    ByteView value;
    present = extension(x509::oid::kExtendedKeyUsage, value, critical);
    asn1::OidBytes wanted;
    if (!present || !asn1::oidFromText(purpose, wanted)) {
        return;
    }
    // ExtKeyUsageSyntax ::= SEQUENCE SIZE (1..MAX) OF KeyPurposeId
    DerReader reader(value);
    DerReader purposes;
    if (!reader.enter(Tag::Sequence, purposes)) {
        return;
    }
    unsigned others = 0;
    while (!purposes.atEnd()) {
        ByteView id;
        if (!purposes.read(Tag::Oid, id)) {
            named = false;
            return;
        }
        const bool matches = x509::sameBytes(id, wanted.view());
        named = named || matches;
        others += matches ? 0 : 1;
    }
    onlyOne = named && others == 0;
}

bool VantrelX509::basicConstraints(bool& isCa, int& pathLength) const noexcept {
    ByteView value;
    bool critical = false;
    if (!extension(x509::oid::kBasicConstraints, value, critical)) {
        return false;
    }
    // BasicConstraints ::= SEQUENCE {
    DerReader reader(value);
    DerReader constraints;
    if (!reader.enter(Tag::Sequence, constraints) || !reader.atEnd()) {
        return false;
    }
    //     cA                 BOOLEAN DEFAULT FALSE,
    bool ca = false;
    if (constraints.nextIs(Tag::Boolean) && !asn1::readBoolean(constraints, ca)) {
        return false;
    }
    //     pathLenConstraint  INTEGER (0..MAX) OPTIONAL }
    std::int64_t length = -1;
    if (!constraints.atEnd() &&
        (!asn1::readSmallInteger(constraints, length) || length < 0 ||
         length > std::numeric_limits<int>::max() || !constraints.atEnd())) {
        return false;
    }
    isCa = ca;
    pathLength = static_cast<int>(length);
    return true;
}

} // namespace vantrel
