// SPDX-License-Identifier: MIT
#include "foundation/cms/tst_info.h"

#include "foundation/asn1/asn1_time.h"
#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_values.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/x509/signature_algorithm.h"

namespace vantrel::cms {

using asn1::contextConstructed;
using asn1::contextPrimitive;
using asn1::DerReader;
using asn1::Tag;

namespace {

// MessageImprint ::= SEQUENCE { hashAlgorithm AlgorithmIdentifier, hashedMessage OCTET STRING }
bool parseImprint(DerReader& info, TstInfo& out, std::string_view& whyNot) {
    whyNot = "the imprint is malformed";
    DerReader imprint;
    if (!info.enter(Tag::Sequence, imprint) ||
        !imprint.readWhole(Tag::Sequence, out.hashAlgorithm) ||
        !imprint.read(Tag::OctetString, out.imprint) || !imprint.atEnd() || out.imprint.empty()) {
        return false;
    }
    out.hashId = x509::parseDigestAlgorithm(out.hashAlgorithm);
    // A shorter imprint would be easier to forge, a longer one cannot be compared.
    whyNot = "the imprint has not the size of its algorithm";
    return out.hashId == kHashNone || out.imprint.size() == crypto::hashDigestSize(out.hashId);
}

// Accuracy ::= SEQUENCE { seconds INTEGER OPTIONAL, millis [0] INTEGER (1..999) OPTIONAL,
//                         micros [1] INTEGER (1..999) OPTIONAL }
bool parseAccuracy(DerReader& info, std::int64_t& micros) noexcept {
    if (!info.nextIs(Tag::Sequence)) {
        return true;
    }
    // 35 000 years: no authority means it, and a million times as much still fits into 64 bits.
    constexpr std::int64_t kLargestSeconds = std::int64_t{1} << 40;
    DerReader accuracy;
    std::int64_t seconds = 0;
    std::int64_t milliPart = 0;
    std::int64_t microPart = 0;
    if (!info.enter(Tag::Sequence, accuracy) ||
        (accuracy.nextIs(Tag::Integer) && !asn1::readSmallInteger(accuracy, seconds)) ||
        (accuracy.nextIs(contextPrimitive(0)) &&
         !asn1::readSmallInteger(accuracy, milliPart, contextPrimitive(0))) ||
        (accuracy.nextIs(contextPrimitive(1)) &&
         !asn1::readSmallInteger(accuracy, microPart, contextPrimitive(1))) ||
        !accuracy.atEnd()) {
        return false;
    }
    // RFC 3161 2.4.2 has 1 to 999. An explicit zero says the same as nothing and passes.
    if (seconds < 0 || seconds > kLargestSeconds || milliPart < 0 || milliPart > 999 ||
        microPart < 0 || microPart > 999) {
        return false;
    }
    micros = seconds * 1'000'000 + milliPart * 1'000 + microPart;
    return true;
}

// RFC 3161 2.4.2: a critical extension that is not known makes the token unusable; none is known.
bool checkExtensions(DerReader& info, std::string_view& whyNot) noexcept {
    whyNot = "the extensions are malformed";
    if (info.atEnd()) {
        return true;
    }
    DerReader extensions;
    if (!info.enter(contextConstructed(1), extensions)) {
        return false;
    }
    while (!extensions.atEnd()) {
        // Extension ::= SEQUENCE { extnID OBJECT IDENTIFIER, critical BOOLEAN DEFAULT FALSE, ... }
        DerReader extension;
        ByteView id;
        bool critical = false;
        if (!extensions.enter(Tag::Sequence, extension) || !extension.read(Tag::Oid, id) ||
            (extension.nextIs(Tag::Boolean) && !asn1::readBoolean(extension, critical))) {
            return false;
        }
        if (critical) {
            whyNot = "there is an unknown critical extension";
            return false;
        }
    }
    return true;
}

// What may follow genTime.
bool parseOptional(DerReader& info, TstInfo& out, std::string_view& whyNot) noexcept {
    //     accuracy        Accuracy OPTIONAL,
    //     ordering        BOOLEAN DEFAULT FALSE,
    whyNot = "the accuracy or the ordering is malformed";
    if (!parseAccuracy(info, out.accuracyMicros) ||
        (info.nextIs(Tag::Boolean) && !asn1::readBoolean(info, out.ordering))) {
        return false;
    }
    //     nonce           INTEGER OPTIONAL,
    // Of any length: only ever compared with the one that was sent, byte by byte.
    whyNot = "the nonce is malformed";
    if (info.nextIs(Tag::Integer)) {
        if (!info.read(Tag::Integer, out.nonce) || out.nonce.empty()) {
            return false;
        }
        out.hasNonce = true;
    }
    //     tsa             [0] GeneralName OPTIONAL,
    // A hint at the signer, who is known by his certificate; its contents are not read.
    //     extensions      [1] IMPLICIT Extensions OPTIONAL }
    whyNot = "the authority's name is malformed";
    if (info.nextIs(contextConstructed(0)) && !info.read(contextConstructed(0), out.tsa)) {
        return false;
    }
    // The end of the sequence: fields of a later version would change what is said.
    return checkExtensions(info, whyNot) && info.atEnd();
}

} // namespace

bool parseTstInfo(ByteView der, TstInfo& out, std::string_view& whyNot) {
    // `whyNot` is set before each piece, so that it names the one that was wrong.
    TstInfo parsed;
    DerReader reader(der);
    // TSTInfo ::= SEQUENCE {
    whyNot = "the outer structure is malformed";
    DerReader info;
    if (!reader.enter(Tag::Sequence, info) || !reader.atEnd()) {
        return false;
    }
    //     version         INTEGER { v1(1) },
    //     policy          TSAPolicyId,   -- an OBJECT IDENTIFIER
    whyNot = "the version or the policy is malformed";
    std::int64_t version = 0;
    if (!asn1::readSmallInteger(info, version) || version != 1 ||
        !info.read(Tag::Oid, parsed.policy)) {
        return false;
    }
    //     messageImprint  MessageImprint,
    if (!parseImprint(info, parsed, whyNot)) {
        return false;
    }
    //     serialNumber    INTEGER,       -- up to 160 bits, so it stays as it is
    //     genTime         GeneralizedTime,
    whyNot = "the serial number or the time is malformed";
    if (!info.read(Tag::Integer, parsed.serialNumber) || parsed.serialNumber.empty() ||
        !info.read(Tag::GeneralizedTime, parsed.genTimeText) ||
        !asn1::parseGeneralizedTime(parsed.genTimeText, parsed.genTime)) {
        return false;
    }
    if (!parseOptional(info, parsed, whyNot)) {
        return false;
    }
    out = parsed;
    return true;
}

} // namespace vantrel::cms
