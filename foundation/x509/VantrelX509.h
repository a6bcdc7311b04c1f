// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_VANTRELX509_H
#define FOUNDATION_X509_VANTRELX509_H

#include "foundation/text/DataBuffer.h"
#include "foundation/text/VantrelObject.h"
#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vantrel {

class LogBase;
class StringBuffer;
class XString;
class _vlPublicKey;

// One parsed X.509 certificate (RFC 5280). It shares the bytes it was loaded from and keeps offsets
// into them; whatever costs more than finding its place is worked out when it is asked for. Nothing
// is checked against a trust anchor or a clock. Views it hands out live as long as the object keeps
// the same certificate. Reading is safe from several threads at once.
class VantrelX509 final : public VantrelObject {
public:
    // A stretch of bytes.
    struct Range {
        std::uint32_t offset = 0;
        std::uint32_t length = 0;
    };

    VantrelX509() noexcept = default;

    // Bytes after the certificate are ignored. BER that is not DER is converted. False, and the
    // object empty, when the bytes are not a certificate; one error line says what was wrong.
    bool loadX509Der(const DataBuffer& der, LogBase& log);
    // The same with the certificate that stands in a piece of `bytes`; all of these stay in memory
    // as long as the object does.
    bool loadX509Der(const DataBuffer& bytes, Range piece, LogBase& log);
    [[nodiscard]] bool isLoaded() const noexcept { return m_parts[kCertificate].length != 0; }
    void clear() noexcept;

    // `out` := the SubjectPublicKeyInfo in DER.
    bool get_PublicKey(DataBuffer& out, LogBase& log) const;
    // `out` := the common name of the issuer (of the subject); of several the most specific one.
    // False, with `out` empty, when there is none.
    bool get_IssuerCN(XString& out, LogBase& log) const;
    bool get_SubjectCN(XString& out, LogBase& log) const;
    // `out` := the serial number in upper-case hexadecimal, two digits a byte, no leading zero
    // bytes; "00" for zero; "-" and the magnitude for a negative one.
    bool get_SerialNumber(XString& out, LogBase& log) const;
    // `out` := the name as text with RFC 4514 escapes. `mostSpecificFirst`: in the order of
    // RFC 4514, which is the reverse of the order in the certificate. `flags` is reserved (0).
    bool getDN(bool subject, bool mostSpecificFirst, XString& out, LogBase& log, int flags) const;
    // Appends the certificate's DER.
    bool getCertDer(DataBuffer& out) const;

    // The parts as they stand in the certificate; empty when nothing is loaded.
    [[nodiscard]] ByteView certificate() const noexcept { return part(kCertificate); }
    [[nodiscard]] ByteView tbsCertificate() const noexcept { return part(kTbs); }
    [[nodiscard]] ByteView serialNumber() const noexcept {
        return part(kSerial);
    }                                                                          // INTEGER contents
    [[nodiscard]] ByteView issuer() const noexcept { return part(kIssuer); }   // Name, with header
    [[nodiscard]] ByteView subject() const noexcept { return part(kSubject); } // Name, with header
    [[nodiscard]] ByteView publicKeyInfo() const noexcept { return part(kPublicKeyInfo); }
    [[nodiscard]] ByteView extensions() const noexcept { return part(kExtensions); } // with header
    [[nodiscard]] ByteView signatureAlgorithm() const noexcept { return part(kSignatureAlgorithm); }
    [[nodiscard]] ByteView signatureValue() const noexcept { return part(kSignature); }
    // The bytes of the subjectPublicKey BIT STRING: what RFC 5280 4.2.1.2 method 1 hashes.
    [[nodiscard]] ByteView subjectPublicKeyBits() const noexcept;

    // Seconds since 1970; false when a date cannot be read.
    [[nodiscard]] bool validity(std::int64_t& notBefore, std::int64_t& notAfter) const noexcept;
    // The contents of the extension with this identifier (contents octets of the OID), with its
    // criticality; false when the certificate has none or its extensions are malformed.
    [[nodiscard]] bool extension(ByteView oid, ByteView& value, bool& critical) const noexcept;
    // The identifier of the subject key identifier extension.
    [[nodiscard]] bool subjectKeyId(ByteView& id) const noexcept;
    // Bit n is bit n of the KeyUsage extension (0 digitalSignature, 1 nonRepudiation, ...).
    [[nodiscard]] bool keyUsage(std::uint32_t& bits) const noexcept;
    // Whether the extended key usage extension names `purpose` (dotted OID). `onlyOne`: it names
    // nothing else. False in `present` when there is no such extension.
    void extendedKeyUsage(std::string_view purpose, bool& present, bool& named, bool& onlyOne,
                          bool& critical) const;
    // False when there is no (readable) basic constraints extension; pathLength -1: no limit.
    [[nodiscard]] bool basicConstraints(bool& isCa, int& pathLength) const noexcept;
    // "sha256WithRSAEncryption", ..., or the dotted OID of an algorithm we do not know.
    bool signatureAlgorithmName(StringBuffer& out) const;
    [[nodiscard]] bool isSelfIssued() const noexcept;

    // Whether the certificate's signature was made with the private half of `issuerKey`.
    [[nodiscard]] bool isSignedBy(const _vlPublicKey& issuerKey, LogBase& log) const;

private:
    enum Part : std::size_t {
        kCertificate,
        kTbs,
        kSerial,
        kTbsAlgorithm,
        kIssuer,
        kValidity,
        kSubject,
        kPublicKeyInfo,
        kExtensions,
        kSignatureAlgorithm,
        kSignature,
        kPartCount
    };

    [[nodiscard]] ByteView part(Part which) const noexcept {
        return m_der.view().subspan(m_parts[which].offset, m_parts[which].length);
    }
    // Parses `der`, which lies in m_der.
    [[nodiscard]] bool parse(ByteView der, std::string_view& whyNot) noexcept;
    [[nodiscard]] bool parseTbs(ByteView tbs, std::string_view& whyNot) noexcept;
    void setPart(Part which, ByteView bytes) noexcept;

    DataBuffer m_der;
    Range m_parts[kPartCount];
};

// Owns one certificate, which is empty until loadX509Der fills it.
class VantrelX509Holder final : public VantrelObject {
public:
    VantrelX509Holder() noexcept = default;
    VantrelX509Holder(const VantrelX509Holder&) = delete;
    VantrelX509Holder& operator=(const VantrelX509Holder&) = delete;

    [[nodiscard]] VantrelX509* getX509Ptr() noexcept { return &m_certificate; }
    [[nodiscard]] const VantrelX509* getX509Ptr() const noexcept { return &m_certificate; }

private:
    VantrelX509 m_certificate;
};

} // namespace vantrel

#endif
