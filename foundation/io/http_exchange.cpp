// SPDX-License-Identifier: MIT
#include "foundation/io/http_exchange.h"

#include "foundation/io/deadline.h"
#include "foundation/io/host_lookup.h"
#include "foundation/io/http_response_reader.h"
#include "foundation/io/http_url.h"
#include "foundation/io/tcp_connection.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/encoders.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace vantrel::io {

namespace {

// RFC 9110 5.5: what would end a header line would let its author write others.
bool isHeaderValue(std::string_view value) noexcept {
    return std::none_of(value.begin(), value.end(),
                        [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; });
}

bool readUrl(const HttpRequest& request, HttpUrl& url, LogBase& log) {
    std::string_view whyNot;
    if (!parseHttpUrl(request.url, url, whyNot)) {
        log.LogError("The URL is not usable.");
        log.logText("reason", whyNot);
        return false;
    }
    if (url.secure) {
        log.LogError("https: needs a transport of the application (SetTransport).");
        return false;
    }
    return true;
}

void appendHeader(StringBuffer& out, std::string_view name, std::string_view value) {
    out.appendView(name);
    out.appendView(": ");
    out.appendView(value);
    out.appendView("\r\n");
}

std::string hostHeader(const HttpUrl& url) {
    std::string host(url.bracketed ? "[" : "");
    host.append(url.host).append(url.bracketed ? "]" : "");
    if (!url.defaultPort) {
        host.append(":").append(std::to_string(url.port));
    }
    return host;
}

// RFC 7617 2
bool appendAuthorization(const HttpRequest& request, StringBuffer& out) {
    if (request.login.empty()) {
        return true;
    }
    StringBuffer credentials(request.login);
    StringBuffer encoded;
    encoded.appendView("Basic ");
    const bool good = request.login.find(':') == std::string_view::npos &&
                      credentials.appendView(":") && credentials.appendView(request.password) &&
                      text::encode(asBytes(credentials.view()), text::Encoding::Base64, encoded);
    if (good) {
        appendHeader(out, "Authorization", encoded.view());
    }
    credentials.secureClear();
    encoded.secureClear();
    return good;
}

bool writeHead(const HttpRequest& request, const HttpUrl& url, StringBuffer& head, LogBase& log) {
    if (!isHeaderValue(request.contentType) || !isHeaderValue(request.accept)) {
        log.LogError("A media type holds characters that no header has.");
        return false;
    }
    head.appendView("POST ");
    head.appendView(url.target.starts_with('/') ? "" : "/");
    head.appendView(url.target);
    head.appendView(" HTTP/1.1\r\n");
    appendHeader(head, "Host", hostHeader(url));
    appendHeader(head, "User-Agent", "vantrel");
    appendHeader(head, "Accept", request.accept.empty() ? "*/*" : request.accept);
    appendHeader(head, "Content-Type",
                 request.contentType.empty() ? "application/octet-stream" : request.contentType);
    appendHeader(head, "Content-Length", std::to_string(request.body.size()));
    appendHeader(head, "Connection", "close");
    if (!appendAuthorization(request, head)) {
        log.LogError("The login holds a colon, which basic authentication cannot carry.");
        return false;
    }
    return head.appendView("\r\n");
}

bool logVerdict(IoVerdict verdict, const TcpConnection& connection, const char* doing,
                LogBase& log) {
    if (verdict == IoVerdict::Done) {
        return true;
    }
    if (verdict == IoVerdict::TimedOut) {
        log.LogError("The HTTP operation timed out.");
        log.logText("while", doing);
    } else {
        log.LogError("The HTTP connection failed.");
        log.logText("while", doing);
        log.logText("systemError", std::generic_category().message(connection.errorNumber()));
    }
    return false;
}

bool connect(const HttpUrl& url, Deadline deadline, TcpConnection& connection, LogBase& log) {
    std::vector<SocketAddress> addresses;
    switch (lookUpHost(std::string(url.host), url.port, deadline, addresses)) {
    case LookupVerdict::Found: break;
    case LookupVerdict::TimedOut:
        return logVerdict(IoVerdict::TimedOut, connection, "looking up the host", log);
    case LookupVerdict::NotFound:
        log.LogError("The host was not found.");
        log.logText("host", url.host);
        return false;
    }
    return logVerdict(connection.connect(addresses, deadline), connection, "connecting", log);
}

bool receive(TcpConnection& connection, const ExchangeLimits& limits, Deadline total,
             HttpResponse& response, LogBase& log) {
    HttpResponseReader reader(limits.bodyBytes);
    std::array<std::uint8_t, 16384> room{};
    for (;;) {
        std::size_t count = 0;
        const Deadline deadline = Deadline::earlier(total, Deadline(limits.readMs));
        const IoVerdict verdict = connection.readSome(room, count, deadline);
        if (!logVerdict(verdict, connection, "waiting for the answer", log)) {
            return false;
        }
        const HttpResponseReader::State state =
            count == 0 ? reader.close() : reader.feed(ByteView(room).first(count));
        if (state == HttpResponseReader::State::Complete) {
            response.status = reader.status();
            response.contentType = reader.contentType();
            response.body = std::move(reader.body());
            return true;
        }
        if (state == HttpResponseReader::State::Failed) {
            log.LogError("The answer of the HTTP server cannot be used.");
            log.logText("reason", reader.whyNot());
            return false;
        }
    }
}

} // namespace

bool exchange(const HttpRequest& request, const ExchangeLimits& limits, HttpResponse& response,
              LogBase& log) {
    const Deadline total(request.timeoutMs);
    HttpUrl url;
    StringBuffer head;
    if (!readUrl(request, url, log) || !writeHead(request, url, head, log)) {
        return false;
    }
    TcpConnection connection;
    const Deadline connecting = Deadline::earlier(total, Deadline(limits.connectMs));
    if (!connect(url, connecting, connection, log)) {
        return false;
    }
    // A server that answers early and stops reading may have said why: its answer counts.
    IoVerdict sent = connection.writeAll(asBytes(head.view()), total);
    if (sent == IoVerdict::Done) {
        sent = connection.writeAll(request.body, total);
    }
    head.secureClear(); // it may hold a password
    if (sent == IoVerdict::TimedOut) {
        return logVerdict(sent, connection, "sending the request", log);
    }
    return receive(connection, limits, total, response, log);
}

} // namespace vantrel::io
