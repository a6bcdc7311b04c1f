// SPDX-License-Identifier: MIT
#include "foundation/x509/path/path_material.h"

#include "foundation/io/directory.h"
#include "foundation/io/files.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/path/crl.h"
#include "foundation/x509/pem.h"

#include <cstdlib>
#include <string_view>

namespace vantrel::x509 {

namespace {

constexpr std::uint32_t kMaxFile = std::uint32_t{1} << 30U; // bundles are large

// Where systems keep their anchors, the most usual first. Distributions agree on the format and not
// on the place.
constexpr const char* kSystemBundles[] = {"/etc/ssl/certs/ca-certificates.crt",
                                          "/etc/pki/tls/certs/ca-bundle.crt",
                                          "/etc/ssl/ca-bundle.pem", "/etc/ssl/cert.pem"};

// A variable that names a missing file is an answer too: the caller's wish is not overruled by what
// the machine has.
bool readSystemBundle(DataBuffer& bytes) {
    LogNull log;
    if (const char* const named = std::getenv("SSL_CERT_FILE"); named != nullptr) {
        return io::readFile(named, kMaxFile, bytes, log);
    }
    for (const char* const bundle : kSystemBundles) {
        if (io::readFile(bundle, kMaxFile, bytes, log)) {
            return true;
        }
    }
    return false;
}

// The second label is that of older tools; both hold the same DER.
bool isCrlLabel(std::string_view label) noexcept { return label == "X509 CRL" || label == "CRL"; }

// The bytes of all blocks whose label `wanted` accepts; of a file without blocks the file itself.
// False when a block is not base64. A file with one block of another kind is still a file of
// blocks, and is not read as DER.
bool readBlocks(ByteView file, bool (*wanted)(std::string_view), std::vector<DataBuffer>& out) {
    PemReader reader(asText(file));
    PemBlock block;
    bool isPem = false;
    while (reader.next(block)) {
        isPem = true;
        DataBuffer der;
        if (!wanted(block.label)) {
            continue;
        }
        if (!text::decodeBase64(block.base64, der)) {
            return false;
        }
        out.push_back(std::move(der));
    }
    if (!isPem) {
        out.emplace_back(file);
    }
    return true;
}

} // namespace

// All or nothing, since a bundle that is read by half would trust or find less than it says.
bool PathMaterial::addCertificates(ByteView file, std::vector<const VantrelX509*>& out,
                                   LogBase& log) {
    std::vector<DataBuffer> blocks;
    std::vector<const VantrelX509*> added;
    if (!readBlocks(file, isCertificateLabel, blocks)) {
        log.LogError("A PEM block is not base64.");
        return false;
    }
    for (const DataBuffer& der : blocks) {
        VantrelX509& certificate = m_certificates.emplace_back();
        if (!certificate.loadX509Der(der, log)) {
            return false;
        }
        added.push_back(&certificate);
    }
    if (added.empty()) {
        log.LogError("The file holds no certificate.");
        return false;
    }
    out.insert(out.end(), added.begin(), added.end());
    return true;
}

// Unlike a single file, a folder may hold keys, readme files and lists; whoever names it means what
// is usable in it. A folder without any certificate is a mistake.
bool PathMaterial::addFolder(const std::string& name, std::vector<const VantrelX509*>& out,
                             LogBase& log) {
    std::vector<std::string> files;
    if (!io::listFiles(name, files, log)) {
        return false;
    }
    const std::size_t before = out.size();
    LogNull discard; // other files are no fault
    for (const std::string& file : files) {
        DataBuffer bytes;
        if (io::readFile(file, kMaxFile, bytes, discard)) {
            static_cast<void>(addCertificates(bytes.view(), out, discard));
        }
    }
    if (out.size() == before) {
        log.LogError("No file of the folder holds a certificate.");
    }
    return out.size() != before;
}

bool PathMaterial::addCertificateSource(const std::string& name,
                                        std::vector<const VantrelX509*>& out, LogBase& log) {
    DataBuffer bytes;
    // A folder or file of that name can be given as "./system".
    if (name == "system") {
        if (!readSystemBundle(bytes)) {
            log.LogError("This machine has no bundle of trust anchors where one is looked for.");
            return false;
        }
        return addCertificates(bytes.view(), out, log);
    }
    if (io::isDirectory(name)) {
        return addFolder(name, out, log);
    }
    return io::readFile(name, kMaxFile, bytes, log) && addCertificates(bytes.view(), out, log);
}

// Unlike certificates, lists are kept as bytes: most queries never look into them.
bool PathMaterial::addCrls(ByteView file, std::vector<ByteView>& out, LogBase& log) {
    std::vector<DataBuffer> blocks;
    if (!readBlocks(file, isCrlLabel, blocks) || blocks.empty()) {
        log.LogError("The file holds no revocation list.");
        return false;
    }
    // Kept as they are: the views that are handed out point into them, and stay valid as they grow.
    for (DataBuffer& der : blocks) {
        out.push_back(m_bytes.emplace_back(std::move(der)).view());
    }
    return true;
}

void PathMaterial::addOcspResponse(ByteView response, std::vector<ByteView>& out) {
    out.push_back(m_bytes.emplace_back(response).view());
}

bool isRevocationList(ByteView der, std::string_view& whyNot) {
    Crl list;
    return parseCrl(der, list, whyNot);
}

} // namespace vantrel::x509
