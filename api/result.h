// SPDX-License-Identifier: MIT
#ifndef API_RESULT_H
#define API_RESULT_H

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace vantrel {

/// Why something was refused.
struct Error {
    std::string what;   ///< what the bytes are, or what is wrong with them; one line
    std::string remedy; ///< what helps, FILE for the file's name; may be empty
};

/// A value, or the error that stands in its place. Asking a failed result for its value ends the
/// program: it would go on with a key or a certificate that nobody gave.
template <class T> class [[nodiscard]] Result final {
public:
    Result(T value) : m_value(std::move(value)) {}
    Result(Error error) : m_error(std::move(error)) {}

    [[nodiscard]] explicit operator bool() const noexcept { return m_value.has_value(); }
    [[nodiscard]] const T& operator*() const& { return value(); }
    [[nodiscard]] T&& operator*() && { return std::move(held()); }
    [[nodiscard]] T& operator*() & { return held(); }
    [[nodiscard]] const T* operator->() const { return &value(); }
    [[nodiscard]] T* operator->() { return &held(); }
    [[nodiscard]] const T& value() const {
        if (!m_value) {
            std::abort();
        }
        return *m_value;
    }
    /// Empty where there is a value.
    [[nodiscard]] const Error& error() const noexcept { return m_error; }

private:
    T& held() {
        if (!m_value) {
            std::abort();
        }
        return *m_value;
    }

    std::optional<T> m_value;
    Error m_error;
};

} // namespace vantrel

#endif
