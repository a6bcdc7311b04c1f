// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_STANDARDS_H
#define DSIG_DOCUMENT_STANDARDS_H

#include <string_view>

namespace vantrel {
class LogBase;
} // namespace vantrel

// Constructs of the recommendations beyond the rules that are tried first. None of them is a
// leniency: each is processed exactly as its recommendation says.
namespace vantrel::dsig {

// Their codes, as reports name them.
namespace standard {
inline constexpr std::string_view kSha224 = "sha224";
inline constexpr std::string_view kSha3 = "sha3";
inline constexpr std::string_view kEdDsa = "eddsa";
inline constexpr std::string_view kMlDsa = "ml-dsa";
inline constexpr std::string_view kPssParams = "pss-params";
inline constexpr std::string_view kHmacLength = "hmac-length";
inline constexpr std::string_view kHmacWhitespace = "hmac-whitespace";
inline constexpr std::string_view kDerKey = "der-key";
inline constexpr std::string_view kX509Digest = "x509-digest";
inline constexpr std::string_view kKeyName = "key-name";
inline constexpr std::string_view kRfc4050 = "rfc4050";
inline constexpr std::string_view kRetrievalMethod = "retrieval-method";
inline constexpr std::string_view kKeyInfoReference = "key-info-reference";
} // namespace standard

// The word of the uncommon options that switches them off.
inline constexpr const char* kGivenRulesOnly = "GivenRulesOnly";
// Whether they are processed at all. The settings of `log` have the word that switches them off;
// to be asked only where one of them is met.
[[nodiscard]] bool standardsApply(const LogBase& log);

// A digest algorithm of RFC 9231, 2.1, by its whole identifier. `hashAlg` (hash_ids.h) is 0 and the
// code empty for every other text.
struct StandardDigest {
    int hashAlg = 0;
    std::string_view code;
};
[[nodiscard]] StandardDigest standardDigest(std::string_view algorithm);
// The same with the usual ones (SHA-1, SHA-2): the hash alone, 0 for every other text.
[[nodiscard]] int digestByIdentifier(std::string_view algorithm);

} // namespace vantrel::dsig

#endif
