// SPDX-License-Identifier: MIT
#ifndef API_OPTION_VALUES_H
#define API_OPTION_VALUES_H

#include "api/result.h"
#include "api/trust_anchors.h"

#include <string>
#include <string_view>

// What the values of options may be, for the two that read options from texts: the command line and
// JSON. They differ in how they name an option and in what they propose, and in nothing else.
namespace vantrel::api {

inline constexpr int kHighestIndex = 0x7FFFFFFE;
// Highest index of a reference for which the verifier takes data.
inline constexpr int kLastReferenceWithData = 100;
// In multiples of the usual time of a search: some two hours.
inline constexpr int kMostEffort = 3600;
inline constexpr int kMostThreads = 1024;

// Options that take one of some words, or several.
inline constexpr std::string_view kHmacEncodings = "hex base64 ascii";
inline constexpr std::string_view kAcceptWords = "all any";
inline constexpr std::string_view kRequireWords =
    "pinned trusted vouched strong no-leniency all-checked unambiguous covered timestamp";
inline constexpr std::string_view kOptionWords =
    "ZATCA VerifyEncapsulatedTimeStamp AllowXmlDigestError GivenRulesOnly";

// The words of such a list with commas between them, for people.
[[nodiscard]] std::string listOf(std::string_view words);
// Whether `text` is one of the words; `anyCase`: in any letter case.
[[nodiscard]] bool isWordOf(std::string_view words, std::string_view text, bool anyCase) noexcept;

// "N=FILE", content of an external reference; the name may hold more equals signs.
[[nodiscard]] bool parseReferenceData(std::string_view text, int& index, std::string& file);

// "NAME=FILE", a key by its name. The last equals sign parts them: names of keys are often names of
// directories (CN=...), and names of files hardly ever hold one.
[[nodiscard]] bool parseNamedKey(std::string_view text, std::string& name, std::string& file);

// Files are opened when their digest is due, folders searched then; here it is seen that both can
// be. Else false with the system's reason, a value of errno; where that is 0 `otherwise` says why.
[[nodiscard]] bool canOpen(const std::string& file, int& systemError, std::string& otherwise);
[[nodiscard]] bool canList(const std::string& folder, int& systemError);

// Anchors as an option names them: kSystemAnchors or a path.
inline constexpr std::string_view kSystemAnchors = "system";
[[nodiscard]] Result<TrustAnchors> anchorsNamed(const std::string& name);

} // namespace vantrel::api

#endif
