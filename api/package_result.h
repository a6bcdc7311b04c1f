// SPDX-License-Identifier: MIT
#ifndef API_PACKAGE_RESULT_H
#define API_PACKAGE_RESULT_H

#include "api/verify_options.h"
#include "api/verify_result.h"
#include "foundation/io/random_access.h"

#include <memory>
#include <string>

namespace vantrel::api {

// The file, where it is a regular one that begins as a package does; null for any other, whatever
// is wrong with it.
[[nodiscard]] std::shared_ptr<const io::RandomAccess> openPackage(const std::string& path);

// Verifies a package. Whatever goes wrong is told in the result.
[[nodiscard]] VerifyResult packageResult(std::shared_ptr<const io::RandomAccess> bytes,
                                         const VerifyOptions& options);

} // namespace vantrel::api

#endif
