// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_RECORDING_LOG_H
#define TESTS_SUPPORT_RECORDING_LOG_H

#include "foundation/text/LogBase.h"

#include <string>
#include <string_view>

namespace vantrel::test {

// A log that keeps its error lines, each ended by LF, and forgets the rest.
class RecordingLog final : public LogBase {
public:
    void LogError(const char* text) override { errors += std::string(text) + "\n"; }
    void LogInfo(const char* /*text*/) override {}
    void enterContext(const char* /*name*/) override {}
    void leaveContext() override {}
    void logText(const char* /*key*/, std::string_view /*value*/) override {}
    void LogBracketed(const char* /*key*/, std::string_view /*text*/) override {}
    void setLastJsonData(const StringBuffer& /*json*/) override {}
    void clearLastJsonData() override {}
    [[nodiscard]] bool isRecording() const noexcept override { return true; }

    [[nodiscard]] bool hasError(std::string_view text) const {
        return errors.find(text) != std::string::npos;
    }

    std::string errors;
};

} // namespace vantrel::test

#endif
