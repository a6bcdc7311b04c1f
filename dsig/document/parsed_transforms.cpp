// SPDX-License-Identifier: MIT
#include "dsig/document/parsed_transforms.h"

#include "foundation/xml/tree/element_text.h"
#include "foundation/xml/tree/tag_pattern.h"

#include <string_view>
#include <utility>

namespace vantrel::dsig {

namespace {

struct TransformName {
    const char* part; // case-sensitive substring of the algorithm identifier
    TransformKind kind;
};

// The first part found decides; the order matters. XSLT is not among them: a stylesheet is a
// program, and the document would bring it along.
constexpr TransformName kTransformNames[] = {
    {"REC-xpath", TransformKind::XPath},
    {"2002/06/xmldsig-filter2", TransformKind::XPath},
    {"enveloped-signature", TransformKind::EnvelopedSignature},
    {"xml-c14n", TransformKind::Canonicalization},
    {"xml-exc-c14n", TransformKind::Canonicalization},
    {"xmldsig#base64", TransformKind::Base64},
};

constexpr TransformKind kindByPart(std::string_view algorithm) {
    for (const TransformName& name : kTransformNames) {
        if (algorithm.find(name.part) != algorithm.npos) {
            return name.kind;
        }
    }
    return TransformKind::Unrecognized;
}

struct UsualTransform {
    std::string_view algorithm;
    TransformKind kind = kindByPart(algorithm);
};

// What most references have is known without a search.
constexpr UsualTransform kUsualTransforms[] = {
    {"http://www.w3.org/2000/09/xmldsig#enveloped-signature"},
    {"http://www.w3.org/2001/10/xml-exc-c14n#"},
    {"http://www.w3.org/TR/2001/REC-xml-c14n-20010315"},
};

TransformKind transformKind(const StringBuffer& algorithm) {
    for (const UsualTransform& usual : kUsualTransforms) {
        if (algorithm.view() == usual.algorithm) {
            return usual.kind;
        }
    }
    return kindByPart(algorithm.view());
}

} // namespace

ParsedTransforms readTransforms(Ref<ClsXml> list, std::uint64_t most) {
    ParsedTransforms read;
    read.list = std::move(list);
    const xml::XmlDocument& document = *read.list->document();
    const xml::ElementId parent = read.list->elementId();
    for (xml::ElementId child = document.firstChild(parent); child != xml::kNoElement;
         child = document.nextChild(parent, child)) {
        ++read.count;
    }
    if (read.count > most) {
        return read;
    }
    read.steps.reserve(read.count);
    for (xml::ElementId child = document.firstChild(parent); child != xml::kNoElement;
         child = document.nextChild(parent, child)) {
        ParsedTransform step;
        step.element = child;
        static_cast<void>(
            xml::attributeValue(document, child, xml::NamePattern("Algorithm"), step.algorithm));
        step.kind = transformKind(step.algorithm);
        if (step.kind == TransformKind::Canonicalization) {
            // Mostly there is nothing in it to read.
            const bool isEmpty = document.firstChild(child) == xml::kNoElement;
            const Ref<ClsXml> element = isEmpty ? Ref<ClsXml>() : read.elementOf(step);
            step.canonicalization = chosenCanonicalization(step.algorithm, element.get());
        }
        read.steps.push_back(std::move(step));
    }
    return read;
}

} // namespace vantrel::dsig
