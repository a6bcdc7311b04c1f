// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_CRL_H
#define FOUNDATION_X509_PATH_CRL_H

#include "foundation/asn1/der_reader.h"
#include "foundation/text/byte_view.h"
#include "foundation/x509/path/distribution_point.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vantrel::x509 {

// CRLReason (RFC 5280 5.3.1), as far as it matters here.
inline constexpr std::int64_t kReasonKeyCompromise = 1;
inline constexpr std::int64_t kReasonCaCompromise = 2;
inline constexpr std::int64_t kReasonRemoveFromCrl = 8;
inline constexpr std::int64_t kReasonAaCompromise = 10;

// One entry of a revocation list. `issuer`: key of the name of the certificate's issuer, which for
// an indirect list is the one named last (RFC 5280 5.3.3).
struct CrlEntry {
    // As it stands in the list: authorities that write leading zeros write them in the certificate
    // too.
    ByteView serial; // INTEGER contents
    std::string issuer;
    std::int64_t date = 0;
    std::int64_t reason = 0; // unspecified
    // When the key is thought to have been lost (RFC 5280 5.3.2); earlier than `date` as a rule.
    std::optional<std::int64_t> invalidSince;
    bool unknownCritical = false;
};

// A parsed CertificateList (RFC 5280 5.1). Views point into the bytes it was read from.
struct Crl {
    // The signature is over these octets as they stand; nothing is encoded anew.
    ByteView tbs; // with header
    ByteView signatureAlgorithm;
    ByteView signature;
    // Whoever signed the list; for an indirect one not the issuer of the certificates in it.
    std::string issuer; // key as in directory_name.h
    std::int64_t thisUpdate = 0;
    // Missing in lists that violate RFC 5280 5.1.2.5. Such a list never expires; a caller who minds
    // gives a greatest age.
    std::optional<std::int64_t> nextUpdate;
    // Read by a CrlEntryReader. A list may have millions of entries, so they are not kept as
    // values.
    ByteView entries; // contents of revokedCertificates
    ByteView authorityKeyId;
    // Numbers as magnitudes without leading zeros.
    std::optional<ByteView> number;
    std::optional<ByteView> baseNumber; // of a delta list
    // A critical extension, of the list or an entry, that is not understood: the list must not be
    // used (RFC 5280 5.2, 5.3).
    bool unknownCritical = false;

    // IssuingDistributionPoint (RFC 5280 5.2.5); its encoding tells whether two lists have one
    // scope.
    ByteView scope;
    PointName point;
    // Each of the three leaves out all certificates but its own kind; two of them together leave
    // nothing.
    bool onlyUsers = false;
    bool onlyAuthorities = false;
    bool onlyAttributes = false;
    std::uint32_t reasons = kAllReasons;
    bool indirect = false;
};

// A forward cursor over the entries of a list, which were found well-formed when it was parsed. It
// holds one entry at a time, whatever the size of the list.
class CrlEntryReader final {
public:
    explicit CrlEntryReader(const Crl& crl) : m_rest(crl.entries) { m_entry.issuer = crl.issuer; }

    // False at the end and at a malformed entry; `failed` tells them apart. The entry is valid
    // until the next call.
    [[nodiscard]] bool next();
    [[nodiscard]] const CrlEntry& entry() const noexcept { return m_entry; }
    [[nodiscard]] bool failed() const noexcept { return m_failed; }

private:
    [[nodiscard]] bool readEntry(asn1::DerReader fields);

    asn1::DerReader m_rest;
    CrlEntry m_entry;
    bool m_failed = false;
};

// Reads a whole list, every entry included. On failure `whyNot` is a text of static lifetime. May
// throw std::bad_alloc.
[[nodiscard]] bool parseCrl(ByteView der, Crl& crl, std::string_view& whyNot);

} // namespace vantrel::x509

#endif
