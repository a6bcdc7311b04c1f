#include "foundation/cpu/cpu_features.h"

#include <cstddef>
#include <cstdlib>
#include <utility>

#if defined(__x86_64__)
#include <cpuid.h>
#endif

namespace vantrel::crypto {

namespace {

#if defined(__x86_64__)

struct CpuidRegisters {
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
};

CpuidRegisters cpuid(unsigned leaf) noexcept {
    CpuidRegisters r;
    if (__get_cpuid_count(leaf, 0, &r.a, &r.b, &r.c, &r.d) == 0) {
        return {};
    }
    return r;
}

constexpr bool hasBits(std::uint64_t word, std::uint64_t bits) noexcept {
    return (word & bits) == bits;
}

// The register sets that the operating system saves (XCR0); 0 when it does not say.
std::uint64_t savedRegisters(const CpuidRegisters& basic) noexcept {
    constexpr unsigned kOsXsave = 1U << 27;
    if (!hasBits(basic.c, kOsXsave)) {
        return 0;
    }
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (static_cast<std::uint64_t>(high) << 32) | low;
}

CpuFeature detect() noexcept {
    const CpuidRegisters basic = cpuid(1);
    const CpuidRegisters extended = cpuid(7);
    const std::uint64_t saved = savedRegisters(basic);
    const bool savesYmm = hasBits(saved, 0x06) && hasBits(basic.c, 1U << 28);
    const bool savesZmm = savesYmm && hasBits(saved, 0xe6);

    CpuFeature found = CpuFeature::None;
    const auto add = [&found](CpuFeature feature, bool present) {
        if (present) {
            found = found | feature;
        }
    };
    const bool hasSse41 = hasBits(basic.c, (1U << 9) | (1U << 19));
    add(CpuFeature::Ssse3, hasBits(basic.c, 1U << 9));
    add(CpuFeature::Sse41, hasSse41);
    add(CpuFeature::Sha, hasSse41 && hasBits(extended.b, 1U << 29));
    add(CpuFeature::Bmi2, hasBits(extended.b, (1U << 3) | (1U << 8)));
    add(CpuFeature::Adx, hasBits(extended.b, 1U << 19));
    add(CpuFeature::Avx2, savesYmm && hasBits(extended.b, 1U << 5));

    constexpr unsigned kAvx512Parts = (1U << 16) | (1U << 17) | (1U << 30) | (1U << 31);
    if (savesZmm && hasBits(extended.b, kAvx512Parts)) {
        add(CpuFeature::Avx512, true);
        add(CpuFeature::Avx512Ifma, hasBits(extended.b, 1U << 21));
        add(CpuFeature::Avx512Vbmi, hasBits(extended.c, (1U << 1) | (1U << 6)));
    }
    return found;
}

#else

CpuFeature detect() noexcept { return CpuFeature::None; }

#endif

constexpr CpuFeature kSse41Level = CpuFeature::Ssse3 | CpuFeature::Sse41;
constexpr CpuFeature kAvx2Level =
    kSse41Level | CpuFeature::Avx2 | CpuFeature::Bmi2 | CpuFeature::Adx | CpuFeature::Sha;
constexpr CpuFeature kAvx512Level =
    kAvx2Level | CpuFeature::Avx512 | CpuFeature::Avx512Ifma | CpuFeature::Avx512Vbmi;

using NamedFeature = std::pair<std::string_view, CpuFeature>;

constexpr NamedFeature kLevels[] = {
    {"native", kAvx512Level}, {"portable", CpuFeature::None}, {"sse41", kSse41Level},
    {"avx2", kAvx2Level},     {"avx512", kAvx512Level},
};

constexpr NamedFeature kFeatures[] = {
    {"ssse3", CpuFeature::Ssse3},
    {"sse41", CpuFeature::Sse41},
    {"avx2", CpuFeature::Avx2},
    {"bmi2", CpuFeature::Bmi2},
    {"adx", CpuFeature::Adx},
    {"sha", CpuFeature::Sha},
    {"avx512", CpuFeature::Avx512 | CpuFeature::Avx512Ifma | CpuFeature::Avx512Vbmi},
    {"avx512ifma", CpuFeature::Avx512Ifma},
    {"avx512vbmi", CpuFeature::Avx512Vbmi},
};

template <std::size_t N>
bool findNamed(const NamedFeature (&table)[N], std::string_view name, CpuFeature& found) noexcept {
    for (const auto& [known, feature] : table) {
        if (known == name) {
            found = feature;
            return true;
        }
    }
    return false;
}

} // namespace

namespace detail {

constinit std::atomic<std::uint32_t> cpuFeaturesInUse{0};

// Threads that come here together compute the same value.
std::uint32_t detectCpuFeaturesOnce() noexcept {
    const std::uint32_t features = static_cast<std::uint32_t>(detect()) | kCpuKnown;
    std::uint32_t expected = 0;
    return cpuFeaturesInUse.compare_exchange_strong(expected, features) ? features : expected;
}

} // namespace detail

bool parseCpuLimit(std::string_view text, CpuFeature& allowed) noexcept {
    std::size_t comma = text.find(',');
    CpuFeature result = CpuFeature::None;
    if (!findNamed(kLevels, text.substr(0, comma), result)) {
        return false;
    }
    while (comma != std::string_view::npos) {
        text.remove_prefix(comma + 1);
        comma = text.find(',');
        const std::string_view item = text.substr(0, comma);
        CpuFeature excluded = CpuFeature::None;
        if (item.empty() || item[0] != '-' || !findNamed(kFeatures, item.substr(1), excluded)) {
            return false;
        }
        result = result & ~excluded;
    }
    allowed = result;
    return true;
}

bool limitCpuFromEnvironment() noexcept {
    const char* const setting = std::getenv("VANTREL_CPU");
    if (setting == nullptr) {
        return true;
    }
    CpuFeature allowed = CpuFeature::None;
    if (!parseCpuLimit(setting, allowed)) {
        return false;
    }
    const CpuFeature features = cpuFeatures() & allowed;
    detail::cpuFeaturesInUse.store(static_cast<std::uint32_t>(features) | detail::kCpuKnown);
    return true;
}

CpuFeatureLimit::CpuFeatureLimit(CpuFeature allowed) noexcept
    : m_before(static_cast<std::uint32_t>(cpuFeatures()) | detail::kCpuKnown) {
    const std::uint32_t mask = static_cast<std::uint32_t>(allowed) | detail::kCpuKnown;
    detail::cpuFeaturesInUse.store(m_before & mask);
}

CpuFeatureLimit::~CpuFeatureLimit() { detail::cpuFeaturesInUse.store(m_before); }

} // namespace vantrel::crypto
