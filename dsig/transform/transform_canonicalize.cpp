// The canonicalization step of a reference's transforms.

#include "dsig/object/_clsXmlDSigBase.h"
#include "dsig/object/verification_report.h"
#include "dsig/transform/canonicalization_method.h"
#include "dsig/transform/working_text.h"
#include "foundation/log/LogContextExitor.h"
#include "foundation/xml/canon/XmlCanon.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel {

namespace {

// EBICS messages sign all elements that are marked, together; at most this many of them.
constexpr int kMostEbicsElements = 100;

bool isEbicsFragment(const StringBuffer& fragmentId) {
    return fragmentId.equals("EBICS") ||
           (fragmentId.containsSubstring("xpointer") &&
            fragmentId.containsSubstring("authenticate") && fragmentId.containsSubstring("true"));
}

void readPrefixList(const ClsXml& transform, XmlCanon& canonicalizer, LogBase& log) {
    StringBuffer prefixList;
    if (!transform.getChildAttrValue("*:InclusiveNamespaces", "PrefixList", prefixList)) {
        return;
    }
    if (log.verbose()) {
        log.LogDataSb("inclusiveNamespacesPrefixList", prefixList);
    }
    dsig::setPrefixList(canonicalizer, prefixList);
}

bool canonicalizeOnce(XmlCanon& canonicalizer, dsig::WorkingText& text,
                      const StringBuffer& fragmentId, StringBuffer& out, LogBase& log) {
    if (xml::CanonSink* const sink = text.sink(); sink != nullptr) {
        if (!canonicalizer.canonicalizeTo(text.wholeText(), fragmentId.getString(), 0, *sink,
                                          log)) {
            return false;
        }
        text.markStreamed();
        return true;
    }
    return canonicalizer.xmlCanonicalize(text.wholeText(), fragmentId.getString(), 0, out, log);
}

void logFailure(LogBase& log) { log.LogError("Failed to canonicalize XML fragment."); }

} // namespace

bool _clsXmlDSigBase::transformCanonicalize(const ClsXml* transform, StringBuffer& xml,
                                            const StringBuffer& algorithm,
                                            const StringBuffer& fragmentId, LogBase& log) {
    bool ok = false;
    dsig::onWorkingText(xml, [&](dsig::WorkingText& text) {
        ok = canonicalizeWorkingText(transform, text, algorithm, fragmentId, log);
    });
    return ok;
}

bool _clsXmlDSigBase::canonicalizeWorkingText(const ClsXml* transform, dsig::WorkingText& text,
                                              const StringBuffer& algorithm,
                                              const StringBuffer& fragmentId, LogBase& log) {
    const LogContextExitor context(log, "transformCanonicalize");
    XmlCanon canonicalizer;
    dsig::selectTransformMethod(algorithm, canonicalizer);
    if (transform != nullptr && canonicalizer.m_method == dsig::kExclusive) {
        readPrefixList(*transform, canonicalizer, log);
    }
    configureAttrSort(canonicalizer, log);

    if (isEbicsFragment(fragmentId)) {
        return canonicalizeForEbics(canonicalizer, text, fragmentId, log);
    }
    if (m_cmaStpDocument && fragmentId.isEmpty()) {
        StringBuffer& document = text.change();
        const std::uint32_t whole = document.getSize();
        document.removeBefore("<Document ", false);
        document.chopAtSubstr("</Document>", true);
        if (document.getSize() != whole) {
            dsig::noteAccommodation(m_accommodations, dsig::accommodation::kProfileCutOut);
        }
    }
    canonicalizer.m_document = text.structure();
    canonicalizer.m_omitted = text.omitted();
    canonicalizer.m_fragmentText = !text.isLoadedText();
    StringBuffer out;
    if (!canonicalizeOnce(canonicalizer, text, fragmentId, out, log)) {
        logFailure(log);
        return false;
    }
    if (!text.wasStreamed()) {
        text.replace(out);
    }
    return true;
}

bool _clsXmlDSigBase::canonicalizeForEbics(XmlCanon& canonicalizer, dsig::WorkingText& text,
                                           const StringBuffer& fragmentId, LogBase& log) {
    log.LogInfo("Canonicalizing for EBICS...");
    canonicalizer.m_ebicsMode = true;
    canonicalizer.m_fragmentText = !text.isLoadedText();
    canonicalizer.m_document = text.structure();
    canonicalizer.m_omitted = text.omitted();
    canonicalizer.m_ebicsIndex = 0;
    canonicalizer.m_ebicsParam2 = 0;
    StringBuffer out;
    if (!canonicalizer.xmlCanonicalize(text.wholeText(), fragmentId.getString(), 0, out, log)) {
        logFailure(log);
        return false;
    }
    // The first element that is not there ends the list; that is no failure and not reported.
    LogNull quiet(log);
    int index = 1;
    for (; index < kMostEbicsElements; ++index) {
        canonicalizer.m_ebicsParam2 = 0;
        canonicalizer.m_ebicsIndex = index;
        if (!canonicalizer.xmlCanonicalize(text.wholeText(), fragmentId.getString(), 0, out,
                                           quiet)) {
            break;
        }
    }
    StringBuffer beyond;
    canonicalizer.m_ebicsIndex = index;
    if (index == kMostEbicsElements &&
        canonicalizer.xmlCanonicalize(text.wholeText(), fragmentId.getString(), 0, beyond, quiet)) {
        dsig::noteAccommodation(m_accommodations, dsig::accommodation::kLimit100);
    }
    text.replace(out);
    return true;
}

void _clsXmlDSigBase::configureAttrSort(XmlCanon& canonicalizer, LogBase& log) const {
    if (!m_alwaysDuplicateAttrSortBug && !m_duplicateAttrSortBug) {
        return;
    }
    logAttrSortEmulation(log);
    canonicalizer.m_duplicateAttrSortBug = true;
    canonicalizer.m_faultyOrder =
        m_secondAttrOrder ? xml::AttributeOrder::LocalName : xml::AttributeOrder::PrefixThenLocal;
}

void _clsXmlDSigBase::logAttrSortEmulation(LogBase& log) {
    log.LogInfo("Will duplicate the XML canonicalization attribute sorting bug...");
}

} // namespace vantrel
