// SPDX-License-Identifier: MIT
#ifndef DSIG_XADES_TIMESTAMP_FRAGMENT_H
#define DSIG_XADES_TIMESTAMP_FRAGMENT_H

#include "foundation/text/StringBuffer.h"

#include <cstdint>

namespace vantrel {

class ClsXml;
class LogBase;
class XmlSigLocate;

namespace dsig {

// Stands in the fragment where the token's base64 goes.
inline constexpr const char* kTokenMark = "ENCAP_TIMESTAMP_BASE64";

// The markup that carries a time-stamp, where in the document it goes (0: nowhere), and how many
// bytes it takes the place of (the "/>" of an element that was empty).
struct TimestampFragment {
    StringBuffer xml;
    std::uint32_t offset = 0;
    std::uint32_t replaced = 0;
};

// The smallest addition that the signature needs: from a SignatureTimeStamp in properties that are
// there to a new Object with everything around it. Prefixes that the addition uses and that are not
// in scope where it goes are declared on it. `document` is the text that the offsets of `locator`
// are of, which has recorded the inner parts. `signatureId` is empty for none.
[[nodiscard]] TimestampFragment makeTimestampFragment(const ClsXml& signature,
                                                      const StringBuffer& signatureId,
                                                      const XmlSigLocate& locator,
                                                      const StringBuffer& document);

// Writes where the parts stand: byte offsets, 0 for one that is absent.
void logLocations(const XmlSigLocate& locator, LogBase& log);

} // namespace dsig
} // namespace vantrel

#endif
