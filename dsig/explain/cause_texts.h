// SPDX-License-Identifier: MIT
#ifndef DSIG_EXPLAIN_CAUSE_TEXTS_H
#define DSIG_EXPLAIN_CAUSE_TEXTS_H

#include "dsig/report/cause.h"

#include <string>
#include <string_view>

namespace vantrel::dsig::explain {

// A cause that a search found, with its sentence and what may mend it. `code` is one of codes.h. A
// code that is not known makes a cause without a text; the evidence stays.
[[nodiscard]] Cause makeCause(std::string_view code, std::string evidence);

} // namespace vantrel::dsig::explain

#endif
