// SPDX-License-Identifier: MIT
#include "foundation/base/log_tape.h"

#include "foundation/text/strings.h"

namespace vantrel {

LogTape::LogTape(const LogBase& settings) {
    setVerbose(settings.verbose());
    options().setString(settings.options());
}

void LogTape::note(Kind kind, const char* text, std::string_view value) {
    m_lines.push_back({kind, std::string(text::viewOf(text)), std::string(value)});
}

void LogTape::replay(const std::vector<Line>& lines, LogBase& log) {
    for (const Line& line : lines) {
        switch (line.kind) {
        case Kind::Error: log.LogError(line.text.c_str()); break;
        case Kind::Info: log.LogInfo(line.text.c_str()); break;
        case Kind::Enter: log.enterContext(line.text.c_str()); break;
        case Kind::Leave: log.leaveContext(); break;
        case Kind::Text: log.logText(line.text.c_str(), line.value); break;
        case Kind::Bracketed: log.LogBracketed(line.text.c_str(), line.value); break;
        }
    }
}

} // namespace vantrel
