// SPDX-License-Identifier: MIT
#ifndef DSIG_HTML_PLACES_H
#define DSIG_HTML_PLACES_H

#include "dsig/report/signature_report.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Where in the loaded text a page has something to say, and how each stretch of it is vouched for.
// Offsets are octets of the loaded text; what came out of entities has no place there and is not
// shown.
namespace vantrel::dsig::html {

// Signatures are told apart by colour up to this number; the others share the last one. People tell
// few colours apart, and a stretch may have several at once.
inline constexpr std::size_t kColours = 7;

// Something that was not digested, with its place.
struct ExcludedPlace {
    xml::TextRange range;
    std::string_view why; // a code of namespace exclusion
};

// What one reference says of the text. XML Signature 1.1, 4.4.3: several may name the same element.
struct ReferencePlaces {
    // Holds: digest and value fit. Broken: the digest does not fit the text. Void: nothing vouches
    // for it, since the value does not hold, or is not over it, or its coverage is not known.
    enum class Verdict : std::uint8_t { Holds, Broken, Void };

    Verdict verdict = Verdict::Void;
    bool wholeDocument = false;
    std::vector<xml::TextRange> targets; // what it names
    std::vector<xml::TextRange> covered; // what of that was digested
    // The signature itself is left out by the enveloped-signature transform, as it should be.
    std::vector<ExcludedPlace> excluded; // what was not, the signature itself apart
};

// What one signature says of the text. A value, so that it outlives the next verification. Kept by
// its caller until the page is written.
struct SignaturePlaces {
    std::size_t index = 0;
    xml::TextRange element;
    xml::TextRange signedInfo; // empty where the value does not vouch for it
    std::vector<ReferencePlaces> references;
};

// The report must be of this document. References are in the order of the report. May throw
// std::bad_alloc.
[[nodiscard]] SignaturePlaces placesOf(const SignatureReport& report,
                                       const xml::XmlDocument& document);

// How a stretch of the text is vouched for, by all signatures together. The questions are
// independent: a stretch may be covered by one signature and excluded from another.
struct Standing {
    std::uint8_t covered = 0; // a bit for each colour
    bool broken = false;
    bool isVoid = false;
    bool excluded = false;    // from something that holds
    bool inSignature = false; // part of a signature's own markup
    bool inRoot = false;      // inside the root element; what stands outside is no content

    friend bool operator==(const Standing&, const Standing&) = default;
};

// Never empty.
struct Stretch {
    xml::TextRange range;
    Standing standing;
};

// The whole text of `size` octets in stretches of equal standing, in order; neighbours differ. Time
// grows with the number of ranges, not with the text. Sorting the ends of the ranges is all that is
// more than linear.
[[nodiscard]] std::vector<Stretch> stretchesOf(std::span<const SignaturePlaces> signatures,
                                               xml::TextRange root, std::uint32_t size);

} // namespace vantrel::dsig::html

#endif
