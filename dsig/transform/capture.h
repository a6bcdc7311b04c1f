#ifndef DSIG_TRANSFORM_CAPTURE_H
#define DSIG_TRANSFORM_CAPTURE_H

#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"

// Reading one value out of serialized XML by searching for it.
namespace vantrel::dsig {

// The text behind the first tag whose text contains `tagStart`, up to the next tag, trimmed. False,
// with `out` empty, when there is none.
bool captureTagContent(const char* tagStart, const StringBuffer& xml, StringBuffer& out);
// The value of an attribute of that tag, which must stand in double quotes. False after an error
// line otherwise.
bool captureAttributeValue(const char* tagStart, const char* attrName, const StringBuffer& xml,
                           StringBuffer& out, LogBase& log);

} // namespace vantrel::dsig

#endif
