// SPDX-License-Identifier: MIT
#include "dsig/package/content_types.h"

#include "dsig/document/child_elements.h"
#include "dsig/package/part_xml.h"
#include "foundation/text/strings.h"
#include "foundation/zip/zip_names.h"

namespace vantrel::dsig {

namespace {

constexpr std::string_view kContentTypesNamespace =
    "http://schemas.openxmlformats.org/package/2006/content-types";

} // namespace

// An entry by name goes before one by extension, so that both kinds are kept apart.
bool ContentTypes::read(const DataBuffer& xml, LogBase& log) {
    const Ref<ClsXml> root = parsePart(xml, log);
    if (!root) {
        return false;
    }
    for (const xml::ElementId child : childElements(*root)) {
        const Ref<ClsXml> entry = handleOn(*root, child);
        const bool isDefault = entry->localName() == "Default";
        if (entry->namespaceUri() != kContentTypesNamespace ||
            (!isDefault && entry->localName() != "Override")) {
            continue;
        }
        std::string name = attributeOf(*entry, isDefault ? "Extension" : "PartName");
        if (!isDefault && name.starts_with('/')) {
            name.erase(0, 1);
        }
        auto& map = isDefault ? m_byExtension : m_byName;
        if (!map.emplace(zip::foldedName(name), attributeOf(*entry, "ContentType")).second) {
            log.LogError("Two content types are given for one name.");
            log.logText("name", name);
            return false;
        }
    }
    return true;
}

std::string_view ContentTypes::of(std::string_view part) const {
    const std::string folded = zip::foldedName(part);
    if (const auto named = m_byName.find(folded); named != m_byName.end()) {
        return named->second;
    }
    const std::size_t dot = folded.rfind('.');
    const std::size_t slash = folded.rfind('/');
    // A dot in the name of a folder begins no extension.
    if (dot == std::string::npos || (slash != std::string::npos && slash > dot)) {
        return {};
    }
    const auto byExtension = m_byExtension.find(folded.substr(dot + 1));
    return byExtension == m_byExtension.end() ? std::string_view() : byExtension->second;
}

} // namespace vantrel::dsig
