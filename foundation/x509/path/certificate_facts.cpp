// SPDX-License-Identifier: MIT
#include "foundation/x509/path/certificate_facts.h"

#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_values.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/path/directory_name.h"
#include "foundation/x509/path/extensions.h"

#include <algorithm>
#include <limits>

namespace vantrel::x509 {

using asn1::DerReader;
using asn1::Tag;

namespace {

constexpr std::size_t kLongestSerialNumber = 20;

// SkipCerts and pathLenConstraint: INTEGER (0..MAX). One that is larger than any path is as good as
// the largest number here.
bool readCount(ByteView contents, std::optional<std::uint32_t>& count) noexcept {
    // A negative number is outside of the grammar: there is nothing that it could allow.
    if (contents.empty() || (contents[0] & 0x80U) != 0) {
        return false;
    }
    const ByteView magnitude = asn1::withoutLeadingZeros(contents);
    std::uint32_t value = std::numeric_limits<std::uint32_t>::max();
    // Up to three octets fit without a look at the carry, and no path is as long as that.
    if (magnitude.size() < 4) {
        value = 0;
        for (const std::uint8_t byte : magnitude) {
            value = value << 8U | byte;
        }
    }
    count = value;
    return true;
}

// The contents of the one SEQUENCE that an extension's value is.
bool enterValue(ByteView value, DerReader& fields) noexcept {
    DerReader reader(value);
    return reader.enter(Tag::Sequence, fields) && reader.atEnd();
}

// Each reader below takes the value of one extension and must use all of it: octets behind what the
// grammar has may mean something to another program, and then the two disagree about a certificate.
bool readSubjectKeyId(ByteView value, bool /*critical*/, CertificateFacts& facts) {
    // SubjectKeyIdentifier ::= KeyIdentifier ::= OCTET STRING
    DerReader reader(value);
    return reader.read(Tag::OctetString, facts.subjectKeyId) && reader.atEnd();
}

bool readAuthorityKeyId(ByteView value, bool /*critical*/, CertificateFacts& facts) {
    // AuthorityKeyIdentifier ::= SEQUENCE {
    //     keyIdentifier              [0] KeyIdentifier OPTIONAL,
    //     authorityCertIssuer        [1] GeneralNames OPTIONAL,
    //     authorityCertSerialNumber  [2] CertificateSerialNumber OPTIONAL }
    DerReader fields;
    if (!enterValue(value, fields)) {
        return false;
    }
    if (fields.nextIs(asn1::contextPrimitive(0)) &&
        !fields.read(asn1::contextPrimitive(0), facts.authorityKeyId)) {
        return false;
    }
    // Issuer and serial number would name one certificate and not a key, and go wrong as soon as an
    // authority is certified anew. Nothing is decided by them.
    return fields.skipOptional(asn1::contextConstructed(1)) &&
           fields.skipOptional(asn1::contextPrimitive(2)) && fields.atEnd();
}

bool readKeyUsage(ByteView value, bool /*critical*/, CertificateFacts& facts) {
    // KeyUsage ::= BIT STRING { digitalSignature (0), ..., decipherOnly (8) }
    DerReader reader(value);
    std::uint32_t bits = 0;
    if (!asn1::readNamedBits(reader, bits) || !reader.atEnd()) {
        return false;
    }
    facts.keyUsage = bits;
    return true;
}

bool readBasicConstraints(ByteView value, bool /*critical*/, CertificateFacts& facts) {
    // BasicConstraints ::= SEQUENCE {
    DerReader fields;
    if (!enterValue(value, fields)) {
        return false;
    }
    //     cA                 BOOLEAN DEFAULT FALSE,
    if (fields.nextIs(Tag::Boolean) && !asn1::readBoolean(fields, facts.isCa)) {
        return false;
    }
    //     pathLenConstraint  INTEGER (0..MAX) OPTIONAL }
    ByteView length;
    if (fields.nextIs(Tag::Integer) &&
        (!fields.read(Tag::Integer, length) || !readCount(length, facts.pathLength))) {
        return false;
    }
    return fields.atEnd();
}

bool readPurposes(ByteView value, bool /*critical*/, CertificateFacts& facts) {
    // ExtKeyUsageSyntax ::= SEQUENCE SIZE (1..MAX) OF KeyPurposeId
    DerReader purposes;
    if (!enterValue(value, purposes) || purposes.atEnd()) {
        return false;
    }
    facts.hasPurposes = true;
    while (!purposes.atEnd()) {
        ByteView id;
        if (!purposes.read(Tag::Oid, id)) {
            return false;
        }
        facts.purposes.push_back(id);
    }
    return true;
}

bool readAlternativeNames(ByteView value, bool /*critical*/, CertificateFacts& facts) {
    DerReader names;
    // Unlike the directory names of a list, names of any form are read and kept: a constraint may
    // be about each of them.
    facts.hasAlternativeNames = true;
    return enterValue(value, names) && readGeneralNames(names, facts.alternativeNames);
}

bool readSubtrees(DerReader list, std::vector<ComparableName>& subtrees) {
    // GeneralSubtrees ::= SEQUENCE SIZE (1..MAX) OF GeneralSubtree
    if (list.atEnd()) {
        return false;
    }
    while (!list.atEnd()) {
        // GeneralSubtree ::= SEQUENCE { base GeneralName, minimum [0] BaseDistance DEFAULT 0,
        //     maximum [1] BaseDistance OPTIONAL }: no profile uses the distances.
        DerReader subtree;
        // An authority that writes minimum or maximum is refused by the atEnd() below (RFC 5280
        // 4.2.1.10: minimum MUST be zero, maximum MUST be absent). A base that cannot be judged is
        // a fault of the authority: to pass over it would let through what it was to stop.
        ComparableName base;
        if (!list.enter(Tag::Sequence, subtree) || !readGeneralName(subtree, base.name) ||
            !subtree.atEnd() || !isUsableConstraint(base.name) ||
            (base.name.form == NameForm::Directory &&
             !appendNameKey(base.name.contents, base.key))) {
            return false;
        }
        subtrees.push_back(std::move(base));
    }
    return true;
}

bool readNameConstraints(ByteView value, bool /*critical*/, CertificateFacts& facts) {
    // NameConstraints ::= SEQUENCE {
    //     permittedSubtrees  [0] GeneralSubtrees OPTIONAL,
    //     excludedSubtrees   [1] GeneralSubtrees OPTIONAL }
    DerReader fields;
    // An empty extension says nothing and RFC 5280 4.2.1.10 forbids it. Somebody meant something
    // that got lost, which is no reason to trust more.
    if (!enterValue(value, fields) || fields.atEnd()) {
        return false;
    }
    DerReader list;
    if (fields.nextIs(asn1::contextConstructed(0)) &&
        (!fields.enter(asn1::contextConstructed(0), list) ||
         !readSubtrees(list, facts.permitted))) {
        return false;
    }
    if (fields.nextIs(asn1::contextConstructed(1)) &&
        (!fields.enter(asn1::contextConstructed(1), list) || !readSubtrees(list, facts.excluded))) {
        return false;
    }
    return fields.atEnd();
}

// Passes over the qualifiers of one policy. `known`: whether each is a CPS pointer or user notice.
bool readQualifiers(DerReader policy, bool& known) {
    // policyQualifiers SEQUENCE SIZE (1..MAX) OF PolicyQualifierInfo OPTIONAL
    DerReader list;
    if (policy.atEnd()) {
        return true;
    }
    if (!policy.enter(Tag::Sequence, list) || !policy.atEnd() || list.atEnd()) {
        return false;
    }
    while (!list.atEnd()) {
        // PolicyQualifierInfo ::= SEQUENCE { policyQualifierId OBJECT IDENTIFIER, qualifier ANY }
        DerReader qualifier;
        ByteView id;
        if (!list.enter(Tag::Sequence, qualifier) || !qualifier.read(Tag::Oid, id) ||
            !qualifier.skip() || !qualifier.atEnd()) {
            return false;
        }
        known = known && (sameBytes(id, oid::kCpsQualifier) || sameBytes(id, oid::kUserNotice));
    }
    return true;
}

bool readPolicies(ByteView value, bool critical, CertificateFacts& facts) {
    // certificatePolicies ::= SEQUENCE SIZE (1..MAX) OF PolicyInformation
    DerReader list;
    if (!enterValue(value, list) || list.atEnd()) {
        return false;
    }
    bool known = true;
    while (!list.atEnd()) {
        // PolicyInformation ::= SEQUENCE { policyIdentifier CertPolicyId, policyQualifiers ... }
        DerReader policy;
        ByteView id;
        if (!list.enter(Tag::Sequence, policy) || !policy.read(Tag::Oid, id) ||
            !readQualifiers(policy, known)) {
            return false;
        }
        facts.policies.push_back(id);
    }
    // RFC 5280 4.2.1.4: a critical extension binds us to its qualifiers too.
    if (critical && !known) {
        facts.unknownCritical = oid::kCertificatePolicies;
    }
    std::vector<ByteView> sorted = facts.policies;
    std::sort(sorted.begin(), sorted.end(), bytesBefore);
    return std::adjacent_find(sorted.begin(), sorted.end(), sameBytes) == sorted.end();
}

bool readMappings(ByteView value, bool /*critical*/, CertificateFacts& facts) {
    // PolicyMappings ::= SEQUENCE SIZE (1..MAX) OF SEQUENCE {
    //     issuerDomainPolicy CertPolicyId, subjectDomainPolicy CertPolicyId }
    DerReader list;
    if (!enterValue(value, list) || list.atEnd()) {
        return false;
    }
    while (!list.atEnd()) {
        DerReader mapping;
        ByteView issuerPolicy;
        ByteView subjectPolicy;
        if (!list.enter(Tag::Sequence, mapping) || !mapping.read(Tag::Oid, issuerPolicy) ||
            !mapping.read(Tag::Oid, subjectPolicy) || !mapping.atEnd()) {
            return false;
        }
        // The same pair may stand twice; the graph makes one edge of it.
        facts.mappings.emplace_back(issuerPolicy, subjectPolicy);
    }
    return true;
}

bool readPolicyConstraints(ByteView value, bool /*critical*/, CertificateFacts& facts) {
    // PolicyConstraints ::= SEQUENCE {
    //     requireExplicitPolicy  [0] SkipCerts OPTIONAL,
    //     inhibitPolicyMapping   [1] SkipCerts OPTIONAL }
    DerReader fields;
    // Empty is forbidden, as for name constraints (RFC 5280 4.2.1.11).
    if (!enterValue(value, fields) || fields.atEnd()) {
        return false;
    }
    ByteView count;
    if (fields.nextIs(asn1::contextPrimitive(0)) &&
        (!fields.read(asn1::contextPrimitive(0), count) ||
         !readCount(count, facts.requireExplicitPolicy))) {
        return false;
    }
    if (fields.nextIs(asn1::contextPrimitive(1)) &&
        (!fields.read(asn1::contextPrimitive(1), count) ||
         !readCount(count, facts.inhibitPolicyMapping))) {
        return false;
    }
    return fields.atEnd();
}

bool readInhibitAnyPolicy(ByteView value, bool /*critical*/, CertificateFacts& facts) {
    // InhibitAnyPolicy ::= SkipCerts
    DerReader reader(value);
    ByteView count;
    return reader.read(Tag::Integer, count) && reader.atEnd() &&
           readCount(count, facts.inhibitAnyPolicy);
}

bool readPoints(ByteView value, bool /*critical*/, CertificateFacts& facts) {
    // Read with the others although only revocation needs it: a malformed one is a fault of the
    // certificate, whether somebody asks for its status or not.
    return readDistributionPoints(value, facts.distributionPoints);
}

// Nothing in it matters to a path, so it may be critical.
bool passOver(ByteView /*value*/, bool /*critical*/, CertificateFacts& /*facts*/) { return true; }

struct KnownExtension {
    ByteView id;
    // A reader may set unknownCritical by itself, where it understands the extension but not what
    // it binds us to.
    bool (*read)(ByteView value, bool critical, CertificateFacts& facts);
};

// RFC 5280 4.2.1. What is not listed is ignored, or when it is critical refuses the certificate.
constexpr KnownExtension kExtensions[] = {
    {oid::kSubjectKeyId, readSubjectKeyId},
    {oid::kAuthorityKeyId, readAuthorityKeyId},
    {oid::kKeyUsage, readKeyUsage},
    {oid::kBasicConstraints, readBasicConstraints},
    {oid::kExtendedKeyUsage, readPurposes},
    {oid::kSubjectAltName, readAlternativeNames},
    {oid::kIssuerAltName, passOver},
    {oid::kNameConstraints, readNameConstraints},
    {oid::kCertificatePolicies, readPolicies},
    {oid::kPolicyMappings, readMappings},
    {oid::kPolicyConstraints, readPolicyConstraints},
    {oid::kInhibitAnyPolicy, readInhibitAnyPolicy},
    {oid::kCrlDistributionPoints, readPoints},
};

// One that is known is read whether it is critical or not: a malformed one is a fault either way.
bool readExtension(const Extension& extension, CertificateFacts& facts) {
    for (const KnownExtension& known : kExtensions) {
        if (sameBytes(known.id, extension.id)) {
            return known.read(extension.value, extension.critical, facts);
        }
    }
    // Of several the last is told, which is enough for mending one after the other.
    if (extension.critical) {
        facts.unknownCritical = extension.id;
    }
    return true;
}

// The text for CertificateFacts::fault, empty when all of them were read.
std::string_view readAllExtensions(CertificateFacts& facts) {
    // Version 1 certificates have none. They are read like others; since they do not say that they
    // are authorities, none of them issues anything here, anchors included.
    const ByteView whole = facts.certificate->extensions();
    if (whole.empty()) {
        return {};
    }
    std::vector<Extension> extensions;
    if (!readExtensions(whole, extensions)) {
        return "its extensions are malformed";
    }
    for (const Extension& extension : extensions) {
        if (!readExtension(extension, facts)) {
            return "one of its extensions is malformed";
        }
    }
    return {};
}

} // namespace

bool CertificateFacts::allowsPurpose(ByteView purpose) const noexcept {
    const auto fits = [purpose](ByteView id) {
        return sameBytes(id, purpose) || sameBytes(id, oid::kAnyPurpose);
    };
    return !hasPurposes || std::any_of(purposes.begin(), purposes.end(), fits);
}

// On a fault what was read until then stays; it is used for telling about the certificate only.
CertificateFacts readCertificateFacts(const VantrelX509& certificate) {
    CertificateFacts facts;
    facts.certificate = &certificate;
    if (!appendNameKey(certificate.subject(), facts.subject) ||
        !appendNameKey(certificate.issuer(), facts.issuer)) {
        facts.fault = "its subject or issuer is malformed";
        return facts;
    }
    // RFC 5280 6.1: self-issued is about names; the key may be another one.
    facts.selfIssued = facts.subject == facts.issuer;
    if (!certificate.validity(facts.notBefore, facts.notAfter)) {
        facts.fault = "its validity is malformed";
        return facts;
    }
    // RFC 5280 4.1.2.2. Zeros ahead of the number, which some issuers write, do not count.
    if (asn1::withoutLeadingZeros(certificate.serialNumber()).size() > kLongestSerialNumber) {
        facts.fault = "its serial number has more than 20 octets";
        return facts;
    }
    facts.fault = readAllExtensions(facts);
    return facts;
}

} // namespace vantrel::x509
