// The transforms of a same-document reference, in their order, and the steps that XML Signature
// implies where they are not written.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/child_elements.h"
#include "dsig/object/loaded_structure.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/reference/digest_input.h"
#include "dsig/transform/canonicalization_method.h"
#include "dsig/transform/doda.h"
#include "foundation/log/LogContextExitor.h"
#include "foundation/text/encoders.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel {

namespace {

constexpr int kReasonCanonicalization = 5;

const char* const kEnvelopedSignatureId = "http://www.w3.org/2000/09/xmldsig#enveloped-signature";
const char* const kDefaultCanonicalization = "REC-xml-c14n-20010315";

// What one entry of a Transforms list asks for.
enum class TransformKind { XPath, EnvelopedSignature, Canonicalization, Base64, Unrecognized };

struct TransformName {
    const char* part; // case-sensitive substring of the algorithm identifier
    TransformKind kind;
};

// The first part found decides; the order matters.
constexpr TransformName kTransformNames[] = {
    {"REC-xpath", TransformKind::XPath},
    {"2002/06/xmldsig-filter2", TransformKind::XPath},
    {"enveloped-signature", TransformKind::EnvelopedSignature},
    {"xml-c14n", TransformKind::Canonicalization},
    {"xml-exc-c14n", TransformKind::Canonicalization},
    {"xmldsig#base64", TransformKind::Base64},
};

TransformKind transformKind(const StringBuffer& algorithm) {
    for (const TransformName& name : kTransformNames) {
        if (algorithm.containsSubstring(name.part)) {
            return name.kind;
        }
    }
    return TransformKind::Unrecognized;
}

constexpr std::uint32_t kLongestLoggedBase64 = 200;

} // namespace

// Where a chain of transforms stands.
struct TransformState final {
    bool envelopedSeen = false;
    bool canonicalized = false;
    bool isLast = false;
    xml::CanonSink* sink = nullptr;
};

bool ClsXmlDSig::buildDigestInput(const StringBuffer& fragmentId, const DSigReference& ref,
                                  xml::CanonSink* sink, dsig::DigestInput& input, LogBase& log) {
    if (!startWorkingText(input.text, log) || !preprocessWorkingText(fragmentId, input.text, log)) {
        return false;
    }
    const bool built = ref.m_transforms.isEmpty()
                           ? runImpliedTransforms(fragmentId, ref, sink, input, log)
                           : runTransforms(fragmentId, ref, sink, input, log);
    return built && (input.text.wasStreamed() || postProcessWorkingText(input.text, log));
}

bool ClsXmlDSig::startWorkingText(dsig::WorkingText& text, LogBase& log) {
    if (!m_isSatDoda) {
        return true;
    }
    log.LogInfo("Canonicalizing fragment from <doda> to </doda>");
    dsig::noteAccommodation(m_accommodations, dsig::accommodation::kProfileCutOut);
    if (!text.cutDownTo(dsig::dodaRange(text.searchable().text()), log)) {
        m_refFailReason = kReasonCanonicalization;
        return false;
    }
    return true;
}

// A reference without transforms. The algorithm text of a whole-document reference names both
// steps, the second appended to the first; the canonicalization looks for its own name only.
bool ClsXmlDSig::runImpliedTransforms(const StringBuffer& fragmentId, const DSigReference& ref,
                                      xml::CanonSink* sink, dsig::DigestInput& input,
                                      LogBase& log) {
    StringBuffer algorithm;
    if (fragmentId.isEmpty()) {
        algorithm.setString(kEnvelopedSignatureId);
        if (!removeEnvelopedSignature(input.text, ref, log)) {
            return false;
        }
    }
    algorithm.append(m_zatcaRules ? "xml-exc-c14n" : kDefaultCanonicalization);
    return canonicalizeOrFail(nullptr, input.text, algorithm, fragmentId, sink, log);
}

bool ClsXmlDSig::runTransforms(const StringBuffer& fragmentId, const DSigReference& ref,
                               xml::CanonSink* sink, dsig::DigestInput& input, LogBase& log) {
    const ClsXml* const transforms = parsedTransforms(ref, log);
    if (transforms == nullptr) {
        return false;
    }
    const std::vector<xml::ElementId> children = dsig::childElements(*transforms);
    if (!structure().account.takeTransforms(children.size(), log)) {
        return false;
    }
    TransformState state;
    state.sink = sink;
    for (std::size_t i = 0; i < children.size(); ++i) {
        state.isLast = i + 1 == children.size();
        const Ref<ClsXml> transform = dsig::handleOn(*transforms, children[i]);
        if (!runTransform(*transform, fragmentId, ref, input, state, log)) {
            return false;
        }
    }

    StringBuffer algorithm;
    if (!state.envelopedSeen && fragmentId.isEmpty()) {
        algorithm.setString(kEnvelopedSignatureId);
        if (!removeEnvelopedSignature(input.text, ref, log)) {
            return false;
        }
    }
    if (state.canonicalized) {
        return true;
    }
    // Inclusive here, whatever the ZATCA rules say; only a reference without transforms differs.
    algorithm.append(kDefaultCanonicalization);
    return canonicalizeOrFail(nullptr, input.text, algorithm, fragmentId,
                              input.base64Pending ? nullptr : sink, log);
}

const ClsXml* ClsXmlDSig::parsedTransforms(const DSigReference& ref, LogBase& log) {
    dsig::LoadedStructure& loaded = structure();
    if (!loaded.transforms || !loaded.transformsText.equals(ref.m_transforms)) {
        loaded.transforms = Ref<ClsXml>::adopt(ClsXml::createNewCls());
        if (!loaded.transforms || !loaded.transforms->loadXml(ref.m_transforms, true, log)) {
            loaded.transforms.reset();
            return nullptr;
        }
        loaded.transformsText = ref.m_transforms;
    }
    return loaded.transforms.get();
}

bool ClsXmlDSig::runTransform(const ClsXml& transform, const StringBuffer& fragmentId,
                              const DSigReference& ref, dsig::DigestInput& input,
                              TransformState& state, LogBase& log) {
    StringBuffer algorithm;
    transform.getAttrValue("Algorithm", algorithm);
    log.LogDataSb("transformAlgorithm", algorithm);
    switch (transformKind(algorithm)) {
    case TransformKind::XPath: {
        StringBuffer xPath;
        if (!transform.getChildContentUtf8("*:XPath", xPath, false)) {
            log.LogError("No XPath found in transform.");
            return false;
        }
        return xPathWorkingText(&transform, input.text, algorithm, xPath, log);
    }
    case TransformKind::EnvelopedSignature:
        state.envelopedSeen = true;
        return removeEnvelopedSignature(input.text, ref, log);
    case TransformKind::Canonicalization: {
        state.canonicalized = true;
        const bool nothingFollows =
            state.isLast && !input.base64Pending && (state.envelopedSeen || !fragmentId.isEmpty());
        return canonicalizeOrFail(&transform, input.text, algorithm, fragmentId,
                                  nothingFollows ? state.sink : nullptr, log);
    }
    case TransformKind::Base64: input.base64Pending = true; return true;
    case TransformKind::Unrecognized: break;
    }
    log.LogDataSb("unrecognizedTransform", algorithm);
    return false;
}

bool ClsXmlDSig::canonicalizeOrFail(const ClsXml* transform, dsig::WorkingText& text,
                                    const StringBuffer& algorithm, const StringBuffer& fragmentId,
                                    xml::CanonSink* sink, LogBase& log) {
    if (canonicalizeWorkingText(transform, text, algorithm, fragmentId, sink, log)) {
        return true;
    }
    m_refFailReason = kReasonCanonicalization;
    return false;
}

// The root element's own text, decoded. Child elements are passed over, and said to be.
bool ClsXmlDSig::base64Transform(dsig::WorkingText& text, DataBuffer& decoded, LogBase& log) {
    const LogContextExitor context(log, "base64Transform");
    const auto document = text.structure(log);
    if (document == nullptr) {
        return false;
    }
    const Ref<ClsXml> root = Ref<ClsXml>::adopt(ClsXml::onElement(document, 0));
    if (!root) {
        return false;
    }
    if (const int numChildren = root->get_NumChildren(); numChildren > 0) {
        log.LogError("Expected 0 XML children.");
        log.LogDataLong("numChildren", numChildren);
        dsig::noteAccommodation(m_accommodations, dsig::accommodation::kBase64Children);
        for (const xml::ElementId child : dsig::childElements(*root)) {
            text.noteExcluded(child, dsig::exclusion::kBase64);
        }
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

} // namespace vantrel
