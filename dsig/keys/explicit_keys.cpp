// Keys that the caller supplies, and the collector of all candidate keys.

#include "dsig/document/document.h"
#include "dsig/keys/key_sources.h"
#include "dsig/keys/known_to_caller.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/object_state.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "foundation/xml/tree/ClsXml.h"

#include <new>

namespace vantrel {

namespace {

constexpr int kLastKeyIndex = 199;

} // namespace

ClsXml* ClsXmlDSig::GetKeyInfo() {
    return MethodFrame::run(*this, "GetKeyInfo",
                            [&](MethodFrame& /*frame*/) { return getKeyInfo(m_log); });
}

ClsXml* ClsXmlDSig::getKeyInfo(LogBase& log) {
    const LogContextExitor context(log, "getKeyInfo");
    log.LogDataLong("numSignatures", m_signatures.getSize());
    log.LogDataLong("selector", m_selector);
    const ClsXml* const signature = selectedSignature();
    if (signature == nullptr) {
        return nullptr;
    }
    ClsXml* const keyInfo = signature->findChild("*:KeyInfo");
    if (keyInfo == nullptr) {
        log.LogError("No KeyInfo child.");
    }
    return keyInfo;
}

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

bool ClsXmlDSig::SetPublicKeyForAll(ClsPublicKey& key) {
    return MethodFrame::run(*this, "SetPublicKeyForAll", [&](MethodFrame& /*frame*/) {
        m_state->keyForAll = Ref<ClsPublicKey>::share(&key);
        return true;
    });
}

bool ClsXmlDSig::SetHmacKey(XString& key, XString& encoding) {
    return MethodFrame::run(*this, "SetHmacKey", [&](MethodFrame& /*frame*/) {
        m_hmacKey.setSecure(true);
        m_hmacKey.secureClear();
        key.setSecureX(true);
        _clsEncode encoder;
        encoder.put_EncodingMode(encoding.getUtf8());
        return encoder.decodeBinary(key, m_hmacKey, false, m_log);
    });
}

ClsPublicKey* ClsXmlDSig::GetPublicKey() {
    return MethodFrame::run(*this, "GetPublicKey", [&](MethodFrame& /*frame*/) -> ClsPublicKey* {
        ExtPtrArrayRc keys;
        if (!getPublicKey(true, keys, m_log)) {
            return nullptr;
        }
        // The caller may change the key, so nobody else keeps it.
        structure().certificates.forgetKeys();
        return static_cast<ClsPublicKey*>(keys.removeRefCountedAt(0));
    });
}

bool ClsXmlDSig::getPublicKey(bool keyInfoOnly, ExtPtrArrayRc& keys, LogBase& log) {
    const LogContextExitor context(log, "getXmlDsigPublicKey");
    if (log.verbose()) {
        log.LogDataLong("bKeyInfoOnly", keyInfoOnly ? 1 : 0);
    }
    m_state->report.keys.clear();
    if (const Ref<ClsXml> keyInfo = Ref<ClsXml>::adopt(getKeyInfo(log))) {
        // Keys found before a failure stay candidates.
        static_cast<void>(publicKeyFromKeyInfo(*keyInfo, keys, log));
        if (log.verbose()) {
            log.LogDataLong("numPublicKeys", keys.getSize());
        }
    }
    if (!keyInfoOnly) {
        appendExplicitKey(static_cast<ClsPublicKey*>(m_publicKeys.elementAt(m_selector)), keys);
        appendExplicitKey(m_state->keyForAll.get(), keys);
    }
    return keys.getSize() > 0;
}

void ClsXmlDSig::appendExplicitKey(ClsPublicKey* key, ExtPtrArrayRc& keys) {
    if (key != nullptr) {
        noteKeysKnownToCaller(keys, *key);
        appendKey(keys, Ref<ClsPublicKey>::share(key), dsig::keysource::kExplicit, nullptr);
    }
}

// A key of the document that the caller named as well is not the document's alone. What the
// document's certificate calls its holder still is.
void ClsXmlDSig::noteKeysKnownToCaller(ExtPtrArrayRc& keys, const ClsPublicKey& explicitKey) {
    for (int i = 0; i < keys.getSize(); ++i) {
        const auto* const key = static_cast<const ClsPublicKey*>(keys.elementAt(i));
        if (dsig::isSameKey(key->key(), explicitKey.key())) {
            dsig::KeyReport& report = m_state->report.keys[static_cast<std::size_t>(i)];
            report.nameFromDocument =
                report.nameFromDocument || (report.fromDocument && report.certificate.isLoaded());
            report.fromDocument = false;
        }
    }
}

} // namespace vantrel
