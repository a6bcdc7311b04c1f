// SPDX-License-Identifier: MIT
#include "foundation/cpu/cpu_features.h"

#include <cstddef>
#include <cstdlib>
#include <utility>

#if defined(__x86_64__)
#include <cpuid.h>
#elif defined(__aarch64__) && defined(__linux__)
#include <asm/hwcap.h>
#include <sys/auxv.h>
#endif

namespace vantrel::cpu {

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

Feature detect() noexcept {
    const CpuidRegisters basic = cpuid(1);
    const CpuidRegisters extended = cpuid(7);
    const std::uint64_t saved = savedRegisters(basic);
    const bool savesYmm = hasBits(saved, 0x06) && hasBits(basic.c, 1U << 28);
    const bool savesZmm = savesYmm && hasBits(saved, 0xe6);

    Feature found = Feature::None;
    const auto add = [&found](Feature feature, bool present) {
        if (present) {
            found = found | feature;
        }
    };
    const bool hasSse41 = hasBits(basic.c, (1U << 9) | (1U << 19));
    add(Feature::Sse2, true);
    add(Feature::Ssse3, hasBits(basic.c, 1U << 9));
    add(Feature::Sse41, hasSse41);
    add(Feature::Pclmul, hasBits(basic.c, 1U << 1));
    add(Feature::Sha, hasSse41 && hasBits(extended.b, 1U << 29));
    add(Feature::Bmi2, hasBits(extended.b, (1U << 3) | (1U << 8)));
    add(Feature::Adx, hasBits(extended.b, 1U << 19));
    add(Feature::Avx2, savesYmm && hasBits(extended.b, 1U << 5));

    constexpr unsigned kAvx512Parts = (1U << 16) | (1U << 17) | (1U << 30) | (1U << 31);
    if (savesZmm && hasBits(extended.b, kAvx512Parts)) {
        add(Feature::Avx512, true);
        add(Feature::Avx512Ifma, hasBits(extended.b, 1U << 21));
        add(Feature::Avx512Vbmi, hasBits(extended.c, (1U << 1) | (1U << 6)));
    }
    return found;
}

#elif defined(__AARCH64EL__)

// The kernels count places in a vector from the lowest address, so they are for little-endian only.
Feature detect() noexcept {
    Feature found = Feature::Neon;
#if defined(__linux__)
    const unsigned long words = getauxval(AT_HWCAP);
    const auto add = [&found, words](Feature feature, unsigned long bits) {
        if ((words & bits) == bits) {
            found = found | feature;
        }
    };
    add(Feature::Sha, HWCAP_SHA1 | HWCAP_SHA2);
    add(Feature::Sha512, HWCAP_SHA512);
    add(Feature::Crc32, HWCAP_CRC32);
#endif
    return found;
}

#else

Feature detect() noexcept { return Feature::None; }

#endif

constexpr Feature kSse41Level = Feature::Sse2 | Feature::Ssse3 | Feature::Sse41;
constexpr Feature kAvx2Level =
    kSse41Level | Feature::Avx2 | Feature::Bmi2 | Feature::Adx | Feature::Sha | Feature::Pclmul;
constexpr Feature kAvx512Level =
    kAvx2Level | Feature::Avx512 | Feature::Avx512Ifma | Feature::Avx512Vbmi;
constexpr Feature kEverything = kAvx512Level | Feature::Neon | Feature::Sha512 | Feature::Crc32;

using NamedFeature = std::pair<std::string_view, Feature>;

constexpr NamedFeature kLevels[] = {
    {"native", kEverything}, {"portable", Feature::None}, {"sse2", Feature::Sse2},
    {"sse41", kSse41Level},  {"avx2", kAvx2Level},        {"avx512", kAvx512Level},
    {"neon", Feature::Neon},
};

constexpr NamedFeature kFeatures[] = {
    {"sse2", Feature::Sse2},
    {"ssse3", Feature::Ssse3},
    {"sse41", Feature::Sse41},
    {"avx2", Feature::Avx2},
    {"bmi2", Feature::Bmi2},
    {"adx", Feature::Adx},
    {"sha", Feature::Sha},
    {"pclmul", Feature::Pclmul},
    {"avx512", Feature::Avx512 | Feature::Avx512Ifma | Feature::Avx512Vbmi},
    {"avx512ifma", Feature::Avx512Ifma},
    {"avx512vbmi", Feature::Avx512Vbmi},
    {"neon", Feature::Neon},
    {"sha512", Feature::Sha512},
    {"crc32", Feature::Crc32},
};

template <std::size_t N>
bool findNamed(const NamedFeature (&table)[N], std::string_view name, Feature& found) noexcept {
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

constinit std::atomic<std::uint32_t> featuresInUse{0};

// Threads that come here together compute the same value.
std::uint32_t detectOnce() noexcept {
    const std::uint32_t features = static_cast<std::uint32_t>(detect()) | kKnown;
    std::uint32_t expected = 0;
    return featuresInUse.compare_exchange_strong(expected, features) ? features : expected;
}

} // namespace detail

bool parseLimit(std::string_view text, Feature& allowed) noexcept {
    std::size_t comma = text.find(',');
    Feature result = Feature::None;
    if (!findNamed(kLevels, text.substr(0, comma), result)) {
        return false;
    }
    while (comma != std::string_view::npos) {
        text.remove_prefix(comma + 1);
        comma = text.find(',');
        const std::string_view item = text.substr(0, comma);
        Feature excluded = Feature::None;
        if (item.empty() || item[0] != '-' || !findNamed(kFeatures, item.substr(1), excluded)) {
            return false;
        }
        result = result & ~excluded;
    }
    allowed = result;
    return true;
}

bool limitFromEnvironment() noexcept {
    const char* const setting = std::getenv("VANTREL_CPU");
    if (setting == nullptr) {
        return true;
    }
    Feature allowed = Feature::None;
    if (!parseLimit(setting, allowed)) {
        return false;
    }
    const Feature usable = features() & allowed;
    detail::featuresInUse.store(static_cast<std::uint32_t>(usable) | detail::kKnown);
    return true;
}

FeatureLimit::FeatureLimit(Feature allowed) noexcept
    : m_before(static_cast<std::uint32_t>(features()) | detail::kKnown) {
    const std::uint32_t mask = static_cast<std::uint32_t>(allowed) | detail::kKnown;
    detail::featuresInUse.store(m_before & mask);
}

FeatureLimit::~FeatureLimit() { detail::featuresInUse.store(m_before); }

} // namespace vantrel::cpu
