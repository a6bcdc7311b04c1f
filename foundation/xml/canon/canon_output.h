#ifndef FOUNDATION_XML_CANON_CANON_OUTPUT_H
#define FOUNDATION_XML_CANON_CANON_OUTPUT_H

#include "foundation/xml/canon/canonicalizer.h"

#include <cstddef>
#include <cstring>
#include <string_view>

namespace vantrel::xml {

// Collects the pieces of a canonical form and hands them to the sink in portions that fit the first
// level cache. Long pieces go to the sink straight from where they stand. After a refusal the rest
// is dropped.
class CanonOutput final {
public:
    explicit CanonOutput(CanonSink& sink) noexcept : m_sink(sink) {}

    void put(std::string_view piece) {
        if (piece.size() > sizeof m_buffer - m_used) {
            putLong(piece);
            return;
        }
        std::memcpy(m_buffer + m_used, piece.data(), piece.size());
        m_used += piece.size();
    }

    void put(const char* begin, const char* end) {
        put(std::string_view(begin, static_cast<std::size_t>(end - begin)));
    }

    void put(char c) {
        if (m_used == sizeof m_buffer) {
            flush();
        }
        m_buffer[m_used++] = c;
    }

    // Hands over what was collected; false when the sink refused anything so far.
    [[nodiscard]] bool finish() {
        flush();
        return !m_refused;
    }

    [[nodiscard]] bool refused() const noexcept { return m_refused; }

private:
    static constexpr std::size_t kBuffer = std::size_t{16} << 10;
    static constexpr std::size_t kPortion = std::size_t{32} << 10;

    void flush();
    void putLong(std::string_view piece);

    CanonSink& m_sink;
    std::size_t m_used = 0;
    bool m_refused = false;
    char m_buffer[kBuffer]; // left uninitialised: only what was put is read
};

} // namespace vantrel::xml

#endif
