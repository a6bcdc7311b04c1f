// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CPU_KERNEL_LIST_H
#define FOUNDATION_CPU_KERNEL_LIST_H

#include "foundation/cpu/cpu_features.h"

#include <cstddef>
#include <span>
#include <string_view>

namespace vantrel::cpu {

// One way to do a job. `Function` is the type of the function that does it, or a struct of the few
// functions that belong together; all kernels of a job give the same results. A job has one array
// of kernels, best first. Its last is always "portable": plain C++ that needs nothing, and that the
// others are tested against.
template <class Function> struct Kernel {
    std::string_view name;
    Feature needs;
    Function run;
};

// True for an array that may serve as a job's list. For a static_assert beside it.
template <class Record, std::size_t N>
consteval bool isKernelList(const Record (&kernels)[N]) noexcept {
    for (std::size_t i = 0; i + 1 < N; ++i) {
        if (kernels[i].name == "portable") {
            return false;
        }
    }
    return kernels[N - 1].name == "portable" && kernels[N - 1].needs == Feature::None;
}

// The first kernel of a list that may run here and, where `fits` is given, that fits. Costs a load
// and a few tests of constants, which is less than to keep the answer and to look after it when a
// limit changes (cpu_features.h); who runs a kernel in a loop asks before the loop.
template <class List, class Fits>
[[nodiscard]] const auto& chosenKernel(const List& kernels, const Fits& fits) noexcept {
    const std::span list(kernels);
    const Feature usable = features();
    for (const auto& kernel : list.first(list.size() - 1)) {
        if ((usable & kernel.needs) == kernel.needs && fits(kernel)) {
            return kernel;
        }
    }
    return list.back();
}
template <class List> [[nodiscard]] const auto& chosenKernel(const List& kernels) noexcept {
    return chosenKernel(kernels, [](const auto&) { return true; });
}

} // namespace vantrel::cpu

#endif
