#include "dsig/object/element_paths.h"

#include <string_view>
#include <unordered_map>

namespace vantrel::dsig {

namespace {

// Deep documents: the path shows this many elements from the root, then goes on with "...".
constexpr std::size_t kLongestPath = 64;

} // namespace

std::string ElementPaths::pathOf(xml::ElementId element) {
    std::vector<xml::ElementId> line;
    for (xml::ElementId at = element; at != xml::kNoElement; at = m_document.element(at).parent) {
        line.push_back(at);
    }
    std::string path;
    std::size_t shown = 0;
    for (auto at = line.rbegin(); at != line.rend(); ++at) {
        if (++shown > kLongestPath) {
            path += "/...";
            break;
        }
        path += '/';
        path += m_document.qualifiedName(*at);
        const xml::ElementId parent = m_document.element(*at).parent;
        if (parent == xml::kNoElement) {
            continue;
        }
        numberChildrenOf(parent);
        if (m_positions[*at] != 0) {
            path += '[' + std::to_string(m_positions[*at]) + ']';
        }
    }
    return path;
}

void ElementPaths::numberChildrenOf(xml::ElementId parent) {
    if (m_positions.empty()) {
        m_positions.resize(m_document.elementCount());
        m_numbered.resize(m_document.elementCount());
    }
    if (m_numbered[parent]) {
        return;
    }
    m_numbered[parent] = true;

    struct Namesakes {
        xml::ElementId first;
        std::uint32_t count;
    };
    std::unordered_map<std::string_view, Namesakes> seen;
    for (xml::ElementId child = m_document.firstChild(parent); child != xml::kNoElement;
         child = m_document.nextSibling(child)) {
        const auto [entry, isNew] =
            seen.try_emplace(m_document.qualifiedName(child), Namesakes{child, 0});
        Namesakes& namesakes = entry->second;
        if (++namesakes.count > 1) {
            m_positions[namesakes.first] = 1;
            m_positions[child] = namesakes.count;
        }
    }
}

} // namespace vantrel::dsig
