// SPDX-License-Identifier: MIT
#ifndef DSIG_XADES_STAMPED_VALUE_H
#define DSIG_XADES_STAMPED_VALUE_H

#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <memory>

namespace vantrel::dsig {

// What a signature time-stamp is over (XAdES, SignatureTimeStamp): the canonical form, without
// comments, of the SignatureValue element with this Id, as the loaded document has it, with LF line
// ends. `method`: canonicalization_method.h. Empty, after the canonicalizer's own error lines,
// where it cannot be canonicalized; nobody may take that for equal to anything. `document` may be
// null.
[[nodiscard]] StringBuffer stampedValue(const std::shared_ptr<const xml::XmlDocument>& document,
                                        std::int32_t method, const StringBuffer& signatureValueId,
                                        LogBase& log);

} // namespace vantrel::dsig

#endif
