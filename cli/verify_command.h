// SPDX-License-Identifier: MIT
#ifndef CLI_VERIFY_COMMAND_H
#define CLI_VERIFY_COMMAND_H

#include "cli/options.h"

namespace vantrel::cli {

// Verifies the files of a command line with the options of `verify`, and reports each in its turn.
// `explains`: the causes of failures are searched. Returns the exit code.
[[nodiscard]] int verifyFiles(const Arguments& arguments, bool explains);

} // namespace vantrel::cli

#endif
