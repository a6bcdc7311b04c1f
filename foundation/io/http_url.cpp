// SPDX-License-Identifier: MIT
#include "foundation/io/http_url.h"

#include "foundation/text/strings.h"

#include <algorithm>
#include <charconv>

namespace vantrel::io {

namespace {

// Whatever else stood in a request line could end it and begin another.
bool isPrintableAscii(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < '\x7F'; });
}

bool takeScheme(std::string_view& rest, HttpUrl& out) noexcept {
    const std::size_t end = rest.find("://");
    if (end == std::string_view::npos) {
        return false;
    }
    const std::string_view scheme = rest.substr(0, end);
    out.secure = text::equalsNoCase(scheme, "https");
    rest.remove_prefix(end + 3);
    return out.secure || text::equalsNoCase(scheme, "http");
}

// host [ ":" port ]
bool splitAuthority(std::string_view authority, HttpUrl& out) noexcept {
    std::string_view port;
    if (!authority.empty() && authority[0] == '[') {
        const std::size_t end = authority.find(']');
        if (end == std::string_view::npos) {
            return false;
        }
        out.bracketed = true;
        out.host = authority.substr(1, end - 1);
        port = authority.substr(end + 1);
        if (!port.empty() && port[0] != ':') {
            return false;
        }
    } else {
        const std::size_t colon = authority.find(':');
        out.host = authority.substr(0, colon);
        port = colon == std::string_view::npos ? std::string_view() : authority.substr(colon);
    }
    if (port.size() <= 1) {
        out.port = out.secure ? 443 : 80;
        out.defaultPort = true;
        return !out.host.empty();
    }
    port.remove_prefix(1);
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), out.port);
    return error == std::errc() && end == port.data() + port.size() && out.port != 0 &&
           !out.host.empty();
}

} // namespace

bool parseHttpUrl(std::string_view url, HttpUrl& out, std::string_view& whyNot) noexcept {
    HttpUrl parsed;
    std::string_view rest = url;
    whyNot = "it holds characters that no URL has";
    if (!isPrintableAscii(url)) {
        return false;
    }
    whyNot = "it does not begin with http:// or https://";
    if (!takeScheme(rest, parsed)) {
        return false;
    }
    const std::size_t pathAt = rest.find_first_of("/?#");
    const std::string_view authority = rest.substr(0, pathAt);
    whyNot = "it holds a user name; use the login and password of the object";
    if (authority.find('@') != std::string_view::npos) {
        return false;
    }
    whyNot = "its host or port is malformed";
    if (!splitAuthority(authority, parsed)) {
        return false;
    }
    if (pathAt != std::string_view::npos) {
        parsed.target = rest.substr(pathAt);
        parsed.target = parsed.target.substr(0, parsed.target.find('#'));
    }
    out = parsed;
    return true;
}

} // namespace vantrel::io
