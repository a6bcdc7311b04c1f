// SPDX-License-Identifier: MIT
// Canonicalization beside libxml2: reading and canonicalizing a whole document, canonicalizing a
// document that was read before, and many elements of one document by Id.

#include "foundation/text/LogBase.h"
#include "foundation/xml/canon/XmlCanon.h"
#include "foundation/xml/scan/xml_document.h"

#include <random>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>
#include <libxml/c14n.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>

namespace {

using namespace vantrel;

// Takes the octets and looks at one of each piece.
class NullSink final : public xml::CanonSink {
public:
    bool write(const char* data, std::size_t size) override {
        benchmark::DoNotOptimize(data[size / 2]);
        octets += size;
        return true;
    }
    std::size_t octets = 0;
};

// An invoice batch of about `size` bytes: varied enough that no branch predictor learns it.
std::string invoices(std::size_t size, bool tidy) {
    std::mt19937 random(42);
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<b:Batch xmlns:b=\"urn:example:batch\" xmlns=\"urn:example:invoice\" "
        "xmlns:c=\"urn:example:components\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n";
    const char* const names[] = {"Amount", "TaxTotal", "Note", "PartyIdentification",
                                 "ID",     "Price"};
    for (int number = 0; text.size() < size; ++number) {
        text += "  <Invoice Id=\"inv-" + std::to_string(number) + "\">\n";
        for (std::uint64_t line = 0, lines = 2 + random() % 9; line < lines; ++line) {
            const std::string_view name = names[random() % 6];
            const std::string_view prefix = random() % 2 == 0 ? "c:" : "";
            text.append("    <").append(prefix).append(name);
            if (random() % 2 == 0) {
                text += tidy ? " currencyID=\"EUR\"" : " currencyID='EUR'";
            }
            if (random() % 4 == 0) {
                text += tidy ? " unit=\"C62\" xsi:type=\"c:T\"" : " xsi:type=\"c:T\"  unit=\"C62\"";
            }
            if (random() % 12 == 0) {
                tidy ? text.append("></").append(prefix).append(name).append(">\n")
                     : text.append("/>\n");
                continue;
            }
            text.append(">").append(random() % 40, 'x').append(std::to_string(random()));
            if (!tidy && random() % 8 == 0) {
                text += " &amp; co &#233; > <!-- checked --> \r\n";
            }
            text.append("</").append(prefix).append(name).append(">\n");
        }
        text += "  </Invoice>\n";
    }
    return text + "</b:Batch>";
}

void readAndCanonicalize(benchmark::State& state, bool exclusive, bool tidy) {
    const StringBuffer text{invoices(static_cast<std::size_t>(state.range(0)), tidy)};
    LogNull log;
    for (auto _ : state) {
        XmlCanon canon;
        canon.m_method = exclusive ? 2 : 1;
        NullSink sink;
        if (!canon.canonicalizeTo(text, nullptr, 0, sink, log)) {
            state.SkipWithError("not canonicalized");
        }
    }
    state.SetBytesProcessed(state.iterations() * text.getSize());
}

void canonicalizeOnly(benchmark::State& state, bool exclusive, bool tidy) {
    const StringBuffer text{invoices(static_cast<std::size_t>(state.range(0)), tidy)};
    xml::ParseFailure why;
    const auto document = xml::XmlDocument::parse(text, {}, why);
    xml::CanonRequest request;
    request.method = exclusive ? xml::CanonMethod::Exclusive : xml::CanonMethod::Inclusive;
    for (auto _ : state) {
        NullSink sink;
        benchmark::DoNotOptimize(xml::canonicalize(*document, request, sink));
    }
    state.SetBytesProcessed(state.iterations() * text.getSize());
}

void libxml2Both(benchmark::State& state, bool exclusive, bool tidy) {
    const std::string text = invoices(static_cast<std::size_t>(state.range(0)), tidy);
    for (auto _ : state) {
        xmlDocPtr doc = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                      XML_PARSE_HUGE | XML_PARSE_NONET);
        xmlChar* out = nullptr;
        const int mode = exclusive ? XML_C14N_EXCLUSIVE_1_0 : XML_C14N_1_0;
        if (xmlC14NDocDumpMemory(doc, nullptr, mode, nullptr, 0, &out) <= 0) {
            state.SkipWithError("not canonicalized");
        }
        xmlFree(out);
        xmlFreeDoc(doc);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

// Every invoice of a batch by its Id, as a manifest of references asks for them.
void fragmentsById(benchmark::State& state, bool exclusive) {
    const StringBuffer text{invoices(static_cast<std::size_t>(state.range(0)) * 600, true)};
    LogNull log;
    std::int64_t count = 0;
    for (auto _ : state) {
        XmlCanon canon;
        canon.m_method = exclusive ? 2 : 1;
        NullSink sink;
        for (int number = 0; number < state.range(0); ++number) {
            const std::string id = "inv-" + std::to_string(number);
            if (!canon.canonicalizeTo(text, id.c_str(), 0, sink, log)) {
                break;
            }
            ++count;
        }
    }
    state.SetItemsProcessed(count);
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Arg(64 << 10)->Arg(1 << 20)->Arg(8 << 20)->MinTime(0.3);
}

BENCHMARK_CAPTURE(readAndCanonicalize, inclusive_tidy, false, true)->Apply(sizes);
BENCHMARK_CAPTURE(readAndCanonicalize, exclusive_tidy, true, true)->Apply(sizes);
BENCHMARK_CAPTURE(readAndCanonicalize, inclusive_untidy, false, false)->Apply(sizes);
BENCHMARK_CAPTURE(readAndCanonicalize, exclusive_untidy, true, false)->Apply(sizes);
BENCHMARK_CAPTURE(canonicalizeOnly, inclusive_tidy, false, true)->Apply(sizes);
BENCHMARK_CAPTURE(canonicalizeOnly, exclusive_tidy, true, true)->Apply(sizes);
BENCHMARK_CAPTURE(canonicalizeOnly, inclusive_untidy, false, false)->Apply(sizes);
BENCHMARK_CAPTURE(canonicalizeOnly, exclusive_untidy, true, false)->Apply(sizes);
BENCHMARK_CAPTURE(libxml2Both, inclusive_tidy, false, true)->Apply(sizes);
BENCHMARK_CAPTURE(libxml2Both, exclusive_tidy, true, true)->Apply(sizes);
BENCHMARK_CAPTURE(libxml2Both, inclusive_untidy, false, false)->Apply(sizes);
BENCHMARK_CAPTURE(fragmentsById, inclusive, false)->Arg(1000)->Arg(10000)->MinTime(0.3);
BENCHMARK_CAPTURE(fragmentsById, exclusive, true)->Arg(1000)->Arg(10000)->MinTime(0.3);

} // namespace
