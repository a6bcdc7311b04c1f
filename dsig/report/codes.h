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
inline constexpr std::string_view kLimit100 = "limit.100";
inline constexpr std::string_view kProfileCutOut = "profile.cut-out";
inline constexpr std::string_view kProfileRemoval = "profile.removal";
inline constexpr std::string_view kBase64Children = "base64.children-ignored";
} // namespace accommodation

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
