// SPDX-License-Identifier: MIT
#include "dsig/html/places.h"

#include <algorithm>
#include <array>

namespace vantrel::dsig::html {

namespace {

using xml::TextRange;
using Verdict = ReferencePlaces::Verdict;

// Empty for an element that came out of an entity: it has no place to be shown at. So is one that
// is not in this document at all.
TextRange placeOf(const xml::XmlDocument& document, xml::ElementId element) {
    TextRange range;
    return element != xml::kNoElement && document.sourceRange(element, range) ? range : TextRange{};
}

// The rules of ZATCA invoices take the first digest as the signed octets, not SignedInfo. With them
// the value vouches for the first digest alone, and SignedInfo could be changed without harm to it;
// showing it as covered would be wrong.
bool valueIsOverSignedInfo(const SignatureReport& report) {
    return !report.accommodations.contains(accommodation::kZatcaRules);
}

// Only a value that holds covers anything.
TextRange signedInfoOf(const SignatureReport& report, const xml::XmlDocument& document) {
    if (report.valid && report.signatureElement != xml::kNoElement &&
        valueIsOverSignedInfo(report)) {
        for (const xml::SignatureElement& signature : document.signatures()) {
            if (signature.element == report.signatureElement) {
                return placeOf(document, signature.signedInfo);
            }
        }
    }
    return {};
}

// A digest that is tolerated is still one that does not fit: the option changes the verdict, not
// the text.
Verdict verdictOf(const SignatureReport& report, const ReferenceResult& reference) {
    const bool tolerated = reference.accommodations.contains(accommodation::kDigestTolerated);
    const bool mismatch = reference.reason == RefReason::Mismatch || tolerated;
    if (reference.checked && mismatch) {
        return Verdict::Broken;
    }
    // Each of these has to be true: that the digest fits is worth nothing where the value does not
    // vouch for the digest.
    const bool holds = reference.checked && reference.reason == RefReason::Match && report.valid &&
                       reference.isSigned && reference.coverageKnown;
    return holds ? Verdict::Holds : Verdict::Void;
}

ReferencePlaces placesOfReference(const SignatureReport& report, const ReferenceResult& reference,
                                  TextRange signature, const xml::XmlDocument& document) {
    ReferencePlaces places;
    places.verdict = verdictOf(report, reference);
    places.wholeDocument = reference.covers == "document";
    // All exclusions are taken out of what is covered, the signature's own included.
    std::vector<TextRange> absent;
    for (const Exclusion& exclusion : reference.excluded) {
        absent.push_back(exclusion.range);
        // That a signature leaves itself out is no news.
        if (!isInside(exclusion.range, signature)) {
            places.excluded.push_back({exclusion.range, exclusion.why});
        }
    }
    // Element 0 is the root; comments and instructions around it are not coloured.
    if (places.wholeDocument) {
        places.targets.push_back(placeOf(document, 0));
    }
    for (const xml::ElementId element : reference.coveredElements.all()) {
        places.targets.push_back(placeOf(document, element));
    }
    for (const TextRange target : places.targets) {
        appendWithout(target, absent, places.covered);
    }
    return places;
}

// One side of a range, on its way through the text. Ranges nest and overlap in every way, since
// each reference has its own. Sweeping over their ends needs no tree.
struct Side {
    std::uint32_t at;
    std::uint8_t channel;
    bool opens;
};

// What is counted at each place: the colours, and what they cannot say. The first kColours channels
// are the colours themselves.
enum Channel : std::uint8_t {
    kBroken = kColours,
    kVoid,
    kExcluded,
    kInSignature,
    kInRoot,
    kChannels,
};

class Sweep {
public:
    // Ranges are counted, so that one that closes does not end another.
    void add(TextRange range, std::size_t channel) {
        if (!range.empty()) {
            m_sides.push_back({range.start, static_cast<std::uint8_t>(channel), true});
            m_sides.push_back({range.end(), static_cast<std::uint8_t>(channel), false});
        }
    }

    std::vector<Stretch> run(std::uint32_t size) {
        // Which of two at one place comes first does not matter: between them nothing is appended.
        std::sort(m_sides.begin(), m_sides.end(),
                  [](const Side& one, const Side& other) { return one.at < other.at; });
        std::uint32_t at = 0;
        for (const Side& side : m_sides) {
            // A range that ends behind the text is cut there.
            const std::uint32_t next = std::min(side.at, size);
            append(xml::rangeOf(at, next));
            at = next;
            m_open[side.channel] += side.opens ? 1 : -1;
        }
        append(xml::rangeOf(at, size));
        return std::move(m_stretches);
    }

    // An open count above zero says that the place lies in such a range.
private:
    [[nodiscard]] Standing standing() const {
        Standing now;
        for (std::size_t colour = 0; colour < kColours; ++colour) {
            const unsigned bit = m_open[colour] > 0 ? 1U << colour : 0U;
            now.covered = static_cast<std::uint8_t>(now.covered | bit);
        }
        now.broken = m_open[kBroken] > 0;
        now.isVoid = m_open[kVoid] > 0;
        now.excluded = m_open[kExcluded] > 0;
        now.inSignature = m_open[kInSignature] > 0;
        now.inRoot = m_open[kInRoot] > 0;
        return now;
    }

    // Equal neighbours become one, so that the page has no borders that mean nothing.
    void append(TextRange range) {
        if (range.empty()) {
            return;
        }
        // Computed once for a range, however long it is.
        const Standing now = standing();
        if (!m_stretches.empty() && m_stretches.back().standing == now) {
            m_stretches.back().range.length += range.length;
            return;
        }
        m_stretches.push_back({range, now});
    }

    std::vector<Side> m_sides;
    std::array<std::int64_t, kChannels> m_open = {};
    std::vector<Stretch> m_stretches;
};

// What is void or broken has no colour: it says nothing good of the text. Which of the counters a
// reference's ranges go to.
std::size_t channelOf(Verdict verdict, std::size_t colour) {
    switch (verdict) {
    case Verdict::Holds: return colour;
    case Verdict::Broken: return kBroken;
    case Verdict::Void: break;
    }
    return kVoid;
}

} // namespace

SignaturePlaces placesOf(const SignatureReport& report, const xml::XmlDocument& document) {
    SignaturePlaces places;
    // Indices count from 0; a report without one would have -1.
    places.index = static_cast<std::size_t>(std::max(report.index, 0));
    places.element = placeOf(document, report.signatureElement);
    places.signedInfo = signedInfoOf(report, document);
    for (const ReferenceResult& reference : report.references) {
        places.references.push_back(placesOfReference(report, reference, places.element, document));
    }
    return places;
}

std::vector<Stretch> stretchesOf(std::span<const SignaturePlaces> signatures, xml::TextRange root,
                                 std::uint32_t size) {
    Sweep sweep;
    sweep.add(root, kInRoot);
    for (std::size_t i = 0; i < signatures.size(); ++i) {
        const SignaturePlaces& signature = signatures[i];
        // In the order given, which is that of the page's cards.
        const std::size_t colour = std::min(i, kColours - 1);
        sweep.add(signature.element, kInSignature);
        sweep.add(signature.signedInfo, colour);
        for (const ReferencePlaces& reference : signature.references) {
            for (const TextRange range : reference.covered) {
                sweep.add(range, channelOf(reference.verdict, colour));
            }
            for (const ExcludedPlace& excluded : reference.excluded) {
                sweep.add(excluded.range, kExcluded);
            }
        }
    }
    return sweep.run(size);
}

} // namespace vantrel::dsig::html
