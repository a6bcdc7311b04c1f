// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_SANDBOX_SANDBOX_H
#define FOUNDATION_SANDBOX_SANDBOX_H

#include <string>
#include <vector>

// Bounds that the process sets itself before it reads what others made: whoever took it over by a
// document could then do little more than give a wrong answer. They are Linux's Landlock, for
// files, and seccomp, for system calls; elsewhere, and in builds for sanitizers, there are none.
namespace vantrel::sandbox {

// What the process still needs. Names that are not there are no error.
struct Needs {
    // Files whose names come later: reading is then not bounded.
    bool anyFile = false;
    // Files, and folders with all below them. Of a file that is not there the folder may be listed.
    std::vector<std::string> readable;
    // A file that will be made or replaced, or a device that is written to; empty: none.
    std::string written;
};

// What a kernel has, or what holds the process.
struct Bounds {
    int landlock = 0; // the version of its interface; 0: absent
    bool calls = false;
};

// Whether this program can set bounds at all.
[[nodiscard]] bool isBuilt() noexcept;
[[nodiscard]] Bounds available() noexcept;

// From here on this thread, and those that it starts, only work on what is open, read and write
// what `needs` says, and start threads: no other process, no socket, no new code. What is refused
// fails like a call that the system does not have, or with "permission denied". It cannot be taken
// back; threads that run already are not bound. What a kernel lacks is left out. Returns what holds
// now. May throw std::bad_alloc, and may then have set a part of the bounds.
Bounds enter(const Needs& needs);

} // namespace vantrel::sandbox

#endif
