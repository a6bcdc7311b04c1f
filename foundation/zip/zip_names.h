// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_ZIP_ZIP_NAMES_H
#define FOUNDATION_ZIP_ZIP_NAMES_H

#include <string>
#include <string_view>

namespace vantrel::zip {

// Why a member may not have this name; empty when it may. Every reader has to find the same file
// below the same folder, on any system.
[[nodiscard]] std::string_view faultOfName(std::string_view name);

// What two names share that some system takes for one: ASCII letters in lower case, "/" for "\", no
// "/" at the end. Letters beyond ASCII stay, since systems differ over them.
[[nodiscard]] std::string foldedName(std::string_view name);

} // namespace vantrel::zip

#endif
