// SPDX-License-Identifier: MIT
#include "api/foreign_bytes.h"

#include "dsig/trust/policy.h"
#include "foundation/keyfile/key_file.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/pem.h"

#include <string>
#include <vector>

namespace vantrel::api {

namespace {

// A SEQUENCE, with which all that is read here begins (X.690, 8.9).
constexpr char kSequence = '\x30';

// The first block of a PEM text, or base64 of DER, or the bytes themselves.
DataBuffer derOf(std::string_view bytes) {
    x509::PemReader reader(bytes);
    x509::PemBlock block;
    DataBuffer der;
    if (reader.next(block)) {
        static_cast<void>(text::decodeBase64(block.base64, der)); // false leaves what is no DER
        return der;
    }
    return decodeDer(bytes, der) ? der : DataBuffer(asBytes(bytes));
}

} // namespace

bool decodeDer(std::string_view bytes, DataBuffer& der) {
    der.clear();
    return !bytes.starts_with(kSequence) && bytes.find("-----BEGIN ") == std::string_view::npos &&
           text::decodeBase64(bytes, der) && asText(der.view()).starts_with(kSequence);
}

// What is no certificate is most often a key, and the reader of keys can tell.
Error notACertificate(std::string_view bytes, std::string_view otherwise) {
    if (dsig::isRevocationList(derOf(bytes).view())) {
        return {"this is a certificate revocation list, not a certificate", {}};
    }
    std::vector<Ref<ClsPublicKey>> keys;
    keyfile::KeyFileFault fault;
    if (keyfile::loadKeys(asBytes(bytes), keys, fault)) {
        return {"this is a public key, not a certificate", {}};
    }
    return {fault.what.empty() ? std::string(otherwise) : fault.what, {}};
}

// Lists and certificates come side by side from an authority's page.
Error notARevocationList(std::string_view bytes) {
    LogNull discard;
    VantrelX509 certificate;
    if (certificate.loadX509Der(derOf(bytes), discard)) {
        return {"this is a certificate, not a revocation list", {}};
    }
    return {"this is no certificate revocation list", {}};
}

} // namespace vantrel::api
