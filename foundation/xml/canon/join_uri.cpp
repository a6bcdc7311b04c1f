// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/join_uri.h"

#include <algorithm>
#include <vector>

namespace vantrel::xml {

namespace {

// RFC 3986, appendix B. A part that is absent differs from an empty one.
struct UriParts {
    std::string_view scheme;    // with its colon
    std::string_view authority; // with its slashes
    std::string_view path;
    std::string_view query; // with its question mark
};

UriParts splitUri(std::string_view text) {
    UriParts parts;
    text = text.substr(0, text.find('#'));
    const std::size_t colon = text.find_first_of(":/?");
    if (colon != text.npos && colon != 0 && text[colon] == ':') {
        parts.scheme = text.substr(0, colon + 1);
        text.remove_prefix(colon + 1);
    }
    if (text.starts_with("//")) {
        parts.authority = text.substr(0, text.find_first_of("/?", 2));
        text.remove_prefix(parts.authority.size());
    }
    const std::size_t query = text.find('?');
    parts.path = text.substr(0, query);
    if (query != text.npos) {
        parts.query = text.substr(query);
    }
    return parts;
}

std::string joined(const UriParts& parts, std::string_view path) {
    std::string text(parts.scheme);
    text += parts.authority;
    text += path;
    text += parts.query;
    return text;
}

// RFC 3986, 5.2.4, as amended.
std::string withoutDotSegments(std::string_view path) {
    const bool absolute = path.starts_with('/');
    std::vector<std::string_view> kept;
    bool endsInSlash = false;
    for (std::size_t at = 0; at <= path.size();) {
        const std::size_t slash = std::min(path.find('/', at), path.size());
        const std::string_view segment = path.substr(at, slash - at);
        at = slash + 1;
        endsInSlash = segment.empty() || segment == "." || segment == "..";
        if (segment.empty() || segment == ".") {
            continue;
        }
        if (segment != "..") {
            kept.push_back(segment);
        } else if (!kept.empty() && kept.back() != "..") {
            kept.pop_back();
        } else if (!absolute) {
            kept.push_back(segment);
        }
    }
    std::string text = absolute ? "/" : "";
    for (std::size_t i = 0; i < kept.size(); ++i) {
        text += kept[i];
        if (i + 1 < kept.size() || endsInSlash) {
            text += '/';
        }
    }
    return text;
}

// RFC 3986, 5.2.3.
std::string merged(const UriParts& base, std::string_view path) {
    std::string text;
    if (!base.authority.empty() && base.path.empty()) {
        text = "/";
    } else if (base.path == ".." || base.path.ends_with("/..")) {
        text = base.path;
        text += '/';
    } else {
        text = base.path.substr(0, base.path.rfind('/') + 1);
    }
    text += path;
    return text;
}

} // namespace

// RFC 3986, 5.2.2.
std::string joinUriReferences(std::string_view base, std::string_view reference) {
    UriParts target = splitUri(reference);
    if (!target.scheme.empty()) {
        return joined(target, withoutDotSegments(target.path));
    }
    const UriParts from = splitUri(base);
    target.scheme = from.scheme;
    if (!target.authority.empty()) {
        return joined(target, withoutDotSegments(target.path));
    }
    target.authority = from.authority;
    if (target.path.empty()) {
        if (target.query.empty()) {
            target.query = from.query;
        }
        return joined(target, withoutDotSegments(from.path));
    }
    const std::string path =
        target.path.starts_with('/') ? std::string(target.path) : merged(from, target.path);
    return joined(target, withoutDotSegments(path));
}

} // namespace vantrel::xml
