#ifndef FOUNDATION_CPU_CPU_FEATURES_H
#define FOUNDATION_CPU_CPU_FEATURES_H

#include <atomic>
#include <cstdint>
#include <string_view>

namespace vantrel::crypto {

// Instruction-set extensions that a kernel may need, as a set of bits. A bit is set only when the
// processor has the instructions and the operating system saves the registers they use.
enum class CpuFeature : std::uint32_t {
    None = 0,
    Ssse3 = 1U << 0,
    Sse41 = 1U << 1,
    Avx2 = 1U << 2,
    Bmi2 = 1U << 3, // BMI1 as well: andn and rorx, mulx
    Adx = 1U << 4,
    Sha = 1U << 5,    // SHA-1 and SHA-256 instructions
    Avx512 = 1U << 6, // the foundation, BW, DQ and VL parts together
    Avx512Ifma = 1U << 7,
    Avx512Vbmi = 1U << 8, // VBMI and VBMI2
};

constexpr CpuFeature operator|(CpuFeature a, CpuFeature b) noexcept {
    return static_cast<CpuFeature>(static_cast<std::uint32_t>(a) | static_cast<std::uint32_t>(b));
}
constexpr CpuFeature operator&(CpuFeature a, CpuFeature b) noexcept {
    return static_cast<CpuFeature>(static_cast<std::uint32_t>(a) & static_cast<std::uint32_t>(b));
}
constexpr CpuFeature operator~(CpuFeature a) noexcept {
    return static_cast<CpuFeature>(~static_cast<std::uint32_t>(a));
}

namespace detail {

// The features in use, with the top bit set once they are known.
inline constexpr std::uint32_t kCpuKnown = 1U << 31;
extern std::atomic<std::uint32_t> cpuFeaturesInUse;
std::uint32_t detectCpuFeaturesOnce() noexcept;

} // namespace detail

// The features that kernels may use: what the machine has, less what a limit (below) excludes.
// Costs a load and a test after the first call, so no caller needs to keep the answer.
[[nodiscard]] inline CpuFeature cpuFeatures() noexcept {
    std::uint32_t features = detail::cpuFeaturesInUse.load(std::memory_order_relaxed);
    if (features == 0) {
        features = detail::detectCpuFeaturesOnce();
    }
    return static_cast<CpuFeature>(features & ~detail::kCpuKnown);
}

// True when every feature of `needs` may be used.
[[nodiscard]] inline bool cpuSupports(CpuFeature needs) noexcept {
    return (cpuFeatures() & needs) == needs;
}

// What follows is for tests and benchmarks; the library itself never limits anything and reads no
// environment. A limit can only take features away that the machine has.

// Parses "native", "portable", "sse41", "avx2" or "avx512", optionally followed by ",-name" items
// that take single features out ("native,-sha"). False, `allowed` unchanged, on any other text.
[[nodiscard]] bool parseCpuLimit(std::string_view text, CpuFeature& allowed) noexcept;

// Applies the environment variable VANTREL_CPU, if there is one; false when it cannot be read.
[[nodiscard]] bool limitCpuFromEnvironment() noexcept;

// Restricts the features in use to `allowed` for its lifetime. Hashers and keys that exist already
// keep the kernels they chose. Not to be used by two threads at once.
class CpuFeatureLimit final {
public:
    explicit CpuFeatureLimit(CpuFeature allowed) noexcept;
    CpuFeatureLimit(const CpuFeatureLimit&) = delete;
    CpuFeatureLimit& operator=(const CpuFeatureLimit&) = delete;
    ~CpuFeatureLimit();

private:
    std::uint32_t m_before;
};

} // namespace vantrel::crypto

#endif
