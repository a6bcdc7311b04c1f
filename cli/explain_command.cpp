// SPDX-License-Identifier: MIT
// `xmldsig explain`: a verification that also says why. It is `verify` with a search behind each
// failure: the same options, reports and exit codes, and the causes in the reports are those that
// the search found. The verdict stays what it was; a document whose damage is explained is damaged.

#include "cli/commands.h"
#include "cli/verify_command.h"

namespace vantrel::cli {

int runExplain(const Arguments& arguments) { return verifyFiles(arguments, true); }

} // namespace vantrel::cli
