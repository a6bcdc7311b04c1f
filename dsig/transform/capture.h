// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_CAPTURE_H
#define DSIG_TRANSFORM_CAPTURE_H

#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"

// Reading one value out of serialized XML by searching for it. Nothing is parsed: the first place
// where the characters occur decides, also inside a comment, a CDATA section or another name that
// contains them. What a caller concludes from a value has to be proven by the structure, as the
// time-stamp check does with the Id that it reads.
namespace vantrel::dsig {

// The text behind the first tag whose text contains `tagStart`, up to the next tag, trimmed. False,
// with `out` empty, when there is none. A start tag that is directly followed by another tag gives
// an empty text and true. References and entities stay as they are written.
bool captureTagContent(const char* tagStart, const StringBuffer& xml, StringBuffer& out);
// The value of an attribute of that tag, which must stand in double quotes. False after an error
// line otherwise. The value is raw: neither trimmed nor freed of character references, white space
// in it reduced as below. A null name is false without a line.
bool captureAttributeValue(const char* tagStart, const char* attrName, const StringBuffer& xml,
                           StringBuffer& out, LogBase& log);

} // namespace vantrel::dsig

#endif
