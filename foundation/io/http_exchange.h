// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_HTTP_EXCHANGE_H
#define FOUNDATION_IO_HTTP_EXCHANGE_H

#include "foundation/io/ClsHttp.h"

#include <cstdint>

namespace vantrel {

class LogBase;

namespace io {

struct ExchangeLimits {
    int connectMs;
    int readMs; // between two pieces of the answer
    std::uint32_t bodyBytes;
};

// One POST request and its answer over a connection of its own. False, with one error line, unless
// a whole answer came; `response` is then unspecified. May throw std::bad_alloc.
[[nodiscard]] bool exchange(const HttpRequest& request, const ExchangeLimits& limits,
                            HttpResponse& response, LogBase& log);

} // namespace io
} // namespace vantrel

#endif
