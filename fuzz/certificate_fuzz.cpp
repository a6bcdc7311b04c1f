// SPDX-License-Identifier: MIT
// Certificates, public keys and PEM, and every question one can ask a certificate. Its serial
// number and issuer find it in a store.

#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/x509/CertMgr.h"
#include "foundation/x509/DistinguishedName.h"
#include "foundation/x509/SystemCerts.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/ClsPublicKey.h"

#include <cstdlib>

using namespace vantrel;

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
    static_cast<void>(certificate.isSignedBy(key->key(), log));
    std::uint32_t usage = 0;
    bool flag = false;
    int length = 0;
    static_cast<void>(certificate.keyUsage(usage));
    static_cast<void>(certificate.basicConstraints(flag, length));
    certificate.extendedKeyUsage("1.3.6.1.5.5.7.3.8", flag, flag, flag, flag);
    return 0;
}
