// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_BOXED_H
#define FOUNDATION_TEXT_BOXED_H

#include <memory>
#include <utility>

namespace vantrel::text {

// A value that is seldom there: it takes the room of a pointer until it is written. Reading one
// that was never written gives an empty T.
template <class T> class Boxed final {
public:
    Boxed() noexcept = default;
    Boxed& operator=(T value) {
        edit() = std::move(value);
        return *this;
    }

    [[nodiscard]] const T& operator*() const {
        static const T empty{};
        return m_value != nullptr ? *m_value : empty;
    }
    [[nodiscard]] const T* operator->() const { return &**this; }
    [[nodiscard]] T& edit() {
        if (m_value == nullptr) {
            m_value = std::make_unique<T>();
        }
        return *m_value;
    }

private:
    std::unique_ptr<T> m_value;
};

} // namespace vantrel::text

#endif
