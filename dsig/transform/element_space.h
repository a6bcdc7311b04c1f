// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_ELEMENT_SPACE_H
#define DSIG_TRANSFORM_ELEMENT_SPACE_H

#include "foundation/text/StringBuffer.h"

#include <string_view>

namespace vantrel::dsig {

// A canonical form without its texts of white space alone: what signers digest whose XML reader
// passes over them. Any other text stays as it is, line ends inside it included.
[[nodiscard]] StringBuffer withoutElementSpace(std::string_view form);

} // namespace vantrel::dsig

#endif
