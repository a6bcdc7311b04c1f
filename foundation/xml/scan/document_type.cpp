// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/document_type.h"

#include <algorithm>

namespace vantrel::xml {

std::span<const DeclaredAttribute> DocumentType::declaredAttributes(
    std::string_view element) const noexcept {
    const auto found = m_attributes.find(element);
    return found == m_attributes.end() ? std::span<const DeclaredAttribute>()
                                       : std::span<const DeclaredAttribute>(found->second.list);
}

AttributeType DocumentType::attributeType(std::string_view element,
                                          std::string_view attribute) const noexcept {
    const auto found = m_attributes.find(element);
    if (found == m_attributes.end()) {
        return AttributeType::Cdata;
    }
    const auto position = found->second.byName.find(attribute);
    return position == found->second.byName.end() ? AttributeType::Cdata
                                                  : found->second.list[position->second].type;
}

const Entity* DocumentType::findEntity(std::string_view name) const noexcept {
    const auto found = m_entities.find(name);
    return found == m_entities.end() ? nullptr : &found->second;
}

} // namespace vantrel::xml
