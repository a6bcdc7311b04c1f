// SPDX-License-Identifier: MIT
// The searches over document text that profiles and transforms rest on, over documents of 1 to 16
// MB that are made to be hard for them: time must grow with the size and no faster.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/reference/adjacent_signatures.h"
#include "dsig/transform/chunk_removal.h"
#include "dsig/transform/profile_markers.h"
#include "foundation/text/LogBase.h"

#include <string>

#include <benchmark/benchmark.h>

namespace {

using vantrel::StringBuffer;

const vantrel::dsig::ChunkPattern kPattern{"<cac:Signature>", "</cac:Signature>"};

std::string filler(std::size_t size) {
    std::string text;
    while (text.size() < size) {
        text += "<cbc:Line>some words of an invoice</cbc:Line>\n";
    }
    return text;
}

// `count` pieces spread over `size` bytes of markup.
std::string spread(std::size_t size, const std::string& piece, std::size_t count) {
    std::string text;
    const std::string between = filler(size / count);
    for (std::size_t i = 0; i < count; ++i) {
        text += piece + between;
    }
    return text;
}

std::string repeated(std::size_t size, const std::string& piece) {
    std::string text;
    while (text.size() < size) {
        text += piece;
    }
    return text;
}

std::string actor(std::string_view value) { return "actor=\"" + std::string(value) + "\""; }

void measureChunks(benchmark::State& state, const std::string& document,
                   const vantrel::dsig::ChunkPattern& pattern) {
    for (auto unused : state) {
        StringBuffer text(document);
        vantrel::dsig::cutOut(
            text,
            vantrel::dsig::findChunks(vantrel::dsig::GappedText(text.view()), pattern, 100).chunks);
        benchmark::DoNotOptimize(text.getSize());
    }
    state.SetComplexityN(state.range(0));
}

void hundredChunks(benchmark::State& state) {
    const auto size = static_cast<std::size_t>(state.range(0));
    measureChunks(state, spread(size, "<cac:Signature>1</cac:Signature>", 100), kPattern);
}

// Each removal puts another start together.
void chunksThatJoin(benchmark::State& state) {
    std::string text = "<cac:Signature></cac:Signature>";
    for (int i = 0; i < 100; ++i) {
        text.insert(0, "<cac:Sig");
        text += "nature></cac:Signature>";
    }
    measureChunks(state, text + filler(static_cast<std::size_t>(state.range(0))), kPattern);
}

void startsWithoutEnds(benchmark::State& state) {
    measureChunks(state, repeated(static_cast<std::size_t>(state.range(0)), "<cac:Signature>"),
                  kPattern);
}

void nestedChunks(benchmark::State& state) {
    const auto half = static_cast<std::size_t>(state.range(0)) / 2;
    measureChunks(state, repeated(half, "<cac:Signature>") + repeated(half, "</cac:Signature>"),
                  kPattern);
}

void chunksWithoutNeedle(benchmark::State& state) {
    const std::string document =
        repeated(static_cast<std::size_t>(state.range(0)), "<cac:Signature>Q</cac:Signature>");
    measureChunks(state, document, {kPattern.start, kPattern.end, "<cbc:ID>QR</cbc:ID>"});
}

void measureActors(benchmark::State& state, const std::string& document) {
    vantrel::LogNull log;
    for (auto unused : state) {
        StringBuffer text(document);
        vantrel::DSigReference::removeEbXmlFragments(text, log);
        benchmark::DoNotOptimize(text.getSize());
    }
    state.SetComplexityN(state.range(0));
}

void nextActors(benchmark::State& state) {
    const std::string block =
        "<eb:Via " + actor(vantrel::dsig::marker::kEbXmlNextActor) + ">1</eb:Via>";
    measureActors(state, spread(static_cast<std::size_t>(state.range(0)), block, 20));
}

// The name stands everywhere but in tags.
void actorsOutsideTags(benchmark::State& state) {
    const std::string text = "<a>" + actor(vantrel::dsig::marker::kSoapNextActor) +
                             actor(vantrel::dsig::marker::kEbXmlNextActor);
    measureActors(state, repeated(static_cast<std::size_t>(state.range(0)), text));
}

void followingSignatures(benchmark::State& state) {
    std::string text = "<Signature/>";
    const std::size_t own = text.size();
    vantrel::LogNull log;
    for (int i = 0; i < 100; ++i) {
        const std::string name = "p" + std::to_string(i) + ":Signature>";
        text += "<" + name + "</" + name;
    }
    text += filler(static_cast<std::size_t>(state.range(0)));
    for (auto unused : state) {
        benchmark::DoNotOptimize(
            vantrel::dsig::signatureRow(text, 0, static_cast<std::uint32_t>(own), nullptr, log));
    }
    state.SetComplexityN(state.range(0));
}

std::string signatureOver(const std::string& uri, const std::string& transforms) {
    return "<Signature xmlns=\"http://www.w3.org/2000/09/xmldsig#\"><SignedInfo><Reference URI=\"" +
           uri + "\"><Transforms>" + transforms +
           "<Transform Algorithm=\"http://www.w3.org/TR/2001/REC-xml-c14n-20010315\"/></Transforms>"
           "<DigestMethod Algorithm=\"http://www.w3.org/2001/04/xmlenc#sha256\"/>"
           "<DigestValue>AAAA</DigestValue></Reference></SignedInfo></Signature>";
}

// The digest of a reference, with the retry that its mismatch brings about.
void measureReference(benchmark::State& state, const std::string& document) {
    vantrel::ClsXmlDSig verifier;
    vantrel::XString text(document);
    if (!verifier.LoadSignature(text)) {
        state.SkipWithError("the document does not load");
    }
    for (auto unused : state) {
        benchmark::DoNotOptimize(verifier.VerifyReferenceDigest(0));
    }
    state.SetComplexityN(state.range(0));
}

void markedElements(benchmark::State& state) {
    const auto size = static_cast<std::size_t>(state.range(0));
    measureReference(state, "<r xmlns:cbc=\"urn:c\">" +
                                spread(size, "<i authenticate=\"true\">1</i>", 101) +
                                signatureOver("#xpointer(//*[@authenticate='true'])", "") + "</r>");
}

void expressionOverBusinessSignatures(benchmark::State& state) {
    const auto size = static_cast<std::size_t>(state.range(0));
    const std::string expression =
        "<Transform Algorithm=\"http://www.w3.org/TR/1999/REC-xpath-19991116\">"
        "<XPath>not(//ancestor-or-self::cac:Signature)</XPath></Transform>";
    measureReference(state, "<r xmlns:cbc=\"urn:c\" xmlns:cac=\"urn:a\">" +
                                spread(size, "<cac:Signature>1</cac:Signature>", 100) +
                                signatureOver("", expression) + "</r>");
}

#define VANTREL_SIZES                                                                              \
    RangeMultiplier(4)                                                                             \
        ->Range(1 << 20, 16 << 20)                                                                 \
        ->Complexity(benchmark::oN)                                                                \
        ->Unit(benchmark::kMillisecond)

BENCHMARK(hundredChunks)->VANTREL_SIZES;
BENCHMARK(chunksThatJoin)->VANTREL_SIZES;
BENCHMARK(startsWithoutEnds)->VANTREL_SIZES;
BENCHMARK(nestedChunks)->VANTREL_SIZES;
BENCHMARK(chunksWithoutNeedle)->VANTREL_SIZES;
BENCHMARK(nextActors)->VANTREL_SIZES;
BENCHMARK(actorsOutsideTags)->VANTREL_SIZES;
BENCHMARK(followingSignatures)->VANTREL_SIZES;
BENCHMARK(markedElements)->VANTREL_SIZES;
BENCHMARK(expressionOverBusinessSignatures)->VANTREL_SIZES;

} // namespace
