// The members of the key and of the certificate vault that read files. They stand here because the
// folder of the classes, being below this one, knows no files.
#include "foundation/base/MethodFrame.h"
#include "foundation/io/directory.h"
#include "foundation/io/files.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/x509/ClsXmlCertVault.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "foundation/x509/no_throw.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vantrel {

namespace {

constexpr std::uint32_t kMaxKeyFile = std::uint32_t{16} << 20U;
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

bool ClsPublicKey::loadAnyFile(const XString& path, LogBase& log) {
    return x509::noThrow(false, [&] {
        DataBuffer bytes;
        m_key.clear();
        return io::readFile(path.getUtf8Sb().view(), kMaxKeyFile, bytes, log) &&
               loadAnyBytes(bytes.view(), log);
    });
}

bool ClsPublicKey::LoadFromFile(const XString& path) {
    LogNull discard;
    return loadAnyFile(path, discard);
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

} // namespace vantrel
