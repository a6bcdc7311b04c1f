// SPDX-License-Identifier: MIT
#include "tests/support/bytes.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace vantrel::test {

namespace {

constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

unsigned hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<unsigned>(c - 'a') + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return static_cast<unsigned>(c - 'A') + 10;
    }
    throw std::invalid_argument("not a hexadecimal digit: " + std::string(1, c));
}

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

} // namespace

Bytes fromHex(std::string_view hex) {
    Bytes out;
    out.reserve(hex.size() / 2);
    if (hex.size() % 2 != 0) {
        throw std::invalid_argument("odd number of hexadecimal digits");
    }
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        out.push_back(static_cast<std::uint8_t>(hexDigit(hex[i]) * 16 + hexDigit(hex[i + 1])));
    }
    return out;
}

std::string toHex(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string out;
    out.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes) {
        out += digits[byte >> 4];
        out += digits[byte & 15];
    }
    return out;
}

Bytes fromBase64(std::string_view base64) {
    Bytes out;
    unsigned bits = 0;
    unsigned held = 0;
    std::size_t padding = 0;
    std::size_t symbols = 0;
    for (const char c : base64) {
        if (isSpace(c)) {
            continue;
        }
        ++symbols;
        if (c == '=') {
            ++padding;
            continue;
        }
        const std::size_t value = kBase64Alphabet.find(c);
        if (value == std::string_view::npos || padding != 0) {
            throw std::invalid_argument("not base64");
        }
        bits = (bits << 6 | static_cast<unsigned>(value)) & 0xFFFFFF;
        held += 6;
        if (held >= 8) {
            held -= 8;
            out.push_back(static_cast<std::uint8_t>(bits >> held));
        }
    }
    if (symbols % 4 != 0 || padding > 2) {
        throw std::invalid_argument("wrong base64 padding");
    }
    return out;
}

std::string toBase64(std::span<const std::uint8_t> bytes) {
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t n = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t j = 0; j < 3; ++j) {
            group = group << 8 | (j < n ? bytes[i + j] : 0U);
        }
        for (std::size_t j = 0; j < 4; ++j) {
            out += j <= n ? kBase64Alphabet[(group >> (18 - 6 * j)) & 63] : '=';
        }
    }
    return out;
}

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

std::string textOf(std::span<const std::uint8_t> bytes) { return {bytes.begin(), bytes.end()}; }

std::size_t countOf(std::string_view text, std::string_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string_view::npos;
         at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

std::string unescape(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            out += text[i];
            continue;
        }
        if (++i == text.size()) {
            throw std::invalid_argument("a backslash ends the value");
        }
        switch (text[i]) {
        case 'n': out += '\n'; break;
        case 'r': out += '\r'; break;
        case 't': out += '\t'; break;
        case '0': out += '\0'; break;
        case '\\': out += '\\'; break;
        case 'x':
            if (text.size() - i < 3) {
                throw std::invalid_argument("\\x needs two digits");
            }
            out += static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2]));
            i += 2;
            break;
        default: throw std::invalid_argument("unknown escape \\" + std::string(1, text[i]));
        }
    }
    return out;
}

std::string readText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot read " + path);
    }
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

Bytes readFile(const std::string& path) { return bytesOf(readText(path)); }

void writeFile(const std::string& path, std::string_view content) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!out.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

Bytes RandomBytes::bytes(std::size_t count) {
    Bytes out(count);
    for (std::uint8_t& byte : out) {
        byte = static_cast<std::uint8_t>(m_engine());
    }
    return out;
}

} // namespace vantrel::test
