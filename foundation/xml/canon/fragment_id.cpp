// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/fragment_id.h"

namespace vantrel::xml {

namespace {

// The Id that xpointer(id('x')) names, by either quote; empty for any other text.
std::string_view idOfXPointer(std::string_view fragment) noexcept {
    constexpr std::string_view kOpen = "xpointer(id(";
    constexpr std::string_view kClose = "))";
    if (!fragment.starts_with(kOpen) || !fragment.ends_with(kClose) ||
        fragment.size() < kOpen.size() + kClose.size() + 2) {
        return {};
    }
    fragment.remove_prefix(kOpen.size());
    fragment.remove_suffix(kClose.size());
    const char quote = fragment.front();
    if ((quote != '\'' && quote != '"') || fragment.back() != quote) {
        return {};
    }
    return fragment.substr(1, fragment.size() - 2);
}

} // namespace

FragmentTarget resolveFragment(const XmlDocument& document, std::string_view fragment,
                               ElementId& element) {
    element = kNoElement;
    if (fragment.empty()) {
        return FragmentTarget::Document;
    }
    IdMatch match = document.findById(fragment, element);
    if (match == IdMatch::None && fragment == "xpointer(/)") {
        return FragmentTarget::Document;
    }
    const std::string_view named = idOfXPointer(fragment);
    if (match == IdMatch::None && !named.empty()) {
        match = document.findById(named, element);
    }
    switch (match) {
    case IdMatch::None: return FragmentTarget::NotFound;
    case IdMatch::Unique: return FragmentTarget::Element;
    default: return FragmentTarget::NotUnique;
    }
}

} // namespace vantrel::xml
