// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_NO_THROW_H
#define FOUNDATION_TEXT_NO_THROW_H

#include <new>
#include <utility>

namespace vantrel::text {

// Runs body() and returns its result; `failed` when memory runs out. For functions that say by
// their result that they failed, and whose callers know no exceptions. An operation of a public
// object has MethodFrame (foundation/base) around it, which does the same and logs it.
template <class Body, class Result>
[[nodiscard]] Result noThrow(Result failed, Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (const std::bad_alloc&) {
        return failed;
    }
}

} // namespace vantrel::text

#endif
