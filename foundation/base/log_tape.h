// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_BASE_LOG_TAPE_H
#define FOUNDATION_BASE_LOG_TAPE_H

#include "foundation/text/LogBase.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel {

// What a piece of work wrote to a log, kept so that it can be written again for everyone who uses
// the work's result. May throw std::bad_alloc.
class LogTape final : public LogBase {
public:
    enum class Kind : std::uint8_t { Error, Info, Enter, Leave, Text, Bracketed };
    struct Line {
        Kind kind;
        std::string text; // the key, for a line that has one
        std::string value;
    };

    // With the settings of another log.
    explicit LogTape(const LogBase& settings);

    void LogError(const char* text) override { note(Kind::Error, text, {}); }
    void LogInfo(const char* text) override { note(Kind::Info, text, {}); }
    void enterContext(const char* name) override { note(Kind::Enter, name, {}); }
    void leaveContext() override { note(Kind::Leave, "", {}); }
    void logText(const char* key, std::string_view value) override { note(Kind::Text, key, value); }
    void LogBracketed(const char* key, std::string_view text) override {
        note(Kind::Bracketed, key, text);
    }
    void setLastJsonData(const StringBuffer& /*json*/) override {}
    void clearLastJsonData() override {}
    [[nodiscard]] bool isRecording() const noexcept override { return true; }

    [[nodiscard]] std::vector<Line> take() noexcept { return std::move(m_lines); }
    static void replay(const std::vector<Line>& lines, LogBase& log);

private:
    void note(Kind kind, const char* text, std::string_view value);

    std::vector<Line> m_lines;
};

} // namespace vantrel

#endif
