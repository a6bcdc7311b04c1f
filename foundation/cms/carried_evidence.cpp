// SPDX-License-Identifier: MIT
#include "foundation/cms/carried_evidence.h"

#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_writer.h"
#include "foundation/cms/cms_oids.h"
#include "foundation/cms/signed_data.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/path/extensions.h"

#include <cstdint>

namespace vantrel::cms {

using asn1::contextConstructed;
using asn1::DerElement;
using asn1::DerReader;
using asn1::Tag;
using x509::sameBytes;

namespace {

class Collector {
public:
    explicit Collector(CarriedEvidence& out) noexcept : m_out(out) {}

    // RevocationInfoChoices ::= SET OF RevocationInfoChoice
    void takeRevocationInfo(DerReader set) {
        DerElement choice;
        while (set.readAny(choice)) {
            // RevocationInfoChoice ::= CHOICE {
            //     crl    CertificateList,
            //     other  [1] IMPLICIT OtherRevocationInfoFormat }
            if (choice.tag == Tag::Sequence) {
                keep(choice.whole, m_out.crls);
            } else if (choice.tag == contextConstructed(1)) {
                takeOther(DerReader(choice.contents));
            }
        }
    }

    // UnsignedAttributes ::= SET SIZE (1..MAX) OF Attribute
    void takeAttributes(DerReader set) {
        DerReader attribute;
        while (set.enter(Tag::Sequence, attribute)) {
            // Attribute ::= SEQUENCE { attrType OBJECT IDENTIFIER, attrValues SET OF ANY }
            ByteView type;
            DerReader values;
            DerReader value;
            if (!attribute.read(Tag::Oid, type) || !attribute.enter(Tag::Set, values) ||
                !values.enter(Tag::Sequence, value)) {
                continue;
            }
            if (sameBytes(type, oid::kCertificateValues)) {
                takeAll(value, m_out.certificates);
            } else if (sameBytes(type, oid::kRevocationValues)) {
                takeRevocationValues(value);
            }
        }
    }

private:
    void keep(ByteView octets, std::vector<DataBuffer>& list) {
        if (list.size() == kMaxEvidence) {
            m_out.complete = false;
            return;
        }
        list.emplace_back(octets);
    }

    void takeAll(DerReader list, std::vector<DataBuffer>& out) {
        ByteView whole;
        while (list.readWhole(Tag::Sequence, whole)) {
            keep(whole, out);
        }
    }

    // OtherRevocationInfoFormat ::= SEQUENCE { otherRevInfoFormat OBJECT IDENTIFIER,
    //     otherRevInfo ANY }, which for an OCSPResponse is it (RFC 5940 2.1)
    void takeOther(DerReader fields) {
        ByteView format;
        ByteView whole;
        if (fields.read(Tag::Oid, format) && sameBytes(format, oid::kOcspResponseFormat) &&
            fields.readWhole(Tag::Sequence, whole)) {
            keep(whole, m_out.ocspResponses);
        }
    }

    // RevocationValues ::= SEQUENCE {
    //     crlVals       [0] SEQUENCE OF CertificateList OPTIONAL,
    //     ocspVals      [1] SEQUENCE OF BasicOCSPResponse OPTIONAL,
    //     otherRevVals  [2] OtherRevVals OPTIONAL }, each explicitly tagged
    void takeRevocationValues(DerReader fields) {
        DerReader wrapper;
        DerReader list;
        if (fields.nextIs(contextConstructed(0)) && fields.enter(contextConstructed(0), wrapper) &&
            wrapper.enter(Tag::Sequence, list)) {
            takeAll(list, m_out.crls);
        }
        ByteView basic;
        if (fields.nextIs(contextConstructed(1)) && fields.enter(contextConstructed(1), wrapper) &&
            wrapper.enter(Tag::Sequence, list)) {
            while (list.readWhole(Tag::Sequence, basic)) {
                keepBasic(basic);
            }
        }
    }

    // A BasicOCSPResponse stands here without the OCSPResponse around it (RFC 6960 4.2.1), in which
    // all others come.
    void keepBasic(ByteView basic) {
        constexpr std::uint8_t kSuccessful[] = {0};
        asn1::DerWriter writer;
        writer.open(Tag::Sequence);
        writer.write(Tag::Enumerated, kSuccessful);
        writer.open(contextConstructed(0));
        writer.open(Tag::Sequence);
        writer.write(Tag::Oid, x509::oid::kOcspBasic);
        writer.write(Tag::OctetString, basic);
        writer.close();
        writer.close();
        writer.close();
        keep(writer.bytes(), m_out.ocspResponses);
    }

    CarriedEvidence& m_out;
};

} // namespace

CarriedEvidence collectEvidence(const SignedData& data) {
    CarriedEvidence evidence;
    Collector collector(evidence);
    collector.takeRevocationInfo(DerReader(data.revocationInfo));
    for (const SignerInfo& signer : data.signers) {
        collector.takeAttributes(DerReader(signer.unsignedAttributes));
    }
    return evidence;
}

} // namespace vantrel::cms
