#ifndef FOUNDATION_CMS_NAMES_H
#define FOUNDATION_CMS_NAMES_H

#include "foundation/text/byte_view.h"

namespace vantrel::cms {

// Whether two Names (DER, with headers) are the same: equal bytes, or equal but for string types,
// letter case and insignificant white space. A malformed name equals its own bytes only.
[[nodiscard]] bool sameName(ByteView a, ByteView b);

} // namespace vantrel::cms

#endif
