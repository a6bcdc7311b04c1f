// SPDX-License-Identifier: MIT
#ifndef DSIG_REPORT_CAUSES_H
#define DSIG_REPORT_CAUSES_H

#include "dsig/report/signature_report.h"

#include <string>
#include <string_view>
#include <vector>

// Why a verification failed, told apart by what it found out without a search. The words are those
// of docs/report.md; each text stands here once.
namespace vantrel::dsig {

// The codes. What is not supported is never called forged.
namespace cause {
// Of references.
inline constexpr std::string_view kDigestMismatch = "digest-mismatch";
inline constexpr std::string_view kUnsupportedDigest = "unsupported-digest";
inline constexpr std::string_view kExternalMissing = "external-missing";
inline constexpr std::string_view kOtherContentType = "other-content-type";
inline constexpr std::string_view kNoSuchId = "no-such-id";
inline constexpr std::string_view kDuplicateId = "duplicate-id";
inline constexpr std::string_view kUnsupportedTransform = "unsupported-transform";
inline constexpr std::string_view kTransformFailed = "transform-failed";
inline constexpr std::string_view kLimit = "limit"; // of signatures as well
inline constexpr std::string_view kNoSuchReference = "no-such-reference";
inline constexpr std::string_view kNotChecked = "not-checked";
// Of signatures.
inline constexpr std::string_view kReferenceFailed = "reference-failed";
inline constexpr std::string_view kNoReferences = "no-references";
inline constexpr std::string_view kStructure = "structure";
inline constexpr std::string_view kTimestampFailed = "timestamp-failed";
inline constexpr std::string_view kMalformedValue = "malformed-value";
inline constexpr std::string_view kUnsupportedMethod = "unsupported-method";
inline constexpr std::string_view kUnsupportedKey = "unsupported-key";
inline constexpr std::string_view kNoKey = "no-key";
inline constexpr std::string_view kWrongKey = "wrong-key";
inline constexpr std::string_view kValueMismatch = "value-mismatch";
} // namespace cause

// The command that searches further, as the causes advise it.
inline constexpr const char* kTryExplain = "xmldsig explain FILE";

// What a KeyInfo says, for whoever looks for the key.
struct KeyHints {
    bool isThere = false;
    bool carriesKey = false;        // a key or certificate, whether or not it can be read
    bool hasKeyName = false;        // a name that is no certificate's
    std::vector<std::string> names; // in words: issuer and serial, subject, identifiers
};

// That a check passed the limit of this name (docs/limits.md).
[[nodiscard]] Cause causeOfLimit(std::string_view limit);
// Empty for a reference that matches; its transforms must have been described.
[[nodiscard]] Cause causeOf(const ReferenceResult& reference);
// Empty for a valid signature; the causes of its references must be there.
[[nodiscard]] Cause causeOf(const SignatureReport& report, const KeyHints& hints);

} // namespace vantrel::dsig

#endif
