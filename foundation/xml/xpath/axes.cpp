// SPDX-License-Identifier: MIT
#include "foundation/xml/xpath/axes.h"

namespace vantrel::xml {

ResolvedTest::ResolvedTest(const XPathExpression& expression, const XPathStep& step,
                           const NodeIndex& index)
    : test(step.test), principal(step.axis == XPathAxis::Attribute   ? NodeKind::Attribute
                                 : step.axis == XPathAxis::Namespace ? NodeKind::Namespace
                                                                     : NodeKind::Element),
      space(index.findSpace(expression.text(step.space))),
      name(index.findName(space, expression.text(step.local))) {}

} // namespace vantrel::xml
