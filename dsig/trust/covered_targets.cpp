// SPDX-License-Identifier: MIT
#include "dsig/trust/covered_targets.h"

#include "dsig/report/coverage.h"
#include "dsig/report/warnings.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <system_error>

namespace vantrel::dsig {

namespace {

// One step of a path: a qualified name and its one-based position, 0 without one.
struct PathStep {
    std::string_view name;
    std::uint32_t position = 0;
};

// "Item[3]"
std::optional<PathStep> parseStep(std::string_view text) {
    PathStep step;
    const std::size_t bracket = text.find('[');
    step.name = text.substr(0, bracket);
    if (bracket == std::string_view::npos) {
        return step;
    }
    const char* const end = text.data() + text.size();
    const auto [stop, problem] = std::from_chars(text.data() + bracket + 1, end, step.position);
    if (problem != std::errc() || step.position == 0 || end - stop != 1 || *stop != ']') {
        return std::nullopt;
    }
    return step;
}

// The child that the step names. Without a position it must be the only one of its name, as in the
// paths that reports print: a second one could be somebody's who wants the first to be overlooked.
xml::ElementId childAt(const xml::XmlDocument& document, xml::ElementId parent,
                       const PathStep& step) {
    xml::ElementId found = xml::kNoElement;
    std::uint32_t seen = 0;
    for (xml::ElementId child = document.firstChild(parent); child != xml::kNoElement;
         child = document.nextChild(parent, child)) {
        if (document.qualifiedName(child) != step.name) {
            continue;
        }
        ++seen;
        if (seen == step.position || step.position == 0) {
            found = child;
        }
    }
    // An only child is printed without a position, and taken with position 1 as well.
    return step.position == 0 && seen != 1 ? xml::kNoElement : found;
}

// kNoElement when there is none, or more than one.
xml::ElementId elementAtPath(const xml::XmlDocument& document, std::string_view path) {
    xml::ElementId at = xml::kNoElement;
    bool isRoot = true;
    while (path.starts_with('/')) {
        path.remove_prefix(1);
        const std::size_t end = std::min(path.find('/'), path.size());
        const std::optional<PathStep> step = parseStep(path.substr(0, end));
        path.remove_prefix(end);
        if (!step) {
            return xml::kNoElement;
        }
        if (isRoot) {
            at = document.qualifiedName(0) == step->name && step->position <= 1 ? 0
                                                                                : xml::kNoElement;
        } else {
            at = childAt(document, at, *step);
        }
        if (at == xml::kNoElement) {
            return at;
        }
        isRoot = false;
    }
    return at;
}

// An Id counts only when nothing else bears it, by whatever attribute.
xml::ElementId elementWithId(Document& document, std::string_view id) {
    xml::ElementId element = xml::kNoElement;
    if (document.structure->findById(id, element) != xml::IdMatch::Unique ||
        document.idRivals().has(id)) {
        return xml::kNoElement;
    }
    return element;
}

xml::ElementId elementOf(Document& document, std::string_view target) {
    if (target == "document") {
        return 0;
    }
    return target.starts_with('#') ? elementWithId(document, target.substr(1))
                                   : elementAtPath(*document.structure, target);
}

// In order, and joined where they touch.
std::vector<xml::TextRange> merged(std::vector<xml::TextRange> ranges) {
    std::ranges::sort(ranges, {}, &xml::TextRange::start);
    std::vector<xml::TextRange> out;
    for (const xml::TextRange range : ranges) {
        if (range.empty()) {
            continue;
        }
        if (out.empty() || range.start > out.back().end()) {
            out.push_back(range);
        } else {
            out.back() = xml::rangeOf(out.back().start, std::max(out.back().end(), range.end()));
        }
    }
    return out;
}

// Only one stretch can hold it, since they do not touch.
bool holds(const std::vector<xml::TextRange>& stretches, xml::TextRange range) {
    const auto behind =
        std::ranges::upper_bound(stretches, range.start, {}, &xml::TextRange::start);
    return !range.empty() && behind != stretches.begin() && isInside(range, *std::prev(behind));
}

} // namespace

std::vector<xml::TextRange> digestedRanges(const xml::XmlDocument& document,
                                           const SignatureReport& report) {
    std::vector<xml::TextRange> digested;
    if (!report.valid || report.value != ValueCheck::Valid) {
        return digested;
    }
    for (const ReferenceResult& reference : report.references) {
        const bool counts = reference.matched() && reference.isSigned && reference.coverageKnown &&
                            !reference.dataMissing &&
                            !reference.accommodations.contains(accommodation::kDigestTolerated);
        if (counts) {
            appendDigested(document, reference, digested);
        }
    }
    return merged(std::move(digested));
}

bool isDigested(xml::TextRange range, const JudgedSignature& it) {
    return holds(it.digested, range);
}

bool coversTarget(std::string_view target, const JudgedSignature& it) {
    if (it.document == nullptr) {
        return false;
    }
    if (target.starts_with(kPartTarget)) {
        const std::string_view name = target.substr(kPartTarget.size());
        return it.report.parts &&
               std::ranges::find(it.report.parts->covered, name) != it.report.parts->covered.end();
    }
    const xml::XmlDocument& document = *it.document->structure;
    const xml::ElementId element = elementOf(*it.document, target);
    xml::TextRange range;
    if (element == xml::kNoElement || !document.sourceRange(element, range)) {
        return false;
    }
    if (holds(it.digested, range)) {
        return true;
    }
    // What is missing may be the signature alone. Without a digest there is nothing that it could
    // be missing from, and as the target itself it has to be digested like any other element.
    xml::TextRange signature;
    if (it.digested.empty() || element == it.report.signatureElement ||
        !document.sourceRange(it.report.signatureElement, signature) ||
        !isInside(signature, range)) {
        return false;
    }
    std::vector<xml::TextRange> covered = it.digested;
    covered.push_back(signature);
    return holds(merged(std::move(covered)), range);
}

std::string fragmentId(std::string_view uri) {
    constexpr std::string_view kPointer = "#xpointer(id(";
    if (!uri.starts_with('#')) {
        return {};
    }
    if (!uri.starts_with(kPointer)) {
        return std::string(uri.substr(1));
    }
    // "#xpointer(id('x'))": behind a quote, up to the same quote.
    const std::string_view rest = uri.substr(kPointer.size());
    const std::size_t end = rest.size() > 1 ? rest.find(rest[0], 1) : std::string_view::npos;
    return end == std::string_view::npos ? std::string() : std::string(rest.substr(1, end - 1));
}

} // namespace vantrel::dsig
