// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_PKCS7SIGNEDDATA_H
#define FOUNDATION_CMS_PKCS7SIGNEDDATA_H

#include "foundation/cms/carried_evidence.h"
#include "foundation/cms/tst_info.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/x509/VantrelX509.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vantrel {

class ClsJsonObject;
class LogBase;
class SystemCerts;
class _clsCades;

namespace cms {
class CertificateSource;
struct SignedData;
struct TimestampRequest;
} // namespace cms

// How such a message nests, and which file of this folder reads or checks a piece:
//
//   ContentInfo                            signed_data.h
//     SignedData
//       eContentType, eContent             the content; of a time-stamp token a TSTInfo, tst_info.h
//       certificates                       certificate_source.h; the way up, certificate_path.h
//       SignerInfo, one a signer           signer_check.h
//         issuer and serial, or key id     names the certificate
//         signedAttrs                      signed_attributes.h
//           content-type, message-digest   bind the content
//           signing-certificate (v1, v2)   signing_certificate.h
//         signature                        over signedAttrs, or over the content without them
//
// A time-stamp token comes from an authority: timestamp_request.h.

// A CMS ContentInfo that holds SignedData (RFC 5652), such as an RFC 3161 time-stamp token. BER
// with indefinite lengths and constructed strings is accepted. The object keeps what it loaded;
// nothing else is owned. No function throws but where it says so.
class Pkcs7SignedData final {
public:
    Pkcs7SignedData() noexcept;
    Pkcs7SignedData(const Pkcs7SignedData&) = delete;
    Pkcs7SignedData& operator=(const Pkcs7SignedData&) = delete;
    ~Pkcs7SignedData();

    // Parses `der`; nothing is verified yet. Bytes after the ContentInfo are ignored, with an info
    // line. `otherContentType` := the bytes are a ContentInfo, but of something else than
    // SignedData. `reservedName`, `reservedNumber` and `store` have no meaning (null, 2, any).
    // False, with the object empty and one error line, when the bytes are not SignedData.
    bool loadPkcs7Der(const DataBuffer& der, const char* reservedName, int reservedNumber,
                      bool& otherContentType, SystemCerts* store, LogBase& log);

    // Needs a message that loadPkcs7Der took; may be called again, with another store or options.
    // Verifies every signer (at least one) over the encapsulated content and, when all verify,
    // `content` := that content. False, with `content` empty and an error line, otherwise.
    //
    // A signer's certificate is taken from the token or the store. Its signing-certificate
    // attributes are checked when there are any. Content that is a TSTInfo must be well formed,
    // have exactly one signer and signed attributes, and a signer's certificate made for
    // time-stamping (RFC 3161 2.3). The certificate's issuers are followed up to a certificate of
    // the store, whose certificates are all held to be trusted; where that does not succeed an info
    // line says that the authority was not checked, and the token verifies all the same unless the
    // CMS options, a JSON text, hold {"requireTrustedTsa": true}. `store` may be null.
    bool verifyOpaqueSignature(DataBuffer& content, const _clsCades& options, SystemCerts* store,
                               LogBase& log);
    bool verifyOpaqueSignature(DataBuffer& content, const _clsCades& options, SystemCerts& store,
                               LogBase& log) {
        return verifyOpaqueSignature(content, options, &store, log);
    }

    // Requests a time-stamp token over `data` and appends its DER to `token`. The authority is
    // reached through the ClsHttp object of `cades`, or a plain one of its own when there is none.
    // Options:
    //
    //   tsaUrl         address of the authority; required
    //   hashAlgorithm  "sha1", "sha256" (default), "sha384", "sha512", "ripemd160", ...
    //   requestCert    true (default): the token is to hold the authority's certificate
    //   nonce          true (default): a random number that the token must repeat
    //   policyOid      dotted identifier of the policy asked for
    //   timeoutMs      for the whole exchange
    //
    // Before a token is taken, the response's status and the token's imprint, nonce and policy are
    // checked, and its signature where it holds the certificate. False, with `token` unchanged and
    // an error line that says why, on any failure.
    static bool getTimestampToken(ClsJsonObject& options, const DataBuffer& data,
                                  const _clsCades& cades, DataBuffer& token, LogBase& log);

    // What the last verifyOpaqueSignature that returned true found out; empty before.

    // Whether the content is a TSTInfo, hence the whole a time-stamp token.
    [[nodiscard]] bool isTimeStamp() const noexcept { return m_isTimeStamp; }
    // The TSTInfo; meaningful when isTimeStamp(). Its views live as long as this object.
    [[nodiscard]] const cms::TstInfo& tstInfo() const noexcept { return m_tstInfo; }
    // "2026-01-31T23:59:59Z"; empty unless isTimeStamp().
    [[nodiscard]] const std::string& genTime() const noexcept { return m_genTime; }
    // Subject and issuer (RFC 4514) of the certificate of the (first) signer.
    [[nodiscard]] const StringBuffer& signerSubject() const noexcept { return m_signerSubject; }
    [[nodiscard]] const StringBuffer& signerIssuer() const noexcept { return m_signerIssuer; }
    // The certificate of the (first) signer; it shares the octets of the message or the store.
    [[nodiscard]] const VantrelX509& signerCertificate() const noexcept {
        return m_signerCertificate;
    }
    // The time-stamp authority's certificate leads to a certificate of the store. Never true of
    // content that is no time-stamp.
    [[nodiscard]] bool authorityTrusted() const noexcept { return m_authorityTrusted; }
    // The certificates that a loaded message carries, as far as they can be read. May throw
    // std::bad_alloc.
    [[nodiscard]] std::vector<VantrelX509> carriedCertificates() const;
    // What else it carries for judging them; nothing when no message is loaded. May throw
    // std::bad_alloc.
    [[nodiscard]] cms::CarriedEvidence carriedEvidence() const;

private:
    // The bodies of the public functions, which catch what these throw (std::bad_alloc).
    void clearResults() noexcept;
    [[nodiscard]] bool load(const DataBuffer& der, bool& otherContentType, LogBase& log);
    [[nodiscard]] bool verify(const _clsCades& options, SystemCerts* store, LogBase& log);
    [[nodiscard]] bool readTimeStamp(LogBase& log);
    [[nodiscard]] bool acceptToken(const DataBuffer& token, const cms::TimestampRequest& request,
                                   LogBase& log);
    [[nodiscard]] bool verifySigners(SystemCerts* store, LogBase& log);
    [[nodiscard]] bool isTrusted(const VantrelX509& certificate,
                                 const cms::CertificateSource& source, LogBase& log) const;

    // Results are set by the steps as they succeed, and cleared again when a later one fails.
    DataBuffer m_der; // what the views of m_data and m_tstInfo point into
    std::unique_ptr<cms::SignedData> m_data;
    bool m_isTimeStamp = false;
    bool m_authorityTrusted = false;
    cms::TstInfo m_tstInfo;
    std::string m_genTime;
    StringBuffer m_signerSubject;
    StringBuffer m_signerIssuer;
    VantrelX509 m_signerCertificate;
};

} // namespace vantrel

#endif
