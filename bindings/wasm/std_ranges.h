#ifndef BINDINGS_WASM_STD_RANGES_H
#define BINDINGS_WASM_STD_RANGES_H

// The algorithms over ranges (C++20, 27 in the standard) that the library uses, for standard
// libraries that do not have them yet: libc++ before version 15, which Emscripten had up to 3.1.20.
// Included ahead of every source by the build of the module; empty where the library has its own.

#include <algorithm>
#include <functional>
#include <iterator>

#if defined(_LIBCPP_VERSION) && _LIBCPP_VERSION < 15000 && __cplusplus > 201703L

namespace std::ranges {

// Each as its namesake over iterators, with a projection where one is used.
template <class Range, class Test> constexpr bool all_of(Range&& range, Test test) {
    return std::all_of(std::begin(range), std::end(range), std::ref(test));
}
template <class Range, class Test> constexpr bool any_of(Range&& range, Test test) {
    return std::any_of(std::begin(range), std::end(range), std::ref(test));
}
template <class Range, class Test> constexpr bool none_of(Range&& range, Test test) {
    return std::none_of(std::begin(range), std::end(range), std::ref(test));
}
template <class Range, class Value> constexpr auto find(Range&& range, const Value& value) {
    return std::find(std::begin(range), std::end(range), value);
}
template <class Range, class Test> constexpr auto find_if(Range&& range, Test test) {
    return std::find_if(std::begin(range), std::end(range), std::ref(test));
}
template <class Range, class Value> constexpr auto count(Range&& range, const Value& value) {
    return std::count(std::begin(range), std::end(range), value);
}
template <class Range, class Test> constexpr auto count_if(Range&& range, Test test) {
    return std::count_if(std::begin(range), std::end(range), std::ref(test));
}
template <class One, class Other> constexpr bool equal(One&& one, Other&& other) {
    return std::equal(std::begin(one), std::end(one), std::begin(other), std::end(other));
}
template <class Range, class Target> constexpr Target copy(Range&& range, Target target) {
    return std::copy(std::begin(range), std::end(range), target);
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

#endif

#endif
