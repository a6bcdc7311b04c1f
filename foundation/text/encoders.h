// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_ENCODERS_H
#define FOUNDATION_TEXT_ENCODERS_H

#include "foundation/text/StringBuffer.h"
#include "foundation/text/byte_view.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace vantrel {

class DataBuffer;
class LogBase;
class XString;

// Base64 as RFC 4648 section 4 has it.
class ContentCoding final {
public:
    ContentCoding() = delete;

    // Appends what `text` decodes to. White space may stand anywhere; bits beyond the last whole
    // byte are ignored. False for any other foreign character, a missing or misplaced "=", or text
    // after the padding: then the bytes decoded before the fault are appended all the same.
    static bool decodeBase64ToDb(const char* text, std::uint32_t length, DataBuffer& out);
    // Appends the encoding, padded, on one line.
    static bool encodeBase64(const void* data, std::uint32_t count, StringBuffer& out);
};

// An encoder for the encoding chosen by name; see text::encodingByName.
class _clsEncode final {
public:
    // An unknown name makes every decoding fail; without one it is "base64".
    void put_EncodingMode(const char* name);
    // Replaces `out` by the bytes that the text stands for. `appendToOut` keeps what is there.
    bool decodeBinary(const XString& text, DataBuffer& out, bool appendToOut, LogBase& log) const;

private:
    StringBuffer m_name{"base64"};
};

namespace text {

// "base64", "base64url" (RFC 4648 section 5, padding optional), "hex" (upper case) and "hex_lower",
// in any case. Every other encoding is a character set: the bytes are the text in that set, "ascii"
// and "text" among them.
enum class Encoding : std::uint8_t { Base64, Base64Url, Hex, HexLower };
[[nodiscard]] bool encodingByName(std::string_view name, Encoding& encoding) noexcept;

// Appends the bytes that `text` stands for. On a fault what was decoded before it stays appended.
[[nodiscard]] bool decode(std::string_view text, Encoding encoding, DataBuffer& out);
[[nodiscard]] bool decodeBase64(std::string_view text, DataBuffer& out);
[[nodiscard]] bool decodeHex(std::string_view text, DataBuffer& out);

// Append the encoded bytes; false when out of memory, `out` unchanged.
[[nodiscard]] bool encode(ByteView bytes, Encoding encoding, StringBuffer& out);
// Base64 of a few bytes, padded, at the front of `room`, which must hold 4 characters for each 3 of
// them.
[[nodiscard]] std::string_view base64In(ByteView bytes, std::span<char> room) noexcept;

} // namespace text
} // namespace vantrel

#endif
