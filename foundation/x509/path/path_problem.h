// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_PATH_PROBLEM_H
#define FOUNDATION_X509_PATH_PATH_PROBLEM_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

class VantrelX509;

namespace x509 {

// Why a certification path does not hold, or what is to be said of one that does. Scripts tell them
// apart by their words, so a word once given is kept; the sentence beside it may change.
enum class PathFault : std::uint8_t {
    NoPath,       // no candidate or anchor has the name and key of the issuer
    Expired,      // notAfter is past
    NotYetValid,  // notBefore lies ahead
    BadSignature, // not signed with the issuer's key
    NotACa,       // basic constraints do not make the issuer an authority
    PathTooLong,  // more authorities than pathLenConstraint or the caller allows
    KeyUsage,     // key usage does not allow what the key was used for
    ExtendedKeyUsage,
    NameConstraints,
    NameMismatch, // not issued for the name that the caller asked for
    Policy,       // no certificate policy holds although one is demanded
    UnknownCriticalExtension,
    WeakAlgorithm, // a hash or key that is no longer trusted
    UnsupportedAlgorithm,
    // A certificate that its own format does not allow, the target or one on the way.
    Malformed,
    // A list or answer says so, whose signature was checked.
    Revoked,
    // Nothing usable is known, and the caller asked for it to be known.
    RevocationUnknown,
    Limit, // a work limit of the query was reached
};

// The fixed word of a fault in reports: "no-path", "expired", ...
[[nodiscard]] std::string_view pathFaultWord(PathFault fault) noexcept;

// One finding about one certificate. A path may have several, since all of them have to be mended.
struct PathProblem {
    PathFault fault = PathFault::NoPath;
    // Never null in a result, and valid as long as the caller's certificates are.
    const VantrelX509* certificate = nullptr; // of the query; which it concerns
    std::string text;                         // one sentence without the final dot
};

using PathProblems = std::vector<PathProblem>;

} // namespace x509
} // namespace vantrel

#endif
