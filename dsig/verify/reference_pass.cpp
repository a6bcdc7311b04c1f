// SPDX-License-Identifier: MIT
#include "dsig/verify/reference_pass.h"

namespace vantrel::dsig {

void splitDirs(const XString& list, ExtPtrArraySb& dirs) {
    list.getUtf8Sb().split(dirs, ';', true, true);
}

// XML Signature 3.2.1. A signature without references does not come here: verifySelection refuses
// it, for it would pass and cover nothing.
bool checkAllReferences(const ReferencePassQuery& query, Rules& rules, SignatureReport& report,
                        LogBase& log) {
    log.LogDataX("externalRefDirs", query.externalDirs);
    ExtPtrArraySb dirs;
    if (!query.externalDirs.isEmpty()) {
        splitDirs(query.externalDirs, dirs);
        log.LogDataLong("numExternalRefDirs", dirs.getSize());
    }
    const Selection& selection = query.selection;
    const auto count = static_cast<int>(query.document->referencesOf(*selection.signature).size());
    report.references.reserve(static_cast<std::size_t>(count));
    int failures = 0;
    for (int index = 0; index < count; ++index) {
        const ReferenceQuery reference{query.document,
                                       selection,
                                       index,
                                       {query.externalData, selection.index, &dirs, query.parts}};
        ReferenceResult result = checkReference(reference, rules, log);
        const bool failed = !result.matched();
        // Data that nobody gave can be forgiven, a digest that differs cannot.
        const bool counts = !(result.dataMissing && query.ignoreMissing);
        report.references.push_back(std::move(result));
        if (!failed) {
            continue;
        }
        // Written for what is forgiven as well: the log says of every reference what became of it.
        log.LogError("Failed to verify reference digest");
        log.LogDataLong("referenceIndex", index);
        failures += counts ? 1 : 0;
    }
    if (failures > 0) {
        // Of those that count.
        log.LogDataLong("refFailureCount", failures);
        return false;
    }
    return true;
}

} // namespace vantrel::dsig
