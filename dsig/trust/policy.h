// SPDX-License-Identifier: MIT
#ifndef DSIG_TRUST_POLICY_H
#define DSIG_TRUST_POLICY_H

#include "dsig/trust/demand.h"
#include "foundation/text/byte_view.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/path/path_material.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::dsig {

// By what a caller accepts signatures. Whether one is valid is another question, which cryptography
// alone answers; a policy never changes it.
struct Policy {
    // No key of the document is tried, nor one that it names: only those of the caller.
    bool onlyKey = false;
    std::set<Demand> demands;
    // SHA-256 of a SubjectPublicKeyInfo or of a certificate, lower-case hexadecimal; see parsePin.
    std::vector<std::string> pins;
    // One accepted signature is enough for a document, else all have to be. It is for those who sum
    // up: a signature is judged the same.
    bool oneSuffices = false;
    // "document", "#ID", the path of an element as reports print it, or "part:NAME" of a package;
    // see isTarget.
    std::vector<std::string> mustCover;

    // Whom certificates have to lead to. Without anchors nothing is trusted, and the report says
    // nothing of trust.
    std::vector<const VantrelX509*> anchors;
    std::vector<ByteView> crls;        // CertificateLists in DER
    bool checkRevocation = false;      // the status of every certificate must be known
    std::optional<std::int64_t> at;    // seconds since 1970; absent: see signer_trust.h
    std::vector<std::string> purposes; // dotted; one of them the signer's certificate allows
    // What the certificates and lists above belong to; shared, since several policies may use it.
    std::vector<std::shared_ptr<const x509::PathMaterial>> owners;
};

// What the strictest usual policy asks for, besides keys and coverage.
[[nodiscard]] const std::set<Demand>& strictDemands();

// "sha256:" and 64 hexadecimal digits in any letter case, colons between pairs allowed. False, with
// `pin` of no use, for another text.
[[nodiscard]] bool parsePin(std::string_view text, std::string& pin);
// Whether Policy::crls can use the list. May throw std::bad_alloc.
[[nodiscard]] bool isRevocationList(ByteView der);
// What the name of a part follows in such a text.
inline constexpr std::string_view kPartTarget = "part:";
// Whether the text is one that Policy::mustCover takes.
[[nodiscard]] bool isTarget(std::string_view text) noexcept;

} // namespace vantrel::dsig

#endif
