// SPDX-License-Identifier: MIT
#ifndef FUZZ_CERTIFICATE_SIGNER_H
#define FUZZ_CERTIFICATE_SIGNER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Signs certificates, revocation lists and answers of responders anew, so that changes of them
// reach what lies behind sound signatures.
namespace vantrel::fuzz {

struct SignedBag {
    std::string pem;
    std::vector<std::string> answers; // OCSPResponses in DER
};

// Every name has a key: its certificates carry it, and what it issues is signed by it. An octet of
// `choices` for each certificate, as long as there are any, says what is answered about it, and who
// answers: bits 0 and 1 nothing, good, revoked, unknown; bit 2 its issuer or the certificate
// numbered by bits 3 to 5; bit 6 a day too late, bit 7 without an end. `time`: when the answers are
// given, in seconds since 1970. What OpenSSL does not read is left out; without OpenSSL, the bag as
// it is.
[[nodiscard]] SignedBag signedAnew(std::string_view pem, std::string_view choices,
                                   std::int64_t time);

} // namespace vantrel::fuzz

#endif
