// SPDX-License-Identifier: MIT
#ifndef CLI_POLICY_SETTINGS_H
#define CLI_POLICY_SETTINGS_H

#include "cli/options.h"
#include <vantrel/verify.h>

#include <string>

namespace vantrel::cli {

// By what `verify` accepts signatures, as the command line says it. Reads the options and the files
// that they name. False, with the reason in `complaint`: a usage error. What the options mean, and
// which would be without effect, the library decides.
[[nodiscard]] bool loadPolicy(const Arguments& arguments, Policy& policy, std::string& complaint);

} // namespace vantrel::cli

#endif
