// SPDX-License-Identifier: MIT
#include "foundation/keyfile/key_file.h"

#include "foundation/asn1/ber_normalize.h"
#include "foundation/asn1/der_reader.h"
#include "foundation/cms/signed_data.h"
#include "foundation/keyfile/jwk.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/key_der.h"
#include "foundation/x509/keys/key_xml.h"
#include "foundation/x509/pem.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <new>
#include <utility>

// Which form it is shows in the first bytes, so each is tried alone and its own fault is told.
namespace vantrel::keyfile {

using asn1::DerReader;
using asn1::Tag;

namespace {

// Where what is found goes: the keys, and the certificates that they came from, where wanted.
struct Keys {
    std::vector<Ref<ClsPublicKey>>& found;
    std::vector<DataBuffer>* certificates;

    void push_back(Ref<ClsPublicKey> key) const { found.push_back(std::move(key)); }
};

constexpr std::string_view kPublicHalf = "openssl pkey -in FILE -pubout (its output is for --key)";
constexpr std::string_view kFromBundle =
    "openssl pkcs12 -in FILE -nokeys (its output is for --key)";

Ref<ClsPublicKey> newKey() {
    Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
    if (!key) {
        throw std::bad_alloc();
    }
    return key;
}

// The key of a certificate. It is not asked whether the certificate is valid: the caller chose it.
bool loadCertificate(ByteView der, const Keys& keys, std::string_view& whyNot) {
    LogNull discard;
    DataBuffer bytes;
    VantrelX509 certificate;
    if (!bytes.append(der)) {
        throw std::bad_alloc();
    }
    whyNot = "the certificate is malformed";
    Ref<ClsPublicKey> key = newKey();
    if (!certificate.loadX509Der(bytes, discard) ||
        !x509::loadKeyDer(certificate.publicKeyInfo(), key->key(), whyNot)) {
        return false;
    }
    keys.push_back(std::move(key));
    if (keys.certificates != nullptr) {
        keys.certificates->push_back(bytes);
    }
    return true;
}

bool loadKeyInfo(ByteView der, const Keys& keys, std::string_view& whyNot) {
    Ref<ClsPublicKey> key = newKey();
    if (!x509::loadKeyDer(der, key->key(), whyNot)) {
        return false;
    }
    keys.push_back(std::move(key));
    return true;
}

// All certificates of signed data (RFC 5652 5.1), whether there are signers or not.
bool loadBag(ByteView bytes, const Keys& keys, KeyFileFault& fault) {
    cms::SignedData data;
    std::string_view whyNot;
    std::vector<std::uint8_t> normal;
    std::size_t consumed = 0;
    cms::SignedDataVerdict verdict = cms::parseSignedData(bytes, data, whyNot);
    if (verdict == cms::SignedDataVerdict::Malformed &&
        asn1::normalizeBer(bytes, normal, consumed)) {
        verdict = cms::parseSignedData(normal, data, whyNot);
    }
    if (verdict != cms::SignedDataVerdict::Parsed) {
        fault = {"the CMS certificate bag cannot be read: " + std::string(whyNot), {}};
        return false;
    }
    whyNot = "it holds no certificate";
    bool found = false;
    for (const ByteView certificate : data.certificates) {
        found = loadCertificate(certificate, keys, whyNot) || found;
    }
    if (!found) {
        fault = {"the CMS certificate bag gives no key: " + std::string(whyNot), {}};
    }
    return found;
}

// What a DER structure is, as far as its first elements tell.
enum class DerForm { PublicKeyOrCertificate, SignedData, PrivateKey, Bundle };

// After a version number: PKCS #8 (RFC 5958), PKCS #1 (RFC 8017 A.1.2), the elliptic-curve form
// (RFC 5915), and PKCS #12 (RFC 7292 4), which begin with 0 or 1, 0, 1 and 3.
DerForm formAfterVersion(DerReader fields) {
    ByteView version;
    if (!fields.read(Tag::Integer, version) || version.size() != 1 || version[0] > 3) {
        return DerForm::PublicKeyOrCertificate;
    }
    if (version[0] == 3) {
        return fields.nextIs(Tag::Sequence) ? DerForm::Bundle : DerForm::PublicKeyOrCertificate;
    }
    const bool follows = fields.nextIs(Tag::Sequence) || fields.nextIs(Tag::Integer) ||
                         fields.nextIs(Tag::OctetString);
    return follows ? DerForm::PrivateKey : DerForm::PublicKeyOrCertificate;
}

DerForm formOf(ByteView der) {
    DerReader reader(der);
    DerReader fields;
    if (!reader.enter(Tag::Sequence, fields)) {
        return DerForm::PublicKeyOrCertificate; // its reader says what is wrong
    }
    if (fields.nextIs(Tag::Oid)) {
        return DerForm::SignedData;
    }
    if (fields.nextIs(Tag::Integer)) {
        return formAfterVersion(fields);
    }
    // EncryptedPrivateKeyInfo ::= SEQUENCE { AlgorithmIdentifier, OCTET STRING } (RFC 5958 3); a
    // public key has a BIT STRING there, a certificate another SEQUENCE.
    return fields.skip() && fields.nextIs(Tag::OctetString) ? DerForm::PrivateKey
                                                            : DerForm::PublicKeyOrCertificate;
}

bool loadDer(ByteView bytes, const Keys& keys, KeyFileFault& fault) {
    // Some programs write bags and certificates with indefinite lengths.
    std::vector<std::uint8_t> normal;
    std::size_t consumed = 0;
    DerReader outer(bytes);
    const bool isBer = !outer.skip() && asn1::normalizeBer(bytes, normal, consumed);
    const ByteView der = isBer ? ByteView(normal) : bytes;
    switch (formOf(der)) {
    case DerForm::SignedData: return loadBag(der, keys, fault);
    case DerForm::PrivateKey: fault = {"this is a private key (DER)", kPublicHalf}; return false;
    case DerForm::Bundle: fault = {"this is a PKCS #12 key store", kFromBundle}; return false;
    case DerForm::PublicKeyOrCertificate: break;
    }
    std::string_view keyFault;
    std::string_view certificateFault;
    if (loadKeyInfo(der, keys, keyFault) || loadCertificate(der, keys, certificateFault)) {
        return true;
    }
    // A certificate whose key is not supported fails both ways; then the second says more.
    const bool isCertificate = certificateFault != "the certificate is malformed";
    fault = {std::string(isCertificate ? certificateFault : keyFault), {}};
    return false;
}

// Labels that are no public key, and what they are. Compared by their ends, since several programs
// put a word before them ("RSA PRIVATE KEY", "NEW CERTIFICATE REQUEST").
constexpr auto kOtherLabels = std::to_array<std::array<std::string_view, 3>>({
    {"PRIVATE KEY", "this is a private key (PEM)", kPublicHalf},
    {"CERTIFICATE REQUEST", "this is a certificate request",
     "openssl req -in FILE -pubkey -noout (its output is for --key)"},
    {"X509 CRL", "this is a certificate revocation list", {}},
    {"PARAMETERS", "these are parameters of keys, not a key", {}},
    {"PGP PUBLIC KEY BLOCK", "this is an OpenPGP key", {}},
});

bool loadPem(std::string_view text, const Keys& keys, KeyFileFault& fault) {
    fault = {"the PEM text holds no public key and no certificate", {}};
    x509::PemReader reader(text);
    x509::PemBlock block;
    while (reader.next(block)) {
        const bool isKey = block.label == "PUBLIC KEY" || block.label == "RSA PUBLIC KEY";
        const bool isBag = block.label == "PKCS7" || block.label == "CMS";
        if (!isKey && !isBag && !x509::isCertificateLabel(block.label)) {
            for (const auto& [label, what, remedy] : kOtherLabels) {
                if (block.label.ends_with(label)) {
                    fault = {std::string(what), remedy};
                }
            }
            continue;
        }
        DataBuffer der;
        if (!text::decodeBase64(block.base64, der)) {
            fault = {"the PEM block is not base64", {}};
            return false;
        }
        if (isBag) {
            return loadBag(der.view(), keys, fault);
        }
        std::string_view whyNot;
        const bool ok = isKey ? loadKeyInfo(der.view(), keys, whyNot)
                              : loadCertificate(der.view(), keys, whyNot);
        fault = {std::string(whyNot), {}};
        return ok;
    }
    return false;
}

bool loadXml(std::string_view xml, const Keys& keys, KeyFileFault& fault) {
    Ref<ClsPublicKey> key = newKey();
    std::string_view whyNot;
    if (!x509::loadKeyXml(xml, key->key(), whyNot)) {
        fault = {std::string(whyNot), {}};
        return false;
    }
    keys.push_back(std::move(key));
    return true;
}

bool loadUnknown(ByteView bytes, const Keys& keys, KeyFileFault& fault) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (!bytes.empty() && bytes[0] == static_cast<std::uint8_t>(Tag::Sequence)) {
        return loadDer(bytes, keys, fault);
    }
    std::string_view text = asText(bytes);
    if (text.find("-----BEGIN ") != std::string_view::npos) {
        return loadPem(text, keys, fault);
    }
    text.remove_prefix(text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0);
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    if (text.empty()) {
        fault = {"the file is empty", {}};
        return false;
    }
    if (text[0] == '<') {
        return loadXml(text, keys, fault);
    }
    if (text[0] == '{') {
        return loadJwk(text, keys.found, fault);
    }
    if (text.starts_with("ssh-") || text.starts_with("ecdsa-sha2-")) {
        fault = {"this is an OpenSSH public key",
                 "ssh-keygen -e -m PKCS8 -f FILE (its output is for --key)"};
        return false;
    }
    DataBuffer der;
    if (text::decodeBase64(text, der) && !der.isEmpty() &&
        der.view()[0] == static_cast<std::uint8_t>(Tag::Sequence)) {
        return loadDer(der.view(), keys, fault);
    }
    fault = {"the data is neither PEM, DER, base64, JWK nor an XML key value", {}};
    return false;
}

} // namespace

bool loadKeys(ByteView bytes, std::vector<Ref<ClsPublicKey>>& keys, KeyFileFault& fault,
              std::vector<DataBuffer>* certificates) {
    if (bytes.size() > kMaxKeyFile) {
        fault = {"the file is larger than any file of keys (16 MiB)", {}};
        return false;
    }
    return loadUnknown(bytes, {keys, certificates}, fault);
}

} // namespace vantrel::keyfile
