// SPDX-License-Identifier: MIT
// The verifier's members that belong to keys and certificates: each hands its work to the step of
// its name.

#include "dsig/keys/candidate_keys.h"
#include "dsig/keys/certificate_keys.h"
#include "dsig/keys/document_certificates.h"
#include "dsig/keys/key_info.h"
#include "dsig/keys/key_info_certificates.h"
#include "dsig/keys/key_info_keys.h"
#include "dsig/keys/store_lookup.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/object_state.h"
#include "foundation/base/ClsStringArray.h"

namespace vantrel {

namespace {

// The array takes over one reference of each key. Certificates and origins stay behind: whoever
// asks these members wants the keys alone.
void handOver(std::vector<dsig::CandidateKey>& candidates, ExtPtrArrayRc& keys) {
    for (dsig::CandidateKey& candidate : candidates) {
        keys.appendRefCounted(candidate.key.release());
    }
}

} // namespace

// The query borrows from this object, and is of use until the selection or a key changes.
dsig::KeyQuery ClsXmlDSig::keyQuery(bool keyInfoOnly) {
    dsig::KeyQuery query;
    query.document = document();
    query.selection = selection();
    query.numSignatures = m_signatures.getSize();
    query.store = getSystemCertsPtr();
    // Null where the caller has set none for this index.
    query.keyOfSignature = static_cast<ClsPublicKey*>(m_publicKeys.elementAt(m_selector));
    query.keysForAll = m_state->keysForAll;
    query.namedKeys = &m_state->namedKeys;
    query.keyInfoOnly = keyInfoOnly;
    query.callerKeysOnly = m_state->policy != nullptr && m_state->policy->onlyKey;
    return query;
}

// The caller takes over the reference; null when there is no such element.
ClsXml* ClsXmlDSig::getKeyInfo(LogBase& log) {
    return dsig::keyInfoOf(selection(), m_signatures.getSize(), log).release();
}

// What had to be overlooked is dropped: there is no verification whose report could name it.
bool ClsXmlDSig::getPublicKey(bool keyInfoOnly, ExtPtrArrayRc& keys, LogBase& log) {
    dsig::CodeSet leniencies;
    std::vector<dsig::CandidateKey> found =
        dsig::candidateKeys(keyQuery(keyInfoOnly), leniencies, log);
    handOver(found, keys);
    return keys.getSize() > 0;
}

// Keys found before a failure are handed over too. The walk never asks for the caller's keys, so
// the flag of the query has no effect.
bool ClsXmlDSig::publicKeyFromKeyInfo(ClsXml& keyInfo, ExtPtrArrayRc& keys, LogBase& log) {
    dsig::CodeSet leniencies;
    std::vector<dsig::CandidateKey> found;
    const bool ok = dsig::keysFromKeyInfo(keyQuery(true), keyInfo, found, leniencies, log);
    handOver(found, keys);
    return ok;
}

ClsPublicKey* ClsXmlDSig::publicKeyFromX509(VantrelX509& cert, LogBase& log) {
    return dsig::publicKeyFromX509(cert, log).release();
}

// The members that look up one name hand over the reference of a key that is new for each call;
// null when nothing is found or the certificate gives no key.
ClsPublicKey* ClsXmlDSig::getPublicKeyByIssuerNameAndSerial(const StringBuffer& issuerCn,
                                                            const StringBuffer& serialHex,
                                                            LogBase& log) {
    return dsig::findNamedKey(getSystemCertsPtr(),
                              {dsig::NamedBy::IssuerSerial, issuerCn, serialHex}, log)
        .key.release();
}

ClsPublicKey* ClsXmlDSig::getPublicKeyBySubjectName(const StringBuffer& subject, LogBase& log) {
    return dsig::findNamedKey(getSystemCertsPtr(), {dsig::NamedBy::SubjectName, subject, {}}, log)
        .key.release();
}

ClsPublicKey* ClsXmlDSig::getPublicKeyBySKI(const StringBuffer& ski, LogBase& log) {
    return dsig::findNamedKey(getSystemCertsPtr(), {dsig::NamedBy::SubjectKeyId, ski, {}}, log)
        .key.release();
}

bool ClsXmlDSig::getCertByIssuerNameAndSerial(const StringBuffer& issuerCn,
                                              const StringBuffer& serialHex, StringBuffer& out,
                                              LogBase& log) {
    return dsig::findNamedCertificate(getSystemCertsPtr(),
                                      {dsig::NamedBy::IssuerSerial, issuerCn, serialHex}, out, log);
}

bool ClsXmlDSig::getCertBySubjectName(const StringBuffer& subject, StringBuffer& out,
                                      LogBase& log) {
    return dsig::findNamedCertificate(getSystemCertsPtr(),
                                      {dsig::NamedBy::SubjectName, subject, {}}, out, log);
}

bool ClsXmlDSig::getCertBySKI(const StringBuffer& ski, StringBuffer& out, LogBase& log) {
    return dsig::findNamedCertificate(getSystemCertsPtr(), {dsig::NamedBy::SubjectKeyId, ski, {}},
                                      out, log);
}

// Certificates found before a failure are handed out too.
bool ClsXmlDSig::certsFromKeyInfo(ClsXml& keyInfo, ClsStringArray& out, LogBase& log) {
    std::vector<StringBuffer> found;
    const bool ok = dsig::certificatesFromKeyInfo(keyQuery(true), keyInfo, found, log);
    for (const StringBuffer& base64 : found) {
        out.appendUtf8(base64.getString());
    }
    return ok;
}

bool ClsXmlDSig::processCertBase64(StringBuffer& base64, dsig::SeenCertificates& seen,
                                   LogBase& log) {
    const dsig::CertificateCache::Entry entry =
        dsig::certificateOfText(structure().certificates, base64, log);
    // The caller's text becomes the one that was decoded, without references to carriage returns.
    base64 = entry->base64;
    return dsig::processCertificate(*entry, seen, log);
}

} // namespace vantrel
