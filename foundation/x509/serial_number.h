// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_SERIAL_NUMBER_H
#define FOUNDATION_X509_SERIAL_NUMBER_H

#include "foundation/text/byte_view.h"

#include <string>
#include <string_view>

namespace vantrel::x509 {

// Serial numbers are INTEGERs of any size and sign. Their text is upper-case hexadecimal, two
// digits a byte, no leading zero bytes, "00" for zero, "-" and the magnitude for a negative number.

// Appends the text of the number with these contents octets (at least one).
void appendSerialText(ByteView integer, std::string& out);

// Appends that text for a number written in hexadecimal in any other way: lower case, leading
// zeros, an odd number of digits, white space around it. False, with `out` unchanged, when it is no
// number.
[[nodiscard]] bool appendSerialText(std::string_view hex, std::string& out);

} // namespace vantrel::x509

#endif
