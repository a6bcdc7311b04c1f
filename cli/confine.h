// SPDX-License-Identifier: MIT
#ifndef CLI_CONFINE_H
#define CLI_CONFINE_H

#include "cli/options.h"
#include "cli/verify_settings.h"

#include <string>

namespace vantrel::cli {

// When the names of the documents are known.
enum class Names { Now, Later };

// Drops what the command does not need any more, before it reads the first document and starts the
// first thread: keys, certificates and lists have been read, `settings` holds them. What stays are
// the documents, the external data, and the file of --output. Nothing happens with --no-sandbox,
// and where the kernel lacks the means (SECURITY.md).
void confine(const Arguments& arguments, const VerifySettings& settings, Names names);

// What `xmldsig version --verbose` says of it: one line.
[[nodiscard]] std::string sandboxLine();

} // namespace vantrel::cli

#endif
