#ifndef FOUNDATION_LOG_VLLOGGER_H
#define FOUNDATION_LOG_VLLOGGER_H

#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"

#include <cstdint>
#include <string_view>

namespace vantrel {

// The log that every public object owns: one growing text, a line an entry, contexts indented by
// two columns. Values stand on one line, control characters escaped as in C, so that no value can
// pass for a line of its own; only a bracketed value appears as it is. When memory runs out the
// entry is lost and the text stays valid.
class _vlLogger final : public LogBase {
public:
    void LogError(const char* text) override;
    void LogInfo(const char* text) override;
    void enterContext(const char* name) override;
    void leaveContext() override;
    void logText(const char* key, std::string_view value) override;
    void LogBracketed(const char* key, std::string_view text) override;
    void setLastJsonData(const StringBuffer& json) override { m_lastJsonData = json; }
    void clearLastJsonData() override { m_lastJsonData.clear(); }
    [[nodiscard]] bool isRecording() const noexcept override { return true; }

    [[nodiscard]] const StringBuffer& text() const noexcept { return m_text; }
    [[nodiscard]] const StringBuffer& lastJsonData() const noexcept { return m_lastJsonData; }
    // The text of the first and the latest error entry; empty if there is none. Valid until the
    // next change of the log.
    [[nodiscard]] std::string_view firstErrorLine() const noexcept { return line(m_firstError); }
    [[nodiscard]] std::string_view lastErrorLine() const noexcept { return line(m_lastError); }

    // Forgets the text and the error lines; open contexts stay open.
    void clearLog() noexcept;

private:
    struct Line {
        std::uint32_t start = 0;
        std::uint32_t size = 0;
    };

    class Entry;

    [[nodiscard]] std::string_view line(Line where) const noexcept {
        const std::string_view text = m_text.view();
        // An entry that memory was too short for is not there.
        return where.start < text.size() ? text.substr(where.start, where.size)
                                         : std::string_view{};
    }

    StringBuffer m_text;
    StringBuffer m_lastJsonData;
    std::uint32_t m_depth = 0;
    Line m_firstError;
    Line m_lastError;
};

} // namespace vantrel

#endif
