// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_HTTP_RESPONSE_READER_H
#define FOUNDATION_IO_HTTP_RESPONSE_READER_H

#include "foundation/text/DataBuffer.h"
#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel::io {

// Reads one HTTP/1.x response (RFC 9112) from the pieces in which it arrives. It knows no sockets
// and no time. Everything is bounded: the header section (with trailers, interim responses and the
// lines of chunk sizes) by kMaxHeaderBytes, the body by the limit given. Work is linear in what is
// fed. May throw std::bad_alloc.
class HttpResponseReader final {
public:
    static constexpr std::size_t kMaxHeaderBytes = 64U << 10;

    enum class State { NeedsMore, Complete, Failed };

    explicit HttpResponseReader(std::uint32_t bodyLimit) noexcept : m_bodyLimit(bodyLimit) {}

    // Takes the next piece. Bytes after a complete response are ignored.
    [[nodiscard]] State feed(ByteView piece);
    // The peer has closed the connection: complete only if that is how the body ends.
    [[nodiscard]] State close() noexcept;

    // Static lifetime; meaningful when feed or close failed.
    [[nodiscard]] std::string_view whyNot() const noexcept { return m_whyNot; }
    [[nodiscard]] int status() const noexcept { return m_status; }
    [[nodiscard]] const std::string& contentType() const noexcept { return m_contentType; }
    [[nodiscard]] DataBuffer& body() noexcept { return m_body; }

private:
    enum class Part {
        StatusLine,
        Header,
        FixedBody,
        EndlessBody,
        ChunkSize,
        ChunkData,
        ChunkEnd,
        Trailer,
        Done,
        Failed
    };

    [[nodiscard]] bool takesLines() const noexcept;
    void takeLine(std::string_view line);
    void takeStatusLine(std::string_view line);
    void takeHeader(std::string_view line);
    void takeChunkSize(std::string_view line);
    void endHeader() noexcept;
    void expectBody(std::uint64_t size) noexcept;
    void takeBody(ByteView& piece);
    void fail(std::string_view whyNot) noexcept;
    [[nodiscard]] State state() const noexcept;

    Part m_part = Part::StatusLine;
    std::string_view m_whyNot;
    std::string m_line; // begun, its end not yet seen
    std::size_t m_headerBytes = 0;
    int m_status = 0;
    bool m_chunked = false;
    bool m_hasLength = false;
    std::uint64_t m_remaining = 0; // of the body or the chunk
    std::string m_contentType;
    DataBuffer m_body;
    std::uint32_t m_bodyLimit;
};

} // namespace vantrel::io

#endif
