// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_BASE_CLSBASE_H
#define FOUNDATION_BASE_CLSBASE_H

#include "foundation/base/VantrelCritSec.h"
#include "foundation/base/_vlLogger.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/XString.h"

#include <cstdint>
#include <string_view>

namespace vantrel {

/// Base of the public objects: a lock, a diagnostic log and the settings that every object has.
///
/// The log describes the last public operation; opening one forgets what the one before it wrote.
/// Objects live on the stack, as members, or on the heap; they are not copied.
class ClsBase {
public:
    ClsBase() = default;
    ClsBase(const ClsBase&) = delete;
    ClsBase& operator=(const ClsBase&) = delete;

    // The order of the virtual functions is fixed.
    virtual ~ClsBase();
    /// A short text for the object: by default the log of its last operation.
    virtual void _toString(XString& out);
    /// Records an outcome as if the named operation had just had it; for wrappers of the object.
    virtual void injectStatus(const char* methodName, bool success);
    /// Records an error line as if the named operation had written it.
    virtual void injectError(const char* methodName, const char* text);
    /// Words that switch special behaviour on, such as "ZATCA".
    virtual void put_UncommonOptions(XString& options);
    virtual bool get_VerboseLogging();
    /// Writes the entries that explain rather than report.
    virtual void put_VerboseLogging(bool verbose);
    /// Gives up what can be given up before the destructor runs.
    virtual void dotNetDispose();
    /// A file to which the log of each operation is appended; empty for none.
    virtual void get_DebugLogFilePath(XString& path);
    virtual void put_DebugLogFilePath(XString& path);

    void get_UncommonOptions(XString& options);
    /// The log of the last operation.
    void get_LastErrorText(XString& text);
    /// The structured (JSON) result of the last operation; empty if it has none.
    void get_LastJsonData(XString& json);
    /// The latest error line of the last operation, and the first; empty without errors.
    void get_LastErrorLine(XString& text);
    void get_FirstErrorLine(XString& text);
    /// Whether the last operation that reports an outcome succeeded.
    [[nodiscard]] bool get_LastMethodSuccess();

    /// Deletes an object that createNewCls() made.
    void deleteSelf() noexcept { delete this; }

    [[nodiscard]] VantrelCritSec& critSec() noexcept { return m_critSec; }
    [[nodiscard]] _vlLogger& log() noexcept { return m_log; }

    // Writes the outcome to the log and remembers it.
    void logSuccessFailure(bool success) { logSuccessFailure2(success, m_log); }
    void logSuccessFailure2(bool success, LogBase& log);
    // Remembers the outcome without a line in the log.
    void recordOutcome(bool success) noexcept { m_lastMethodSuccess = success; }

    // The outermost public operation starts a new log; one that is called by another continues it.
    // Called under the lock, through LogContextExitor.
    void enterMethod(const char* name);
    void leaveMethod() noexcept;

protected:
    VantrelCritSec m_critSec;
    _vlLogger m_log;

private:
    void appendToDebugLog() noexcept;

    XString m_debugLogFilePath;
    std::uint32_t m_methodDepth = 0;
    bool m_lastMethodSuccess = false;
};

} // namespace vantrel

#endif
