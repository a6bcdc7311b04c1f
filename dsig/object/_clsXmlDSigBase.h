// SPDX-License-Identifier: MIT
#ifndef DSIG_OBJECT_CLSXMLDSIGBASE_H
#define DSIG_OBJECT_CLSXMLDSIGBASE_H

#include "foundation/base/ClsBase.h"
#include "foundation/cms/_clsCades.h"
#include "foundation/text/StringBuffer.h"

#include <cstdint>
#include <string_view>

namespace vantrel {

class ClsXml;
class DSigReference;

namespace dsig {
struct Rules;
} // namespace dsig

// The transforms and the document profiles of the verifier: what does not depend on the selected
// signature. The flags describe the loaded document (detectSpecial); the transform chain, the
// digest check and the signature check read them.
class _clsXmlDSigBase : public ClsBase, public _clsCades {
public:
    _clsXmlDSigBase();
    ~_clsXmlDSigBase() override;

    // Recognises the profile of the document from markers in its text and sets the flags below.
    void detectSpecial(const StringBuffer& xml, LogBase& log);
    // Name of the recognised profile for reports; empty for an ordinary document.
    [[nodiscard]] std::string_view profileName() const noexcept { return m_profileName; }

    // Canonicalizes `xml` in place, as the algorithm and the transform element (may be null) say,
    // restricted to the element with the Id `fragmentId` when that is not empty. On failure `xml`
    // stays as it was.
    bool transformCanonicalize(const ClsXml* transform, StringBuffer& xml,
                               const StringBuffer& algorithm, const StringBuffer& fragmentId,
                               LogBase& log);
    // Carries out the XPath transform whose expression is `xPath`, if its shape is recognised;
    // otherwise returns false and leaves `xml` as it was.
    bool transformXPath(const ClsXml* transform, StringBuffer& xml, const StringBuffer& algorithm,
                        const StringBuffer& xPath, LogBase& log);

    // Adjustments of the profiles before and after a reference's transforms; always true.
    bool preprocessXmlToTransform(const StringBuffer& refId, const DSigReference& ref,
                                  StringBuffer& xml, LogBase& log);
    bool postProcessTransformedXml(const StringBuffer& refId, const DSigReference& ref,
                                   StringBuffer& xml, LogBase& log);
    // Cuts `xml` down to the DTE element around the Documento whose ID attribute has the value
    // `id`; remembers its offset and, with `keepCopy`, its text. False when nothing was cut.
    bool extract_sii_cl_dte(StringBuffer& xml, const char* id, bool keepCopy, LogBase& log);
    // Deletes the first stretch from `start` to the `end` that follows it, both included.
    bool removeXmlChunk(const char* start, const char* end, StringBuffer& xml, LogBase& log);
    // The same for the first such stretch that contains `needle`.
    bool removeXmlChunkContaining(const char* start, const char* end, const char* needle,
                                  StringBuffer& xml, LogBase& log);
    // The invoice transform of the ZATCA rules; always true.
    bool zatcaTransformInvoice(StringBuffer& xml, LogBase& log);

protected:
    // The rules in force, and keeping what a step found them to be: the members below are their
    // storage.
    [[nodiscard]] dsig::Rules rules() const;
    void keepRules(const dsig::Rules& rules);

    // See dsig::Rules for what each says.
    std::int32_t m_profileCode = 0;
    bool m_isSiiDocument = false;
    std::uint32_t m_siiDteOffset = 0; // of the DTE start tag in the text it was cut from
    StringBuffer m_siiDteXml;         // the cut DTE element
    bool m_isSatDoda = false;
    bool m_alwaysDuplicateAttrSortBug = false;
    bool m_isPeruUbl = false;
    bool m_zatcaRules = false;
    bool m_duplicateAttrSortBug = false;
    bool m_noAttrSortRetry = false;
    bool m_isSkXmlSignedDoc = false;
    bool m_cmaStpDocument = false;

    std::string_view m_profileName;
    bool m_mayHoldLau = false;
    bool m_mayHoldTimestamp = true;
};

} // namespace vantrel

#endif
