#ifndef DSIG_REPORT_CODES_H
#define DSIG_REPORT_CODES_H

#include <string_view>
#include <vector>

namespace vantrel::dsig {

// Every leniency that a verification used, by its fixed code.
namespace accommodation {
inline constexpr std::string_view kAttrSortEmulated = "c14n.attr-sort-emulated";
inline constexpr std::string_view kUnknownInclusive = "c14n.unknown-inclusive";
inline constexpr std::string_view kDigestHex = "digest.hex";
inline constexpr std::string_view kDigestUnknownSha1 = "digest.unknown-sha1";
inline constexpr std::string_view kDigestTolerated = "digest.tolerated";
inline constexpr std::string_view kZatcaRules = "zatca.rules";
inline constexpr std::string_view kZatcaAuto = "zatca.auto";
inline constexpr std::string_view kEnvelopedExtraRemoved = "enveloped.extra-removed";
inline constexpr std::string_view kTokenIdMismatch = "token.id-mismatch";
inline constexpr std::string_view kReferencesUnchecked = "refs.unchecked";
// A rule stopped at its fixed number of elements, and others stayed.
inline constexpr std::string_view kLimit100 = "limit.100";
inline constexpr std::string_view kLimit13 = "limit.13";
inline constexpr std::string_view kProfileCutOut = "profile.cut-out";
inline constexpr std::string_view kProfileRemoval = "profile.removal";
inline constexpr std::string_view kBase64Children = "base64.children-ignored";
} // namespace accommodation

// What a caller should know of a verification besides its outcome, by its fixed word.
namespace warning {
// Weak hashes, of the signature method or of a digest.
inline constexpr std::string_view kSha1 = "sha1";
inline constexpr std::string_view kMd5 = "md5";
inline constexpr std::string_view kMd2 = "md2";
inline constexpr std::string_view kRipemd128 = "ripemd128";
// The key that verified.
inline constexpr std::string_view kKeyFromDocument = "key-from-document";
inline constexpr std::string_view kNameFromDocument = "name-from-document";
inline constexpr std::string_view kWeakKey = "weak-key";
inline constexpr std::string_view kCertificateOutsideValidity = "certificate-outside-validity";
// What the digests cover, and what they were not asked for.
inline constexpr std::string_view kDocumentNotCovered = "document-not-covered";
inline constexpr std::string_view kContentExcluded = "content-excluded";
inline constexpr std::string_view kCoverageUnknown = "coverage-unknown";
inline constexpr std::string_view kReferencesNotSigned = "references-not-signed";
inline constexpr std::string_view kDigestTolerated = "digest-tolerated";
inline constexpr std::string_view kExternalMissing = "external-missing";
inline constexpr std::string_view kManifestNotChecked = "manifest-not-checked";
inline constexpr std::string_view kSignatureStructure = "signature-structure";
// What other readers of the document may see otherwise.
inline constexpr std::string_view kEncodingMismatch = "encoding-mismatch";
inline constexpr std::string_view kExternalDtdNotRead = "external-dtd-not-read";
inline constexpr std::string_view kTimestampAuthorityNotChecked = "timestamp-authority-not-checked";
} // namespace warning

// A set of short fixed words, in the order in which they were first added.
class CodeSet {
public:
    void add(std::string_view code);
    [[nodiscard]] const std::vector<std::string_view>& codes() const noexcept { return m_codes; }
    [[nodiscard]] bool contains(std::string_view code) const noexcept;

private:
    std::vector<std::string_view> m_codes; // of static storage
};

} // namespace vantrel::dsig

#endif
