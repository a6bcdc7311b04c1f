// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_KEYS_CLSPUBLICKEY_H
#define FOUNDATION_X509_KEYS_CLSPUBLICKEY_H

#include "foundation/text/RefCountedObject.h"
#include "foundation/text/byte_view.h"
#include "foundation/x509/keys/_vlPublicKey.h"

#include <string_view>

namespace vantrel {

class DataBuffer;
class LogBase;
class StringBuffer;
class XString;

/// A public key: RSA, DSA, elliptic-curve or EdDSA. Reference-counted; `createNewCls` gives the
/// first reference to its caller, who returns it with `decRefCount`. Every load replaces the key; a
/// load that fails returns false, writes one error line that says why, and leaves the object empty.
class ClsPublicKey final : public RefCountedObject {
public:
    /// A new, empty key, or null when memory runs out.
    [[nodiscard]] static ClsPublicKey* createNewCls();

    /// Loads an `RSAKeyValue`, `DSAKeyValue` or `ECKeyValue` element of XML Signature, or the
    /// `ECDSAKeyValue` of RFC 4050; one `KeyValue` element around it is allowed.
    bool LoadXml(const XString& xml);
    bool loadXml(const XString& xml, LogBase& log);

    /// Loads DER: a SubjectPublicKeyInfo (RFC 5280) or an RSAPublicKey (RFC 8017).
    bool loadAnyDer(const DataBuffer& der, LogBase& log);
    bool loadAnyDer(ByteView der, LogBase& log);

    /// Loads whatever the bytes turn out to be: PEM or DER of a SubjectPublicKeyInfo, an
    /// RSAPublicKey or a certificate (then its key), or an XML key value.
    bool loadAnyBytes(ByteView bytes, LogBase& log);
    /// The same from a file.
    bool loadAnyFile(const XString& path, LogBase& log);
    bool LoadFromFile(const XString& path);

    [[nodiscard]] _vlPublicKey& key() noexcept { return m_key; }
    [[nodiscard]] const _vlPublicKey& key() const noexcept { return m_key; }

    [[nodiscard]] bool isEmpty() const noexcept { return m_key.kind() == KeyKind::None; }
    /// "RSA", "DSA", "EC", "EdDSA", "ML-DSA-65" and its like, or empty.
    [[nodiscard]] std::string_view keyType() const noexcept;
    /// Size of the RSA modulus, of the DSA prime, or of the curve's field; 0 without a key.
    [[nodiscard]] unsigned keyBits() const noexcept { return m_key.bits(); }
    /// "P-256", "secp256k1", "Ed25519", ...; empty unless the key is a point of a curve.
    [[nodiscard]] std::string_view curveName() const noexcept { return m_key.curveName(); }
    /// True for sizes that are no longer held to be safe: RSA and DSA below 2048 bits, curves below
    /// 224 bits.
    [[nodiscard]] bool isWeak() const noexcept;

private:
    ClsPublicKey() noexcept = default;
    ~ClsPublicKey() override = default;

    _vlPublicKey m_key;
};

} // namespace vantrel

#endif
