// The public keys that a KeyInfo element carries or names, as candidates in a fixed order.

#include "dsig/document/child_elements.h"
#include "dsig/document/document.h"
#include "dsig/keys/certificate_text.h"
#include "dsig/keys/document_certificates.h"
#include "dsig/keys/key_sources.h"
#include "dsig/keys/known_to_caller.h"
#include "dsig/keys/seen_certificates.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/object_state.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel {

namespace {

namespace keysource = dsig::keysource;

struct KeyValueForm {
    const char* path;
    bool withLog; // the loader's own lines belong in the log
    const char* loaded;
    const char* failed;
};

// Each form that is there is loaded, in this order.
constexpr KeyValueForm kKeyValueForms[] = {
    {"*:RSAKeyValue", false, "Loaded public key from RSA XML in KeyInfo.",
     "Failed to parse public key RSA XML"},
    {"*:DSAKeyValue", true, "Loaded public key from DSA XML in KeyInfo.",
     "Failed to parse public key DSA XML"},
    {"*:ECKeyValue", true, "Loaded public key from ECDSA XML in KeyInfo.",
     "Failed to parse public key ECDSA XML"},
};

} // namespace

bool ClsXmlDSig::publicKeyFromKeyInfo(ClsXml& keyInfo, ExtPtrArrayRc& keys, LogBase& log) {
    const LogContextExitor context(log, "publicKeyFromKeyInfo");
    dsig::SeenCertificates seen;
    if (!keysFromKeyValue(keyInfo, keys, log)) {
        return false;
    }
    keysFromX509Data(keyInfo, seen, keys, log);
    return keysFromTokenReference(keyInfo, seen, keys, log);
}

// A malformed key value ends the whole walk.
bool ClsXmlDSig::keysFromKeyValue(const ClsXml& keyInfo, ExtPtrArrayRc& keys, LogBase& log) {
    const Ref<ClsXml> keyValue = Ref<ClsXml>::adopt(keyInfo.getChildWithTagUtf8("*:KeyValue"));
    if (!keyValue) {
        return true;
    }
    for (const KeyValueForm& form : kKeyValueForms) {
        const Ref<ClsXml> element = Ref<ClsXml>::adopt(keyValue->getChildWithTagUtf8(form.path));
        if (!element) {
            continue;
        }
        Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
        if (!key) {
            return false;
        }
        XString xml;
        element->GetXml(xml);
        if (!(form.withLog ? key->loadXml(xml, log) : key->LoadXml(xml))) {
            log.LogError(form.failed);
            return false;
        }
        log.LogInfo(form.loaded);
        appendKey(keys, std::move(key), keysource::kKeyValue, nullptr);
    }
    return true;
}

void ClsXmlDSig::keysFromX509Data(ClsXml& keyInfo, dsig::SeenCertificates& seen,
                                  ExtPtrArrayRc& keys, LogBase& log) {
    const Ref<ClsXml> x509Data = Ref<ClsXml>::adopt(keyInfo.getChildWithTagUtf8("*:X509Data"));
    if (x509Data) {
        keysFromCertificates(*x509Data, seen, keys, log);
        dsig::IssuerSerial name;
        if (dsig::readIssuerSerial(*x509Data, name, log) &&
            !seen.hasIssuerSerial(name.issuerCn, name.serialHex, log)) {
            appendFoundKey(keys,
                           getPublicKeyByIssuerNameAndSerial(name.issuerCn, name.serialHex, log),
                           keysource::kIssuerSerial);
        }
    }
    StringBuffer reversed;
    if (dsig::readUnseenSubjectName(keyInfo, seen, reversed, log)) {
        appendFoundKey(keys, getPublicKeyBySubjectName(reversed, log), keysource::kSubjectName);
    }
    StringBuffer ski;
    if (dsig::readSubjectKeyId(keyInfo, ski)) {
        appendFoundKey(keys, getPublicKeyBySKI(ski, log), keysource::kSubjectKeyId);
    }
}

// Every certificate yields a key; one that fails is skipped.
void ClsXmlDSig::keysFromCertificates(ClsXml& x509Data, dsig::SeenCertificates& seen,
                                      ExtPtrArrayRc& keys, LogBase& log) {
    const std::vector<xml::ElementId> certificates = x509Data.childrenWithTag("*:X509Certificate");
    log.LogDataLong("numX509Certificates", static_cast<std::int64_t>(certificates.size()));
    if (!dsig::checkNumberOfCertificates(certificates.size(), log)) {
        return;
    }
    for (const xml::ElementId certificate : certificates) {
        const Ref<ClsXml> element = dsig::handleOn(x509Data, certificate);
        StringBuffer content;
        element->getContentSb(content);
        if (!content.isEmpty()) {
            appendFoundKey(
                keys,
                publicKeyFromCertificate(
                    dsig::certificateOfText(structure().certificates, content, log), seen, log),
                keysource::kCertificate);
        }
    }
}

// A key of the document's own certificate is decoded once and shared by the signatures that use it.
ClsPublicKey* ClsXmlDSig::publicKeyFromCertificate(
    const std::shared_ptr<dsig::DecodedCertificate>& certificate, dsig::SeenCertificates& seen,
    LogBase& log) {
    const LogContextExitor context(log, "publicKeyFromCertBase64");
    if (!dsig::useCertificate(*certificate, seen, log)) {
        return nullptr;
    }
    if (!certificate->keyDecoded) {
        LogTape tape(log);
        certificate->key =
            Ref<ClsPublicKey>::adopt(publicKeyFromX509(certificate->certificate, tape));
        certificate->keyLines = tape.take();
        certificate->keyDecoded = true;
        structure().certificates.keepKey(certificate);
    }
    LogTape::replay(certificate->keyLines, log);
    m_state->keyCertificate = certificate->certificate;
    m_state->keyTexts = certificate->texts;
    return Ref<ClsPublicKey>::share(certificate->key.get()).release();
}

ClsPublicKey* ClsXmlDSig::publicKeyFromX509(VantrelX509& cert, LogBase& log) {
    DataBuffer der;
    if (!cert.get_PublicKey(der, log)) {
        log.LogError("Failed to get public key from X.509 certificate.");
        return nullptr;
    }
    Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
    if (!key) {
        return nullptr;
    }
    if (!key->loadAnyDer(der, log)) {
        log.LogError("Failed to parse public key DER");
        return nullptr;
    }
    log.LogInfo("Loaded public key from X.509 certificate in KeyInfo.");
    m_state->keyCertificate = cert;
    m_state->keyTexts = std::make_shared<dsig::CertificateTexts>();
    return key.release();
}

// Takes over a key that a certificate gave, with what the report says of that certificate.
void ClsXmlDSig::appendFoundKey(ExtPtrArrayRc& keys, ClsPublicKey* key,
                                const dsig::KeySource& source) {
    if (key != nullptr) {
        appendKey(keys, Ref<ClsPublicKey>::adopt(key), source, &m_state->keyCertificate);
    }
}

void ClsXmlDSig::appendKey(ExtPtrArrayRc& keys, Ref<ClsPublicKey> key,
                           const dsig::KeySource& source, const VantrelX509* cert) {
    dsig::KeyReport report = dsig::describeKey(*key, source.name, cert);
    report.fromDocument =
        source.inDocument && (cert == nullptr || !dsig::storeHolds(getSystemCertsPtr(), *cert));
    if (cert != nullptr) {
        report.certificateTexts = m_state->keyTexts;
    }
    m_state->report.keys.push_back(std::move(report));
    keys.appendRefCounted(key.release());
}

} // namespace vantrel
