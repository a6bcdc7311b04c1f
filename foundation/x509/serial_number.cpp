// SPDX-License-Identifier: MIT
#include "foundation/x509/serial_number.h"

#include "foundation/asn1/der_values.h"
#include "foundation/text/strings.h"
#include "foundation/x509/name_text.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vantrel::x509 {

namespace {

constexpr char kDigits[] = "0123456789ABCDEF";

// Upper case, two digits an octet: as most programs show it and documents quote it.
void appendMagnitude(ByteView magnitude, std::string& out) {
    const ByteView bytes = asn1::withoutLeadingZeros(magnitude);
    if (bytes.empty()) {
        out += "00";
        return;
    }
    std::size_t at = out.size();
    out.resize(at + 2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        out[at++] = kDigits[byte >> 4U];
        out[at++] = kDigits[byte & 0x0FU];
    }
}

} // namespace

void appendSerialText(ByteView integer, std::string& out) {
    if (integer.empty() || (integer[0] & 0x80U) == 0) {
        appendMagnitude(integer, out);
        return;
    }
    // Two's complement: invert and add one.
    std::vector<std::uint8_t> bytes(integer.begin(), integer.end());
    unsigned carry = 1;
    for (std::size_t i = bytes.size(); i-- > 0;) {
        const unsigned sum = (~static_cast<unsigned>(bytes[i]) & 0xFFU) + carry;
        bytes[i] = static_cast<std::uint8_t>(sum);
        carry = sum >> 8U;
    }
    out.push_back('-');
    appendMagnitude(bytes, out);
}

bool appendSerialText(std::string_view hex, std::string& out) {
    std::string_view digits = text::trimmed(hex);
    const bool negative = digits.substr(0, 1) == "-";
    digits.remove_prefix(negative ? 1 : 0);
    if (digits.empty()) {
        return false;
    }
    std::string bytes; // the usual length needs no memory of its own
    const auto add = [&bytes](std::string_view pair) {
        char byte = 0;
        const bool ok = decodeHexPair(pair, byte);
        bytes.push_back(byte);
        return ok;
    };
    if (digits.size() % 2 != 0) {
        const char first[] = {'0', digits[0]};
        if (!add({first, 2})) {
            return false;
        }
        digits.remove_prefix(1);
    }
    for (; !digits.empty(); digits.remove_prefix(2)) {
        if (!add(digits)) {
            return false;
        }
    }
    // There is no negative zero in DER.
    out += negative && !asn1::withoutLeadingZeros(asBytes(bytes)).empty() ? "-" : "";
    appendMagnitude(asBytes(bytes), out);
    return true;
}

} // namespace vantrel::x509
