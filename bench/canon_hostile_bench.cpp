// SPDX-License-Identifier: MIT
// Documents made to turn a careless look-up of the canonicalizer quadratic. The fitted
// complexity has to be linear, times a logarithm where names are sorted.

#include "foundation/xml/canon/canonicalizer.h"
#include "foundation/xml/scan/xml_document.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace vantrel;

class NullSink final : public xml::CanonSink {
public:
    bool write(const char* data, std::size_t size) override {
        benchmark::DoNotOptimize(data[size / 2]);
        return true;
    }
};

std::string repeated(std::int64_t count, const std::function<std::string(std::int64_t)>& piece) {
    std::string text;
    for (std::int64_t i = 0; i < count; ++i) {
        text += piece(i);
    }
    return text;
}

std::string number(std::int64_t i) { return std::to_string(i); }

std::string declarations(std::int64_t count) {
    const std::string declared = repeated(
        count, [](std::int64_t i) { return " xmlns:p" + number(i) + "='urn:" + number(i) + "'"; });
    return "<r" + declared + ">" +
           repeated(count, [&](std::int64_t i) { return "<p" + number(count - 1 - i) + ":e/>"; }) +
           "</r>";
}

std::string redeclarations(std::int64_t count) {
    const std::int64_t deep = 1000;
    const std::string stack =
        repeated(deep, [](std::int64_t i) { return "<e xmlns:p='urn:" + number(i) + "'>"; }) +
        repeated(deep, [](std::int64_t) { return "</e>"; });
    return "<r>" + repeated(count / deep, [&](std::int64_t) { return stack; }) + "</r>";
}

std::string attributes(std::int64_t count) {
    const std::string all = repeated(count, [&](std::int64_t i) {
        return " a" + number(i * 7919 % count) + "='" + number(i) + "'";
    });
    return "<r" + all + "><e" + all + "/></r>";
}

std::string characters(std::int64_t count) {
    const auto size = static_cast<std::size_t>(count) * 16;
    return "<r>" + std::string(size, '>') + std::string(size, '\r') + "</r>";
}

std::string smallMarkup(std::int64_t count) {
    return "<r>" + repeated(count, [](std::int64_t) { return "<!----><?p?><![CDATA[]]>"; }) +
           "</r>";
}

void canonicalizeHostile(benchmark::State& state, std::string (*make)(std::int64_t),
                         xml::CanonMethod method, bool listed) {
    const StringBuffer text{make(state.range(0))};
    xml::ParseFailure why;
    const auto document = xml::XmlDocument::parse(text, {}, why);
    if (document == nullptr) {
        state.SkipWithError("not well-formed");
        return;
    }
    std::vector<std::string> names;
    for (std::int64_t i = 0; listed && i < state.range(0); ++i) {
        names.push_back("p" + number(i));
    }
    const std::vector<std::string_view> prefixes(names.begin(), names.end());
    xml::CanonRequest request;
    request.method = method;
    request.withComments = true;
    request.prefixes = prefixes;
    for (auto _ : state) {
        NullSink sink;
        benchmark::DoNotOptimize(xml::canonicalize(*document, request, sink));
    }
    state.SetBytesProcessed(state.iterations() * text.getSize());
    state.SetComplexityN(state.range(0));
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Arg(4000)->Arg(16000)->Arg(64000)->MinTime(0.05)->Complexity(benchmark::oAuto);
}

constexpr auto kInclusive = xml::CanonMethod::Inclusive;
constexpr auto kExclusive = xml::CanonMethod::Exclusive;

BENCHMARK_CAPTURE(canonicalizeHostile, declarations_inclusive, declarations, kInclusive, false)
    ->Apply(sizes);
BENCHMARK_CAPTURE(canonicalizeHostile, declarations_exclusive, declarations, kExclusive, false)
    ->Apply(sizes);
BENCHMARK_CAPTURE(canonicalizeHostile, declarations_listed, declarations, kExclusive, true)
    ->Apply(sizes);
BENCHMARK_CAPTURE(canonicalizeHostile, redeclarations_inclusive, redeclarations, kInclusive, false)
    ->Apply(sizes);
BENCHMARK_CAPTURE(canonicalizeHostile, attributes, attributes, kInclusive, false)->Apply(sizes);
BENCHMARK_CAPTURE(canonicalizeHostile, characters, characters, kInclusive, false)->Apply(sizes);
BENCHMARK_CAPTURE(canonicalizeHostile, small_markup, smallMarkup, kInclusive, false)->Apply(sizes);

} // namespace
