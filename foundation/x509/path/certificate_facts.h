// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_CERTIFICATE_FACTS_H
#define FOUNDATION_X509_PATH_CERTIFICATE_FACTS_H

#include "foundation/text/byte_view.h"
#include "foundation/x509/path/distribution_point.h"
#include "foundation/x509/path/general_name.h"
#include "foundation/x509/path/name_forms.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel {

class VantrelX509;

namespace x509 {

// Bits of KeyUsage (RFC 5280 4.2.1.3) that path validation asks for.
inline constexpr std::uint32_t kUsageDigitalSignature = 1U << 0;
inline constexpr std::uint32_t kUsageKeyCertSign = 1U << 5;
inline constexpr std::uint32_t kUsageCrlSign = 1U << 6;

// What one certificate says, as far as paths depend on it (RFC 5280 4.1, 4.2). Read once and in
// full, so that no step of the validation meets a malformed extension. Views point into the
// certificate, which must outlive this.
struct CertificateFacts {
    const VantrelX509* certificate = nullptr;
    // Why the certificate cannot be used at all, a text of static lifetime; empty when it can.
    std::string_view fault;
    // A critical extension that is not understood: its identifier (contents octets); empty: none.
    ByteView unknownCritical;

    // Subject and issuer are compared as keys, never as text: a name that prints like another one
    // must not pass for it.
    std::string subject; // keys as in directory_name.h
    std::string issuer;
    bool selfIssued = false;
    // Seconds since 1970, both ends included (RFC 5280 4.1.2.5).
    std::int64_t notBefore = 0;
    std::int64_t notAfter = 0;

    // Key identifiers are contents octets, empty where the extension is missing. They order
    // candidates and decide nothing.
    ByteView subjectKeyId;
    ByteView authorityKeyId;
    bool isCa = false;
    std::optional<std::uint32_t> pathLength;
    // A missing extension allows every usage; one that is there allows what it names only. Hence
    // the optional, and for purposes a flag: the list alone could not tell the two apart.
    std::optional<std::uint32_t> keyUsage;
    bool hasPurposes = false;
    std::vector<ByteView> purposes; // extended key usages, contents octets

    bool hasAlternativeNames = false;
    std::vector<GeneralName> alternativeNames;
    std::vector<ComparableName> permitted; // name constraints
    std::vector<ComparableName> excluded;

    // An identifier stands at most once (RFC 5280 4.2.1.4).
    std::vector<ByteView> policies; // contents octets of the identifiers
    std::vector<std::pair<ByteView, ByteView>> mappings;
    // Numbers of certificates that may follow before the rule holds; see Countdown in
    // validate_path.cpp.
    std::optional<std::uint32_t> requireExplicitPolicy;
    std::optional<std::uint32_t> inhibitPolicyMapping;
    std::optional<std::uint32_t> inhibitAnyPolicy;

    std::vector<DistributionPoint> distributionPoints;

    // Whether one of the bits is set; every usage is allowed where the extension is missing.
    [[nodiscard]] bool maySign(std::uint32_t usage) const noexcept {
        return !keyUsage || (*keyUsage & usage) != 0;
    }
    // Whether the extended key usages allow `purpose` (contents octets): there are none, or it is
    // among them, or any purpose is.
    [[nodiscard]] bool allowsPurpose(ByteView purpose) const noexcept;
};

// May throw std::bad_alloc. Always returns facts; what cannot be read shows in `fault`. The
// certificate must outlive them.
[[nodiscard]] CertificateFacts readCertificateFacts(const VantrelX509& certificate);

} // namespace x509
} // namespace vantrel

#endif
