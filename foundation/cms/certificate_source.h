// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_CERTIFICATE_SOURCE_H
#define FOUNDATION_CMS_CERTIFICATE_SOURCE_H

#include "foundation/text/byte_view.h"
#include "foundation/x509/VantrelX509.h"

#include <cstddef>
#include <deque>
#include <span>
#include <vector>

namespace vantrel {

class SystemCerts;

namespace cms {

struct SignerInfo;

// Where certificates come from during one verification: those that the message carries, which prove
// nothing by themselves, and those of the store, which are held to be trusted. May throw
// std::bad_alloc.
class CertificateSource final {
public:
    // Certificates of the message that cannot be parsed are passed over. `store` may be null; it
    // must outlive this object.
    CertificateSource(std::span<const ByteView> certificates, SystemCerts* store);
    CertificateSource(const CertificateSource&) = delete;
    CertificateSource& operator=(const CertificateSource&) = delete;

    // The certificates that a signer may mean: those of the message first, then that of the store.
    // Each stands there once, however often it is carried. The pointers are valid as long as this
    // object and the store.
    [[nodiscard]] std::vector<const VantrelX509*> signerCandidates(const SignerInfo& signer) const;

    // What a path from `certificate` may be made of: the certificates of the message, and as
    // anchors those of the store that may be on it or at its end. The store is not gone through; it
    // is asked for the issuers of `certificate` and of those of the message, and for these
    // themselves.
    void collectPathCertificates(const VantrelX509& certificate,
                                 std::vector<const VantrelX509*>& carried,
                                 std::vector<const VantrelX509*>& anchors) const;

private:
    // Adds the store's issuers of the certificate, and the certificate itself when it is there.
    void addAnchors(const VantrelX509& certificate, std::vector<const VantrelX509*>& anchors) const;

    // Look-ups in the store; null when it has none, or there is no store. `subject`: the
    // certificate whose subject is the subject of `named`, else that whose subject is its issuer.
    [[nodiscard]] const VantrelX509* fromStore(const SignerInfo& signer) const;
    [[nodiscard]] const VantrelX509* byKeyId(ByteView keyId) const;
    [[nodiscard]] const VantrelX509* bySubject(const VantrelX509& named, bool subject) const;
    [[nodiscard]] const VantrelX509* byIssuerAndSerial(ByteView issuer, ByteView serial) const;

    std::deque<VantrelX509> m_carried; // a deque, since pointers to its elements are handed out
    SystemCerts* m_store;              // not owned; may be null
};

} // namespace cms
} // namespace vantrel

#endif
