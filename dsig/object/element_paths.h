#ifndef DSIG_OBJECT_ELEMENT_PATHS_H
#define DSIG_OBJECT_ELEMENT_PATHS_H

#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vantrel::dsig {

// Paths of elements from the root, as reports show them: "/Batch/Item[3]", with a one-based
// position where siblings share the name. The positions of all children of a parent are computed
// together the first time one of them is asked for, so naming every child of a large element stays
// linear.
class ElementPaths {
public:
    // The document must outlive this object.
    explicit ElementPaths(const xml::XmlDocument& document) noexcept : m_document(document) {}

    [[nodiscard]] std::string pathOf(xml::ElementId element);

private:
    void numberChildrenOf(xml::ElementId parent);

    const xml::XmlDocument& m_document;
    std::vector<std::uint32_t> m_positions; // by element; 0: the name is unique among its siblings
    std::vector<bool> m_numbered;           // by element: its children have their positions
};

} // namespace vantrel::dsig

#endif
