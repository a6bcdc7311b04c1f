// SPDX-License-Identifier: MIT
#ifndef API_VERIFY_H
#define API_VERIFY_H

/// \file
/// The typed interface: verify() for one call, Document for several operations on one text.
///
///     const vantrel::VerifyResult result = vantrel::verify(text);
///     if (result) { ... }
///
/// Values in and out; no exception but std::bad_alloc. Functions may be called from several
/// threads at once, also with the same options.

#include "api/certificate.h"
#include "api/document.h"
#include "api/key.h"
#include "api/options_json.h"
#include "api/result.h"
#include "api/signature_info.h"
#include "api/verify_options.h"
#include "api/verify_result.h"
#include "api/version.h"

#include <string>
#include <string_view>

namespace vantrel {

/// Verifies the signatures of a document, given as its octets in the encoding that it declares. A
/// ZIP package (known by its octets) is verified as such: every signature document in it, with the
/// other parts as the data of references; VerifyResult::container says which parts are covered.
/// Whatever goes wrong is told in the result.
[[nodiscard]] VerifyResult verify(std::string_view document, const VerifyOptions& options = {});
/// The same for a file; one that cannot be read is a result with Status::Error.
[[nodiscard]] VerifyResult verifyFile(const std::string& path, const VerifyOptions& options = {});

/// "0.1.0", of the library that runs; see version.h for that which was compiled with.
[[nodiscard]] std::string_view version() noexcept;

} // namespace vantrel

#endif
