// SPDX-License-Identifier: MIT
// Character sets and number systems of XString.
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/text/_vlCharset.h"
#include "foundation/text/encoders.h"
#include "foundation/text/no_throw.h"
#include "foundation/text/strings.h"
#include "foundation/text/utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace vantrel {

namespace {

// Converting between number systems takes quadratic time; no serial number comes near this.
constexpr std::size_t kMostDigits = 20000;
constexpr std::size_t kMostBytes = 8305; // hold that many decimal digits

constexpr std::uint32_t kChunkBase = 1000000000; // nine decimal digits
constexpr std::size_t kChunkDigits = 9;

constexpr std::string_view kDecimal = "decimal";

// A magnitude in 32-bit limbs, lowest first, without leading zeros.
using Limbs = std::vector<std::uint32_t>;

void multiplyAdd(Limbs& number, std::uint32_t factor, std::uint32_t summand) {
    std::uint64_t carry = summand;
    for (std::uint32_t& limb : number) {
        carry += std::uint64_t{limb} * factor;
        limb = static_cast<std::uint32_t>(carry);
        carry >>= 32;
    }
    if (carry != 0) {
        number.push_back(static_cast<std::uint32_t>(carry));
    }
}

std::uint32_t divideByChunk(Limbs& number) noexcept {
    std::uint64_t rest = 0;
    for (std::size_t i = number.size(); i-- > 0;) {
        rest = rest << 32 | number[i];
        number[i] = static_cast<std::uint32_t>(rest / kChunkBase);
        rest %= kChunkBase;
    }
    while (!number.empty() && number.back() == 0) {
        number.pop_back();
    }
    return static_cast<std::uint32_t>(rest);
}

// Big-endian magnitude of a run of decimal digits, without leading zero bytes, "0" as one byte.
bool bytesOfDecimal(std::string_view digits, DataBuffer& out) {
    if (digits.empty() || digits.size() > kMostDigits ||
        !std::all_of(digits.begin(), digits.end(), text::isDigitAscii)) {
        return false;
    }
    Limbs number;
    while (!digits.empty()) {
        // The first chunk takes the odd digits, so that all others are full.
        const std::size_t odd = digits.size() % kChunkDigits;
        const std::size_t count = odd == 0 ? kChunkDigits : odd;
        std::uint32_t chunk = 0;
        for (const char c : digits.substr(0, count)) {
            chunk = chunk * 10 + static_cast<std::uint32_t>(c - '0');
        }
        multiplyAdd(number, kChunkBase, chunk);
        digits.remove_prefix(count);
    }
    bool leading = true;
    for (std::size_t i = number.size() * 4; i-- > 0;) {
        const auto byte = static_cast<std::uint8_t>(number[i / 4] >> 8 * (i % 4));
        leading = leading && byte == 0 && i > 0;
        if (!leading && !out.appendChar(byte)) {
            return false;
        }
    }
    return !out.isEmpty() || out.appendChar(0);
}

bool decimalOfBytes(ByteView bytes, StringBuffer& out) {
    while (!bytes.empty() && bytes.front() == 0) {
        bytes = bytes.subspan(1);
    }
    if (bytes.size() > kMostBytes) {
        return false;
    }
    Limbs number((bytes.size() + 3) / 4);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::uint32_t byte = bytes[bytes.size() - 1 - i];
        number[i / 4] |= byte << 8 * (i % 4);
    }
    std::vector<char> reversed;
    while (!number.empty()) {
        std::uint32_t chunk = divideByChunk(number);
        for (std::size_t digit = 0; digit < kChunkDigits; ++digit, chunk /= 10) {
            reversed.push_back(static_cast<char>('0' + chunk % 10));
        }
    }
    while (!reversed.empty() && reversed.back() == '0') {
        reversed.pop_back();
    }
    if (reversed.empty()) {
        reversed.push_back('0');
    }
    std::reverse(reversed.begin(), reversed.end());
    return out.appendView({reversed.data(), reversed.size()});
}

bool reencodeText(std::string_view text, const char* from, const char* to, StringBuffer& out) {
    DataBuffer bytes;
    text = text::trimmed(text);
    const bool negative = text.starts_with('-');
    if (negative) {
        text.remove_prefix(1);
    }
    const bool decoded = text::equalsNoCase(text::viewOf(from), kDecimal)
                             ? bytesOfDecimal(text, bytes)
                             : !text.empty() && bytes.appendEncoded(text, from);
    if (!decoded || (negative && !out.appendChar('-'))) {
        return false;
    }
    return text::equalsNoCase(text::viewOf(to), kDecimal) ? decimalOfBytes(bytes.view(), out)
                                                          : bytes.encodeDB(to, out);
}

// Appends the character for which a byte stands in Windows-1252; its five unassigned bytes are
// taken for the control characters of the same number.
bool appendWindows1252(const _vlCharset& windows1252, char byte, StringBuffer& out) {
    if (windows1252.toUtf8(asBytes({&byte, 1}), out)) {
        return true;
    }
    char encoded[4];
    const std::size_t count = text::encodeUtf8(static_cast<unsigned char>(byte), encoded);
    return out.appendView({encoded, count});
}

} // namespace

bool XString::getConverted(const _vlCharset& charset, DataBuffer& out) const {
    return charset.fromUtf8(m_text.view(), out);
}

bool XString::checkFixUtf8Windows1252(LogBase& log) {
    std::string_view rest = m_text.view();
    std::size_t valid = text::validUtf8Prefix(rest);
    if (valid == rest.size()) {
        return true;
    }
    _vlCharset windows1252;
    StringBuffer fixed;
    bool ok = windows1252.setByName("windows-1252");
    // Only the bytes that cannot be UTF-8 are taken for the other set: a text that mixes the two
    // keeps what was right.
    while (ok && !rest.empty()) {
        ok = fixed.appendView(rest.substr(0, valid));
        rest.remove_prefix(valid);
        if (ok && !rest.empty()) {
            ok = appendWindows1252(windows1252, rest.front(), fixed);
            rest.remove_prefix(1);
        }
        valid = text::validUtf8Prefix(rest);
    }
    if (!ok) {
        return false;
    }
    log.LogInfo("The text is not valid UTF-8; the bytes that are not were taken for Windows-1252.");
    m_text.takeSb(fixed);
    return true;
}

bool XString::reencode(const char* from, const char* to) {
    StringBuffer result;
    if (!text::noThrow(false, [&] { return reencodeText(m_text.view(), from, to, result); })) {
        return false;
    }
    clear();
    m_text.takeSb(result);
    return true;
}

} // namespace vantrel
