// SPDX-License-Identifier: MIT
#include "foundation/io/http_response_reader.h"
#include "foundation/io/http_url.h"
#include "tests/support/bytes.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {

using io::HttpResponseReader;
using State = HttpResponseReader::State;

namespace {

State readInPieces(HttpResponseReader& reader, std::string_view response, std::size_t piece) {
    State state = State::NeedsMore;
    for (std::size_t i = 0; i < response.size() && state == State::NeedsMore; i += piece) {
        state = reader.feed(asBytes(response.substr(i, piece)));
    }
    return state == State::NeedsMore ? reader.close() : state;
}

} // namespace

TEST(HttpResponse, IsReadAlikeInPiecesOfAnySize) {
    forEachVector("io/http.vec", "response", [](VecCase& c) {
        const std::string name = c.where() + c.text("Name");
        const std::string response = c.escaped("Response");
        const bool good = c.has("Status");
        const std::string error = c.textOr("Error", "");
        const int status = static_cast<int>(c.integerOr("Status", 0));
        const std::string type = c.textOr("Type", "");
        const std::string body = c.textOr("Body", "");
        for (std::size_t piece = 1; piece <= std::max<std::size_t>(response.size(), 1); ++piece) {
            HttpResponseReader reader(64);
            const State state = readInPieces(reader, response, piece);
            ASSERT_EQ(state, good ? State::Complete : State::Failed)
                << name << ", pieces of " << piece << ": " << reader.whyNot();
            if (!good) {
                ASSERT_EQ(reader.whyNot(), error) << name;
                continue;
            }
            ASSERT_EQ(reader.status(), status) << name;
            ASSERT_EQ(reader.contentType(), type) << name;
            ASSERT_EQ(asText(reader.body().view()), body) << name;
        }
    });
}

// Headers, trailers, interim responses and chunk lines that never end are cut off; chunks as such
// may be many.
TEST(HttpResponse, FramingWithoutEndIsCutOff) {
    const struct {
        const char* start;
        const char* repeated;
    } endless[] = {
        {"", "x"},
        {"HTTP/1.1 200 OK\r\n", "X: y\r\n"},
        {"HTTP/1.1 200 OK\r\n", "X"},
        {"", "HTTP/1.1 100 Continue\r\n\r\n"},
        {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n", "5;x"},
        {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n", "X: y\r\n"},
    };
    for (const auto& one : endless) {
        HttpResponseReader reader(1U << 20);
        State state = reader.feed(asBytes(one.start));
        std::size_t fed = 0;
        while (state == State::NeedsMore && fed < 2 * HttpResponseReader::kMaxHeaderBytes) {
            state = reader.feed(asBytes(one.repeated));
            fed += std::string_view(one.repeated).size();
        }
        EXPECT_EQ(state, State::Failed) << one.start << one.repeated;
        EXPECT_LE(fed, HttpResponseReader::kMaxHeaderBytes + 64);
    }
    HttpResponseReader reader(8U << 20);
    std::string response = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (int i = 0; i < 40000; ++i) {
        response += "10\r\n0123456789abcdef\r\n";
    }
    EXPECT_EQ(reader.feed(asBytes(response + "0\r\n\r\n")), State::Complete) << reader.whyNot();
    EXPECT_EQ(reader.body().getSize(), 40000U * 16);
}

TEST(HttpUrl, PartsAndFaults) {
    forEachVector("io/http.vec", "url", [](VecCase& c) {
        const std::string text = c.escaped("Url");
        io::HttpUrl url;
        std::string_view whyNot;
        const bool parsed = io::parseHttpUrl(text, url, whyNot);
        if (c.has("Error")) {
            EXPECT_FALSE(parsed) << c.where();
            EXPECT_EQ(whyNot, c.text("Error")) << c.where();
            return;
        }
        ASSERT_TRUE(parsed) << c.where() << whyNot;
        EXPECT_EQ(url.secure, c.booleanOr("Secure", false)) << c.where();
        EXPECT_EQ(url.host, c.text("Host")) << c.where();
        EXPECT_EQ(url.port, c.integer("Port")) << c.where();
        EXPECT_EQ(url.target, c.text("Target")) << c.where();
    });
}

} // namespace vantrel::test
