// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_NAME_MATCH_H
#define FOUNDATION_X509_NAME_MATCH_H

#include "foundation/text/byte_view.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::x509 {

// How a certificate is found by its subject although documents write names in either component
// order, in several spellings, and sometimes cut at every comma (also inside values) and put
// together backwards. A name is reduced to its tokens: the pieces between commas, semicolons and
// plus signs, with labels unified, ASCII letters in lower case, and white space, quotes and
// backslashes dropped. Two names match when they have the same tokens, in whatever order. The DER
// name of a certificate and each of its spellings have the same tokens.

// A number that depends on the tokens only, made without allocating for ordinary names.
[[nodiscard]] std::uint64_t nameTokenHash(ByteView derName, std::string& scratch);
[[nodiscard]] std::uint64_t nameTokenHash(std::string_view text, std::string& scratch);

// The tokens themselves, sorted.
[[nodiscard]] std::vector<std::string> nameTokens(ByteView derName);
[[nodiscard]] std::vector<std::string> nameTokens(std::string_view text);

// A 64-bit hash of bytes; not secret, for look-up tables only.
[[nodiscard]] std::uint64_t hashBytes(std::string_view bytes, std::uint64_t seed) noexcept;

} // namespace vantrel::x509

#endif
