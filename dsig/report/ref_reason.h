// SPDX-License-Identifier: MIT
#ifndef DSIG_REPORT_REF_REASON_H
#define DSIG_REPORT_REF_REASON_H

#include <cstdint>

namespace vantrel::dsig {

// How the check of a reference ended. The public RefFailReason knows six of these apart.
// Everything but Match is a failure of the reference; the finer values are for reports and
// explanations.
enum class RefReason : std::uint8_t {
    Match,
    Mismatch,
    UnsupportedDigest,    // a digest method that is not known, and SHA-1 did not match
    ExternalMissing,      // no data for an external reference
    ExternalUnreadable,   // its data could not be read
    NoReference,          // there is no such reference
    NotCanonicalized,     // the canonicalization failed
    NoSuchId,             // no element has the Id, or it has been taken out
    DuplicateId,          // several have
    OtherContentType,     // the part's is not the one that the reference names
    UnsupportedTransform, // a transform that is not known, or an expression
    TransformFailed,      // what a transform would take out is not whole elements
    LimitPassed,          // a limit of docs/limits.md
    Other
};

// The public code: 0 match, 1 mismatch, 2 external data missing or not read to its end, 3 no such
// reference, 5 no canonical form (no or no single element with the Id among the causes), 99 other:
// a file that cannot be opened, a part of another content type, a transform, a limit.
[[nodiscard]] constexpr int publicCode(RefReason reason) noexcept {
    switch (reason) {
    case RefReason::Match: return 0;
    case RefReason::Mismatch:
    case RefReason::UnsupportedDigest: return 1;
    case RefReason::ExternalMissing: return 2;
    case RefReason::NoReference: return 3;
    case RefReason::NotCanonicalized:
    case RefReason::NoSuchId:
    case RefReason::DuplicateId: return 5;
    default: return 99;
    }
}

} // namespace vantrel::dsig

#endif
