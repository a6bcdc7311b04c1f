// SPDX-License-Identifier: MIT
#ifndef DSIG_REPORT_VALUE_CHECK_H
#define DSIG_REPORT_VALUE_CHECK_H

#include <cstdint>
#include <string_view>

namespace vantrel::dsig {

// How far the check of a signature value came, and with what.
enum class ValueCheck : std::uint8_t {
    NotReached,        // nobody looked at it
    Structure,         // what the value is over could not be made
    MalformedValue,    // no SignatureValue, or it is not base64
    UnsupportedMethod, // the signature method names no hash or key type that is known
    NoKey,             // none of the kind that the method asks for
    LimitPassed,       // the keys need more operations than their limit
    WrongKey,          // RSA: none of the keys is the one that made the value
    Mismatch,          // the value is not that of these octets under any of the keys
    Valid
};

// The fixed words of reports.
[[nodiscard]] constexpr std::string_view valueText(ValueCheck check) noexcept {
    switch (check) {
    case ValueCheck::Valid: return "valid";
    case ValueCheck::MalformedValue:
    case ValueCheck::WrongKey:
    case ValueCheck::Mismatch: return "invalid";
    default: return "not-checked";
    }
}

} // namespace vantrel::dsig

#endif
