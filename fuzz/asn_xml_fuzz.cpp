// SPDX-License-Identifier: MIT
// ASN.1 as XML and back: an exact rendering gives the very bytes again. Input that begins with "<"
// is taken for a rendering.

#include "foundation/cms/AsnXmlCodec.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/tree/ClsXml.h"

#include <cstdlib>

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 65536) {
        return 0;
    }
    LogNull log;
    const DataBuffer input(ByteView(data, size));
    const Ref<ClsXml> xml = Ref<ClsXml>::adopt(ClsXml::createNewCls());
    StringBuffer text;
    DataBuffer der;
    if (data[0] == '<') {
        if (xml->loadXml(StringBuffer(asText(input.view())), false, log)) {
            static_cast<void>(AsnXmlCodec::xmlToDer(*xml, der, log));
        }
        return 0;
    }
    static_cast<void>(AsnXmlCodec::derToXml(input, true, false, text, nullptr, log));
    text.clear();
    if (AsnXmlCodec::derToXml(input, false, true, text, nullptr, log) &&
        (!xml->loadXml(text, false, log) || !AsnXmlCodec::xmlToDer(*xml, der, log) ||
         !der.equals(input))) {
        std::abort();
    }
    return 0;
}
