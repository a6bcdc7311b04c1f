#include "foundation/x509/path/path_material.h"

#include "foundation/text/LogBase.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/pem.h"

namespace vantrel::x509 {

namespace {

bool isCrlLabel(std::string_view label) noexcept { return label == "X509 CRL" || label == "CRL"; }

// The bytes of all blocks whose label `wanted` accepts; of a file without blocks the file itself.
// False when a block is not base64.
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

bool PathMaterial::addCrls(ByteView file, std::vector<ByteView>& out, LogBase& log) {
    std::vector<DataBuffer> blocks;
    if (!readBlocks(file, isCrlLabel, blocks) || blocks.empty()) {
        log.LogError("The file holds no revocation list.");
        return false;
    }
    for (DataBuffer& der : blocks) {
        out.push_back(m_bytes.emplace_back(std::move(der)).view());
    }
    return true;
}

void PathMaterial::addOcspResponse(ByteView response, std::vector<ByteView>& out) {
    out.push_back(m_bytes.emplace_back(response).view());
}

} // namespace vantrel::x509
