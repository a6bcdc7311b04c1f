// SPDX-License-Identifier: MIT
// Certificates, public keys and PEM, and every question one can ask a certificate. Its serial
// number and issuer find it in a store. One that is signed by its own key is so for OpenSSL, too,
// where that is installed and knows the key.

#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/x509/CertMgr.h"
#include "foundation/x509/DistinguishedName.h"
#include "foundation/x509/SystemCerts.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/ClsPublicKey.h"

#include <cstdlib>

#if defined(VANTREL_HAS_OPENSSL)
#include <openssl/x509.h>
#endif

using namespace vantrel;

namespace {

// False where it says that the key did not sign it; true where it knows no answer.
bool mayBeSelfSignedForOpenssl(ByteView der) {
#if defined(VANTREL_HAS_OPENSSL)
    const unsigned char* at = der.data();
    X509* const certificate = d2i_X509(nullptr, &at, static_cast<long>(der.size()));
    EVP_PKEY* const key = certificate != nullptr ? X509_get0_pubkey(certificate) : nullptr;
    const bool isPossible = key == nullptr || X509_verify(certificate, key) != 0;
    X509_free(certificate);
    return isPossible;
#else
    return !der.empty();
#endif
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 65536) {
        return 0;
    }
    LogNull log;
    const ByteView input(data, size);
    const Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
    if (key->loadAnyBytes(input, log) == key->isEmpty()) {
        std::abort();
    }
    XString text(asText(input));
    XString values;
    DistinguishedName::removeDnTags(text, values);
    std::uint32_t added = 0;
    CertMgr manager;
    SystemCerts store;
    if (!manager.addAny(input, added, log) || !store.addCertVault(manager, log)) {
        return 0;
    }
    const VantrelX509& certificate = *manager.certAt(0);
    XString serial;
    XString issuer;
    XString subject;
    if (!certificate.get_SerialNumber(serial, log)) {
        std::abort();
    }
    // Without text are only names with an attribute type that is no object identifier.
    static_cast<void>(certificate.getDN(true, true, subject, log, 0));
    if (certificate.get_IssuerCN(issuer, log) &&
        issuer.getUtf8Sb().view().find('\0') == std::string_view::npos &&
        store.findX509(serial.getUtf8(), issuer.getUtf8(), nullptr, log) == nullptr) {
        std::abort();
    }
    static_cast<void>(store.findBySubjectDN_x509(values, subject, true, log));
    StringBuffer name;
    static_cast<void>(certificate.signatureAlgorithmName(name));
    if (key->loadAnyBytes(certificate.publicKeyInfo(), log) &&
        certificate.isSignedBy(key->key(), log) &&
        !mayBeSelfSignedForOpenssl(certificate.certificate())) {
        std::abort();
    }
    std::uint32_t usage = 0;
    bool flag = false;
    int length = 0;
    static_cast<void>(certificate.keyUsage(usage));
    static_cast<void>(certificate.basicConstraints(flag, length));
    certificate.extendedKeyUsage("1.3.6.1.5.5.7.3.8", flag, flag, flag, flag);
    return 0;
}
