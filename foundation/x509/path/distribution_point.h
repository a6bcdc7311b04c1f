// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_DISTRIBUTION_POINT_H
#define FOUNDATION_X509_PATH_DISTRIBUTION_POINT_H

#include "foundation/asn1/der_reader.h"
#include "foundation/text/byte_view.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::x509 {

// ReasonFlags (RFC 5280 4.2.1.13): bits 1 to 8; bit 0 is unused.
inline constexpr std::uint32_t kAllReasons = 0x1FE;

// A DistributionPointName, as the key of every name it has (general_name.h), or as the component
// that stands behind the issuer's name. Compared only, never fetched: a URI in a certificate is
// somebody else's wish for a request.
struct PointName {
    bool present = false;
    std::vector<std::string> fullNames;
    std::string relative; // key of the component; empty: the full names count

    // The keys, with the relative name behind the name whose key is `issuer`.
    [[nodiscard]] std::vector<std::string> keys(std::string_view issuer) const;
};

// One DistributionPoint of a certificate. An issuer may divide its lists by reasons or by
// certificates. The point of a certificate says in which of them its own revocation would stand
// (RFC 5280 4.2.1.13).
struct DistributionPoint {
    PointName name;
    std::uint32_t reasons = kAllReasons;
    std::vector<std::string> crlIssuers; // keys of directory names; empty: the certificate's issuer
};

// Reads the contents of an explicitly tagged DistributionPointName. On failure `name` is half read
// and must not be used; so it is with the other readers here.
[[nodiscard]] bool readPointName(asn1::DerReader reader, PointName& name);

// Reads the value of the extension cRLDistributionPoints (or freshestCRL). A point with neither a
// name nor an issuer of lists is read as it stands: no list is found for it, so that the status
// stays unknown.
[[nodiscard]] bool readDistributionPoints(ByteView value, std::vector<DistributionPoint>& points);

// Reads the contents of an implicitly tagged ReasonFlags. Unused bits beyond those of the standard
// are dropped.
[[nodiscard]] bool readReasons(ByteView bits, std::uint32_t& reasons) noexcept;

} // namespace vantrel::x509

#endif
