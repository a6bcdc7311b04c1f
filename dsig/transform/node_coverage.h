// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_NODE_COVERAGE_H
#define DSIG_TRANSFORM_NODE_COVERAGE_H

#include "dsig/report/coverage.h"
#include "foundation/xml/nodes/node_index.h"

namespace vantrel::dsig {

// What of a document a set of its nodes covers, told in whole elements. An element counts as
// covered when it is in the set with its attributes, namespaces, texts and instructions; one of
// which something is missing counts as left out with all that is in it, so that nothing is called
// covered that is not; where the set has some of that all the same, the coverage is not known.
// Comments count for nothing. `why` is the code of what is left out; the
// element `signature` (kNoElement for none) is an enveloped signature and has a code of its own.
[[nodiscard]] Coverage coverageOf(const xml::NodeIndex& index, const xml::NodeBits& nodes,
                                  xml::ElementId signature, std::string_view why);

} // namespace vantrel::dsig

#endif
