// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_PATH_MATERIAL_H
#define FOUNDATION_X509_PATH_PATH_MATERIAL_H

#include "foundation/text/DataBuffer.h"
#include "foundation/text/byte_view.h"
#include "foundation/x509/VantrelX509.h"

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

class LogBase;

namespace x509 {

// Owns what a query refers to: certificates, revocation lists and answers as files and documents
// hold them. What it handed out stays valid as long as it lives. Everything else in this folder
// borrows: queries, facts and results point into what is kept here.
class PathMaterial final {
public:
    PathMaterial() = default;
    PathMaterial(const PathMaterial&) = delete;
    PathMaterial& operator=(const PathMaterial&) = delete;

    // Appends to `out` the certificates of a file: PEM blocks, of which others than certificates
    // are passed over, or one certificate in DER. False, with one error line, when there is none or
    // one of them is malformed; `out` is then unchanged. May throw std::bad_alloc. Bounded by the
    // size of a file that is read (1 GiB) and by nothing else: these are the caller's own files,
    // not a document's.
    [[nodiscard]] bool addCertificates(ByteView file, std::vector<const VantrelX509*>& out,
                                       LogBase& log);
    // The same by the name of a file; or of a folder, whose files may hold anything; or for
    // "system" the bundle of anchors that this machine keeps, which the environment variable
    // SSL_CERT_FILE may name.
    [[nodiscard]] bool addCertificateSource(const std::string& name,
                                            std::vector<const VantrelX509*>& out, LogBase& log);
    // The same for revocation lists (PEM label "X509 CRL"). Whether a list is well-formed shows
    // when it is used, or to those who ask isRevocationList before.
    [[nodiscard]] bool addCrls(ByteView file, std::vector<ByteView>& out, LogBase& log);
    // Appends a copy of the bytes of an answer of a responder, which are DER. Never fails: a
    // malformed answer shows when it is read.
    void addOcspResponse(ByteView response, std::vector<ByteView>& out);

private:
    [[nodiscard]] bool addFolder(const std::string& name, std::vector<const VantrelX509*>& out,
                                 LogBase& log);

    // Deques, since addresses have been handed out.
    std::deque<VantrelX509> m_certificates;
    std::deque<DataBuffer> m_bytes;
};

// Whether the bytes are a list that queries can read. One that they cannot is as one that was not
// given, so whoever was given it by name should say so. `whyNot`: a text of static lifetime. May
// throw std::bad_alloc.
[[nodiscard]] bool isRevocationList(ByteView der, std::string_view& whyNot);

} // namespace x509
} // namespace vantrel

#endif
