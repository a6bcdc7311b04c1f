// SPDX-License-Identifier: MIT
#include "dsig/reference/external_name.h"

#include "foundation/text/strings.h"

namespace vantrel::dsig {

std::string percentDecoded(std::string_view uri) {
    std::string decoded;
    for (std::size_t i = 0; i < uri.size(); ++i) {
        const int high = uri[i] == '%' && i + 2 < uri.size() ? text::hexDigitValue(uri[i + 1]) : -1;
        const int low = high >= 0 ? text::hexDigitValue(uri[i + 2]) : -1;
        if (low < 0) {
            decoded += uri[i];
            continue;
        }
        decoded += static_cast<char>(16 * high + low);
        i += 2;
    }
    return decoded;
}

std::string nameOfUri(std::string_view uri) {
    std::string name = percentDecoded(uri);
    if (name.starts_with('/')) {
        name.erase(0, 1);
    }
    return name;
}

} // namespace vantrel::dsig
