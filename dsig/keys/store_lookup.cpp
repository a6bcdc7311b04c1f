#include "dsig/keys/store_lookup.h"

#include "foundation/text/DataBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/x509/CertificateHolder.h"
#include "foundation/x509/DistinguishedName.h"
#include "foundation/x509/SystemCerts.h"
#include "foundation/x509/VantrelX509.h"

namespace vantrel::dsig {

VantrelX509* findByIssuerSerial(SystemCerts* store, const StringBuffer& issuerCn,
                                const StringBuffer& serialHex, LogBase& log) {
    return store == nullptr
               ? nullptr
               : store->findX509(serialHex.getString(), issuerCn.getString(), nullptr, log);
}

VantrelX509* findBySubject(SystemCerts* store, const StringBuffer& subject, LogBase& log) {
    if (store == nullptr) {
        return nullptr;
    }
    const XString dn(subject.view());
    XString values;
    DistinguishedName::removeDnTags(dn, values);
    return store->findBySubjectDN_x509(values, dn, true, log);
}

VantrelX509* findBySki(SystemCerts* store, const StringBuffer& ski, LogBase& log) {
    CertRecord* const record = store == nullptr ? nullptr : store->findBySubjectKeyId(ski, log);
    return record == nullptr ? nullptr : record->getX509Ptr();
}

bool certBase64(const VantrelX509* cert, StringBuffer& out) {
    out.clear();
    DataBuffer der;
    return cert != nullptr && cert->getCertDer(der) && !der.isEmpty() &&
           der.encodeDB("base64", out);
}

} // namespace vantrel::dsig
