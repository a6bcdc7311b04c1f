// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_PATH_WORDS_H
#define FOUNDATION_X509_PATH_PATH_WORDS_H

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel::x509 {

// How people write what a query asks for. They are for options and files of settings, so they
// accept what people are used to writing.

// The dotted identifier of an extended key usage by its name ("serverAuth", "documentSigning", in
// any letter case) or by itself. False for a text that is neither. On failure `oid` is unchanged.
[[nodiscard]] bool parsePurpose(std::string_view text, std::string& oid);

// Whether the text is a dotted object identifier.
[[nodiscard]] bool isObjectIdentifier(std::string_view text) noexcept;

// Whether the text is a name that a query takes: "dns:HOST", "ip:ADDRESS" or "email:MAILBOX".
[[nodiscard]] bool isPeerName(std::string_view text);

// A moment as RFC 3339 has it, "2026-01-31T23:59:59Z", with an offset in place of the Z or a
// fraction of a second, which is dropped; or a date alone, which is its beginning in UTC. Seconds
// since 1970. A time zone is never guessed: with a time there has to be an offset.
[[nodiscard]] bool parseMoment(std::string_view text, std::int64_t& seconds);

} // namespace vantrel::x509

#endif
