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
    }
    for (const std::uint8_t byte : bytes) {
        out.push_back(kDigits[byte >> 4U]);
        out.push_back(kDigits[byte & 0x0FU]);
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
    const std::string even = digits.size() % 2 != 0 ? "0" : "";
    const std::string padded = even + std::string(digits);
    std::vector<std::uint8_t> bytes;
    bytes.reserve(padded.size() / 2);
    for (std::size_t i = 0; i < padded.size(); i += 2) {
        char byte = 0;
        if (!decodeHexPair(std::string_view(padded).substr(i), byte)) {
            return false;
        }
        bytes.push_back(static_cast<std::uint8_t>(byte));
    }
    // There is no negative zero in DER.
    out += negative && !asn1::withoutLeadingZeros(bytes).empty() ? "-" : "";
    appendMagnitude(bytes, out);
    return true;
}

} // namespace vantrel::x509
