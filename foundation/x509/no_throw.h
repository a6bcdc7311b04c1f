#ifndef FOUNDATION_X509_NO_THROW_H
#define FOUNDATION_X509_NO_THROW_H

#include <new>
#include <utility>

namespace vantrel::x509 {

// Runs the body of a contract function: running out of memory becomes `failed`.
template <class Body, class Result> Result noThrow(Result failed, Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (const std::bad_alloc&) {
        return failed;
    }
}

} // namespace vantrel::x509

#endif
