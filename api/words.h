// SPDX-License-Identifier: MIT
#ifndef API_WORDS_H
#define API_WORDS_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

// The words of reports for the enumerations of verify_result.h, in their order.
namespace vantrel::api {

inline constexpr auto kStatusWords =
    std::to_array<std::string_view>({"valid", "invalid", "no-signature", "error"});
inline constexpr auto kValueWords =
    std::to_array<std::string_view>({"valid", "invalid", "not-checked"});
inline constexpr auto kReferenceWords =
    std::to_array<std::string_view>({"match", "mismatch", "missing", "error", "not-checked"});
inline constexpr auto kTimestampWords =
    std::to_array<std::string_view>({"absent", "valid", "invalid", "not-checked"});
inline constexpr auto kAcceptanceWords =
    std::to_array<std::string_view>({"not-asked", "accepted", "refused"});
inline constexpr auto kSigningCertificateWords =
    std::to_array<std::string_view>({"absent", "match", "mismatch"});
inline constexpr auto kCoversWords =
    std::to_array<std::string_view>({"", "document", "element", "elements", "external"});

// Empty for a value that is no enumerator.
template <std::size_t N, class Enum>
constexpr std::string_view wordOf(const std::array<std::string_view, N>& words,
                                  Enum value) noexcept {
    const auto index = static_cast<std::size_t>(value);
    return index < N ? words[index] : std::string_view();
}

// `otherwise` for a word that is none of these.
template <class Enum, std::size_t N>
constexpr Enum enumOf(const std::array<std::string_view, N>& words, std::string_view word,
                      Enum otherwise) noexcept {
    const auto found = std::find(words.begin(), words.end(), word);
    return found != words.end() ? static_cast<Enum>(found - words.begin()) : otherwise;
}

} // namespace vantrel::api

#endif
