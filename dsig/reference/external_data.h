// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_EXTERNAL_DATA_H
#define DSIG_REFERENCE_EXTERNAL_DATA_H

#include "dsig/reference/DSigExternalData.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/arrays.h"

namespace vantrel::dsig {

class ExternalParts;

// Where the data of a signature's external references may come from. Nothing is ever fetched over a
// network: what is neither given nor in a folder is missing. All pointers are borrowed.
struct ExternalData {
    ExtPtrArray* bySignature = nullptr;  // DSigExternalData that the caller gave
    int signature = 0;                   // index in it
    const ExtPtrArraySb* dirs = nullptr; // folders in which files are looked for
    // The package that the signature stands in, which is then the only place; null for none.
    ExternalParts* parts = nullptr;
};

// The data given for one reference, index 0 to 100; borrowed from the arrays. Null when the index
// is out of range, or there is none and none is to be created. `create` makes an empty record that
// the caller fills.
[[nodiscard]] DSigRefExternalData* givenData(const ExternalData& external, int index, bool create,
                                             LogBase& log);

} // namespace vantrel::dsig

#endif
