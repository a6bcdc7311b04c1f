// SPDX-License-Identifier: MIT
// Loading a document (well-formedness, structure, Ids, signatures) beside libxml2's tree.

#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <map>
#include <random>
#include <string>

#include <benchmark/benchmark.h>
#include <libxml/parser.h>

namespace {

using namespace vantrel;

// Lines of an invoice, none like the other.
const std::string& invoice(std::int64_t size) {
    static std::map<std::int64_t, std::string> made;
    std::string& text = made[size];
    if (!text.empty()) {
        return text;
    }
    std::mt19937 random(7);
    text = "<Invoice xmlns=\"urn:oasis:Invoice-2\" xmlns:cac=\"urn:oasis:cac-2\" "
           "xmlns:cbc=\"urn:oasis:cbc-2\">\n";
    for (int i = 0; static_cast<std::int64_t>(text.size()) < size; ++i) {
        text += "  <cac:InvoiceLine><cbc:ID>" + std::to_string(i) +
                "</cbc:ID><cbc:Amount currencyID=\"" + (random() % 3 != 0 ? "EUR" : "USD") + "\">" +
                std::to_string(random() % 100000) + ".00</cbc:Amount><cac:Item><cbc:Name>Part " +
                std::to_string(random()) + " &amp; more</cbc:Name></cac:Item></cac:InvoiceLine>\n";
    }
    text += "</Invoice>";
    return text;
}

void setBytes(benchmark::State& state, std::size_t size) {
    state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
}

void loadOurs(benchmark::State& state) {
    const StringBuffer text{invoice(state.range(0))};
    for (auto _ : state) {
        xml::ParseFailure why;
        const auto document = xml::XmlDocument::parse(text, {}, why);
        if (document == nullptr) {
            state.SkipWithError(why.message.c_str());
            return;
        }
        benchmark::DoNotOptimize(document->elementCount());
    }
    setBytes(state, text.getSize());
}

void loadLibxml2(benchmark::State& state) {
    const std::string& text = invoice(state.range(0));
    for (auto _ : state) {
        const xmlDocPtr document = xmlReadMemory(text.data(), static_cast<int>(text.size()),
                                                 nullptr, nullptr, XML_PARSE_HUGE);
        if (document == nullptr) {
            state.SkipWithError("not well-formed");
            return;
        }
        xmlFreeDoc(document);
    }
    setBytes(state, text.size());
}

BENCHMARK(loadOurs)->Arg(64 << 10)->Arg(1 << 20)->Arg(16 << 20);
BENCHMARK(loadLibxml2)->Arg(64 << 10)->Arg(1 << 20)->Arg(16 << 20);

} // namespace
