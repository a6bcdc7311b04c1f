// SPDX-License-Identifier: MIT
#include "foundation/x509/path/crl.h"

#include "foundation/asn1/asn1_time.h"
#include "foundation/asn1/der_values.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/path/directory_name.h"
#include "foundation/x509/path/extensions.h"
#include "foundation/x509/path/general_name.h"

#include <vector>

namespace vantrel::x509 {

using asn1::DerReader;
using asn1::Tag;

namespace {

// Version numbers are counted from 0.
constexpr std::int64_t kVersion2 = 1;

bool readNumber(ByteView value, std::optional<ByteView>& number) {
    // CRLNumber ::= BaseCRLNumber ::= INTEGER (0..MAX)
    DerReader reader(value);
    ByteView magnitude;
    if (!asn1::readUnsigned(reader, magnitude) || !reader.atEnd()) {
        return false;
    }
    number = magnitude;
    return true;
}

// One of the three flags of a scope. DER forbids to write the default, but false written out has
// the same meaning, and lists in use have it.
bool readFlag(DerReader& fields, unsigned number, bool& flag) {
    // BOOLEAN DEFAULT FALSE, implicitly tagged
    ByteView contents;
    if (!fields.nextIs(asn1::contextPrimitive(number))) {
        return true;
    }
    if (!fields.read(asn1::contextPrimitive(number), contents) || contents.size() != 1) {
        return false;
    }
    // BER's other values of true pass as true here, as they do everywhere in these certificates.
    flag = contents[0] != 0;
    return true;
}

bool readScope(ByteView value, Crl& crl) {
    // The octets are kept as well. A delta list goes with a complete one of the very same scope
    // (RFC 5280 5.2.4), which equal octets show.
    crl.scope = value;
    // IssuingDistributionPoint ::= SEQUENCE {
    DerReader reader(value);
    DerReader fields;
    DerReader name;
    // RFC 5280 5.2.5: none that is empty. Its author meant some scope, and nobody can tell which.
    if (!reader.enter(Tag::Sequence, fields) || !reader.atEnd() || fields.atEnd()) {
        return false;
    }
    //     distributionPoint           [0] DistributionPointName OPTIONAL,
    if (fields.nextIs(asn1::contextConstructed(0)) &&
        (!fields.enter(asn1::contextConstructed(0), name) || !readPointName(name, crl.point))) {
        return false;
    }
    //     onlyContainsUserCerts       [1] BOOLEAN DEFAULT FALSE,
    //     onlyContainsCACerts         [2] BOOLEAN DEFAULT FALSE,
    if (!readFlag(fields, 1, crl.onlyUsers) || !readFlag(fields, 2, crl.onlyAuthorities)) {
        return false;
    }
    //     onlySomeReasons             [3] ReasonFlags OPTIONAL,
    ByteView bits;
    if (fields.nextIs(asn1::contextPrimitive(3)) &&
        (!fields.read(asn1::contextPrimitive(3), bits) || !readReasons(bits, crl.reasons))) {
        return false;
    }
    //     indirectCRL                 [4] BOOLEAN DEFAULT FALSE,
    //     onlyContainsAttributeCerts  [5] BOOLEAN DEFAULT FALSE }
    return readFlag(fields, 4, crl.indirect) && readFlag(fields, 5, crl.onlyAttributes) &&
           fields.atEnd();
}

// A hint at the key that signed the list; the rest of it is not needed.
bool readAuthorityKeyId(ByteView value, Crl& crl) {
    // AuthorityKeyIdentifier ::= SEQUENCE { keyIdentifier [0] KeyIdentifier OPTIONAL, ... }
    DerReader reader(value);
    DerReader fields;
    if (!reader.enter(Tag::Sequence, fields)) {
        return false;
    }
    return !fields.nextIs(asn1::contextPrimitive(0)) ||
           fields.read(asn1::contextPrimitive(0), crl.authorityKeyId);
}

// Extensions that are not known are ignored unless they are critical (RFC 5280 5.2).
bool readListExtension(const Extension& extension, Crl& crl) {
    if (sameBytes(extension.id, oid::kCrlNumber)) {
        return readNumber(extension.value, crl.number);
    }
    if (sameBytes(extension.id, oid::kDeltaCrlIndicator)) {
        return readNumber(extension.value, crl.baseNumber);
    }
    if (sameBytes(extension.id, oid::kIssuingDistributionPoint)) {
        return readScope(extension.value, crl);
    }
    if (sameBytes(extension.id, oid::kAuthorityKeyId)) {
        return readAuthorityKeyId(extension.value, crl);
    }
    // Issuer names of another form, and where to find delta lists, are among those passed over:
    // nothing is fetched.
    crl.unknownCritical = crl.unknownCritical || extension.critical;
    return true;
}

bool readIssuerOfEntry(ByteView value, std::string& issuer) {
    // CertificateIssuer ::= GeneralNames
    DerReader reader(value);
    DerReader list;
    std::vector<GeneralName> names;
    if (!reader.enter(Tag::Sequence, list) || !reader.atEnd() || !readGeneralNames(list, names)) {
        return false;
    }
    // One directory name is what RFC 5280 5.3.3 has in mind; others beside it are spellings for
    // people.
    for (const GeneralName& name : names) {
        if (name.form == NameForm::Directory) {
            issuer.clear();
            return appendNameKey(name.contents, issuer);
        }
    }
    // Without a directory name nobody can tell whose certificates follow; taking them for those of
    // the issuer before would revoke the wrong ones.
    return false;
}

bool readEntryExtension(const Extension& extension, CrlEntry& entry) {
    DerReader reader(extension.value);
    if (sameBytes(extension.id, oid::kReasonCode)) {
        // CRLReason ::= ENUMERATED
        return asn1::readSmallInteger(reader, entry.reason, Tag::Enumerated) && reader.atEnd();
    }
    if (sameBytes(extension.id, oid::kInvalidityDate)) {
        // InvalidityDate ::= GeneralizedTime
        std::int64_t since = 0;
        if (!asn1::readTime(reader, since) || !reader.atEnd()) {
            return false;
        }
        entry.invalidSince = since;
        return true;
    }
    if (sameBytes(extension.id, oid::kCertificateIssuer)) {
        return readIssuerOfEntry(extension.value, entry.issuer);
    }
    // A critical extension of an entry that is not understood makes the whole list useless, not the
    // entry alone (RFC 5280 5.3): it may say that other entries mean something else.
    entry.unknownCritical = entry.unknownCritical || extension.critical;
    return true;
}

// The last field of the list, of which nothing may be left over.
bool readListExtensions(DerReader fields, Crl& crl) {
    ByteView whole;
    std::vector<Extension> extensions;
    if (!fields.read(asn1::contextConstructed(0), whole) || !fields.atEnd() ||
        !readExtensions(whole, extensions)) {
        return false;
    }
    for (const Extension& extension : extensions) {
        if (!readListExtension(extension, crl)) {
            return false;
        }
    }
    return true;
}

// TBSCertList, its fields in their order (RFC 5280 5.1.2). On failure `whyNot` is the sentence of
// the field at which reading stopped.
bool readTbs(DerReader fields, ByteView& algorithm, Crl& crl, std::string_view& whyNot) {
    //     version              Version OPTIONAL, -- if present, MUST be v2
    whyNot = "its version is none that lists have";
    std::int64_t version = 0;
    if (fields.nextIs(Tag::Integer) &&
        (!asn1::readSmallInteger(fields, version) || version != kVersion2)) {
        return false;
    }
    //     signature            AlgorithmIdentifier,
    //     issuer               Name,
    whyNot = "its algorithm or issuer is malformed";
    ByteView issuer;
    if (!fields.readWhole(Tag::Sequence, algorithm) || !fields.readWhole(Tag::Sequence, issuer) ||
        !appendNameKey(issuer, crl.issuer)) {
        return false;
    }
    //     thisUpdate           Time,
    //     nextUpdate           Time OPTIONAL,
    whyNot = "its dates are malformed";
    if (!asn1::readTime(fields, crl.thisUpdate)) {
        return false;
    }
    if (fields.nextIs(Tag::UtcTime) || fields.nextIs(Tag::GeneralizedTime)) {
        std::int64_t next = 0;
        if (!asn1::readTime(fields, next)) {
            return false;
        }
        crl.nextUpdate = next;
    }
    //     revokedCertificates  SEQUENCE OF SEQUENCE { ... } OPTIONAL,
    whyNot = "its entries are malformed";
    if (fields.nextIs(Tag::Sequence) && !fields.read(Tag::Sequence, crl.entries)) {
        return false;
    }
    //     crlExtensions        [0] EXPLICIT Extensions OPTIONAL -- if present, MUST be v2
    whyNot = "its extensions are malformed";
    return fields.atEnd() || (version == kVersion2 && readListExtensions(fields, crl));
}

} // namespace

bool CrlEntryReader::next() {
    if (m_failed || m_rest.atEnd()) {
        return false;
    }
    // A malformed entry ends the walk for good: nothing behind it can be relied on.
    DerReader fields;
    m_failed = !m_rest.enter(Tag::Sequence, fields) || !readEntry(fields);
    return !m_failed;
}

// The issuer stays from one entry to the next (RFC 5280 5.3.3), all else belongs to one entry.
bool CrlEntryReader::readEntry(DerReader fields) {
    m_entry.reason = 0;
    m_entry.invalidSince.reset();
    m_entry.unknownCritical = false;
    //     userCertificate     CertificateSerialNumber,
    //     revocationDate      Time,
    if (!fields.read(Tag::Integer, m_entry.serial) || m_entry.serial.empty() ||
        !asn1::readTime(fields, m_entry.date)) {
        return false;
    }
    //     crlEntryExtensions  Extensions OPTIONAL
    if (fields.atEnd()) {
        return true;
    }
    ByteView whole;
    std::vector<Extension> extensions;
    if (!fields.readWhole(Tag::Sequence, whole) || !fields.atEnd() ||
        !readExtensions(whole, extensions)) {
        return false;
    }
    for (const Extension& extension : extensions) {
        if (!readEntryExtension(extension, m_entry)) {
            return false;
        }
    }
    return true;
}

// Nothing of the list is handed out before all of it was read: a list that is read by half would
// not know of the revocations in the other half. The signature is not looked at here: who may have
// signed depends on the certificate that is asked about (crl_check.h).
bool parseCrl(ByteView der, Crl& crl, std::string_view& whyNot) {
    whyNot = "its outer structure is malformed";
    DerReader reader(der);
    // CertificateList ::= SEQUENCE {
    DerReader list;
    if (!reader.enter(Tag::Sequence, list) || !reader.atEnd()) {
        return false;
    }
    //     tbsCertList         TBSCertList,
    //     signatureAlgorithm  AlgorithmIdentifier,
    //     signatureValue      BIT STRING }
    Crl parsed;
    if (!list.readWhole(Tag::Sequence, parsed.tbs) ||
        !list.readWhole(Tag::Sequence, parsed.signatureAlgorithm) ||
        !asn1::readSignatureBits(list, parsed.signature) || !list.atEnd()) {
        return false;
    }
    DerReader outer(parsed.tbs);
    DerReader fields;
    ByteView algorithm;
    if (!outer.enter(Tag::Sequence, fields) || !readTbs(fields, algorithm, parsed, whyNot)) {
        return false;
    }
    // RFC 5280 5.1.1.2: the algorithm stands twice, and alike. The one inside is signed and the one
    // outside is not. An attacker who could exchange the latter would choose how the signature is
    // checked.
    if (!sameBytes(algorithm, parsed.signatureAlgorithm)) {
        whyNot = "its two algorithms differ";
        return false;
    }
    whyNot = "its entries are malformed";
    CrlEntryReader entries(parsed);
    while (entries.next()) {
        parsed.unknownCritical = parsed.unknownCritical || entries.entry().unknownCritical;
    }
    if (entries.failed()) {
        return false;
    }
    crl = std::move(parsed);
    return true;
}

} // namespace vantrel::x509
