// SPDX-License-Identifier: MIT
#include "api/trust_anchors.h"

#include "api/foreign_bytes.h"
#include "api/read_file.h"
#include "api/trust_data.h"
#include "dsig/trust/policy.h"
#include "foundation/base/_vlLogger.h"
#include "foundation/io/directory.h"

#include <algorithm>
#include <memory>

// Read once, when the caller hands them over: every verification then shares what came of it.
namespace vantrel {

namespace {

// The reader of paths takes this name for the machine's own anchors.
constexpr std::string_view kSystem = "system";

// The bytes in a form that the reader of paths takes: PEM or DER.
DataBuffer withoutBase64(std::string_view bytes) {
    DataBuffer der;
    return api::decodeDer(bytes, der) ? der : DataBuffer(asBytes(bytes));
}

// The anchors that `add` puts in place; its log says what is wrong.
template <class Add> std::shared_ptr<const api::AnchorData> anchorsOf(const Add& add) {
    auto material = std::make_shared<x509::PathMaterial>();
    auto data = std::make_shared<api::AnchorData>();
    if (!add(*material, data->certificates)) {
        return nullptr;
    }
    data->owner = std::move(material);
    return data;
}

// Of a folder, or of the machine.
std::shared_ptr<const api::AnchorData> anchorsNamed(const std::string& name, std::string& error) {
    _vlLogger log;
    auto data = anchorsOf([&](x509::PathMaterial& material, auto& out) {
        return material.addCertificateSource(name, out, log);
    });
    if (!data) {
        error = log.lastErrorLine();
    }
    return data;
}

} // namespace

Result<TrustAnchors> TrustAnchors::fromBytes(std::string_view bytes) {
    _vlLogger log;
    const DataBuffer file = withoutBase64(bytes);
    auto data = anchorsOf([&](x509::PathMaterial& material, auto& out) {
        return material.addCertificates(file.view(), out, log);
    });
    if (!data) {
        return api::notACertificate(bytes, log.lastErrorLine());
    }
    return TrustAnchors(std::move(data));
}

Result<TrustAnchors> TrustAnchors::fromFile(const std::string& path) {
    if (!io::isDirectory(path)) {
        const Result<std::string> bytes = api::readFile(path, api::kMaxDocument);
        return bytes ? fromBytes(*bytes) : Result<TrustAnchors>(bytes.error());
    }
    std::string error;
    auto data = anchorsNamed(path == kSystem ? "./" + path : path, error);
    return data ? Result<TrustAnchors>(TrustAnchors(std::move(data)))
                : Result<TrustAnchors>(Error{std::move(error), {}});
}

Result<TrustAnchors> TrustAnchors::system() {
    std::string error;
    auto data = anchorsNamed(std::string(kSystem), error);
    return data ? Result<TrustAnchors>(TrustAnchors(std::move(data)))
                : Result<TrustAnchors>(Error{error, {}});
}

std::size_t TrustAnchors::size() const noexcept { return m_data->certificates.size(); }

Result<RevocationLists> RevocationLists::fromBytes(std::string_view bytes) {
    _vlLogger log;
    const DataBuffer file = withoutBase64(bytes);
    auto material = std::make_shared<x509::PathMaterial>();
    auto data = std::make_shared<api::RevocationData>();
    // A list that says nothing would let pass whom it names.
    if (!material->addCrls(file.view(), data->lists, log) ||
        !std::all_of(data->lists.begin(), data->lists.end(), dsig::isRevocationList)) {
        return api::notARevocationList(bytes);
    }
    data->owner = std::move(material);
    return RevocationLists(std::move(data));
}

Result<RevocationLists> RevocationLists::fromFile(const std::string& path) {
    const Result<std::string> bytes = api::readFile(path, api::kMaxDocument);
    return bytes ? fromBytes(*bytes) : Result<RevocationLists>(bytes.error());
}

std::size_t RevocationLists::size() const noexcept { return m_data->lists.size(); }

} // namespace vantrel
