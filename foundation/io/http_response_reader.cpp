// SPDX-License-Identifier: MIT
#include "foundation/io/http_response_reader.h"

#include "foundation/text/strings.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <new>

namespace vantrel::io {

namespace {

constexpr std::string_view kTooLarge = "the answer is too large";

// Decimal or hexadecimal digits and nothing else.
bool parseNumber(std::string_view digits, int base, std::uint64_t& out) noexcept {
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), out, base);
    return error == std::errc() && end == digits.data() + digits.size();
}

} // namespace

HttpResponseReader::State HttpResponseReader::feed(ByteView piece) {
    while (!piece.empty() && m_part != Part::Done && m_part != Part::Failed) {
        if (!takesLines()) {
            takeBody(piece);
            continue;
        }
        const void* const found = std::memchr(piece.data(), '\n', piece.size());
        const std::size_t size =
            found == nullptr
                ? piece.size()
                : static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - piece.data()) +
                      1;
        m_headerBytes += size;
        if (m_headerBytes > kMaxHeaderBytes) {
            fail("the header is too long");
            break;
        }
        m_line.append(asText(piece.first(size)));
        piece = piece.subspan(size);
        if (found != nullptr) {
            std::string_view line(m_line);
            line.remove_suffix(line.ends_with("\r\n") ? 2 : 1);
            takeLine(line);
            m_line.clear();
        }
    }
    return state();
}

HttpResponseReader::State HttpResponseReader::close() noexcept {
    if (m_part == Part::EndlessBody) {
        m_part = Part::Done;
    } else if (m_part != Part::Done && m_part != Part::Failed) {
        fail("the connection was closed before the answer was complete");
    }
    return state();
}

HttpResponseReader::State HttpResponseReader::state() const noexcept {
    return m_part == Part::Done     ? State::Complete
           : m_part == Part::Failed ? State::Failed
                                    : State::NeedsMore;
}

bool HttpResponseReader::takesLines() const noexcept {
    return m_part != Part::FixedBody && m_part != Part::EndlessBody && m_part != Part::ChunkData;
}

void HttpResponseReader::fail(std::string_view whyNot) noexcept {
    m_part = Part::Failed;
    m_whyNot = whyNot;
    m_body.clear();
}

void HttpResponseReader::takeLine(std::string_view line) {
    switch (m_part) {
    case Part::StatusLine: takeStatusLine(line); break;
    case Part::Header: line.empty() ? endHeader() : takeHeader(line); break;
    case Part::ChunkSize: takeChunkSize(line); break;
    case Part::ChunkEnd:
        if (line.empty()) {
            m_part = Part::ChunkSize;
        } else {
            fail("a chunk is longer than it says");
        }
        break;
    case Part::Trailer:
        if (line.empty()) {
            m_part = Part::Done;
        }
        break;
    default: break;
    }
}

// status-line = HTTP-version SP status-code SP [ reason-phrase ]
void HttpResponseReader::takeStatusLine(std::string_view line) {
    std::uint64_t code = 0;
    if (line.size() < 12 || !line.starts_with("HTTP/1.") || line[8] != ' ' ||
        (line.size() > 12 && line[12] != ' ') || !parseNumber(line.substr(9, 3), 10, code) ||
        code < 100) {
        fail("the answer is no HTTP response");
        return;
    }
    m_status = static_cast<int>(code);
    m_part = Part::Header;
}

void HttpResponseReader::takeHeader(std::string_view line) {
    const std::size_t colon = line.find(':');
    // RFC 9112 5.1, 5.2: no white space before the colon, no continuation lines.
    if (colon == std::string_view::npos || colon == 0 || text::isSpaceAscii(line[0]) ||
        text::isSpaceAscii(line[colon - 1])) {
        fail("a header line is malformed");
        return;
    }
    const std::string_view name = line.substr(0, colon);
    const std::string_view value = text::trimmed(line.substr(colon + 1));
    if (text::equalsNoCase(name, "Content-Length")) {
        std::uint64_t length = 0;
        if (!parseNumber(value, 10, length) || (m_hasLength && length != m_remaining)) {
            fail("the content length is malformed");
            return;
        }
        m_hasLength = true;
        m_remaining = length;
    } else if (text::equalsNoCase(name, "Transfer-Encoding")) {
        if (m_chunked || !text::equalsNoCase(value, "chunked")) {
            fail("the transfer encoding is not supported");
            return;
        }
        m_chunked = true;
    } else if (text::equalsNoCase(name, "Content-Type")) {
        m_contentType = value;
    }
}

// RFC 9112 6.3
void HttpResponseReader::endHeader() noexcept {
    const bool interim = m_status < 200;
    if (interim && m_status != 101) {
        m_part = Part::StatusLine;
        m_chunked = false;
        m_hasLength = false;
        m_remaining = 0;
        m_contentType.clear();
    } else if (m_status == 101) {
        fail("the server wants another protocol");
    } else if (m_status == 204 || m_status == 304) {
        m_part = Part::Done;
    } else if (m_chunked) {
        m_part = Part::ChunkSize;
    } else if (m_hasLength) {
        expectBody(m_remaining);
    } else {
        m_part = Part::EndlessBody;
    }
}

void HttpResponseReader::expectBody(std::uint64_t size) noexcept {
    m_remaining = size;
    if (size > m_bodyLimit) {
        fail(kTooLarge);
    } else {
        m_part = size == 0 ? Part::Done : Part::FixedBody;
    }
}

// chunk = chunk-size [ chunk-ext ] CRLF chunk-data CRLF
void HttpResponseReader::takeChunkSize(std::string_view line) {
    const std::string_view digits = text::trimmed(line.substr(0, line.find(';')));
    if (!parseNumber(digits, 16, m_remaining)) {
        fail("the size of a chunk is malformed");
        return;
    }
    if (m_remaining > m_bodyLimit - m_body.getSize()) {
        fail(kTooLarge);
        return;
    }
    m_part = m_remaining == 0 ? Part::Trailer : Part::ChunkData;
    // The lines between the chunks of a long body must not use up what headers may take.
    m_headerBytes -= std::min<std::uint64_t>(m_headerBytes, m_remaining);
}

void HttpResponseReader::takeBody(ByteView& piece) {
    std::size_t size = piece.size();
    if (m_part != Part::EndlessBody) {
        size = static_cast<std::size_t>(std::min<std::uint64_t>(size, m_remaining));
    }
    if (size > m_bodyLimit - m_body.getSize()) {
        fail(kTooLarge);
        return;
    }
    if (!m_body.append(piece.first(size))) {
        throw std::bad_alloc();
    }
    piece = piece.subspan(size);
    if (m_part == Part::EndlessBody) {
        return;
    }
    m_remaining -= size;
    if (m_remaining == 0) {
        m_part = m_part == Part::ChunkData ? Part::ChunkEnd : Part::Done;
    }
}

} // namespace vantrel::io
