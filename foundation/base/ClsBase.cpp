// SPDX-License-Identifier: MIT
#include "foundation/base/ClsBase.h"

#include "foundation/base/CritSecExitor.h"
#include "foundation/base/LogContextExitor.h"

#include <exception>
#include <fstream>

namespace vantrel {

ClsBase::~ClsBase() = default;

void ClsBase::_toString(XString& out) { get_LastErrorText(out); }

void ClsBase::injectStatus(const char* methodName, bool success) {
    const CritSecExitor lock(m_critSec);
    const LogContextExitor context(*this, methodName);
    logSuccessFailure(success);
}

void ClsBase::injectError(const char* methodName, const char* text) {
    const CritSecExitor lock(m_critSec);
    const LogContextExitor context(*this, methodName);
    m_log.LogError(text);
    m_lastMethodSuccess = false;
}

void ClsBase::put_UncommonOptions(XString& options) {
    const CritSecExitor lock(m_critSec);
    m_log.options() = options.getUtf8Sb();
}

void ClsBase::get_UncommonOptions(XString& options) {
    const CritSecExitor lock(m_critSec);
    options.setFromSbUtf8(m_log.options());
}

bool ClsBase::get_VerboseLogging() {
    const CritSecExitor lock(m_critSec);
    return m_log.verbose();
}

void ClsBase::put_VerboseLogging(bool verbose) {
    const CritSecExitor lock(m_critSec);
    m_log.setVerbose(verbose);
}

void ClsBase::dotNetDispose() {
    const CritSecExitor lock(m_critSec);
    m_log.clearLog();
    m_log.clearLastJsonData();
}

void ClsBase::get_DebugLogFilePath(XString& path) {
    const CritSecExitor lock(m_critSec);
    path.copyFromX(m_debugLogFilePath);
}

void ClsBase::put_DebugLogFilePath(XString& path) {
    const CritSecExitor lock(m_critSec);
    m_debugLogFilePath.copyFromX(path);
}

void ClsBase::get_LastErrorText(XString& text) {
    const CritSecExitor lock(m_critSec);
    text.setFromSbUtf8(m_log.text());
}

void ClsBase::get_LastJsonData(XString& json) {
    const CritSecExitor lock(m_critSec);
    json.setFromSbUtf8(m_log.lastJsonData());
}

void ClsBase::get_LastErrorLine(XString& text) {
    const CritSecExitor lock(m_critSec);
    text.clear();
    text.getUtf8Sb_rw().setView(m_log.lastErrorLine());
}

void ClsBase::get_FirstErrorLine(XString& text) {
    const CritSecExitor lock(m_critSec);
    text.clear();
    text.getUtf8Sb_rw().setView(m_log.firstErrorLine());
}

bool ClsBase::get_LastMethodSuccess() {
    const CritSecExitor lock(m_critSec);
    return m_lastMethodSuccess;
}

void ClsBase::logSuccessFailure2(bool success, LogBase& log) {
    log.LogInfo(success ? "Success." : "Failed.");
    m_lastMethodSuccess = success;
}

void ClsBase::enterMethod(const char* name) {
    if (m_methodDepth == 0) {
        m_log.clearLog();
    }
    ++m_methodDepth;
    m_log.enterContext(name);
}

void ClsBase::leaveMethod() noexcept {
    m_log.leaveContext();
    --m_methodDepth;
    if (m_methodDepth == 0 && !m_debugLogFilePath.isEmpty()) {
        appendToDebugLog();
    }
}

// A debug log that cannot be written is no reason to fail the operation.
void ClsBase::appendToDebugLog() noexcept {
    try {
        std::ofstream file(m_debugLogFilePath.getUtf8(), std::ios::binary | std::ios::app);
        file.write(m_log.text().getString(), m_log.text().getSize());
    } catch (const std::exception&) {
        return;
    }
}

} // namespace vantrel
