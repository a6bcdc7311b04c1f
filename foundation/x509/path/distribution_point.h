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
// that stands behind the issuer's name.
struct PointName {
    bool present = false;
    std::vector<std::string> fullNames;
    std::string relative; // key of the component; empty: the full names count

    // The keys, with the relative name behind the name whose key is `issuer`.
    [[nodiscard]] std::vector<std::string> keys(std::string_view issuer) const;
};

// One DistributionPoint of a certificate.
struct DistributionPoint {
    PointName name;
    std::uint32_t reasons = kAllReasons;
    std::vector<std::string> crlIssuers; // keys of directory names; empty: the certificate's issuer
};

// Reads the contents of an explicitly tagged DistributionPointName.
[[nodiscard]] bool readPointName(asn1::DerReader reader, PointName& name);

// Reads the value of the extension cRLDistributionPoints (or freshestCRL).
[[nodiscard]] bool readDistributionPoints(ByteView value, std::vector<DistributionPoint>& points);

// Reads the contents of an implicitly tagged ReasonFlags.
[[nodiscard]] bool readReasons(ByteView bits, std::uint32_t& reasons) noexcept;

} // namespace vantrel::x509

#endif
