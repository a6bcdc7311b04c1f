// SPDX-License-Identifier: MIT
#include "foundation/io/ClsHttp.h"

#include "foundation/base/ClsBinData.h"
#include "foundation/base/CritSecExitor.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/io/http_exchange.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

namespace vantrel {

ClsHttp::ClsHttp() { m_password.setSecureX(true); }
ClsHttp::~ClsHttp() = default;

ClsHttp* ClsHttp::createNewCls() {
    try {
        return new ClsHttp();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void ClsHttp::put_Login(const XString& login) {
    const CritSecExitor lock(m_critSec);
    m_login.copyFromX(login);
}

void ClsHttp::put_Password(const XString& password) {
    const CritSecExitor lock(m_critSec);
    m_password.copyFromX(password);
}

void ClsHttp::SetTransport(HttpTransport transport) {
    const CritSecExitor lock(m_critSec);
    m_transport = std::move(transport);
}

bool ClsHttp::PostBinary(const XString& url, const XString& contentType, const ClsBinData& body,
                         ClsBinData& answer) {
    return MethodFrame::run(*this, "PostBinary", [&](MethodFrame& frame) {
        HttpResponse response;
        const bool answered = post(url.getUtf8Sb().view(), contentType.getUtf8Sb().view(), {},
                                   body.data().view(), 0, response, m_log);
        answer.data() = response.body;
        return frame.finish(answered);
    });
}

bool ClsHttp::post(std::string_view url, std::string_view contentType, std::string_view accept,
                   ByteView body, int timeoutMs, HttpResponse& response, LogBase& log) {
    const CritSecExitor lock(m_critSec);
    const LogContextExitor context(log, "httpPost");
    response = HttpResponse();
    m_lastStatus = 0;
    try {
        if (url.find('@') == std::string_view::npos) { // else it may hold a password
            log.logText("url", url);
        }
        const HttpRequest request{url,
                                  contentType,
                                  accept,
                                  body,
                                  m_login.getUtf8Sb().view(),
                                  m_password.getUtf8Sb().view(),
                                  timeoutMs > 0 ? timeoutMs : m_totalTimeoutMs};
        const bool answered =
            m_transport ? postThroughHook(request, response, log) : postOwn(request, response, log);
        if (answered) {
            m_lastStatus = response.status;
            log.LogDataLong("responseStatus", response.status);
            log.LogDataUint32("responseSize", response.body.getSize());
            return true;
        }
    } catch (const std::bad_alloc&) {
        log.LogError("Out of memory during an HTTP request.");
    }
    response = HttpResponse();
    return false;
}

bool ClsHttp::postOwn(const HttpRequest& request, HttpResponse& response, LogBase& log) {
    const io::ExchangeLimits limits{std::min(m_connectTimeoutMs, request.timeoutMs),
                                    m_readTimeoutMs, m_maxResponseSize};
    return io::exchange(request, limits, response, log);
}

bool ClsHttp::postThroughHook(const HttpRequest& request, HttpResponse& response, LogBase& log) {
    try {
        response = m_transport(request);
    } catch (const std::exception& fault) {
        log.LogError("The application's transport failed with an exception.");
        log.logText("exception", fault.what());
        return false;
    } catch (...) {
        log.LogError("The application's transport failed with an unknown exception.");
        return false;
    }
    if (response.status <= 0) {
        log.LogError("The application's transport got no answer.");
        log.logText("transportError", response.error);
        return false;
    }
    if (response.body.getSize() > m_maxResponseSize) {
        log.LogError("The answer that the application's transport got is too large.");
        return false;
    }
    return true;
}

} // namespace vantrel
