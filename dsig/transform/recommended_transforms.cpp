// SPDX-License-Identifier: MIT
#include "dsig/transform/recommended_transforms.h"

#include "dsig/transform/node_coverage.h"
#include "dsig/transform/xpointer.h"
#include "foundation/text/encoders.h"
#include "foundation/text/xml_encoding.h"
#include "foundation/xml/canon/XmlCanon.h"
#include "foundation/xml/canon/node_set_canon.h"
#include "foundation/xml/scan/content_reader.h"
#include "foundation/xml/scan/log_failure.h"
#include "foundation/xml/scan/start_tag.h"
#include "foundation/xml/scan/values.h"
#include "foundation/xml/xpath/evaluator.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace vantrel::dsig {

namespace {

using xml::ElementId;
using xml::kNoElement;
using xml::NodeBits;
using xml::NodeId;
using xml::NodeSetMethod;

constexpr std::string_view kFilter2Namespace = "http://www.w3.org/2002/06/xmldsig-filter2";
constexpr std::string_view kXPointerTransform = "http://www.w3.org/2001/04/xmldsig-more/xptr";
constexpr std::string_view kExclusiveNamespace = "http://www.w3.org/2001/10/xml-exc-c14n#";

struct CanonicalizationName {
    std::string_view algorithm;
    NodeSetMethod method;
    bool withComments;
};
// XML Signature 1.1, 6.5.
constexpr CanonicalizationName kCanonicalizations[] = {
    {"http://www.w3.org/TR/2001/REC-xml-c14n-20010315", NodeSetMethod::Inclusive, false},
    {"http://www.w3.org/TR/2001/REC-xml-c14n-20010315#WithComments", NodeSetMethod::Inclusive,
     true},
    {"http://www.w3.org/2006/12/xml-c14n11", NodeSetMethod::Inclusive11, false},
    {"http://www.w3.org/2006/12/xml-c14n11#WithComments", NodeSetMethod::Inclusive11, true},
    {"http://www.w3.org/2001/10/xml-exc-c14n#", NodeSetMethod::Exclusive, false},
    {"http://www.w3.org/2001/10/xml-exc-c14n#WithComments", NodeSetMethod::Exclusive, true},
};

// An attribute of an element, normalised; empty without one.
std::string attributeValue(const xml::XmlDocument& document, ElementId element,
                           std::string_view name) {
    xml::StartTagReader tag(document.text(), document.element(element).start);
    std::string value;
    for (xml::Attribute attribute; tag.next(attribute);) {
        if (attribute.name == name) {
            xml::appendAttributeValue(attribute.raw, xml::AttributeType::Cdata, value);
        }
    }
    return value;
}

// The children of an element that have this name.
std::vector<ElementId> childrenNamed(const xml::XmlDocument& document, ElementId parent,
                                     std::string_view space, std::string_view local) {
    std::vector<ElementId> found;
    for (ElementId child = document.firstChild(parent); child != kNoElement;
         child = document.nextChild(parent, child)) {
        if (document.localName(child) == local && document.namespaceUri(child) == space) {
            found.push_back(child);
        }
    }
    return found;
}

// The text of an element, comments apart.
std::string textOf(const xml::XmlDocument& document, ElementId element) {
    const xml::ElementRecord& record = document.element(element);
    xml::ContentReader reader(document.text(), record.start, record.end);
    xml::ContentPiece piece;
    std::string text;
    for (xml::ContentKind kind = reader.next(piece); kind != xml::ContentKind::End;
         kind = reader.next(piece)) {
        if (kind == xml::ContentKind::StartTag) {
            xml::StartTagReader tag(document.text(), piece.start);
            xml::Attribute attribute;
            while (tag.next(attribute)) {}
            reader.skipTo(tag.end());
        } else if (kind == xml::ContentKind::Text) {
            xml::appendText(piece.body, text);
        } else if (kind == xml::ContentKind::Cdata) {
            xml::appendCdata(piece.body, text);
        }
    }
    return text;
}

std::vector<std::string> splitAtSpace(std::string_view text) {
    std::vector<std::string> words;
    std::string word;
    for (const char c : text) {
        if (!xml::isSpace(c)) {
            word += c;
        } else if (!word.empty()) {
            words.push_back(std::exchange(word, {}));
        }
    }
    if (!word.empty()) {
        words.push_back(word);
    }
    return words;
}

// An expression with the namespaces of the element that bears it.
std::optional<xml::XPathExpression> compile(const RecommendedContext& context, ElementId bearer,
                                            LogBase& log) {
    const xml::XmlDocument& document = context.document;
    std::string why;
    auto expression = xml::XPathExpression::compile(
        textOf(document, bearer),
        [&](std::string_view prefix) -> std::optional<std::string> {
            std::string_view name;
            if (!document.lookUpNamespace(bearer, prefix, name) || name.empty()) {
                return std::nullopt;
            }
            return std::string(name);
        },
        why);
    if (!expression) {
        log.LogError(why.c_str());
    }
    return expression;
}

// here() is the element that bears the expression; of another document than the nodes it is an
// error (XML Signature 1.1, 6.6.3.1).
bool hooksFor(const RecommendedData& data, ElementId bearer, const xml::XPathExpression& expression,
              xml::XPathHooks& hooks, LogBase& log) {
    if (data.ofLoaded()) {
        hooks.here = data.index().ofElement(bearer);
    } else if (expression.calls(xml::XPathFunction::Here)) {
        log.LogError("The XPath expression asks for its place in a document that it is not in.");
        return false;
    }
    return true;
}

bool needNodes(const RecommendedContext& context, RecommendedData& data, LogBase& log) {
    return data.isNodes() || data.parse(context.account, context.budget, log);
}

// XML Signature 1.1, 6.6.3
bool xPathTransform(const RecommendedContext& context, RecommendedData& data, LogBase& log) {
    const auto bearers =
        childrenNamed(context.document, context.transform, xml::kXmlDsigNamespace, "XPath");
    if (bearers.size() != 1) {
        log.LogError("The XPath transform has not exactly one expression.");
        return false;
    }
    const auto expression = compile(context, bearers.front(), log);
    xml::XPathHooks hooks;
    if (!expression || !needNodes(context, data, log) ||
        !hooksFor(data, bearers.front(), *expression, hooks, log)) {
        return false;
    }
    data.leaveOut(exclusion::kXPath);
    context.standards.add(standard::kXPath);
    return xml::XPathEvaluator(*expression, data.index(), hooks, context.budget)
        .filter(data.nodes());
}

// XML-Signature XPath Filter 2.0, 3: filters in their order over the whole document, the result
// intersected with the input.
bool filter2Transform(const RecommendedContext& context, RecommendedData& data, LogBase& log) {
    if (!needNodes(context, data, log)) {
        return false;
    }
    const auto bearers =
        childrenNamed(context.document, context.transform, kFilter2Namespace, "XPath");
    NodeBits kept(data.index().size(), true);
    for (const ElementId bearer : bearers) {
        const auto expression = compile(context, bearer, log);
        xml::XPathHooks hooks;
        if (!expression || !hooksFor(data, bearer, *expression, hooks, log)) {
            return false;
        }
        xml::XPathEvaluator evaluator(*expression, data.index(), hooks, context.budget);
        const auto value = evaluator.evaluate({});
        if (!value || !value->isNodeSet()) {
            log.LogError("A filter does not select nodes.");
            return false;
        }
        const NodeBits selected = subtreesOf(data.index(), *value->nodes);
        const std::string filter = attributeValue(context.document, bearer, "Filter");
        if (filter == "intersect") {
            kept.intersect(selected);
        } else if (filter == "subtract") {
            kept.subtract(selected);
        } else if (filter == "union") {
            kept.unite(selected);
        } else {
            log.LogError("Unknown kind of filter.");
            return false;
        }
    }
    data.nodes().intersect(kept);
    data.leaveOut(exclusion::kXPathFilter2);
    context.standards.add(standard::kXPathFilter2);
    return !bearers.empty();
}

// RFC 9231, 2.5.1: an XPointer in an element of its own.
bool xPointerTransform(const RecommendedContext& context, RecommendedData& data, LogBase& log) {
    const auto bearers =
        childrenNamed(context.document, context.transform, kXPointerTransform, "XPointer");
    if (bearers.size() != 1 || !needNodes(context, data, log)) {
        return false;
    }
    NodeBits selected;
    if (!selectByXPointer(textOf(context.document, bearers.front()), data.index(), context.budget,
                          selected, log)) {
        return false;
    }
    data.nodes().intersect(selected);
    data.leaveOut(exclusion::kXPath);
    context.standards.add(standard::kXPointer);
    return true;
}

// XML Signature 1.1, 6.6.4
bool envelopedTransform(const RecommendedContext& context, RecommendedData& data, LogBase& log) {
    if (!data.ofLoaded()) {
        log.LogError("The enveloped signature is not in the nodes of its own document.");
        return false;
    }
    const NodeId signature = data.index().ofElement(context.signature);
    data.nodes().removeRange(signature, data.index()[signature].next);
    data.leaveOutSignature(context.signature);
    return true;
}

// XML Signature 1.1, 6.6.2: of nodes, their texts.
bool base64Transform(const RecommendedContext& context, RecommendedData& data, LogBase& log) {
    std::string text;
    if (data.isNodes()) {
        const NodeBits& nodes = data.nodes();
        for (NodeId node = nodes.next(0); node != xml::kNoNode; node = nodes.next(node + 1)) {
            if (data.index()[node].kind == xml::NodeKind::Text &&
                !data.index().appendValue(node, text, std::numeric_limits<std::size_t>::max(),
                                          context.budget)) {
                return false;
            }
        }
    } else {
        text = asText(data.octets().view());
    }
    // Of the elements only their texts, and of these not the white space.
    data.coverageIsLost();
    DataBuffer decoded;
    if (!ContentCoding::decodeBase64ToDb(text.data(), static_cast<std::uint32_t>(text.size()),
                                         decoded)) {
        log.LogError("What the base64 transform is given is not base64.");
        return false;
    }
    data.becomeOctets(std::move(decoded));
    return true;
}

// InclusiveNamespaces PrefixList of the transform.
std::vector<std::string> prefixListOf(const CanonicalizationName& name,
                                      const RecommendedContext& context) {
    std::vector<std::string> list;
    if (name.method == NodeSetMethod::Exclusive && context.transform != kNoElement) {
        for (const ElementId child : childrenNamed(context.document, context.transform,
                                                   kExclusiveNamespace, "InclusiveNamespaces")) {
            list = splitAtSpace(attributeValue(context.document, child, "PrefixList"));
        }
    }
    return list;
}

// Octets are canonicalized as a whole, for which no nodes are needed; the form is the same.
bool canonicalizeOctets(const CanonicalizationName& name,
                        std::span<const std::string_view> prefixes,
                        const RecommendedContext& context, RecommendedData& data, LogBase& log) {
    const auto document = data.takeDocument(context.account, log);
    if (document == nullptr) {
        return false;
    }
    xml::CanonRequest request;
    request.method = name.method == NodeSetMethod::Exclusive ? xml::CanonMethod::Exclusive
                                                             : xml::CanonMethod::Inclusive;
    request.withComments = name.withComments;
    request.prefixes = prefixes;
    StringBuffer form;
    xml::StringBufferSink sink(form, XmlCanon::formLimit(document->textBuffer()));
    if (!xml::canonicalize(*document, request, sink)) {
        XmlCanon::logFormLimit(log);
        return false;
    }
    if (!context.account.takeOctets(form.getSize(), log)) {
        return false;
    }
    data.becomeOctets(DataBuffer(asBytes(form.view())));
    return true;
}

bool canonicalizeData(const CanonicalizationName& name, const RecommendedContext& context,
                      RecommendedData& data, LogBase& log) {
    const std::vector<std::string> list = prefixListOf(name, context);
    const std::vector<std::string_view> prefixes(list.begin(), list.end());
    if (!data.isNodes() && name.method != NodeSetMethod::Inclusive11) {
        return canonicalizeOctets(name, prefixes, context, data, log);
    }
    if (!needNodes(context, data, log)) {
        return false;
    }
    xml::NodeSetRequest request;
    request.method = name.method;
    request.withComments = name.withComments;
    request.prefixes = prefixes;
    if (name.method == NodeSetMethod::Inclusive11) {
        context.standards.add(standard::kC14n11);
    }
    StringBuffer form;
    xml::StringBufferSink sink(form, XmlCanon::formLimit(data.index().document().textBuffer()));
    const std::uint32_t read = data.index().document().textBuffer().getSize();
    if (!context.account.takeOctets(read, log) ||
        !xml::canonicalizeNodes(data.index(), data.nodes(), request, context.budget, sink) ||
        !context.account.takeOctets(form.getSize(), log)) {
        if (sink.passedLimit()) {
            XmlCanon::logFormLimit(log);
        }
        return false;
    }
    data.becomeOctets(DataBuffer(asBytes(form.view())));
    return true;
}

struct TransformEntry {
    std::string_view algorithm;
    bool (*run)(const RecommendedContext&, RecommendedData&, LogBase&);
    bool selects = false;
};
constexpr TransformEntry kTransforms[] = {
    {"http://www.w3.org/2000/09/xmldsig#enveloped-signature", envelopedTransform, true},
    {"http://www.w3.org/2000/09/xmldsig#base64", base64Transform},
    {"http://www.w3.org/TR/1999/REC-xpath-19991116", xPathTransform, true},
    {kFilter2Namespace, filter2Transform, true},
    {kXPointerTransform, xPointerTransform, true},
};

} // namespace

void RecommendedData::leaveOut(std::string_view why) noexcept {
    m_why = why;
    // Nodes of a parsed text are not those of the loaded document.
    if (!m_ofLoaded) {
        coverageIsLost();
    }
}

void RecommendedData::leaveOutSignature(xml::ElementId signature) { m_signature = signature; }

void RecommendedData::coverageIsLost() {
    if (ofLoaded() || m_coverage != nullptr) {
        m_coverage = std::make_unique<Coverage>();
        m_coverage->wholeDocument = false;
        m_coverage->known = false;
    }
}

std::shared_ptr<const xml::XmlDocument> RecommendedData::takeDocument(WorkAccount& account,
                                                                      LogBase& log) {
    const text::XmlEncoding encoding = text::convertXmlToUtf8(m_octets);
    if (!text::acceptEncoding(encoding, log) || !account.takeOctets(m_octets.getSize(), log)) {
        return nullptr;
    }
    StringBuffer buffer;
    buffer.takeFromDb(m_octets);
    xml::ParseFailure why;
    auto document = xml::XmlDocument::parse(buffer, {}, why);
    if (document == nullptr) {
        xml::logParseFailure(why, log);
    }
    return document;
}

bool RecommendedData::parse(WorkAccount& account, xml::WorkBudget& budget, LogBase& log) {
    auto document = takeDocument(account, log);
    if (document != nullptr) {
        m_index = xml::NodeIndex::make(std::move(document), budget);
    }
    if (m_index == nullptr) {
        return false;
    }
    m_nodes = NodeBits(m_index->size(), true);
    m_ofLoaded = false;
    return true;
}

void RecommendedData::becomeOctets(DataBuffer octets) {
    if (ofLoaded() && m_coverage == nullptr) {
        m_coverage = std::make_unique<Coverage>(coverageOf(*m_index, m_nodes, m_signature, m_why));
    }
    m_octets = std::move(octets);
    m_index.reset();
    m_nodes = NodeBits();
}

RefReason recommendedTransform(std::string_view algorithm, const RecommendedContext& context,
                               RecommendedData& data, LogBase& log) {
    for (const CanonicalizationName& name : kCanonicalizations) {
        if (name.algorithm == algorithm) {
            return canonicalizeData(name, context, data, log) ? RefReason::Match
                                                              : RefReason::NotCanonicalized;
        }
    }
    for (const TransformEntry& entry : kTransforms) {
        if (entry.algorithm == algorithm) {
            return entry.run(context, data, log) ? RefReason::Match : RefReason::TransformFailed;
        }
    }
    log.LogError("No transform of the recommendations.");
    return RefReason::UnsupportedTransform;
}

RefReason recommendedEnd(const RecommendedContext& context, RecommendedData& data, LogBase& log) {
    const bool isEnd =
        !data.isNodes() || canonicalizeData(kCanonicalizations[0], context, data, log);
    return isEnd ? RefReason::Match : RefReason::NotCanonicalized;
}

bool selectsNodes(std::string_view algorithm) noexcept {
    return std::ranges::any_of(kTransforms, [algorithm](const TransformEntry& entry) {
        return entry.selects && entry.algorithm == algorithm;
    });
}

} // namespace vantrel::dsig
