// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_HTTP_URL_H
#define FOUNDATION_IO_HTTP_URL_H

#include <cstdint>
#include <string_view>

namespace vantrel::io {

// The parts of an http: or https: URL that a request needs (RFC 3986, RFC 9110 4.2). Views point
// into the URL.
struct HttpUrl {
    bool secure = false;    // https:
    std::string_view host;  // name or address, without the brackets of an IPv6 address
    bool bracketed = false; // the host was written in brackets
    std::uint16_t port = 0; // 80 or 443 when the URL names none
    bool defaultPort = false;
    std::string_view target; // path and query; empty for "/"
};

// False, with a reason of static lifetime, for anything else: another scheme, no host, a port out
// of range, user information, white space, control characters or characters that are not ASCII.
[[nodiscard]] bool parseHttpUrl(std::string_view url, HttpUrl& out,
                                std::string_view& whyNot) noexcept;

} // namespace vantrel::io

#endif
