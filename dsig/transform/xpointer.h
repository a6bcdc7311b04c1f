// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_XPOINTER_H
#define DSIG_TRANSFORM_XPOINTER_H

#include "foundation/text/LogBase.h"
#include "foundation/xml/nodes/node_index.h"
#include "foundation/xml/xpath/value.h"

#include <string_view>

namespace vantrel::dsig {

// `nodes` := what the first part of an XPointer selects that selects anything (XPointer Framework,
// 3.1), each node with its subtree, as XML Signature 1.1, 4.4.3.3, has it. Of the schemes are known
// xmlns(), and xpointer() with an XPath 1.0 expression; others select nothing. False where nothing
// is selected, the pointer is malformed or asks for its place, or the budget is used up; an error
// line may say why.
[[nodiscard]] bool selectByXPointer(std::string_view pointer, const xml::NodeIndex& index,
                                    xml::WorkBudget& budget, xml::NodeBits& nodes, LogBase& log);

// All nodes of the subtrees of these, which are in document order.
[[nodiscard]] xml::NodeBits subtreesOf(const xml::NodeIndex& index, const xml::NodeList& roots);

} // namespace vantrel::dsig

#endif
