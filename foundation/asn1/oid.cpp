// SPDX-License-Identifier: MIT
#include "foundation/asn1/oid.h"

#include <algorithm>

namespace vantrel::asn1 {

namespace {

__extension__ using Component = unsigned __int128;

void appendDecimal(Component value, std::string& out) {
    char digits[40]; // 2^128 has 39 digits
    char* begin = digits + sizeof digits;
    // Wide division is slow and hardly any component needs it.
    for (; value >> 64U != 0; value /= 10) {
        *--begin = static_cast<char>('0' + static_cast<int>(value % 10));
    }
    auto narrow = static_cast<std::uint64_t>(value);
    do {
        *--begin = static_cast<char>('0' + static_cast<int>(narrow % 10));
        narrow /= 10;
    } while (narrow != 0);
    out.append(begin, digits + sizeof digits);
}

// Reads base-128 digits up to one without its top bit.
bool readComponent(ByteView& rest, Component& value) noexcept {
    if (rest.empty() || rest[0] == 0x80) {
        return false; // 0x80: a leading zero digit
    }
    value = 0;
    for (std::size_t i = 0; i < rest.size(); ++i) {
        if (value >> 121U != 0) {
            return false;
        }
        value = value << 7U | (rest[i] & 0x7FU);
        if ((rest[i] & 0x80U) == 0) {
            rest = rest.subspan(i + 1);
            return true;
        }
    }
    return false;
}

bool parseDecimal(std::string_view text, Component& value) noexcept {
    if (text.empty() || text.size() > 39 || (text.size() > 1 && text[0] == '0')) {
        return false;
    }
    const Component max = ~Component{0};
    value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            return false;
        }
        const auto digit = static_cast<unsigned>(c - '0');
        if (value > (max - digit) / 10) {
            return false;
        }
        value = value * 10 + digit;
    }
    return true;
}

bool writeComponent(Component value, OidBytes& out) noexcept {
    std::size_t digits = 1;
    for (Component rest = value >> 7U; rest != 0; rest >>= 7U) {
        ++digits;
    }
    if (digits > kMaxOidBytes - out.size) {
        return false;
    }
    for (std::size_t i = digits; i-- > 0;) {
        const auto digit = static_cast<unsigned>(value >> (7U * i)) & 0x7FU;
        out.bytes[out.size++] = static_cast<std::uint8_t>(digit | (i != 0 ? 0x80U : 0U));
    }
    return true;
}

} // namespace

bool oidToText(ByteView contents, std::string& out) {
    if (contents.empty() || contents.size() > kMaxOidBytes) {
        return false;
    }
    const std::size_t before = out.size();
    ByteView rest = contents;
    for (bool first = true; !rest.empty(); first = false) {
        Component value = 0;
        if (!readComponent(rest, value)) {
            out.resize(before);
            return false;
        }
        if (first) {
            // The first number is 40 * X + Y with X at most 2, and Y below 40 for X = 0 and 1.
            const Component top = std::min<Component>(value / 40, 2);
            appendDecimal(top, out);
            value -= 40 * top;
        }
        out.push_back('.');
        appendDecimal(value, out);
    }
    return true;
}

bool oidFromText(std::string_view dotted, OidBytes& out) noexcept {
    out.size = 0;
    Component top = 0;
    std::size_t index = 0;
    for (std::size_t start = 0;; ++index) {
        const std::size_t dot = std::min(dotted.find('.', start), dotted.size());
        Component value = 0;
        if (!parseDecimal(dotted.substr(start, dot - start), value)) {
            return false;
        }
        if (index == 0) {
            if (value > 2) {
                return false;
            }
            top = value;
        } else if (index == 1) {
            if ((top < 2 && value >= 40) || value > ~Component{0} - 80) {
                return false;
            }
            value += 40 * top;
        }
        if (index != 0 && !writeComponent(value, out)) {
            return false;
        }
        if (dot == dotted.size()) {
            return index != 0;
        }
        start = dot + 1;
    }
}

} // namespace vantrel::asn1
