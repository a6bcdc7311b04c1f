// Keys and certificates of the certificate store.

#include "dsig/keys/store_lookup.h"
#include "dsig/object/ClsXmlDSig.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/x509/CertMgr.h"
#include "foundation/x509/ClsXmlCertVault.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/ClsPublicKey.h"

namespace vantrel {

bool ClsXmlDSig::UseCertVault(ClsXmlCertVault& vault) {
    return MethodFrame::run(*this, "UseCertVault", [&](MethodFrame& frame) {
        SystemCerts* const store = getSystemCertsPtr();
        CertMgr* const manager = vault.getCertMgr();
        return frame.finish(store != nullptr && manager != nullptr &&
                            store->addCertVault(*manager, m_log));
    });
}

ClsPublicKey* ClsXmlDSig::getPublicKeyByIssuerNameAndSerial(const StringBuffer& issuerCn,
                                                            const StringBuffer& serialHex,
                                                            LogBase& log) {
    const LogContextExitor context(log, "getPublicKeyByIssuerNameAndSerial");
    VantrelX509* const cert =
        dsig::findByIssuerSerial(getSystemCertsPtr(), issuerCn, serialHex, log);
    return cert != nullptr ? publicKeyFromX509(*cert, log) : nullptr;
}

ClsPublicKey* ClsXmlDSig::getPublicKeyBySubjectName(const StringBuffer& subject, LogBase& log) {
    const LogContextExitor context(log, "getPublicKeyBySubjectName");
    VantrelX509* const cert = dsig::findBySubject(getSystemCertsPtr(), subject, log);
    return cert != nullptr ? publicKeyFromX509(*cert, log) : nullptr;
}

ClsPublicKey* ClsXmlDSig::getPublicKeyBySKI(const StringBuffer& ski, LogBase& log) {
    const LogContextExitor context(log, "getPublicKeyBySKI");
    VantrelX509* const cert = dsig::findBySki(getSystemCertsPtr(), ski, log);
    return cert != nullptr ? publicKeyFromX509(*cert, log) : nullptr;
}

bool ClsXmlDSig::getCertByIssuerNameAndSerial(const StringBuffer& issuerCn,
                                              const StringBuffer& serialHex, StringBuffer& out,
                                              LogBase& log) {
    const LogContextExitor context(log, "getCertByIssuerNameAndSerial");
    return dsig::certBase64(dsig::findByIssuerSerial(getSystemCertsPtr(), issuerCn, serialHex, log),
                            out);
}

bool ClsXmlDSig::getCertBySubjectName(const StringBuffer& subject, StringBuffer& out,
                                      LogBase& log) {
    const LogContextExitor context(log, "getCertSubjectName");
    return dsig::certBase64(dsig::findBySubject(getSystemCertsPtr(), subject, log), out);
}

bool ClsXmlDSig::getCertBySKI(const StringBuffer& ski, StringBuffer& out, LogBase& log) {
    const LogContextExitor context(log, "getCertBySKI");
    return dsig::certBase64(dsig::findBySki(getSystemCertsPtr(), ski, log), out);
}

} // namespace vantrel
