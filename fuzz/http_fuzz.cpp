// SPDX-License-Identifier: MIT
// HTTP responses: read alike whole and byte by byte. The first byte sets the limit of the body.
#include "foundation/io/http_response_reader.h"
#include "foundation/io/http_url.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantrel;
    using io::HttpResponseReader;
    if (size == 0) {
        return 0;
    }
    const ByteView input = ByteView(data, size).subspan(1);
    HttpResponseReader whole(data[0]);
    HttpResponseReader piecewise(data[0]);
    HttpResponseReader::State first = whole.feed(input);
    HttpResponseReader::State second = HttpResponseReader::State::NeedsMore;
    for (std::size_t i = 0; i < input.size(); ++i) {
        second = piecewise.feed(input.subspan(i, 1));
    }
    if (first == HttpResponseReader::State::NeedsMore) {
        first = whole.close();
        second = piecewise.close();
    }
    if (first != second || whole.status() != piecewise.status() ||
        !whole.body().equals(piecewise.body()) || whole.body().getSize() > data[0]) {
        std::abort();
    }
    io::HttpUrl url;
    std::string_view whyNot;
    static_cast<void>(io::parseHttpUrl(asText(input), url, whyNot));
    return 0;
}
