// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_ASNXMLCODEC_H
#define FOUNDATION_CMS_ASNXMLCODEC_H

#include "foundation/text/byte_view.h"

namespace vantrel {

class ClsXml;
class DataBuffer;
class ExtPtrArray;
class LogBase;
class StringBuffer;

// Converts between BER/DER and an XML rendering in which every element is named after its ASN.1
// type. SEQUENCE { OBJECT IDENTIFIER 1.2.3, INTEGER 5 } becomes
//
//   <sequence><oid>1.2.3</oid><int>05</int></sequence>
//
// No white space is added, so that none has to be told from contents. The types:
//
//   sequence set                  child elements
//   bool                          "true", "false"
//   int enum                      the contents octets in hexadecimal (two's complement)
//   bits                          base64; attribute unused="n" when the last byte has unused bits
//   octets                        base64
//   null                          empty
//   oid                           dotted
//   utf8 numeric printable t61 videotex ia5 utctime gentime graphic visible general
//                                 the text
//   universalstr bmp              the text, converted to UTF-8
//   contextSpecific application private universal
//                                 attribute tag="n"; constructed="1" and child elements, or base64
//
// Contents that this form cannot carry exactly (control characters, a boolean 01, ...) are written
// in base64 with the attribute encoding="base64". Limits: nesting 64, input 64 MiB.
class AsnXmlCodec final {
public:
    AsnXmlCodec() = delete;

    // Appends the rendering of the one element that `der` holds. `declaration`: begins with an XML
    // declaration. `exact`: lengths not in their shortest form, indefinite lengths and constructed
    // strings are noted in attributes (length="..." and constructed="1"), so that xmlToDer gives
    // back the very bytes; otherwise they are normalised. `reserved` is null. False, with `out`
    // unchanged and one error line, when the bytes are not BER or go over a limit.
    static bool derToXml(const DataBuffer& der, bool declaration, bool exact, StringBuffer& out,
                         ExtPtrArray* reserved, LogBase& log);

    // `out` := the DER of an element of such a rendering, with its subtree. False, with `out`
    // unchanged and one error line, when the element is not of this form.
    static bool xmlToDer(ClsXml& xml, DataBuffer& out, LogBase& log);
};

} // namespace vantrel

#endif
