// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_XPATH_NUMBERS_H
#define FOUNDATION_XML_XPATH_NUMBERS_H

#include <string>
#include <string_view>

namespace vantrel::xml {

// A string as a number (XPath 1.0, 4.4): white space, at most one minus sign, digits with a point;
// NaN for anything else, exponents and plus signs among it.
[[nodiscard]] double parseXPathNumber(std::string_view text) noexcept;
// A number as a string (4.2): no exponent, as many digits as tell it from its neighbours.
void appendXPathNumber(double value, std::string& out);
// round() (4.4): to the nearest integer, halves upwards; -0.5 to 0 become minus zero.
[[nodiscard]] double roundXPath(double value) noexcept;

} // namespace vantrel::xml

#endif
