// SPDX-License-Identifier: MIT
#include "dsig/reference/digest_input.h"

#include "dsig/document/child_elements.h"
#include "dsig/document/parsed_transforms.h"
#include "dsig/reference/enveloped_signature.h"
#include "dsig/transform/canonicalize_step.h"
#include "dsig/transform/doda.h"
#include "dsig/transform/profile_steps.h"
#include "dsig/transform/signature_profile.h"
#include "dsig/transform/xpath_step.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/text/encoders.h"
#include "foundation/text/strings.h"
#include "foundation/xml/canon/fragment_id.h"
#include "foundation/xml/scan/start_tag.h"
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/ClsXml.h"

#include <vector>

namespace vantrel::dsig {

namespace {

// Content that is not base64 is logged up to this many bytes, however long the element is.
constexpr std::uint32_t kLongestLoggedBase64 = 200;

// The chain of transforms of one reference on its way. Each step works on what the one before left
// in m_input.text. The first that fails ends the chain: a transform that is skipped would digest
// what the signer did not. All it holds is borrowed for one run.
class TransformChain {
public:
    TransformChain(const ReferenceQuery& query, const DSigReference& reference,
                   const StringBuffer& fragmentId, xml::CanonSink* sink, const Rules& rules,
                   DigestInput& input, CodeSet& leniencies, LogBase& log) noexcept
        : m_query(query), m_reference(reference), m_fragmentId(fragmentId), m_sink(sink),
          m_rules(rules), m_input(input), m_leniencies(leniencies), m_log(log) {}

    RefReason run() { return m_reference.m_transforms.isEmpty() ? runImplied() : runListed(); }

private:
    // A reference without transforms.
    RefReason runImplied() {
        if (m_fragmentId.isEmpty() && !removeSignature()) {
            return RefReason::TransformFailed;
        }
        return canonicalize({.exclusive = m_rules.zatca, .prefixList = {}}, m_sink);
    }

    RefReason runListed() {
        const ParsedTransforms* const transforms = m_query.document->parsedTransforms(
            m_reference.m_element, m_reference.m_transforms, m_log);
        if (transforms == nullptr) {
            return RefReason::Other;
        }
        // Counted before the first is run. Each can go over the whole document, so a list of
        // thousands in a small file would be a cheap way to keep a verifier busy.
        if (!m_query.document->account.takeTransforms(transforms->count, m_log)) {
            return RefReason::LimitPassed;
        }
        const std::vector<ParsedTransform>& steps = transforms->steps;
        for (const ParsedTransform& step : steps) {
            const RefReason outcome = runOne(*transforms, step, &step == &steps.back());
            if (outcome != RefReason::Match) {
                return outcome;
            }
        }
        return runImpliedRest();
    }

    // What is implied behind the listed ones. A whole-document reference without the
    // enveloped-signature transform would cover its own digest, which no signer can compute; so the
    // signature is taken out, last of all. Octets are needed for a digest: XML Signature 1.1,
    // 4.4.3.2 implies Canonical XML 1.0 where no transform has produced them.
    RefReason runImpliedRest() {
        if (!m_envelopedSeen && m_fragmentId.isEmpty() && !removeSignature()) {
            return RefReason::TransformFailed;
        }
        if (m_canonicalized) {
            return RefReason::Match;
        }
        // Inclusive here, whatever the ZATCA rules say; only a reference without transforms
        // differs.
        return canonicalize({.prefixList = {}}, m_input.base64Pending ? nullptr : m_sink);
    }

    RefReason runOne(const ParsedTransforms& all, const ParsedTransform& transform, bool isLast) {
        m_log.LogDataSb("transformAlgorithm", transform.algorithm);
        switch (transform.kind) {
        case TransformKind::XPath: return runXPath(*all.elementOf(transform), transform.algorithm);
        case TransformKind::EnvelopedSignature:
            m_envelopedSeen = true;
            return removeSignature() ? RefReason::Match : RefReason::TransformFailed;
        // Streaming is for the very last step. A canonicalization that others follow, or the
        // implied removal, has to leave a text.
        case TransformKind::Canonicalization: {
            m_canonicalized = true;
            const bool nothingFollows =
                isLast && !m_input.base64Pending && (m_envelopedSeen || !m_fragmentId.isEmpty());
            return canonicalize(transform.canonicalization, nothingFollows ? m_sink : nullptr);
        }
        case TransformKind::Base64: m_input.base64Pending = true; return RefReason::Match;
        case TransformKind::Unrecognized: break;
        }
        m_log.LogDataSb("unrecognizedTransform", transform.algorithm);
        return RefReason::UnsupportedTransform;
    }

    // The children of a Filter 2.0 transform are called XPath too; the text of the first is what
    // the shape is recognised by, the others are read from `transform`.
    RefReason runXPath(const ClsXml& transform, const StringBuffer& algorithm) {
        StringBuffer xPath;
        if (!transform.getChildContentUtf8("*:XPath", xPath, false)) {
            m_log.LogError("No XPath found in transform.");
            return RefReason::UnsupportedTransform;
        }
        return xPathStep(&transform, m_input.text, algorithm, xPath, m_leniencies, m_log);
    }

    bool removeSignature() {
        if (isOfOwnObject()) {
            m_leniencies.add(accommodation::kEnvelopedNotRemoved);
            return true;
        }
        // A reference may list the transform twice. The second time nothing is found, which is no
        // failure.
        return removeEnvelopedSignature(m_query.selection, m_reference, m_rules, m_input.text,
                                        m_leniencies, m_log);
    }

    // A reference into the signature itself. With the signature the very element would go that is
    // signed; signers of the profile leave it, since the signature is not inside of the element.
    [[nodiscard]] bool isOfOwnObject() const {
        const xml::XmlDocument& document = *m_query.document->structure;
        const xml::ElementId signature = m_query.selection.element();
        xml::ElementId target = xml::kNoElement;
        return !m_fragmentId.isEmpty() && signature != xml::kNoElement &&
               xml::resolveFragment(document, m_fragmentId.view(), target) ==
                   xml::FragmentTarget::Element &&
               target > signature && target < document.subtreeEnd(signature) &&
               signatureProfile(m_query.selection) == SignatureProfile::VietnamInvoice;
    }

    RefReason canonicalize(const CanonicalizationChoice& choice, xml::CanonSink* sink) {
        return canonicalizeStep(choice, m_input.text, m_fragmentId, sink, m_rules, m_leniencies,
                                m_log);
    }

    const ReferenceQuery& m_query;
    const DSigReference& m_reference;
    const StringBuffer& m_fragmentId;
    xml::CanonSink* m_sink;
    const Rules& m_rules;
    DigestInput& m_input;
    CodeSet& m_leniencies;
    LogBase& m_log;
    bool m_envelopedSeen = false;
    bool m_canonicalized = false;
};

// Attributes of the root besides the Id by which it is referenced: what is decoded has none.
bool hasOtherAttributes(const xml::XmlDocument& document) {
    xml::StartTagReader tag(document.text(), document.element(0).start);
    for (xml::Attribute attribute; tag.next(attribute);) {
        if (!attribute.isNamespaceDecl() && !text::equalsNoCase(attribute.localName(), "Id")) {
            return true;
        }
    }
    return false;
}

// A document of this profile is digested from its doda element's start tag to its end tag. No such
// element, or one cut short by another of its name, is a failure; the digest of anything else would
// mean nothing.
bool cutDownToDoda(WorkingText& text, CodeSet& leniencies, LogBase& log) {
    log.LogInfo("Canonicalizing fragment from <doda> to </doda>");
    leniencies.add(accommodation::kProfileCutOut);
    return text.cutDownTo(dodaRange(text.searchable().text()), log);
}

} // namespace

RefReason buildDigestInput(const ReferenceQuery& query, const DSigReference& reference,
                           const StringBuffer& fragmentId, xml::CanonSink* sink, Rules& rules,
                           DigestInput& input, CodeSet& leniencies, LogBase& log) {
    if (rules.satDoda && !cutDownToDoda(input.text, leniencies, log)) {
        return RefReason::NotCanonicalized;
    }
    if (!preprocess(fragmentId, input.text, rules, leniencies, log)) {
        return RefReason::TransformFailed;
    }
    const RefReason outcome =
        TransformChain(query, reference, fragmentId, sink, rules, input, leniencies, log).run();
    // A sink is given only where no authentication block can be in the text, so nothing is lost by
    // not looking for one in what was streamed.
    if (outcome != RefReason::Match || input.text.wasStreamed()) {
        return outcome;
    }
    return postprocess(input.text, leniencies, log) ? RefReason::Match : RefReason::TransformFailed;
}

bool decodeBase64Content(WorkingText& text, DataBuffer& decoded, CodeSet& leniencies,
                         LogBase& log) {
    const LogContextExitor context(log, "base64Transform");
    const auto document = text.structure(log);
    if (document == nullptr) {
        return false;
    }
    const Ref<ClsXml> root = Ref<ClsXml>::adopt(ClsXml::onElement(document, 0));
    if (!root) {
        return false;
    }
    // A child is an error line but no failure. That it was left out is told to the report, since
    // text in it would otherwise be taken for signed.
    if (const int numChildren = root->get_NumChildren(); numChildren > 0) {
        log.LogError("Expected 0 XML children.");
        log.LogDataLong("numChildren", numChildren);
        leniencies.add(accommodation::kBase64Children);
        for (const xml::ElementId child : childElements(*root)) {
            text.noteExcluded(child, exclusion::kBase64);
        }
    }
    // Reports tell in whole elements what is digested, and of this one it is only the text.
    if (hasOtherAttributes(*document)) {
        text.noteExcluded(0, exclusion::kBase64);
        text.notePartlyDigested();
    }
    StringBuffer content;
    root->getContentSb(content);
    log.LogDataUint32("base64_string_length", content.getSize());
    const bool isBase64 =
        ContentCoding::decodeBase64ToDb(content.getString(), content.getSize(), decoded);
    if (!isBase64) {
        log.LogError("base64 decoding failed.  Maybe this was not actually base64?");
        if (content.getSize() > kLongestLoggedBase64) {
            content.shorten(content.getSize() - kLongestLoggedBase64);
            content.append("...");
        }
        log.LogDataSb("base64_string", content);
    }
    log.LogDataUint32("decodedSize", decoded.getSize());
    return isBase64;
}

} // namespace vantrel::dsig
