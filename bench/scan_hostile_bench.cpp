// SPDX-License-Identifier: MIT
// Documents made to turn a careless look-up of the scanner quadratic. The fitted complexity has to
// be linear, times a logarithm where names are sorted.

#include "foundation/xml/scan/xml_document.h"

#include <string>
#include <string_view>

#include <benchmark/benchmark.h>

namespace {

using namespace vantrel;

std::string repeat(std::string_view text, std::int64_t count) {
    std::string result;
    for (std::int64_t i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

std::string numbered(std::string_view before, std::int64_t count, std::string_view after) {
    std::string result;
    for (std::int64_t i = 0; i < count; ++i) {
        result.append(before).append(std::to_string(i)).append(after);
    }
    return result;
}

std::string attributes(std::int64_t n) { return "<a " + numbered("b", n, "='' ") + "/>"; }
std::string prefixedAttributes(std::int64_t n) {
    return "<a xmlns:p='u' xmlns:q='v' " + numbered("p:b", n / 2, "='' ") +
           numbered("q:b", n / 2, "='' ") + "/>";
}
std::string declarations(std::int64_t n) {
    return "<a " + numbered("xmlns:p", n, "='u' ") + ">" + numbered("<p", n, ":c/>") + "</a>";
}
std::string redeclarations(std::int64_t n) {
    return "<a>" + repeat("<p:b xmlns:p='u'/>", n) + "</a>";
}
std::string ids(std::int64_t n) { return "<a>" + repeat("<b Id='same'/>", n) + "</a>"; }
std::string signatures(std::int64_t n) {
    return "<a>" + repeat("<Signature><SignedInfo/></Signature>", n) + "</a>";
}
std::string brackets(std::int64_t n) { return "<a>" + repeat("]] ", n) + "</a>"; }
std::string references(std::int64_t n) { return "<a>" + repeat("&#x41;", n) + "</a>"; }
std::string entities(std::int64_t n) {
    return "<!DOCTYPE a [" + numbered("<!ENTITY e", n, " 'x'>") + "]><a>" + numbered("&e", n, ";") +
           "</a>";
}

void scanHostile(benchmark::State& state, std::string (*make)(std::int64_t)) {
    const StringBuffer text{make(state.range(0))};
    for (auto _ : state) {
        xml::ParseFailure why;
        const auto document = xml::XmlDocument::parse(text, {}, why);
        if (document == nullptr) {
            state.SkipWithError(why.message.c_str());
            return;
        }
        xml::ElementId element = 0;
        benchmark::DoNotOptimize(document->findById("no such", element));
    }
    state.SetComplexityN(state.range(0));
}

#define VANTREL_SCAN_HOSTILE(shape)                                                                \
    BENCHMARK_CAPTURE(scanHostile, shape, shape)                                                   \
        ->RangeMultiplier(4)                                                                       \
        ->Range(4000, 64000)                                                                       \
        ->Complexity()

VANTREL_SCAN_HOSTILE(attributes);
VANTREL_SCAN_HOSTILE(prefixedAttributes);
VANTREL_SCAN_HOSTILE(declarations);
VANTREL_SCAN_HOSTILE(redeclarations);
VANTREL_SCAN_HOSTILE(ids);
VANTREL_SCAN_HOSTILE(signatures);
VANTREL_SCAN_HOSTILE(brackets);
VANTREL_SCAN_HOSTILE(references);
VANTREL_SCAN_HOSTILE(entities);

} // namespace
