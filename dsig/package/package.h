// SPDX-License-Identifier: MIT
#ifndef DSIG_PACKAGE_PACKAGE_H
#define DSIG_PACKAGE_PACKAGE_H

#include "dsig/document/limits.h"
#include "dsig/package/content_types.h"
#include "dsig/package/package_kind.h"
#include "dsig/reference/external_parts.h"
#include "foundation/io/random_access.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/zip/zip_archive.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel::dsig {

// A ZIP package with signatures in it: which of its parts hold them, what their references name and
// what they cover. Parts are streamed into digests, never written to disk; the digest of one is
// computed once for each hash, however often it is referred to. One thread at a time.
class Package final : public ExternalParts {
public:
    // Opens the archive and finds the parts with signatures. Null, with the reason in `fault`, a
    // text for people, when it cannot be read in one way only (zip_archive.h), passes a limit, or
    // what says where its signatures are is damaged. `limits` are copied. Throws std::bad_alloc.
    [[nodiscard]] static std::shared_ptr<Package> open(
        std::shared_ptr<const io::RandomAccess> bytes, const Limits& limits, std::string& fault);

    [[nodiscard]] PackageKind kind() const noexcept { return m_kind; }
    // The files of the archive in its order, each by its index.
    [[nodiscard]] std::span<const zip::ZipMember> parts() const noexcept {
        return m_archive.members();
    }
    // The kind does not ask for it to be covered.
    [[nodiscard]] bool isExempt(std::size_t part) const noexcept { return m_exempt[part]; }
    // Those with signatures, ascending.
    [[nodiscard]] const std::vector<std::size_t>& signatureParts() const noexcept {
        return m_signatureParts;
    }
    // The octets of a part that is XML. False, with the reason in `fault`, when it is larger than
    // the limit or damaged.
    [[nodiscard]] bool readXml(std::size_t part, DataBuffer& out, std::string& fault) const;
    [[nodiscard]] std::uint64_t size() const noexcept { return m_archive.bytes().size(); }
    [[nodiscard]] const io::RandomAccess& bytes() const noexcept { return m_archive.bytes(); }

    void check(const ReferenceQuery& query, const DSigReference& reference, const StringBuffer& uri,
               ReferenceResult& result, LogBase& log) override;
    [[nodiscard]] bool checkManifests(Document& document, const Selection& selection, Rules& rules,
                                      SignatureReport& report, LogBase& log) override;
    void describeCoverage(SignatureReport& report) const override;

private:
    struct Digest {
        DataBuffer digest;
        std::uint64_t octets = 0;
    };

    Package() = default;

    [[nodiscard]] bool findSignatures(std::string& fault);
    [[nodiscard]] bool findOpcSignatures(LogBase& log);
    [[nodiscard]] bool readRelated(std::string_view source, std::vector<std::string>& targets,
                                   std::string_view type, LogBase& log);
    void exempt(std::string_view name);
    [[nodiscard]] const zip::ZipMember* memberOf(std::string_view name) const;
    [[nodiscard]] std::size_t indexOf(const zip::ZipMember& member) const noexcept;

    // The part that a URI names; null for none. False when it is there with another content type.
    [[nodiscard]] bool resolve(std::string_view uri, const zip::ZipMember*& member,
                               LogBase& log) const;
    [[nodiscard]] RefReason digestWhole(const zip::ZipMember& member, int hashAlg,
                                        ReferenceResult& result, bool keepOctets,
                                        DataBuffer& digest, LogBase& log);
    [[nodiscard]] RefReason digestTransformed(const ReferenceQuery& query,
                                              const DSigReference& reference,
                                              const zip::ZipMember& member, ReferenceResult& result,
                                              DataBuffer& digest, LogBase& log);

    zip::ZipArchive m_archive;
    Limits m_limits;
    PackageKind m_kind = PackageKind::Zip;
    ContentTypes m_contentTypes; // of Opc
    std::vector<std::size_t> m_signatureParts;
    std::vector<bool> m_exempt;
    std::map<std::pair<std::size_t, int>, Digest> m_digests; // by part and hash
};

} // namespace vantrel::dsig

#endif
