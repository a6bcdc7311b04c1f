// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_SANDBOX_CALL_FILTER_H
#define FOUNDATION_SANDBOX_CALL_FILTER_H

// The filter of system calls (seccomp): what a verification makes is allowed, all else fails as a
// call does that the system does not have, so that a C library goes another way where it has one.
namespace vantrel::sandbox {

// Whether the kernel filters, and there is a filter for this processor.
[[nodiscard]] bool filtersCalls() noexcept;

// Binds this thread; `writes`: files may be made and replaced, too. Needs PR_SET_NO_NEW_PRIVS.
// False when it is not bound; may throw std::bad_alloc, and is then not bound.
[[nodiscard]] bool enterCallFilter(bool writes);

} // namespace vantrel::sandbox

#endif
