// SPDX-License-Identifier: MIT
// Which parts of its package a signature covers.

#include "dsig/package/package.h"
#include "dsig/report/codes.h"

namespace vantrel::dsig {

namespace {

bool coversPart(const ReferenceResult& reference) {
    return reference.found->isPart && reference.found->isWhole && reference.matched() &&
           reference.isSigned &&
           !reference.accommodations.contains(accommodation::kDigestTolerated);
}

} // namespace

// A manifest is there only where a reference that matches covers it. Where a digest alone was asked
// for, nobody signed it as far as is known.
void Package::describeCoverage(SignatureReport& report) const {
    const bool vouches = report.valid && report.value == ValueCheck::Valid;
    std::vector<bool> covered(parts().size(), false);
    for (const std::vector<ReferenceResult>* const list : {&report.references, &report.manifest}) {
        for (const ReferenceResult& reference : *list) {
            if (vouches && coversPart(reference)) {
                covered[reference.found->part] = true;
            }
        }
    }
    PartCoverage coverage;
    for (std::size_t i = 0; i < covered.size(); ++i) {
        if (covered[i]) {
            coverage.covered.push_back(parts()[i].name);
            coverage.coveredIndexes.push_back(i);
        } else if (!m_exempt[i]) {
            coverage.missing.push_back(parts()[i].name);
        }
    }
    report.parts = std::move(coverage);
}

} // namespace vantrel::dsig
