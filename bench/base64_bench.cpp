// SPDX-License-Identifier: MIT
// Base64 decoding against OpenSSL: one line, lines of 76 characters, and each kernel by itself.
#include "foundation/text/DataBuffer.h"
#include "foundation/text/base64_kernels.h"
#include "foundation/text/encoders.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

namespace {

// Encoded text of `size` characters, a multiple of 4, in lines of `line` (0: one line).
std::string encodedText(std::size_t size, std::size_t line) {
    constexpr std::string_view kAlphabet = vantrel::text::kBase64Alphabet;
    std::mt19937_64 random(size);
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        if (line != 0 && i != 0 && i % line == 0) {
            text += '\n';
        }
        text += kAlphabet[random() % kAlphabet.size()];
    }
    return text;
}

void report(benchmark::State& state, std::size_t size) {
    state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
}

void runKernel(benchmark::State& state, const vantrel::text::Base64Kernel& kernel,
               std::size_t line) {
    const std::string text = encodedText(static_cast<std::size_t>(state.range(0)), line);
    vantrel::DataBuffer out;
    if (!out.reserve(static_cast<std::uint32_t>(text.size()))) {
        return;
    }
    for (auto unused : state) {
        benchmark::DoNotOptimize(out.resize(0));
        if (!vantrel::text::decodeBase64With(kernel, text, out)) {
            state.SkipWithError("not decoded");
        }
    }
    report(state, text.size());
}

void openssl(benchmark::State& state) {
    const std::string text = encodedText(static_cast<std::size_t>(state.range(0)), 0);
    std::vector<unsigned char> out(text.size());
    for (auto unused : state) {
        benchmark::DoNotOptimize(
            EVP_DecodeBlock(out.data(), reinterpret_cast<const unsigned char*>(text.data()),
                            static_cast<int>(text.size())));
    }
    report(state, text.size());
}

// OpenSSL's streaming decoder, which takes line breaks.
void opensslLines(benchmark::State& state) {
    const std::string text = encodedText(static_cast<std::size_t>(state.range(0)), 76);
    std::vector<unsigned char> out(text.size());
    EVP_ENCODE_CTX* const context = EVP_ENCODE_CTX_new();
    for (auto unused : state) {
        int count = 0;
        EVP_DecodeInit(context);
        benchmark::DoNotOptimize(EVP_DecodeUpdate(
            context, out.data(), &count, reinterpret_cast<const unsigned char*>(text.data()),
            static_cast<int>(text.size())));
    }
    EVP_ENCODE_CTX_free(context);
    report(state, text.size());
}

const bool g_registered = [] {
    for (const vantrel::text::Base64Kernel& kernel : vantrel::text::base64Kernels()) {
        if (!vantrel::cpu::supports(kernel.needs)) {
            continue;
        }
        for (const std::size_t line : {std::size_t{0}, std::size_t{76}}) {
            const std::string name =
                std::string(kernel.name) + (line == 0 ? "/one_line" : "/lines");
            benchmark::RegisterBenchmark(
                name.c_str(),
                [&kernel, line](benchmark::State& state) { runKernel(state, kernel, line); })
                ->Arg(344)
                ->Arg(1024)
                ->Arg(65536)
                ->Arg(1 << 20);
        }
    }
    benchmark::RegisterBenchmark("openssl/one_line", openssl)
        ->Arg(344)
        ->Arg(1024)
        ->Arg(65536)
        ->Arg(1 << 20);
    benchmark::RegisterBenchmark("openssl/lines", opensslLines)->Arg(1024)->Arg(65536);
    return true;
}();

} // namespace
