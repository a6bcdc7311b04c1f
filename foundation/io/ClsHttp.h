// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_CLSHTTP_H
#define FOUNDATION_IO_CLSHTTP_H

#include "foundation/base/ClsBase.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/text/byte_view.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace vantrel {

class ClsBinData;

/// What is sent. The views are valid during the call only.
struct HttpRequest {
    std::string_view url;
    std::string_view contentType;
    std::string_view accept; ///< media type wanted; may be empty
    ByteView body;
    std::string_view login; ///< for basic authentication; may be empty
    std::string_view password;
    int timeoutMs = 0; ///< for the whole exchange
};

/// What came back. Status 0: no answer; then `error` may say why.
struct HttpResponse {
    int status = 0;
    std::string contentType;
    DataBuffer body;
    std::string error;
};

/// A transport of the application's own: it carries out a POST request and returns the answer.
/// This is how https: is reached, with the application's choice of TLS.
using HttpTransport = std::function<HttpResponse(const HttpRequest&)>;

/// HTTP/1.1 POST (RFC 9112) over plain TCP, IPv4 or IPv6, one connection a request. Redirects are
/// not followed. Every wait is bounded: a peer that is silent, drips bytes, sends garbage or never
/// stops ends the operation with an error, within the total timeout and the size limit.
///
/// The object may be shared: requests wait for one another.
class ClsHttp final : public ClsBase {
public:
    ClsHttp();
    ~ClsHttp() override;
    /// Null when memory runs out. Give it back with deleteSelf().
    [[nodiscard]] static ClsHttp* createNewCls();

    /// Milliseconds to find and connect to the host (default 10000), between two pieces of an
    /// answer (20000), and for the whole operation (30000). Below 1 counts as 1.
    [[nodiscard]] int get_ConnectTimeoutMs() const noexcept { return m_connectTimeoutMs; }
    void put_ConnectTimeoutMs(int ms) noexcept { m_connectTimeoutMs = ms; }
    [[nodiscard]] int get_ReadTimeoutMs() const noexcept { return m_readTimeoutMs; }
    void put_ReadTimeoutMs(int ms) noexcept { m_readTimeoutMs = ms; }
    [[nodiscard]] int get_TotalTimeoutMs() const noexcept { return m_totalTimeoutMs; }
    void put_TotalTimeoutMs(int ms) noexcept { m_totalTimeoutMs = ms; }

    /// Largest body of an answer, in bytes (default 16 MiB); a larger one is an error.
    [[nodiscard]] std::uint32_t get_MaxResponseSize() const noexcept { return m_maxResponseSize; }
    void put_MaxResponseSize(std::uint32_t bytes) noexcept { m_maxResponseSize = bytes; }

    /// Basic authentication (RFC 7617), sent when the login is not empty.
    void put_Login(const XString& login);
    void put_Password(const XString& password);

    /// Puts another transport in the place of the built-in one; an empty function restores it.
    /// What it returns is held to the same size limit. Exceptions it throws end the request only.
    void SetTransport(HttpTransport transport);

    /// Posts a body. True when an answer came, whatever its status; then `answer` holds its body
    /// and get_LastStatus its status.
    bool PostBinary(const XString& url, const XString& contentType, const ClsBinData& body,
                    ClsBinData& answer);
    /// Status of the last answer; 0 when there was none.
    [[nodiscard]] int get_LastStatus() const noexcept { return m_lastStatus; }

    // The worker. `timeoutMs` above 0 replaces the total timeout. True when an answer came,
    // whatever its status; false, with an error line and `response` empty, otherwise.
    bool post(std::string_view url, std::string_view contentType, std::string_view accept,
              ByteView body, int timeoutMs, HttpResponse& response, LogBase& log);

private:
    [[nodiscard]] bool postOwn(const HttpRequest& request, HttpResponse& response, LogBase& log);
    [[nodiscard]] bool postThroughHook(const HttpRequest& request, HttpResponse& response,
                                       LogBase& log);

    int m_connectTimeoutMs = 10000;
    int m_readTimeoutMs = 20000;
    int m_totalTimeoutMs = 30000;
    std::uint32_t m_maxResponseSize = 16U << 20;
    int m_lastStatus = 0;
    XString m_login;
    XString m_password;
    HttpTransport m_transport;
};

} // namespace vantrel

#endif
