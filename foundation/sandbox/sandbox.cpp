// SPDX-License-Identifier: MIT
#include "foundation/sandbox/sandbox.h"

#include "foundation/sandbox/call_filter.h"
#include "foundation/sandbox/landlock.h"

#if defined(__linux__)
#include <sys/prctl.h>
#endif

namespace vantrel::sandbox {

namespace {

// Without the right to gain rights by starting programs every process may bind itself.
bool giveUpPrivileges() noexcept {
#if defined(__linux__)
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
#else
    return false;
#endif
}

} // namespace

bool isBuilt() noexcept {
#if defined(__linux__) && !defined(VANTREL_WITHOUT_SANDBOX)
    return true;
#else
    return false;
#endif
}

Bounds available() noexcept { return {landlockVersion(), filtersCalls()}; }

// Landlock first: the filter allows none of the calls that set bounds.
Bounds enter(const Needs& needs) {
    Bounds bounds;
    if (!isBuilt() || !giveUpPrivileges()) {
        return bounds;
    }
    const int version = landlockVersion();
    if (version > 0 && enterLandlock(needs, version)) {
        bounds.landlock = version;
    }
    bounds.calls = enterCallFilter(!needs.written.empty());
    return bounds;
}

} // namespace vantrel::sandbox
