// SPDX-License-Identifier: MIT
// The encoding of an XML document.
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/xml_encoding.h"

namespace vantrel {

bool DataBuffer::convertXmlToUtf8(LogBase& log) {
    return text::acceptEncoding(text::convertXmlToUtf8(*this), log);
}

} // namespace vantrel
