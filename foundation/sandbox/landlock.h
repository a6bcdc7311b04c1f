// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_SANDBOX_LANDLOCK_H
#define FOUNDATION_SANDBOX_LANDLOCK_H

#include "foundation/sandbox/sandbox.h"

// Landlock (Linux 5.13): which files a process may still open. What is open stays usable.
namespace vantrel::sandbox {

// The version of the kernel's interface, 0 where there is none.
[[nodiscard]] int landlockVersion() noexcept;

// Binds this thread to what `needs` says of files; no TCP, and no signal to, or abstract socket of,
// processes outside. Needs PR_SET_NO_NEW_PRIVS. False when it is not bound; may throw
// std::bad_alloc, and is then not bound.
[[nodiscard]] bool enterLandlock(const Needs& needs, int version);

} // namespace vantrel::sandbox

#endif
