// SPDX-License-Identifier: MIT
#include "foundation/x509/path/path_problem.h"

namespace vantrel::x509 {

// Without a default, so that compilers name a fault that was forgotten here.
std::string_view pathFaultWord(PathFault fault) noexcept {
    switch (fault) {
    case PathFault::NoPath: return "no-path";
    case PathFault::Expired: return "expired";
    case PathFault::NotYetValid: return "not-yet-valid";
    case PathFault::BadSignature: return "bad-signature";
    case PathFault::NotACa: return "not-a-ca";
    case PathFault::PathTooLong: return "path-too-long";
    case PathFault::KeyUsage: return "key-usage";
    case PathFault::ExtendedKeyUsage: return "extended-key-usage";
    case PathFault::NameConstraints: return "name-constraints";
    case PathFault::NameMismatch: return "name-mismatch";
    case PathFault::Policy: return "policy";
    case PathFault::UnknownCriticalExtension: return "unknown-critical-extension";
    case PathFault::WeakAlgorithm: return "weak-algorithm";
    case PathFault::UnsupportedAlgorithm: return "unsupported-algorithm";
    case PathFault::Malformed: return "malformed";
    case PathFault::Revoked: return "revoked";
    case PathFault::RevocationUnknown: return "revocation-unknown";
    case PathFault::Limit: return "limit";
    }
    return {};
}

} // namespace vantrel::x509
