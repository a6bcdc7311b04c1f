// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_BASE_VLLOGGER_H
#define FOUNDATION_BASE_VLLOGGER_H

#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace vantrel {

// The log that every public object owns: one growing text, a line an entry, contexts indented by
// two columns. Values stand on one line, control characters escaped as in C, so that no value can
// pass for a line of its own; only a bracketed value appears as it is, unless setOneLineValues says
// otherwise. When memory runs out the entry is lost and the text stays valid.
//
// A very long value is shown cut, with the number of bytes that are left out. An entry that would
// take the text past its limit, and everything behind it, is not taken; a last line says so. Errors
// are remembered all the same.
//
// One long bracketed part of a text is not copied into the log until the log is read: most logs
// never are.
class _vlLogger final : public LogBase {
public:
    static constexpr std::uint32_t kDefaultLimit = 64U * 1024 * 1024;
    // Longer values are cut. Bracketed ones are texts that readers compare with a document's.
    static constexpr std::size_t kMaxShownValue = std::size_t{64} * 1024;
    static constexpr std::size_t kMaxBracketedValue = std::size_t{16} * 1024 * 1024;
    // Of a text, shorter parts are copied at once.
    static constexpr std::size_t kWorthSharing = std::size_t{16} * 1024;

    void LogError(const char* text) override;
    void LogInfo(const char* text) override;
    void enterContext(const char* name) override;
    void leaveContext() override;
    void logText(const char* key, std::string_view value) override;
    void LogBracketed(const char* key, std::string_view text) override;
    void LogBracketedPart(const char* key, const StringBuffer& text, std::uint32_t start,
                          std::uint32_t length) override;
    void setLastJsonData(const StringBuffer& json) override { m_lastJsonData = json; }
    void clearLastJsonData() override { m_lastJsonData.clear(); }
    [[nodiscard]] bool isRecording() const noexcept override { return !m_cut; }
    [[nodiscard]] Place place() const noexcept override { return {m_text.getSize(), m_depth}; }
    [[nodiscard]] std::string_view entriesSince(Place before) const noexcept override;
    [[nodiscard]] bool takesEntries(std::uint32_t depth,
                                    std::size_t bytes) const noexcept override {
        return depth == m_depth && !m_cut && size() + bytes <= m_limit;
    }
    void putEntries(std::span<const std::string_view> pieces) override;
    // Escapes bracketed values like the others, so that every line of the text is a line of the
    // log: for who shows it line by line. Off by default; forgetting the text does not change it.
    void setOneLineValues(bool oneLine) noexcept { m_oneLineValues = oneLine; }
    // The number of bytes that the text may have, but for the line that says that it was cut.
    void setLimit(std::uint64_t bytes) noexcept;

    [[nodiscard]] const StringBuffer& text() noexcept {
        putShared();
        return m_text;
    }
    [[nodiscard]] const StringBuffer& lastJsonData() const noexcept { return m_lastJsonData; }
    // The text of the first and the latest error entry; empty if there is none. Valid until the
    // next change of the log.
    [[nodiscard]] std::string_view firstErrorLine() const noexcept {
        return m_firstError.size != 0 ? line(m_firstError) : m_firstLateError.view();
    }
    [[nodiscard]] std::string_view lastErrorLine() const noexcept {
        return m_lastLateError.isEmpty() ? line(m_lastError) : m_lastLateError.view();
    }

    // Forgets the text and the error lines; open contexts stay open.
    void clearLog() noexcept;

private:
    struct Line {
        std::uint32_t start = 0;
        std::uint32_t size = 0;
    };

    // A part of a text that belongs into this one at `position`; none where `length` is 0.
    struct Shared {
        StringBuffer text;
        std::uint32_t start = 0;
        std::uint32_t length = 0;
        std::uint32_t position = 0;
    };

    class Entry;

    // Bytes of the whole log.
    [[nodiscard]] std::uint64_t size() const noexcept {
        return std::uint64_t{m_text.getSize()} + m_shared.length;
    }
    // Copies the shared part to where it belongs; without memory for it, it waits on.
    void putShared() noexcept;
    // Whether an entry with these bytes is still taken; if not, the text ends here.
    [[nodiscard]] bool takes(std::size_t bytes) noexcept {
        if (!m_cut && size() + bytes <= m_limit) [[likely]] {
            return true;
        }
        endText();
        return false;
    }
    void endText() noexcept;
    // Writes an entry at once, with so much of ": " behind the key; false, and nothing is written,
    // where the text has no room for it or the value is not to stand as it is. Nearly all entries
    // are written this way.
    [[nodiscard]] bool putAtOnce(std::string_view key, std::size_t markSize,
                                 std::string_view value) noexcept;
    void noteLateError(std::string_view text) noexcept;

    [[nodiscard]] std::string_view line(Line where) const noexcept {
        const std::string_view text = m_text.view();
        // An entry that memory was too short for is not there.
        return where.start < text.size() ? text.substr(where.start, where.size)
                                         : std::string_view{};
    }

    StringBuffer m_text;
    Shared m_shared;
    StringBuffer m_lastJsonData;
    std::uint32_t m_depth = 0;
    Line m_firstError;
    Line m_lastError;
    // Errors behind the end of the text.
    StringBuffer m_firstLateError;
    StringBuffer m_lastLateError;
    std::uint32_t m_limit = kDefaultLimit;
    bool m_cut = false;
    bool m_oneLineValues = false;
};

} // namespace vantrel

#endif
