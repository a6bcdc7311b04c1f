// SPDX-License-Identifier: MIT
// The text helpers that see every byte of a document, and the log of one verification.
#include "foundation/base/_vlLogger.h"
#include "foundation/text/strings.h"
#include "foundation/text/utf8.h"

#include <cstdint>
#include <cstring>
#include <random>
#include <string>

#include <benchmark/benchmark.h>

namespace {

// Markup with words of changing length; every `foreign`-th letter is not ASCII (0: none).
std::string markup(std::size_t size, unsigned foreign) {
    std::mt19937_64 random(size + foreign);
    std::string text;
    while (text.size() < size) {
        text += "<cbc:Name attr=\"";
        for (std::uint64_t n = random() % 12 + 2; n > 0; --n) {
            if (foreign != 0 && random() % foreign == 0) {
                text += "\xC5\x82";
            } else {
                text += static_cast<char>('a' + random() % 26);
            }
        }
        text += "\">value</cbc:Name>\n";
    }
    return text;
}

void report(benchmark::State& state, std::size_t size) {
    state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
}

// A marker that is absent, as most markers of document profiles are.
void findAbsent(benchmark::State& state) {
    const std::string text = markup(static_cast<std::size_t>(state.range(0)), 0);
    for (auto unused : state) {
        benchmark::DoNotOptimize(vantrel::text::findText(text, "<cbc:ProfileID>reporting"));
    }
    report(state, text.size());
}
BENCHMARK(findAbsent)->Arg(4096)->Arg(1 << 20);

void findAbsentInC(benchmark::State& state) {
    const std::string text = markup(static_cast<std::size_t>(state.range(0)), 0);
    constexpr std::string_view kNeedle = "<cbc:ProfileID>reporting";
    for (auto unused : state) {
        benchmark::DoNotOptimize(memmem(text.data(), text.size(), kNeedle.data(), kNeedle.size()));
    }
    report(state, text.size());
}
BENCHMARK(findAbsentInC)->Arg(4096)->Arg(1 << 20);

void validateUtf8(benchmark::State& state) {
    const std::string text = markup(1 << 20, static_cast<unsigned>(state.range(0)));
    for (auto unused : state) {
        benchmark::DoNotOptimize(vantrel::text::isValidUtf8(text));
    }
    report(state, text.size());
}
BENCHMARK(validateUtf8)->Arg(0)->Arg(100)->Arg(8)->Arg(1);

// About as many entries as the verification of a small document writes.
void logVerification(benchmark::State& state) {
    vantrel::_vlLogger log;
    const vantrel::StringBuffer digest("n4bQgYhMfWWaL+qgxVrQFaO/TxsrC4Is0V1sFbDwCgg=");
    const std::string signedInfo = markup(1200, 0);
    for (auto unused : state) {
        log.clearLog();
        for (int context = 0; context < 12; ++context) {
            log.enterContext("verifyReferenceDigest");
            log.LogDataLong("index", context);
            log.LogDataSb("calculatedDigest", digest);
            log.LogInfo("The RSA signature was verified.");
            log.leaveContext();
        }
        log.LogBracketed("canonicalizedSignedInfo", signedInfo);
    }
    benchmark::DoNotOptimize(log.text().getSize());
}
BENCHMARK(logVerification);

} // namespace
