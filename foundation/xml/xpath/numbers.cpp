// SPDX-License-Identifier: MIT
#include "foundation/xml/xpath/numbers.h"

#include "foundation/text/strings.h"
#include "foundation/xml/scan/char_class.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace vantrel::xml {

using text::isDigitAscii;

namespace {

// Digits with at most one point, and at least one digit.
bool isPlainNumber(std::string_view text) noexcept {
    std::size_t points = 0;
    for (const char c : text) {
        if (c == '.') {
            ++points;
        } else if (!isDigitAscii(c)) {
            return false;
        }
    }
    return points <= 1 && text.size() > points;
}

} // namespace

double parseXPathNumber(std::string_view text) noexcept {
    while (!text.empty() && isSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isSpace(text.back())) {
        text.remove_suffix(1);
    }
    const bool negative = text.starts_with('-');
    const std::string_view digits = text.substr(negative ? 1 : 0);
    if (!isPlainNumber(digits)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    double value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value,
                                              std::chars_format::fixed);
    if (error == std::errc::result_out_of_range) {
        // Too large or too small: which of them, the digits before the point tell.
        const std::string_view whole = digits.substr(0, digits.find('.'));
        value = whole.find_first_not_of('0') == whole.npos
                    ? 0
                    : std::numeric_limits<double>::infinity();
    }
    static_cast<void>(end);
    return negative ? -value : value;
}

void appendXPathNumber(double value, std::string& out) {
    if (std::isnan(value)) {
        out += "NaN";
        return;
    }
    if (std::isinf(value)) {
        out += value < 0 ? "-Infinity" : "Infinity";
        return;
    }
    if (value == 0) {
        out += '0';
        return;
    }
    char digits[1100]; // the longest has 308 digits before the point or some 340 behind it
    const auto [end, error] =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed);
    if (error == std::errc()) {
        out.append(digits, end);
    }
}

double roundXPath(double value) noexcept {
    if (value < 0 && value >= -0.5) {
        return -0.0;
    }
    // Beyond 2^52 every number is an integer, and adding a half would not be exact.
    constexpr double kAllIntegers = 4503599627370496.0;
    if (std::isnan(value) || std::fabs(value) >= kAllIntegers || value == 0) {
        return value;
    }
    const double below = std::floor(value);
    return value - below >= 0.5 ? below + 1 : below;
}

} // namespace vantrel::xml
