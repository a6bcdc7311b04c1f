// SPDX-License-Identifier: MIT
#include "foundation/x509/keys/ClsPublicKey.h"

#include "foundation/crypto/mldsa/mldsa_key.h"
#include "foundation/io/files.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/text/encoders.h"
#include "foundation/text/no_throw.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/key_der.h"
#include "foundation/x509/keys/key_xml.h"
#include "foundation/x509/pem.h"

#include <cstdint>
#include <new>

namespace vantrel {

namespace {

constexpr unsigned kSafeModulusBits = 2048; // NIST SP 800-131A
constexpr unsigned kSafeCurveBits = 224;
constexpr std::uint32_t kMaxKeyFile = std::uint32_t{16} << 20U;

bool report(bool loaded, std::string_view whyNot, LogBase& log) {
    if (!loaded) {
        log.LogError("The public key could not be loaded.");
        log.logText("reason", whyNot);
    }
    return loaded;
}

bool loadCertificateKey(const DataBuffer& der, _vlPublicKey& key, std::string_view& whyNot) {
    LogNull discard;
    VantrelX509 certificate;
    return certificate.loadX509Der(der, discard) &&
           x509::loadKeyDer(certificate.publicKeyInfo(), key, whyNot);
}

bool loadKeyOrCertificate(const DataBuffer& der, _vlPublicKey& key, std::string_view& whyNot) {
    return x509::loadKeyDer(der.view(), key, whyNot) || loadCertificateKey(der, key, whyNot);
}

bool loadPem(std::string_view text, _vlPublicKey& key, std::string_view& whyNot) {
    x509::PemReader reader(text);
    x509::PemBlock block;
    while (reader.next(block)) {
        const bool isKey = block.label == "PUBLIC KEY" || block.label == "RSA PUBLIC KEY";
        if (!isKey && !x509::isCertificateLabel(block.label)) {
            continue;
        }
        DataBuffer der;
        if (!text::decodeBase64(block.base64, der)) {
            whyNot = "the PEM block is not base64";
            return false;
        }
        return isKey ? x509::loadKeyDer(der.view(), key, whyNot)
                     : loadCertificateKey(der, key, whyNot);
    }
    whyNot = "the PEM text holds no public key and no certificate";
    return false;
}

bool loadUnknown(ByteView bytes, _vlPublicKey& key, std::string_view& whyNot) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    const std::string_view all = asText(bytes);
    if (all.find("-----BEGIN ") != std::string_view::npos) {
        return loadPem(all, key, whyNot);
    }
    const std::size_t mark = all.substr(0, 3) == kByteOrderMark ? kByteOrderMark.size() : 0;
    const std::size_t start = all.find_first_not_of(" \t\r\n", mark);
    if (start != std::string_view::npos && all[start] == '<') {
        return x509::loadKeyXml(all.substr(start), key, whyNot);
    }
    whyNot = "the data is neither PEM, DER, base64 nor an XML key value";
    DataBuffer der;
    const bool isDer = !bytes.empty() && bytes[0] == 0x30;
    if (isDer ? !der.append(bytes) : !text::decodeBase64(all.substr(mark), der) || der.isEmpty()) {
        return false;
    }
    return loadKeyOrCertificate(der, key, whyNot);
}

} // namespace

ClsPublicKey* ClsPublicKey::createNewCls() { return new (std::nothrow) ClsPublicKey(); }

bool ClsPublicKey::LoadXml(const XString& xml) {
    LogNull discard;
    return loadXml(xml, discard);
}

bool ClsPublicKey::loadXml(const XString& xml, LogBase& log) {
    return text::noThrow(false, [&] {
        std::string_view whyNot;
        return report(x509::loadKeyXml(xml.getUtf8Sb().view(), m_key, whyNot), whyNot, log);
    });
}

bool ClsPublicKey::loadAnyDer(const DataBuffer& der, LogBase& log) {
    return loadAnyDer(der.view(), log);
}

bool ClsPublicKey::loadAnyDer(ByteView der, LogBase& log) {
    return text::noThrow(false, [&] {
        std::string_view whyNot;
        return report(x509::loadKeyDer(der, m_key, whyNot), whyNot, log);
    });
}

bool ClsPublicKey::loadAnyBytes(ByteView bytes, LogBase& log) {
    return text::noThrow(false, [&] {
        std::string_view whyNot;
        m_key.clear();
        return report(loadUnknown(bytes, m_key, whyNot), whyNot, log);
    });
}

bool ClsPublicKey::loadAnyFile(const XString& path, LogBase& log) {
    return text::noThrow(false, [&] {
        DataBuffer bytes;
        m_key.clear();
        return io::readFile(path.getUtf8Sb().view(), kMaxKeyFile, bytes, log) &&
               loadAnyBytes(bytes.view(), log);
    });
}

bool ClsPublicKey::LoadFromFile(const XString& path) {
    LogNull discard;
    return loadAnyFile(path, discard);
}

std::string_view ClsPublicKey::keyType() const noexcept {
    switch (m_key.kind()) {
    case KeyKind::Rsa: return "RSA";
    case KeyKind::Dsa: return "DSA";
    case KeyKind::Ec: return "EC";
    case KeyKind::Edwards: return "EdDSA";
    case KeyKind::MlDsa: return m_key.getMlDsaKeyPtr()->set().name;
    case KeyKind::None: break;
    }
    return {};
}

bool ClsPublicKey::isWeak() const noexcept {
    switch (m_key.kind()) {
    case KeyKind::Rsa:
    case KeyKind::Dsa: return m_key.bits() < kSafeModulusBits;
    case KeyKind::Ec:
    case KeyKind::Edwards: return m_key.bits() < kSafeCurveBits;
    case KeyKind::MlDsa:
    case KeyKind::None: break;
    }
    return false;
}

} // namespace vantrel
