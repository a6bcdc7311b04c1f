// SPDX-License-Identifier: MIT
#ifndef DSIG_XADES_ADD_TIMESTAMP_H
#define DSIG_XADES_ADD_TIMESTAMP_H

#include "dsig/document/document.h"
#include "dsig/document/selection.h"
#include "foundation/cms/_clsCades.h"
#include "foundation/json/ClsJsonObject.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel::dsig {

// Whether the signature (null: none) holds an EncapsulatedTimeStamp; an error line says when not.
[[nodiscard]] bool hasTimestamp(const ClsXml* signature, LogBase& log);

// `out` := the loaded document with a signature time-stamp added to the selected signature.
// `request` says which authority is asked and for what (Pkcs7SignedData::getTimestampToken);
// `options` holds the connection to it. True, with an empty EncapsulatedTimeStamp, also when no
// token could be had: the log then has the errors. False, with an error line and `out` as it was,
// when the signature is not one that can be time-stamped. `document` may be null where no signature
// is selected.
[[nodiscard]] bool addTimestamp(Document* document, const Selection& selection,
                                ClsJsonObject& request, const _clsCades& options, StringBuffer& out,
                                LogBase& log);

} // namespace vantrel::dsig

#endif
