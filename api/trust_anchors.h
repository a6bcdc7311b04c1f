// SPDX-License-Identifier: MIT
#ifndef API_TRUST_ANCHORS_H
#define API_TRUST_ANCHORS_H

#include "api/result.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace vantrel {

namespace api {
struct AnchorData;
struct RevocationData;
} // namespace api

/// Certificates of one source that are trusted by the caller's word alone (RFC 5280, 6.1): whatever
/// leads to one of them is trusted, too. A constant value: copies share what they hold, and may be
/// used by several threads.
class TrustAnchors final {
public:
    /// All certificates of a PEM text, or one as DER or base64 of DER. The error says what else the
    /// bytes are. One that is malformed makes the whole fail: a bundle that is read by half would
    /// trust less than it says.
    [[nodiscard]] static Result<TrustAnchors> fromBytes(std::string_view bytes);
    /// The same of a file; of a folder, all its files that hold certificates.
    [[nodiscard]] static Result<TrustAnchors> fromFile(const std::string& path);
    /// The anchors of this machine: those of the file that the environment variable SSL_CERT_FILE
    /// names, else of the system's bundle.
    [[nodiscard]] static Result<TrustAnchors> system();

    /// The number of certificates, at least one.
    [[nodiscard]] std::size_t size() const noexcept;
    /// What stands behind them, for the library itself.
    [[nodiscard]] const std::shared_ptr<const api::AnchorData>& data() const noexcept {
        return m_data;
    }

private:
    explicit TrustAnchors(std::shared_ptr<const api::AnchorData> data) noexcept
        : m_data(std::move(data)) {}

    std::shared_ptr<const api::AnchorData> m_data; // never null
};

/// Lists of revoked certificates (RFC 5280, 5) of one source. A list counts where its issuer signed
/// it, which is checked when it is used. A constant value, as TrustAnchors.
class RevocationLists final {
public:
    /// All lists of a PEM text ("X509 CRL"), or one as DER or base64 of DER. The error says what
    /// else the bytes are.
    [[nodiscard]] static Result<RevocationLists> fromBytes(std::string_view bytes);
    [[nodiscard]] static Result<RevocationLists> fromFile(const std::string& path);

    /// The number of lists, at least one.
    [[nodiscard]] std::size_t size() const noexcept;
    /// What stands behind them, for the library itself.
    [[nodiscard]] const std::shared_ptr<const api::RevocationData>& data() const noexcept {
        return m_data;
    }

private:
    explicit RevocationLists(std::shared_ptr<const api::RevocationData> data) noexcept
        : m_data(std::move(data)) {}

    std::shared_ptr<const api::RevocationData> m_data; // never null
};

} // namespace vantrel

#endif
