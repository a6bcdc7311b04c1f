#ifndef CLI_POLICY_SETTINGS_H
#define CLI_POLICY_SETTINGS_H

#include "cli/options.h"
#include <vantrel/policy.h>

#include <memory>
#include <string>

namespace vantrel::cli {

// By what `verify` accepts signatures, as the command line says it. Shared by the threads that
// verify; nothing here changes after loadPolicy().
struct PolicySettings {
    std::shared_ptr<const dsig::Policy> policy; // null when no option asks for acceptance
    bool any = false; // one accepted signature is enough for a file; else all have to be
};

// Reads the options and the files that they name. False, with the reason in `complaint`: a usage
// error. An option that would be without effect (a revocation list where nothing is trusted) is one
// as well: whoever gives it believes that something is checked.
[[nodiscard]] bool loadPolicy(const Arguments& arguments, PolicySettings& settings,
                              std::string& complaint);

} // namespace vantrel::cli

#endif
