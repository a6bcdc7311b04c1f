// SPDX-License-Identifier: MIT
#ifndef DSIG_TRUST_SIGNING_CERTIFICATE_H
#define DSIG_TRUST_SIGNING_CERTIFICATE_H

#include "dsig/trust/demands.h"

#include <cstdint>
#include <string_view>

namespace vantrel::dsig {

// XAdES (ETSI TS 101 903, EN 319 132): SigningCertificate and SigningCertificateV2 name by its
// digest the certificate for which the signer signed, so that nobody can put another one with the
// same key in its place. Only a property that this signature covers says anything.
enum class SigningCertificate : std::uint8_t {
    Absent,   // there is none, or it is not signed
    Match,    // it names the certificate of the key that verified
    Mismatch, // it names others, or no certificate of that key is known
};

// The fixed word of reports.
[[nodiscard]] std::string_view signingCertificateWord(SigningCertificate value) noexcept;

// What the judged signature's signed properties say of the certificates of the key that verified.
struct SignedFor {
    SigningCertificate result = SigningCertificate::Absent;
    const VantrelX509* certificate = nullptr; // of the report; when it is a match
};
// Compares what the properties name with the signer's certificate and with the others of the same
// key among the candidates: an authority may have certified the key anew. Where there are several
// properties, each has to name it. Certificates that only the caller has do not count.
[[nodiscard]] SignedFor checkSigningCertificate(const JudgedSignature& it);

} // namespace vantrel::dsig

#endif
