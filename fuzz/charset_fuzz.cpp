// SPDX-License-Identifier: MIT
// Character sets: the first byte chooses one; what decodes is valid UTF-8 and encodes back. The
// bytes as a document of unknown encoding, and as text to be repaired, end in valid UTF-8 as well.
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/text/_vlCharset.h"
#include "foundation/text/utf8.h"

#include <cstdlib>

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr const char* kNames[] = {"utf-8",        "utf-16", "utf-16be",   "utf-32",
                                      "windows-1252", "ascii",  "iso-8859-7", "koi8-r"};
    if (size == 0) {
        return 0;
    }
    const ByteView bytes{data + 1, size - 1};
    _vlCharset charset;
    StringBuffer decoded;
    if (!charset.setByName(kNames[data[0] % std::size(kNames)])) {
        std::abort();
    }
    if (charset.toUtf8(bytes, decoded)) {
        DataBuffer encoded;
        StringBuffer again;
        if (!text::isValidUtf8(decoded.view()) || !charset.fromUtf8(decoded.view(), encoded) ||
            encoded.getSize() > bytes.size()) {
            std::abort();
        }
        static_cast<void>(charset.toUtf8(encoded.view(), again));
    }
    LogNull log;
    DataBuffer document(bytes);
    static_cast<void>(document.convertXmlToUtf8(log));
    XString text(asText(bytes));
    if (!text.checkFixUtf8Windows1252(log) || !text::isValidUtf8(text.getUtf8Sb().view())) {
        std::abort();
    }
    return 0;
}
