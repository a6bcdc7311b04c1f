// SPDX-License-Identifier: MIT
#include "foundation/cms/asn_xml_values.h"

#include "foundation/asn1/oid.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/encoders.h"
#include "foundation/text/strings.h"
#include "foundation/text/utf8.h"
#include "foundation/x509/name_reader.h"
#include "foundation/x509/name_text.h"
#include "foundation/x509/oids.h"

#include <cstddef>

namespace vantrel::cms {

namespace {

constexpr std::uint32_t kBmpString = 30;

// Text that an XML document holds and a reader gives back unchanged: valid UTF-8 without what
// XML 1.0 2.2 excludes, no CR (which becomes LF, 2.11), and no white space at its ends, which
// readers may trim.
bool isXmlSafe(std::string_view text) noexcept {
    if (text.empty()) {
        return true;
    }
    if (x509::isNameSpace(text.front()) || x509::isNameSpace(text.back())) {
        return false;
    }
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 && c != '\t' && c != '\n') {
            return false;
        }
    }
    // U+FFFE and U+FFFF
    return text.find("\xEF\xBF\xBE") == std::string_view::npos &&
           text.find("\xEF\xBF\xBF") == std::string_view::npos && text::isValidUtf8(text);
}

// '>' as well: "]]>" must not stand in character data.
void appendEscaped(std::string_view text, std::string& out) {
    for (const char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        default: out.push_back(c); break;
        }
    }
}

void appendHex(ByteView contents, std::string& out) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    for (const std::uint8_t byte : contents) {
        out.push_back(kDigits[byte >> 4U]);
        out.push_back(kDigits[byte & 0x0FU]);
    }
}

// The code point at the front of valid UTF-8, which is taken off.
std::uint32_t takeCodePoint(std::string_view& text) noexcept {
    const auto lead = static_cast<unsigned char>(text[0]);
    const std::size_t size = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    std::uint32_t c = size == 1 ? lead : lead & (0x7FU >> size);
    for (std::size_t i = 1; i < size; ++i) {
        c = c << 6U | (static_cast<unsigned char>(text[i]) & 0x3FU);
    }
    text.remove_prefix(size);
    return c;
}

// A number of 16 or 32 bits, big-endian (X.690 8.23.7, 8.23.8).
void appendUnit(std::uint32_t value, unsigned bytes, std::vector<std::uint8_t>& out) {
    for (unsigned shift = 8 * bytes; shift != 0; shift -= 8) {
        out.push_back(static_cast<std::uint8_t>(value >> (shift - 8)));
    }
}

// UTF-8 to the contents of a UniversalString, four bytes a character, or of a BMPString, two.
// BMPString knows no characters above FFFF; writers put surrogates there, which are read and
// written alike.
bool appendWide(std::uint32_t number, std::string_view text, std::vector<std::uint8_t>& out) {
    if (!text::isValidUtf8(text)) {
        return false;
    }
    while (!text.empty()) {
        const std::uint32_t c = takeCodePoint(text);
        if (number != kBmpString) {
            appendUnit(c, 4, out);
        } else if (c < 0x10000) {
            appendUnit(c, 2, out);
        } else {
            appendUnit(0xD800 + ((c - 0x10000) >> 10U), 2, out);
            appendUnit(0xDC00 + ((c - 0x10000) & 0x3FFU), 2, out);
        }
    }
    return true;
}

// Some encodings have a text but another encoding (leading zeros in an arc): those do not go this
// way.
bool appendOidText(ByteView contents, std::string& out) {
    const std::size_t before = out.size();
    asn1::OidBytes again;
    if (!asn1::oidToText(contents, out)) {
        return false;
    }
    if (asn1::oidFromText(std::string_view(out).substr(before), again) &&
        x509::sameBytes(again.view(), contents)) {
        return true;
    }
    out.resize(before);
    return false;
}

bool appendWideText(std::uint32_t number, ByteView contents, std::string& out) {
    std::string text;
    std::vector<std::uint8_t> again;
    if (!x509::appendStringValue(static_cast<asn1::Tag>(number), contents, text) ||
        !isXmlSafe(text) || !appendWide(number, text, again) || !x509::sameBytes(again, contents)) {
        return false;
    }
    appendEscaped(text, out);
    return true;
}

// X.690 8.6.2: the first byte counts the unused bits of the last, 0 to 7.
bool appendBitsText(ByteView contents, std::string& out, unsigned& unused) {
    if (contents.empty() || contents[0] > 7) {
        return false;
    }
    unused = contents[0];
    return appendBase64Text(contents.subspan(1), out);
}

bool appendHexBytes(std::string_view text, std::vector<std::uint8_t>& out) {
    const std::string_view digits = text::trimmed(text);
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        char byte = 0;
        if (!x509::decodeHexPair(digits.substr(i), byte)) {
            return false;
        }
        out.push_back(static_cast<std::uint8_t>(byte));
    }
    return true;
}

} // namespace

bool appendBase64Text(ByteView contents, std::string& out) {
    StringBuffer text;
    if (!text::encode(contents, text::Encoding::Base64, text)) {
        return false;
    }
    out += text.view();
    return true;
}

bool appendBase64Bytes(std::string_view text, std::vector<std::uint8_t>& out) {
    DataBuffer bytes;
    if (!text::decodeBase64(text, bytes)) {
        return false;
    }
    out.insert(out.end(), bytes.view().begin(), bytes.view().end());
    return true;
}

bool appendValueText(const AsnXmlType& type, ByteView contents, std::string& out,
                     unsigned& unused) {
    unused = 0;
    switch (type.form) {
    case AsnXmlForm::Boolean:
        // BER has any byte but 00 for TRUE; other values than FF would not come back.
        if (contents.size() != 1 || (contents[0] != 0x00 && contents[0] != 0xFF)) {
            return false;
        }
        out += contents[0] != 0 ? "true" : "false";
        return true;
    case AsnXmlForm::Hex: appendHex(contents, out); return true;
    case AsnXmlForm::Bits: return appendBitsText(contents, out, unused);
    case AsnXmlForm::Base64: return appendBase64Text(contents, out);
    case AsnXmlForm::Empty: return contents.empty();
    case AsnXmlForm::Oid: return appendOidText(contents, out);
    case AsnXmlForm::WideText: return appendWideText(type.number, contents, out);
    case AsnXmlForm::Text:
        if (!isXmlSafe(asText(contents))) {
            return false;
        }
        appendEscaped(asText(contents), out);
        return true;
    case AsnXmlForm::Children: break;
    }
    return false;
}

bool appendValueBytes(const AsnXmlType& type, std::string_view text, unsigned unused,
                      std::vector<std::uint8_t>& out) {
    switch (type.form) {
    case AsnXmlForm::Boolean: {
        const std::string_view word = text::trimmed(text);
        out.push_back(word == "true" ? 0xFF : 0x00);
        return word == "true" || word == "false";
    }
    case AsnXmlForm::Hex: return appendHexBytes(text, out);
    case AsnXmlForm::Bits:
        out.push_back(static_cast<std::uint8_t>(unused));
        return unused <= 7 && appendBase64Bytes(text, out);
    case AsnXmlForm::Base64: return appendBase64Bytes(text, out);
    case AsnXmlForm::Empty: return text::trimmed(text).empty();
    case AsnXmlForm::WideText: return appendWide(type.number, text, out);
    case AsnXmlForm::Text: out.insert(out.end(), text.begin(), text.end()); return true;
    case AsnXmlForm::Oid: {
        asn1::OidBytes oid;
        if (!asn1::oidFromText(text::trimmed(text), oid)) {
            return false;
        }
        out.insert(out.end(), oid.bytes, oid.bytes + oid.size);
        return true;
    }
    case AsnXmlForm::Children: break;
    }
    return false;
}

} // namespace vantrel::cms
