// SPDX-License-Identifier: MIT
#include "foundation/text/encoders.h"

#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/text/_vlCharset.h"
#include "foundation/text/base64_kernels.h"
#include "foundation/text/strings.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>

namespace vantrel {

namespace text {

namespace {

struct EncodingName {
    std::string_view name;
    Encoding encoding;
};

constexpr EncodingName kEncodingNames[] = {
    {"base64", Encoding::Base64},        {"base64url", Encoding::Base64Url},
    {"base64-url", Encoding::Base64Url}, {"hex", Encoding::Hex},
    {"hexlower", Encoding::HexLower},    {"hex_lower", Encoding::HexLower},
};

// The URL alphabet in terms of the standard one. A foreign "+" or "/" becomes a fault.
char standardOfUrl(char c) noexcept {
    switch (c) {
    case '-': return '+';
    case '_': return '/';
    case '+':
    case '/': return '\0';
    default: return c;
    }
}

bool decodeBase64Url(std::string_view text, DataBuffer& out) {
    StringBuffer standard;
    if (text.size() > kMaxTextSize - 4 ||
        !standard.reserve(static_cast<std::uint32_t>(text.size() + 4))) {
        return false;
    }
    std::size_t significant = 0;
    bool padded = false;
    for (const char c : text) {
        if (!isSpaceAscii(c)) {
            ++significant;
            padded = padded || c == '=';
            static_cast<void>(standard.appendChar(standardOfUrl(c))); // there is room
        }
    }
    while (!padded && significant % 4 != 0) {
        ++significant;
        static_cast<void>(standard.appendChar('='));
    }
    return decodeBase64(standard.view(), out);
}

std::size_t base64Size(std::size_t size, bool padded) noexcept {
    const std::size_t rest = size % 3;
    const std::size_t tail = rest == 0 ? 0 : (padded ? 4 : rest + 1);
    return size / 3 * 4 + tail;
}

// Writes base64Size() characters.
void putBase64(ByteView bytes, std::string_view alphabet, bool padded, char* to) noexcept {
    const char* const signs = alphabet.data();
    const std::size_t rest = bytes.size() % 3;
    const std::size_t full = bytes.size() - rest;
    const std::uint8_t* from = bytes.data();
    const auto sign = [signs](std::uint32_t bits) { return signs[bits & 63]; };
    for (std::size_t left = full; left != 0; left -= 3, from += 3, to += 4) {
        const std::uint32_t high = static_cast<std::uint32_t>(from[0]) << 4 | from[1] >> 4;
        const std::uint32_t low = static_cast<std::uint32_t>(from[1] & 15U) << 8 | from[2];
        to[0] = sign(high >> 6);
        to[1] = sign(high);
        to[2] = sign(low >> 6);
        to[3] = sign(low);
    }
    if (rest != 0) {
        const std::uint32_t second = rest == 2 ? bytes[full + 1] : 0;
        const std::uint32_t group = static_cast<std::uint32_t>(bytes[full]) << 16 | second << 8;
        const char characters[] = {signs[group >> 18], signs[group >> 12 & 63],
                                   rest == 2 ? signs[group >> 6 & 63] : '=', '='};
        std::copy_n(characters, padded ? 4 : rest + 1, to);
    }
}

bool encodeBase64(ByteView bytes, std::string_view alphabet, bool padded, StringBuffer& out) {
    if (bytes.empty()) {
        return true;
    }
    const std::size_t count = base64Size(bytes.size(), padded);
    if (count > kMaxTextSize - out.getSize() ||
        !out.reserve(static_cast<std::uint32_t>(out.getSize() + count))) {
        return false;
    }
    char* const to = out.freeRoom(count);
    if (to == nullptr) {
        return false;
    }
    putBase64(bytes, alphabet, padded, to);
    out.takeRoom(count);
    return true;
}

bool encodeHex(ByteView bytes, std::string_view digits, StringBuffer& out) {
    if (bytes.size() > (kMaxTextSize - out.getSize()) / 2 ||
        !out.reserve(static_cast<std::uint32_t>(out.getSize() + 2 * bytes.size()))) {
        return false;
    }
    std::array<char, 512> piece;
    while (!bytes.empty()) {
        const ByteView part = bytes.first(std::min(bytes.size(), piece.size() / 2));
        bytes = bytes.subspan(part.size());
        char* to = piece.data();
        for (const std::uint8_t byte : part) {
            *to++ = digits[byte >> 4];
            *to++ = digits[byte & 15];
        }
        static_cast<void>(out.appendView({piece.data(), 2 * part.size()})); // there is room
    }
    return true;
}

} // namespace

bool encodingByName(std::string_view name, Encoding& encoding) noexcept {
    for (const EncodingName& known : kEncodingNames) {
        if (equalsNoCase(name, known.name)) {
            encoding = known.encoding;
            return true;
        }
    }
    return false;
}

bool decodeHex(std::string_view text, DataBuffer& out) {
    const std::uint32_t before = out.getSize();
    const std::size_t most = text.size() / 2;
    if (most == 0) {
        return trimmed(text).empty();
    }
    if (most > kMaxTextSize - before) {
        return false;
    }
    std::uint8_t* const target = out.resize(static_cast<std::uint32_t>(before + most));
    if (target == nullptr) {
        return false;
    }
    std::uint8_t* to = target + before;
    int high = -1;
    bool ok = true;
    for (const char c : text) {
        const int digit = hexDigitValue(c);
        if (digit < 0) {
            ok = isSpaceAscii(c);
        } else if (high < 0) {
            high = digit;
        } else {
            *to++ = static_cast<std::uint8_t>(high << 4 | digit);
            high = -1;
        }
        if (!ok) {
            break;
        }
    }
    static_cast<void>(out.resize(static_cast<std::uint32_t>(to - target)));
    return ok && high < 0;
}

bool decode(std::string_view text, Encoding encoding, DataBuffer& out) {
    switch (encoding) {
    case Encoding::Base64: return decodeBase64(text, out);
    case Encoding::Base64Url: return decodeBase64Url(text, out);
    case Encoding::Hex:
    case Encoding::HexLower: return decodeHex(text, out);
    }
    return false;
}

std::string_view base64In(ByteView bytes, std::span<char> room) noexcept {
    const std::size_t count = base64Size(bytes.size(), true);
    assert(room.size() >= count);
    putBase64(bytes, kBase64Alphabet, true, room.data());
    return {room.data(), count};
}

bool encode(ByteView bytes, Encoding encoding, StringBuffer& out) {
    switch (encoding) {
    case Encoding::Base64: return encodeBase64(bytes, kBase64Alphabet, true, out);
    case Encoding::Base64Url: return encodeBase64(bytes, kBase64UrlAlphabet, false, out);
    case Encoding::Hex: return encodeHex(bytes, "0123456789ABCDEF", out);
    case Encoding::HexLower: return encodeHex(bytes, "0123456789abcdef", out);
    }
    return false;
}

} // namespace text

void _clsEncode::put_EncodingMode(const char* name) { m_name.setString(name); }

bool _clsEncode::decodeBinary(const XString& text, DataBuffer& out, bool appendToOut,
                              LogBase& log) const {
    if (!appendToOut) {
        out.clear();
    }
    if (!out.appendEncoded(text.getUtf8Sb().view(), m_name.getString())) {
        log.LogError("Failed to decode the text in the given encoding.");
        log.LogDataSb("encodingMode", m_name);
        return false;
    }
    return true;
}

bool DataBuffer::appendEncoded(const char* text, const char* encoding) {
    return appendEncoded(text::viewOf(text), encoding);
}

bool DataBuffer::appendEncoded(std::string_view text, const char* encoding) {
    if (text::Encoding known{}; text::encodingByName(text::viewOf(encoding), known)) {
        return text::decode(text, known, *this);
    }
    _vlCharset charset;
    return charset.setByName(encoding) && charset.fromUtf8(text, *this);
}

bool DataBuffer::encodeDB(const char* encoding, StringBuffer& out) const {
    if (text::Encoding known{}; text::encodingByName(text::viewOf(encoding), known)) {
        return text::encode(view(), known, out);
    }
    _vlCharset charset;
    return charset.setByName(encoding) && charset.toUtf8(view(), out);
}

} // namespace vantrel
