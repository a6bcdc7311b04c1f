// SPDX-License-Identifier: MIT
#include "dsig/package/relationships.h"

#include "dsig/document/child_elements.h"
#include "dsig/package/part_xml.h"
#include "dsig/reference/external_name.h"
#include "foundation/text/strings.h"

#include <algorithm>
#include <set>

// Relationships say what a part refers to, in a part of their own beside it: "word/document.xml"
// has "word/_rels/document.xml.rels", the package itself "_rels/.rels".
namespace vantrel::dsig {

namespace {

constexpr std::string_view kRelationshipsNamespace =
    "http://schemas.openxmlformats.org/package/2006/relationships";
constexpr std::string_view kFolder = "_rels/";
constexpr std::string_view kEnding = ".rels";

// Any other mode is digested as if it were "Internal".
bool isKnownAttribute(std::string_view name, std::string_view value) {
    return name == "Id" || name == "Type" || name == "Target" ||
           (name == "TargetMode" && (value == "Internal" || value == "External"));
}

bool isDeclaration(std::string_view name) { return name == "xmlns" || name.starts_with("xmlns:"); }

bool hasText(const ClsXml& element) {
    StringBuffer content;
    element.getContentSb(content);
    return content.view().find_first_not_of(" \t\r\n") != std::string_view::npos;
}

Relationship readOne(const ClsXml& element) {
    Relationship one;
    one.id = attributeOf(element, "Id");
    one.type = attributeOf(element, "Type");
    one.target = attributeOf(element, "Target");
    one.isExternal = attributeOf(element, "TargetMode") == "External";
    return one;
}

// Nothing else is digested of a relationship.
bool isPlain(const ClsXml& relationship) {
    const auto attributes = relationship.attributes();
    return relationship.get_NumChildren() == 0 && !hasText(relationship) &&
           std::ranges::all_of(attributes, [](const auto& attribute) {
               return isKnownAttribute(attribute.first, attribute.second) ||
                      isDeclaration(attribute.first);
           });
}

// Whether all that can be said of the root itself are namespaces.
bool isPlainRoot(const ClsXml& root) {
    const auto attributes = root.attributes();
    return root.document()->doctypeRange().empty() && !hasText(root) &&
           std::ranges::all_of(
               attributes, [](const auto& attribute) { return isDeclaration(attribute.first); });
}

// Canonical XML 1.0, 2.3: attribute nodes.
void appendAttribute(std::string_view name, std::string_view value, std::string& out) {
    out += ' ';
    out += name;
    out += "=\"";
    for (const char c : value) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '"': out += "&quot;"; break;
        case '\t': out += "&#x9;"; break;
        case '\n': out += "&#xA;"; break;
        case '\r': out += "&#xD;"; break;
        default: out += c;
        }
    }
    out += '"';
}

std::string_view folderOf(std::string_view part) {
    const std::size_t slash = part.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : part.substr(0, slash + 1);
}

} // namespace

bool readRelationships(const DataBuffer& part, Relationships& out, LogBase& log) {
    const Ref<ClsXml> root = parsePart(part, log);
    if (!root) {
        return false;
    }
    if (root->localName() != "Relationships" || root->namespaceUri() != kRelationshipsNamespace) {
        log.LogError("The part holds no relationships.");
        return false;
    }
    out.isPlain = isPlainRoot(*root);
    // Signers name relationships by their Ids: of two with one Id, either could be meant.
    std::set<std::string> ids;
    for (const xml::ElementId child : childElements(*root)) {
        const Ref<ClsXml> element = handleOn(*root, child);
        if (element->localName() != "Relationship" ||
            element->namespaceUri() != kRelationshipsNamespace) {
            out.isPlain = false;
            continue;
        }
        out.isPlain = out.isPlain && isPlain(*element);
        out.list.push_back(readOne(*element));
        if (!ids.insert(out.list.back().id).second) {
            log.LogError("Two relationships of a part have the same Id.");
            return false;
        }
    }
    return true;
}

bool isOfSignatures(const Relationship& relationship) noexcept {
    return std::string_view(relationship.type).starts_with(kSignatureTypes);
}

std::string relationshipsOf(std::string_view part) {
    const std::string_view folder = folderOf(part);
    std::string name(folder);
    name += kFolder;
    name += part.substr(folder.size());
    return name += kEnding;
}

std::string targetOf(const Relationship& relationship, std::string_view source) {
    std::string_view uri = relationship.target;
    std::string path;
    if (!uri.starts_with('/')) {
        path = folderOf(source);
    }
    uri = uri.substr(0, std::min(uri.find('#'), uri.size()));
    path += nameOfUri(uri);
    // Steps are taken one by one (RFC 3986, 5.2.4); one that leads above the top leads nowhere.
    std::vector<std::string> steps;
    for (std::size_t at = 0; at <= path.size();) {
        const std::size_t end = std::min(path.find('/', at), path.size());
        const std::string step = path.substr(at, end - at);
        at = end + 1;
        if (step == ".." && steps.empty()) {
            return {};
        }
        if (step == "..") {
            steps.pop_back();
        } else if (step != "." && !step.empty()) {
            steps.push_back(step);
        }
    }
    std::string name;
    for (const std::string& step : steps) {
        name += (name.empty() ? "" : "/") + step;
    }
    return name;
}

RefReason transformRelationships(const ClsXml& transform, const DataBuffer& part, DataBuffer& out,
                                 bool& isWhole, LogBase& log) {
    Relationships all;
    if (!readRelationships(part, all, log)) {
        return RefReason::TransformFailed;
    }
    std::set<std::string> ids;
    std::set<std::string> types;
    for (const xml::ElementId child : childElements(transform)) {
        const Ref<ClsXml> entry = handleOn(transform, child);
        if (entry->localName() == "RelationshipReference") {
            ids.insert(attributeOf(*entry, "SourceId"));
        } else if (entry->localName() == "RelationshipsGroupReference") {
            types.insert(attributeOf(*entry, "SourceType"));
        } else {
            log.LogError("A relationship transform names relationships in an unknown way.");
            return RefReason::UnsupportedTransform;
        }
    }
    // By the octets of the Ids, as UTF-8 sorts like the characters.
    std::ranges::sort(all.list, {}, &Relationship::id);
    std::string text = "<Relationships xmlns=\"" + std::string(kRelationshipsNamespace) + "\">";
    // What is left out is not signed: whoever changes it changes what the part refers to.
    isWhole = all.isPlain;
    for (const Relationship& one : all.list) {
        if (!ids.contains(one.id) && !types.contains(one.type)) {
            isWhole = isWhole && isOfSignatures(one);
            continue;
        }
        text += "<Relationship";
        appendAttribute("Id", one.id, text);
        appendAttribute("Target", one.target, text);
        appendAttribute("TargetMode", one.isExternal ? "External" : "Internal", text);
        appendAttribute("Type", one.type, text);
        text += "></Relationship>";
    }
    text += "</Relationships>";
    out = DataBuffer(asBytes(text));
    return RefReason::Match;
}

} // namespace vantrel::dsig
