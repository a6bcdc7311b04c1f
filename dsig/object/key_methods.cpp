// SPDX-License-Identifier: MIT
// The public operations on keys and certificates: those of the document, and those that the caller
// hands over.

#include "dsig/document/document.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/object_state.h"
#include "foundation/base/ClsStringArray.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/ClsXmlCertVault.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel {

namespace {

// The array grows up to the index, so this also bounds its size.
constexpr int kLastKeyIndex = 199;

} // namespace

ClsXml* ClsXmlDSig::GetKeyInfo() {
    return MethodFrame::run(*this, "GetKeyInfo",
                            [&](MethodFrame& /*frame*/) { return getKeyInfo(m_log); });
}

ClsPublicKey* ClsXmlDSig::GetPublicKey() {
    return MethodFrame::run(*this, "GetPublicKey", [&](MethodFrame& /*frame*/) -> ClsPublicKey* {
        ExtPtrArrayRc keys;
        if (!getPublicKey(true, keys, m_log)) {
            return nullptr;
        }
        // The caller may change the key, so nobody else keeps it.
        structure().forgetKeys();
        return static_cast<ClsPublicKey*>(keys.removeRefCountedAt(0));
    });
}

// The key belongs to the index, not to the document: the next document's signature at this index
// is tried with it as well.
bool ClsXmlDSig::SetPublicKey(ClsPublicKey& key) {
    return MethodFrame::run(*this, "SetPublicKey", [&](MethodFrame& /*frame*/) {
        // The bound is fixed, whatever number of signatures the document has.
        if (m_selector < 0 || m_selector > kLastKeyIndex) {
            m_log.LogError("Selector index is not sane.");
            m_log.LogDataLong("m_selector", m_selector);
            return false;
        }
        const Ref<RefCountedObject> previous = Ref<RefCountedObject>::adopt(
            m_publicKeys.replaceRefCountedAt(m_selector, Ref<ClsPublicKey>::share(&key).release()));
        return true;
    });
}

// Shared, not copied: the caller must not change the key while verifications use it.
bool ClsXmlDSig::SetPublicKeyForAll(ClsPublicKey& key) {
    return MethodFrame::run(*this, "SetPublicKeyForAll", [&](MethodFrame& /*frame*/) {
        m_state->keysForAll.clear();
        m_state->keysForAll.push_back(Ref<ClsPublicKey>::share(&key));
        return true;
    });
}

bool ClsXmlDSig::AddPublicKeyForAll(ClsPublicKey& key) {
    return MethodFrame::run(*this, "AddPublicKeyForAll", [&](MethodFrame& /*frame*/) {
        m_state->keysForAll.push_back(Ref<ClsPublicKey>::share(&key));
        return true;
    });
}

// Which key a name means is the caller's word, so that such a key is as well known as any other of
// his.
bool ClsXmlDSig::AddNamedKey(XString& name, ClsPublicKey& key) {
    return MethodFrame::run(*this, "AddNamedKey", [&](MethodFrame& /*frame*/) {
        const std::string_view text = name.getUtf8Sb().view();
        if (text.empty()) {
            m_log.LogError("The name of the key is empty.");
            return false;
        }
        m_state->namedKeys[std::string(text)].push_back(Ref<ClsPublicKey>::share(&key));
        return true;
    });
}

bool ClsXmlDSig::SetHmacKey(XString& key, XString& encoding) {
    return MethodFrame::run(*this, "SetHmacKey", [&](MethodFrame& /*frame*/) {
        // Cleared first: a key that cannot be decoded leaves none, never the one before.
        // Secure: the memory is overwritten before it is given back.
        m_hmacKey.setSecure(true);
        m_hmacKey.secureClear();
        key.setSecureX(true);
        _clsEncode encoder;
        encoder.put_EncodingMode(encoding.getUtf8());
        return encoder.decodeBinary(key, m_hmacKey, false, m_log);
    });
}

bool ClsXmlDSig::UseCertVault(ClsXmlCertVault& vault) {
    return MethodFrame::run(*this, "UseCertVault", [&](MethodFrame& frame) {
        SystemCerts* const store = getSystemCertsPtr();
        CertMgr* const manager = vault.getCertMgr();
        return frame.finish(store != nullptr && manager != nullptr &&
                            store->addCertVault(*manager, m_log));
    });
}

// The context's name differs from the operation's, and the log records a failure whatever the
// result: kept, since readers of the log know both.
bool ClsXmlDSig::GetCerts(ClsStringArray& outCerts) {
    return MethodFrame::run(*this, "GetCert", [&](MethodFrame& frame) {
        const Ref<ClsXml> keyInfo = Ref<ClsXml>::adopt(getKeyInfo(m_log));
        const bool ok = !keyInfo || certsFromKeyInfo(*keyInfo, outCerts, m_log);
        frame.finish(false);
        return ok;
    });
}

} // namespace vantrel
