// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CPU_CPU_FEATURES_H
#define FOUNDATION_CPU_CPU_FEATURES_H

#include <atomic>
#include <cstdint>
#include <string_view>

namespace vantrel::cpu {

// Instruction-set extensions that a kernel may need, as a set of bits. A bit is set only when the
// processor has the instructions and the operating system saves the registers they use.
enum class Feature : std::uint32_t {
    None = 0,
    Ssse3 = 1U << 0,
    Sse41 = 1U << 1,
    Avx2 = 1U << 2,
    Bmi2 = 1U << 3, // BMI1 as well: andn and rorx, mulx
    Adx = 1U << 4,
    Sha = 1U << 5,    // SHA-1 and SHA-256 instructions, of x86 or of ARM
    Avx512 = 1U << 6, // the foundation, BW, DQ and VL parts together
    Avx512Ifma = 1U << 7,
    Avx512Vbmi = 1U << 8, // VBMI and VBMI2
    Sse2 = 1U << 9,       // every x86-64 has it; a limit takes it away
    Pclmul = 1U << 10,    // products without carries
    Neon = 1U << 11,      // every AArch64 has it; a limit takes it away
    Sha512 = 1U << 12,    // SHA-512 instructions of ARM
    Crc32 = 1U << 13,     // of ARM, for the polynomial of ZIP
};

constexpr Feature operator|(Feature a, Feature b) noexcept {
    return static_cast<Feature>(static_cast<std::uint32_t>(a) | static_cast<std::uint32_t>(b));
}
constexpr Feature operator&(Feature a, Feature b) noexcept {
    return static_cast<Feature>(static_cast<std::uint32_t>(a) & static_cast<std::uint32_t>(b));
}
constexpr Feature operator~(Feature a) noexcept {
    return static_cast<Feature>(~static_cast<std::uint32_t>(a));
}

namespace detail {

// The features in use, with the top bit set once they are known.
inline constexpr std::uint32_t kKnown = 1U << 31;
extern std::atomic<std::uint32_t> featuresInUse;
std::uint32_t detectOnce() noexcept;

} // namespace detail

// The features that kernels may use: what the machine has, less what a limit (below) excludes.
// Costs a load and a test after the first call, so no caller needs to keep the answer.
[[nodiscard]] inline Feature features() noexcept {
    std::uint32_t known = detail::featuresInUse.load(std::memory_order_relaxed);
    if (known == 0) {
        known = detail::detectOnce();
    }
    return static_cast<Feature>(known & ~detail::kKnown);
}

// True when every feature of `needs` may be used.
[[nodiscard]] inline bool supports(Feature needs) noexcept { return (features() & needs) == needs; }

// What follows is for tests and benchmarks; the library itself never limits anything and reads no
// environment. A limit can only take features away that the machine has.

// Parses "native", "portable", "sse2", "sse41", "avx2", "avx512" or "neon", optionally followed by
// ",-name" items that take single features out ("native,-sha"). False, `allowed` unchanged, on any
// other text.
[[nodiscard]] bool parseLimit(std::string_view text, Feature& allowed) noexcept;

// Applies the environment variable VANTREL_CPU, if there is one; false when it cannot be read.
[[nodiscard]] bool limitFromEnvironment() noexcept;

// Restricts the features in use to `allowed` for its lifetime. Hashers and keys that exist already
// keep the kernels they chose. Not to be used by two threads at once.
class FeatureLimit final {
public:
    explicit FeatureLimit(Feature allowed) noexcept;
    FeatureLimit(const FeatureLimit&) = delete;
    FeatureLimit& operator=(const FeatureLimit&) = delete;
    ~FeatureLimit();

private:
    std::uint32_t m_before;
};

} // namespace vantrel::cpu

#endif
