// SPDX-License-Identifier: MIT
#include "foundation/text/LogBase.h"

#include "foundation/text/DataBuffer.h"
#include "foundation/text/XString.h"

#include <array>
#include <charconv>

namespace vantrel {

void LogBase::LogDataX(const char* key, const XString& value) {
    logText(key, value.getUtf8Sb().view());
}

void LogBase::LogDataLong(const char* key, std::int64_t value) {
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    logText(key, {digits.data(), static_cast<std::size_t>(end - digits.data())});
}

void LogBase::LogDataUint32(const char* key, std::uint32_t value) { LogDataLong(key, value); }

void LogBase::LogDataBool(const char* key, bool value) { logText(key, value ? "true" : "false"); }

void LogBase::LogDataHexDb(const char* key, const DataBuffer& value) {
    if (isRecording()) {
        StringBuffer hex;
        if (value.encodeDB("hex", hex)) {
            logText(key, hex.view());
        }
    }
}

LogNull::LogNull(const LogBase& settings) {
    setVerbose(settings.verbose());
    options().setString(settings.options());
}

} // namespace vantrel
