// SPDX-License-Identifier: MIT
#ifndef API_POLICY_H
#define API_POLICY_H

#include "api/trust_anchors.h"
#include "dsig/trust/demand.h"

#include <chrono>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vantrel {

/// What a signature may be asked to show; docs/accept.md says what each means.
using Demand = dsig::Demand;

/// How many of the selected signatures have to be valid and accepted.
enum class Accept : std::uint8_t { All, Any };

/// By what a caller accepts signatures (docs/accept.md). That one is valid says that nothing was
/// changed; whose signature counts, and for what, is the caller's to say. A value: several threads
/// may use the same one.
struct Policy {
    /// No key of the document is tried, only the caller's own.
    bool onlyKey = false;
    /// "sha256:" and 64 hexadecimal digits: of the key that verified (its SubjectPublicKeyInfo) or
    /// of a certificate with this key. One of them has to be right.
    std::vector<std::string> pins;
    /// To one of these a certification path has to lead from the signer's certificate.
    std::vector<TrustAnchors> anchors;
    /// Besides what they give by themselves: a pin asks for Demand::Pinned, an anchor for
    /// Demand::Trusted.
    std::set<Demand> demands;
    /// Demands strong algorithms, no leniency, all references checked, nothing ambiguous, and a
    /// signer for whom the caller vouches.
    bool strict = false;
    /// "document", "#ID", or the path of an element as reports print it: what a signature has to
    /// cover, all of it.
    std::vector<std::string> mustCover;
    /// Nothing: all, and that alone asks for no judgement.
    std::optional<Accept> accept;

    // What follows says how a path to an anchor is judged, and is refused without one: whoever
    // gives a list of revoked certificates believes that it counts.

    std::vector<RevocationLists> crls;
    /// The status of every certificate has to be known.
    bool checkRevocation = false;
    /// As of when; else the time of a trusted time-stamp, or now.
    std::optional<std::chrono::sys_seconds> at;
    /// Extended key usages by name or object identifier, one of which the signer's certificate
    /// allows.
    std::vector<std::string> purposes;

    /// Whether any of this asks for acceptance; only then do results say something of it.
    [[nodiscard]] bool asks() const noexcept {
        return onlyKey || strict || accept || !pins.empty() || !anchors.empty() ||
               !demands.empty() || !mustCover.empty();
    }
};

} // namespace vantrel

#endif
