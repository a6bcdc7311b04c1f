// SPDX-License-Identifier: MIT
#include "dsig/transform/element_map.h"

#include <algorithm>

namespace vantrel::dsig {

using xml::ElementId;
using xml::kNoElement;

// The usual map has no runs and is the identity: only its size is compared. Otherwise the runs are
// walked in the text's order.
ElementId ElementMap::toLoaded(ElementId inText) const noexcept {
    if (inText >= m_size || m_runs.empty()) {
        return inText < m_size ? inText : kNoElement;
    }
    for (const Run& run : m_runs) {
        if (inText < run.count) {
            return run.loaded + inText;
        }
        inText -= run.count;
    }
    return kNoElement;
}

ElementId ElementMap::toText(ElementId loaded) const noexcept {
    if (m_runs.empty()) {
        return loaded < m_size ? loaded : kNoElement;
    }
    ElementId before = 0;
    for (const Run& run : m_runs) {
        // Subtracted before it is compared, so that kNoElement and other large numbers cannot wrap.
        if (loaded >= run.loaded && loaded - run.loaded < run.count) {
            return before + (loaded - run.loaded);
        }
        before += run.count;
    }
    return kNoElement;
}

// Writes the identity out as the one run that it is, so that the changing members know one form
// only. A map of no elements has no run in either form.
void ElementMap::makeRuns() {
    if (m_runs.empty() && m_size != 0) {
        m_runs.push_back({0, m_size});
    }
}

void ElementMap::remove(ElementId first, ElementId end) {
    end = std::min(end, m_size);
    if (first >= end) {
        return;
    }
    // What stands before the range, and what stands behind it, joined.
    ElementMap rest = *this;
    rest.keep(end, m_size);
    keep(0, first);
    append(rest);
}

void ElementMap::keep(ElementId first, ElementId end) {
    end = std::min(end, m_size);
    first = std::min(first, end);
    makeRuns();
    std::vector<Run> kept;
    ElementId at = 0; // the text's number of the run's first element
    for (const Run& run : m_runs) {
        const ElementId from = std::max(first, at);
        const ElementId to = std::min(end, at + run.count);
        if (from < to) {
            kept.push_back({run.loaded + (from - at), to - from});
        }
        at += run.count;
    }
    m_size = end - first;
    m_runs = std::move(kept);
}

void ElementMap::append(const ElementMap& other) {
    makeRuns();
    // The other map may be in its identity form, which has no runs to copy.
    if (other.m_runs.empty() && other.m_size != 0) {
        m_runs.push_back({0, other.m_size});
    }
    m_runs.insert(m_runs.end(), other.m_runs.begin(), other.m_runs.end());
    m_size += other.m_size;
}

} // namespace vantrel::dsig
