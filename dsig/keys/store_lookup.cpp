// SPDX-License-Identifier: MIT
#include "dsig/keys/store_lookup.h"

#include "dsig/keys/certificate_keys.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/x509/CertificateHolder.h"
#include "foundation/x509/DistinguishedName.h"

#include <cstddef>

namespace vantrel::dsig {

namespace {

// What a look-up by one kind of name is called: in reports, and in the log when a key or a
// certificate is asked for.
struct LookUp {
    KeySource source;
    const char* keyContext;
    const char* certificateContext;
};

// In the order of NamedBy. One context is not called like its operation: readers of the log know
// it so.
constexpr LookUp kLookUps[] = {
    {keysource::kIssuerSerial, "getPublicKeyByIssuerNameAndSerial", "getCertByIssuerNameAndSerial"},
    {keysource::kSubjectName, "getPublicKeyBySubjectName", "getCertSubjectName"},
    {keysource::kSubjectKeyId, "getPublicKeyBySKI", "getCertBySKI"},
};

const LookUp& lookUpOf(const CertificateName& name) noexcept {
    return kLookUps[static_cast<std::size_t>(name.by)];
}

} // namespace

VantrelX509* findNamed(SystemCerts* store, const CertificateName& name, LogBase& log) {
    if (store == nullptr) {
        return nullptr;
    }
    switch (name.by) {
    case NamedBy::IssuerSerial:
        // RFC 5280 4.1.2.2: an issuer gives a serial number once. With only a part of the issuer's
        // name another certificate may be found; the signature value then says no.
        return store->findX509(name.serialHex.getString(), name.text.getString(), nullptr, log);
    // Several certificates may have this subject, such as a renewed one; the store gives that which
    // was added first.
    case NamedBy::SubjectName: {
        const XString dn(name.text.view());
        XString values;
        DistinguishedName::removeDnTags(dn, values);
        return store->findBySubjectDN_x509(values, dn, true, log);
    }
    case NamedBy::SubjectKeyId: {
        // A record need not hold a certificate.
        CertRecord* const record = store->findBySubjectKeyId(name.text, log);
        return record == nullptr ? nullptr : record->getX509Ptr();
    }
    }
    return nullptr;
}

CandidateKey findNamedKey(SystemCerts* store, const CertificateName& name, LogBase& log) {
    const LookUp& lookUp = lookUpOf(name);
    const LogContextExitor context(log, lookUp.keyContext);
    const VantrelX509* const cert = findNamed(store, name, log);
    return cert != nullptr ? candidateOf(*cert, lookUp.source, log) : CandidateKey{};
}

bool findNamedCertificate(SystemCerts* store, const CertificateName& name, StringBuffer& out,
                          LogBase& log) {
    const LogContextExitor context(log, lookUpOf(name).certificateContext);
    return certBase64(findNamed(store, name, log), out);
}

bool certBase64(const VantrelX509* cert, StringBuffer& out) {
    out.clear();
    DataBuffer der;
    return cert != nullptr && cert->getCertDer(der) && !der.isEmpty() &&
           der.encodeDB("base64", out);
}

} // namespace vantrel::dsig
