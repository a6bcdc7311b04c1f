// SPDX-License-Identifier: MIT
#include "foundation/x509/ClsXmlCertVault.h"

#include "foundation/base/ClsBinData.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/io/directory.h"
#include "foundation/io/files.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

namespace {

constexpr std::uint32_t kMaxCertificateFile = std::uint32_t{1} << 30U; // bundles are large

bool addFile(std::string_view path, CertMgr& manager, std::uint32_t& added, LogBase& log) {
    DataBuffer bytes;
    added = 0;
    return io::readFile(path, kMaxCertificateFile, bytes, log) &&
           manager.addAny(bytes.view(), added, log);
}

bool addDirectory(std::string_view path, CertMgr& manager, std::uint32_t& total, LogBase& log) {
    std::vector<std::string> files;
    if (!io::listFiles(path, files, log)) {
        return false;
    }
    LogNull discard; // other files are no fault
    for (const std::string& file : files) {
        std::uint32_t added = 0;
        if (addFile(file, manager, added, discard)) {
            total += added;
        }
    }
    if (total == 0) {
        log.LogError("No file of the directory holds a certificate.");
    }
    return total != 0;
}

} // namespace

ClsXmlCertVault* ClsXmlCertVault::createNewCls() { return new (std::nothrow) ClsXmlCertVault(); }

ClsXmlCertVault::ClsXmlCertVault() = default;
ClsXmlCertVault::~ClsXmlCertVault() = default;

bool ClsXmlCertVault::AddCertDer(const ClsBinData& der) {
    return MethodFrame::run(*this, "AddCertDer", [&](MethodFrame& frame) {
        return frame.finish(m_manager.addDer(der.data(), m_log));
    });
}

bool ClsXmlCertVault::AddCertEncoded(const XString& base64) {
    return MethodFrame::run(*this, "AddCertEncoded", [&](MethodFrame& frame) {
        return frame.finish(m_manager.addBase64(base64.getUtf8Sb().view(), m_log));
    });
}

bool ClsXmlCertVault::AddCertPem(const XString& pem) {
    return MethodFrame::run(*this, "AddCertPem", [&](MethodFrame& frame) {
        std::uint32_t added = 0;
        const bool ok = m_manager.addPem(pem.getUtf8Sb().view(), added, m_log);
        m_log.LogDataUint32("numCertsAdded", added);
        return frame.finish(ok);
    });
}

bool ClsXmlCertVault::AddCertFile(const XString& path) {
    return MethodFrame::run(*this, "AddCertFile", [&](MethodFrame& frame) {
        std::uint32_t added = 0;
        const bool ok = addFile(path.getUtf8Sb().view(), m_manager, added, m_log);
        m_log.LogDataUint32("numCertsAdded", added);
        return frame.finish(ok);
    });
}

bool ClsXmlCertVault::AddCertDirectory(const XString& path) {
    return MethodFrame::run(*this, "AddCertDirectory", [&](MethodFrame& frame) {
        std::uint32_t added = 0;
        const bool ok = addDirectory(path.getUtf8Sb().view(), m_manager, added, m_log);
        m_log.LogDataUint32("numCertsAdded", added);
        return frame.finish(ok);
    });
}

std::uint32_t ClsXmlCertVault::get_NumCerts() { return m_manager.numCerts(); }

} // namespace vantrel
