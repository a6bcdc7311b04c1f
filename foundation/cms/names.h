// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_NAMES_H
#define FOUNDATION_CMS_NAMES_H

#include "foundation/text/byte_view.h"

namespace vantrel::cms {

// Names come into messages by way of programs that write them anew: PrintableString becomes
// UTF8String, two spaces become one. RFC 5280 7.1 has such names equal.

// Whether two Names (DER, with headers) are the same: equal bytes, or equal but for string types,
// letter case and insignificant white space. A malformed name equals its own bytes only.
[[nodiscard]] bool sameName(ByteView a, ByteView b);

} // namespace vantrel::cms

#endif
