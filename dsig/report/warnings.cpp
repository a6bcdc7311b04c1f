// SPDX-License-Identifier: MIT
#include "dsig/report/warnings.h"

#include "dsig/document/signature_structure.h"
#include "dsig/report/split_text.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vantrel::dsig {

namespace {

// Empty for an element that came out of an entity. As something digested it then covers nothing,
// which errs towards a warning.
xml::TextRange sourceRangeOf(const xml::XmlDocument& document, xml::ElementId element) {
    xml::TextRange range;
    return document.sourceRange(element, range) ? range : xml::TextRange{};
}

// Something is left out besides the signature itself, and what it holds where it is left out whole.
bool excludesContent(const ReferenceResult& reference, xml::TextRange signature) {
    const bool withoutSignature =
        std::any_of(reference.excluded.begin(), reference.excluded.end(),
                    [&](const Exclusion& one) { return isInside(signature, one.range); });
    return std::any_of(
        reference.excluded.begin(), reference.excluded.end(),
        [&](const Exclusion& one) { return !withoutSignature || !isInside(one.range, signature); });
}

bool isManifest(const xml::XmlDocument& document, xml::ElementId element) {
    return document.localName(element) == "Manifest" &&
           document.namespaceUri(element) == xml::kXmlDsigNamespace;
}

// A manifest in the subtree. Most have so few elements that looking at each is quicker than knowing
// all manifests of the document; for those that have many it is not.
bool holdsManifest(Document& document, xml::ElementId top) {
    constexpr xml::ElementId kFewElements = 64;
    const xml::XmlDocument& structure = *document.structure;
    const xml::ElementId end = structure.subtreeEnd(top);
    if (end - top > kFewElements) {
        const std::vector<xml::ElementId>& manifests = document.manifests();
        const auto inside = std::lower_bound(manifests.begin(), manifests.end(), top);
        return inside != manifests.end() && *inside < end;
    }
    for (xml::ElementId element = top; element < end; ++element) {
        if (isManifest(structure, element)) {
            return true;
        }
    }
    return false;
}

// A manifest inside the signature. It stands in an Object; the parts that every signature has are
// many and hold none.
bool signatureHoldsManifest(Document& document, xml::ElementId signature) {
    const xml::XmlDocument& structure = *document.structure;
    for (xml::ElementId child = structure.firstChild(signature); child != xml::kNoElement;
         child = structure.nextChild(signature, child)) {
        const std::string_view name = structure.localName(child);
        const bool isUsualPart =
            name == "SignedInfo" || name == "SignatureValue" || name == "KeyInfo";
        if (!isUsualPart && holdsManifest(document, child)) {
            return true;
        }
    }
    return false;
}

// One in the signature, or one that a reference names.
bool concernsManifest(Document& document, const SignatureReport& report) {
    return signatureHoldsManifest(document, report.signatureElement) ||
           std::any_of(
               report.references.begin(), report.references.end(), [&](const ReferenceResult& one) {
                   const auto covered = one.coveredElements.all();
                   return std::any_of(covered.begin(), covered.end(), [&](xml::ElementId element) {
                       return isManifest(*document.structure, element);
                   });
               });
}

} // namespace

void appendDigested(const xml::XmlDocument& document, const ReferenceResult& reference,
                    std::vector<xml::TextRange>& digested) {
    std::vector<xml::TextRange> absent;
    for (const Exclusion& exclusion : reference.excluded) {
        absent.push_back(exclusion.range);
    }
    if (reference.covers == "document") {
        appendWithout(sourceRangeOf(document, 0), std::move(absent), digested);
        return;
    }
    for (const xml::ElementId element : reference.coveredElements.all()) {
        appendWithout(sourceRangeOf(document, element), absent, digested);
    }
}

void warnOfHash(const StringBuffer& algorithm, SignatureReport& report) {
    constexpr std::string_view kWeakHashes[] = {warning::kSha1, warning::kMd5, warning::kMd2,
                                                warning::kRipemd128};
    for (const std::string_view weak : kWeakHashes) {
        // The constants are literals, so their data ends in a zero.
        if (algorithm.containsSubstringNoCase(weak.data())) {
            report.warnings.add(weak);
        }
    }
}

void warnOfKey(const KeyReport& key, SignatureReport& report) {
    if (key.fromDocument) {
        report.warnings.add(warning::kKeyFromDocument);
    }
    if (key.nameFromDocument) {
        report.warnings.add(warning::kNameFromDocument);
    }
    if (key.weak) {
        report.warnings.add(warning::kWeakKey);
    }
    if (key.outsideValidity) {
        report.warnings.add(warning::kCertificateOutsideValidity);
    }
}

void warnOfUnusedKey(SignatureReport& report) {
    const auto isUsed = [](const KeyReport& key) { return key.used; };
    const auto used = std::find_if(report.keys.begin(), report.keys.end(), isUsed);
    const bool otherGiven = std::any_of(report.keys.begin(), report.keys.end(),
                                        [](const KeyReport& key) { return key.keyGiven; });
    if (used != report.keys.end() && !used->keyGiven && otherGiven) {
        report.warnings.add(warning::kKeyNotUsed);
    }
}

void warnOfReferences(SignatureReport& report) {
    bool allChecked = report.references.size() >= static_cast<std::size_t>(report.referenceCount);
    std::string_view seen; // mostly the same for all, and looked at once
    for (const ReferenceResult& reference : report.references) {
        if (reference.digestMethod.view() != seen) {
            warnOfHash(reference.digestMethod, report);
            seen = reference.digestMethod.view();
        }
        allChecked = allChecked && reference.checked && !reference.dataMissing &&
                     !reference.accommodations.contains(accommodation::kDigestTolerated);
        if (reference.accommodations.contains(accommodation::kDigestTolerated)) {
            report.warnings.add(warning::kDigestTolerated);
        }
        if (reference.dataMissing) {
            report.warnings.add(warning::kExternalMissing);
        }
        if (!reference.isSigned) {
            report.warnings.add(warning::kReferencesNotSigned);
        }
    }
    for (const ReferenceResult& reference : report.manifest) {
        warnOfHash(reference.digestMethod, report);
        allChecked = allChecked && !reference.dataMissing;
        if (reference.dataMissing) {
            report.warnings.add(warning::kExternalMissing);
        }
    }
    if (!allChecked) {
        report.warnings.add(warning::kNotAllChecked);
    }
}

void warnOfCoverage(const xml::XmlDocument& document, SignatureReport& report) {
    if (report.references.empty()) {
        return;
    }
    const xml::TextRange signature = sourceRangeOf(document, report.signatureElement);
    // The signature counts as covered: it cannot digest its own value, and what an Object in it
    // holds is not asked about here.
    std::vector<xml::TextRange> digested = {signature};
    for (const ReferenceResult& reference : report.references) {
        if (!reference.isSigned) {
            continue;
        }
        if (!reference.coverageKnown) {
            // Nothing of it is counted: part of it may be missing, and where is not known.
            report.warnings.add(warning::kCoverageUnknown);
            continue;
        }
        if (excludesContent(reference, signature)) {
            report.warnings.add(warning::kContentExcluded);
        }
        // A tolerated digest does not vouch for the text that is there.
        if (!reference.accommodations.contains(accommodation::kDigestTolerated)) {
            appendDigested(document, reference, digested);
        }
    }
    if (!coversAll(sourceRangeOf(document, 0), std::move(digested))) {
        report.warnings.add(warning::kDocumentNotCovered);
    }
}

void warnOfReading(Document& loaded, SignatureReport& report) {
    const xml::XmlDocument& document = *loaded.structure;
    if (!document.doctypeRange().empty()) {
        report.warnings.add(warning::kDtdPresent);
    }
    if (document.isExpanded()) {
        report.warnings.add(warning::kEntitiesUsed);
    }
    std::vector<xml::TextRange> digested;
    for (const ReferenceResult& reference : report.references) {
        // Where it is not known what of the document was digested, all of it may have been.
        if (!reference.coverageKnown) {
            digested.push_back(sourceRangeOf(document, 0));
        } else {
            appendDigested(document, reference, digested);
        }
    }
    const SplitBy splits = splitsIn(loaded, digested);
    if (splits.comment) {
        report.warnings.add(warning::kCommentsInText);
    }
    if (splits.section) {
        report.warnings.add(warning::kCdataInText);
    }
}

void warnOfStructure(Document& document, SignatureReport& report) {
    if (!hasSchemaStructure(*document.structure, report.signatureElement)) {
        report.warnings.add(warning::kSignatureStructure);
    }
    if (report.manifest.empty() && concernsManifest(document, report)) {
        report.warnings.add(warning::kManifestNotChecked);
    }
}

} // namespace vantrel::dsig
