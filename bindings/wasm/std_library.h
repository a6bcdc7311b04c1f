// SPDX-License-Identifier: MIT
#ifndef BINDINGS_WASM_STD_LIBRARY_H
#define BINDINGS_WASM_STD_LIBRARY_H

// What the library uses of the standard one where that does not have it yet: libc++ before version
// 15, which Emscripten had up to 3.1.20, lacks the algorithms over ranges (C++20, 27 in the
// standard), and texts of floating-point numbers (C++17, 22.13).
// Included ahead of every source by the build of the module; empty where the library has its own.

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>

#if defined(_LIBCPP_VERSION) && _LIBCPP_VERSION < 15000 && __cplusplus > 201703L

namespace std::ranges {

// Each as its namesake over iterators, of what the projection `of` makes of the elements.
template <class Test, class Of> constexpr auto ofElement(Test& test, Of& of) {
    return [&](const auto& element) { return std::invoke(test, std::invoke(of, element)); };
}
template <class Range, class Test, class Of = std::identity>
constexpr bool all_of(Range&& range, Test test, Of of = {}) {
    return std::all_of(std::begin(range), std::end(range), ofElement(test, of));
}
template <class Range, class Test, class Of = std::identity>
constexpr bool any_of(Range&& range, Test test, Of of = {}) {
    return std::any_of(std::begin(range), std::end(range), ofElement(test, of));
}
template <class Range, class Test, class Of = std::identity>
constexpr bool none_of(Range&& range, Test test, Of of = {}) {
    return std::none_of(std::begin(range), std::end(range), ofElement(test, of));
}
template <class Range, class Test, class Of = std::identity>
constexpr auto find_if(Range&& range, Test test, Of of = {}) {
    return std::find_if(std::begin(range), std::end(range), ofElement(test, of));
}
template <class Range, class Value, class Of = std::identity>
constexpr auto find(Range&& range, const Value& value, Of of = {}) {
    const auto isEqual = [&](const auto& element) { return element == value; };
    return std::find_if(std::begin(range), std::end(range), ofElement(isEqual, of));
}
template <class Range, class Test, class Of = std::identity>
constexpr auto count_if(Range&& range, Test test, Of of = {}) {
    return std::count_if(std::begin(range), std::end(range), ofElement(test, of));
}
template <class Range, class Value, class Of = std::identity>
constexpr auto count(Range&& range, const Value& value, Of of = {}) {
    const auto isEqual = [&](const auto& element) { return element == value; };
    return std::count_if(std::begin(range), std::end(range), ofElement(isEqual, of));
}
template <class Range, class Work> constexpr void for_each(Range&& range, Work work) {
    std::for_each(std::begin(range), std::end(range), std::ref(work));
}
template <class Range, class Out> constexpr void move(Range&& range, Out out) {
    std::move(std::begin(range), std::end(range), out);
}
template <class One, class Other> constexpr bool equal(One&& one, Other&& other) {
    return std::equal(std::begin(one), std::end(one), std::begin(other), std::end(other));
}

template <class Range, class Less = std::less<>, class Of = std::identity>
constexpr void sort(Range&& range, Less less = {}, Of of = {}) {
    std::sort(std::begin(range), std::end(range), [&](const auto& one, const auto& other) {
        return std::invoke(less, std::invoke(of, one), std::invoke(of, other));
    });
}
template <class Range, class Value, class Less = std::less<>, class Of = std::identity>
constexpr auto lower_bound(Range&& range, const Value& value, Less less = {}, Of of = {}) {
    return std::lower_bound(std::begin(range), std::end(range), value,
                            [&](const auto& element, const auto& wanted) {
                                return std::invoke(less, std::invoke(of, element), wanted);
                            });
}
template <class Range, class Value, class Less = std::less<>, class Of = std::identity>
constexpr auto upper_bound(Range&& range, const Value& value, Less less = {}, Of of = {}) {
    return std::upper_bound(std::begin(range), std::end(range), value,
                            [&](const auto& wanted, const auto& element) {
                                return std::invoke(less, wanted, std::invoke(of, element));
                            });
}
template <class Range, class Value>
constexpr bool binary_search(Range&& range, const Value& value) {
    return std::binary_search(std::begin(range), std::end(range), value);
}

} // namespace std::ranges

namespace std {

// Of chars_format::fixed alone, as the library calls it. The module's locale is always "C".
inline from_chars_result from_chars(const char* first, const char* last, double& value,
                                    chars_format /*fixed*/) {
    const string text(first, last);
    errno = 0;
    char* end = nullptr;
    const double read = strtod(text.c_str(), &end);
    if (errno == ERANGE && (read == 0 || read > 1)) { // others are subnormal
        return {last, errc::result_out_of_range};
    }
    value = read;
    return {first + (end - text.c_str()), errc()};
}

// The fewest digits that read back as the value; all digits of an integer. The value is finite.
inline to_chars_result to_chars(char* first, char* last, double value, chars_format /*fixed*/) {
    int digits = 0; // behind the first one
    char text[1100];
    do {
        snprintf(text, sizeof text, "%.*e", digits, value);
    } while (strtod(text, nullptr) != value && ++digits < 17);
    const int exponent = atoi(string_view(text).substr(string_view(text).find('e') + 1).data());
    const int length = snprintf(text, sizeof text, "%.*f", max(0, digits - exponent), value);
    if (length < 0 || length > last - first) {
        return {last, errc::value_too_large};
    }
    return {copy_n(text, length, first), errc()};
}

} // namespace std

#endif

#endif
