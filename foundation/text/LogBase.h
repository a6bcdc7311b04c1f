// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_LOGBASE_H
#define FOUNDATION_TEXT_LOGBASE_H

#include "foundation/text/StringBuffer.h"
#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace vantrel {

class DataBuffer;
class XString;

// The diagnostic log as its writers see it: nested named contexts that hold key/value lines, info
// lines and error lines. It also carries two settings that callers read: the verbose flag and the
// options text, which is searched for words such as "ZATCA".
class LogBase {
public:
    LogBase() noexcept = default;
    LogBase(const LogBase&) = delete;
    LogBase& operator=(const LogBase&) = delete;
    virtual ~LogBase() = default;

    virtual void LogError(const char* text) = 0;
    virtual void LogInfo(const char* text) = 0;
    virtual void enterContext(const char* name) = 0;
    virtual void leaveContext() = 0;
    // One key/value line. Every LogData call ends here.
    virtual void logText(const char* key, std::string_view value) = 0;
    // The structured (JSON) result of the operation, and forgetting it.
    virtual void setLastJsonData(const StringBuffer& json) = 0;
    virtual void clearLastJsonData() = 0;
    // False for a log that discards everything: lets a writer skip preparing large values.
    [[nodiscard]] virtual bool isRecording() const noexcept = 0;

    // Entries that differ from others in a few values only can be written in one piece. Where the
    // log stands: how much of its text there is, and how many contexts are open.
    struct Place {
        std::uint32_t size = 0;
        std::uint32_t depth = 0;
    };
    [[nodiscard]] virtual Place place() const noexcept { return {}; }
    // The entries since then as they stand in the text; empty where one of them is an error, or for
    // a log without a text. Valid until the next entry.
    [[nodiscard]] virtual std::string_view entriesSince(Place /*before*/) const noexcept {
        return {};
    }
    // Whether putEntries takes so many bytes of entries that were read at this depth.
    [[nodiscard]] virtual bool takesEntries(std::uint32_t /*depth*/,
                                            std::size_t /*bytes*/) const noexcept {
        return false;
    }
    // Writes them, in pieces. Values among them stand as they are: they have no control characters
    // and are not long.
    virtual void putEntries(std::span<const std::string_view> /*pieces*/) {}

    void LogDataSb(const char* key, const StringBuffer& value) { logText(key, value.view()); }
    void LogDataX(const char* key, const XString& value);
    void LogDataLong(const char* key, std::int64_t value);
    void LogDataUint32(const char* key, std::uint32_t value);
    void LogDataBool(const char* key, bool value);
    void LogDataHexDb(const char* key, const DataBuffer& value);
    // The value stands in brackets, so that white space at its ends stays visible.
    virtual void LogBracketed(const char* key, std::string_view text) = 0;
    // The same for the `length` bytes from `start` of a text, which a log may share with its owner
    // instead of copying them.
    virtual void LogBracketedPart(const char* key, const StringBuffer& text, std::uint32_t start,
                                  std::uint32_t length) {
        LogBracketed(key, text.view().substr(start, length));
    }

    [[nodiscard]] bool verbose() const noexcept { return m_verbose; }
    void setVerbose(bool verbose) noexcept { m_verbose = verbose; }
    [[nodiscard]] const StringBuffer& options() const noexcept { return m_options; }
    [[nodiscard]] StringBuffer& options() noexcept { return m_options; }

private:
    bool m_verbose = false;
    StringBuffer m_options;
};

// Discards everything; for callees that insist on a log whose output nobody wants.
class LogNull final : public LogBase {
public:
    LogNull() noexcept = default;
    // Discards, but carries the settings of another log.
    explicit LogNull(const LogBase& settings);

    void LogError(const char* /*text*/) override {}
    void LogInfo(const char* /*text*/) override {}
    void enterContext(const char* /*name*/) override {}
    void leaveContext() override {}
    void logText(const char* /*key*/, std::string_view /*value*/) override {}
    void LogBracketed(const char* /*key*/, std::string_view /*text*/) override {}
    void setLastJsonData(const StringBuffer& /*json*/) override {}
    void clearLastJsonData() override {}
    [[nodiscard]] bool isRecording() const noexcept override { return false; }
};

} // namespace vantrel

#endif
