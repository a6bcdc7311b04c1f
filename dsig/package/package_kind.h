// SPDX-License-Identifier: MIT
#ifndef DSIG_PACKAGE_PACKAGE_KIND_H
#define DSIG_PACKAGE_PACKAGE_KIND_H

#include "foundation/zip/zip_archive.h"

#include <cstdint>
#include <string_view>

namespace vantrel::dsig {

// What rules a package follows.
enum class PackageKind : std::uint8_t {
    AsicE,  // ETSI EN 319 162-1, also BDOC and EDOC
    AsicS,  // the same, one data object
    Odf,    // OpenDocument 1.2, part 3
    Opc,    // ECMA-376, part 2: office documents, extensions
    Epub,   // EPUB Open Container Format 3
    Air,    // packages of the Universal Container Format with a manifest of digests
    Widget, // XML Digital Signatures for Widgets
    Zip     // any other: signatures are looked for in the usual places
};

// Its word in reports.
[[nodiscard]] std::string_view wordOf(PackageKind kind) noexcept;

// The kind by the members that every package of it has: its media type, or the list of its content
// types. What a member is called is never enough for a kind whose rules exempt others.
[[nodiscard]] PackageKind kindOf(const zip::ZipArchive& archive);

// Whether a member may hold signatures, by its name and the kind's rules. In Opc this is said by
// relationships (relationships.h) instead.
[[nodiscard]] bool isSignatureName(PackageKind kind, std::string_view name) noexcept;

// Whether the kind's rules leave a member out of what signatures are to cover: the media type and
// what is there for the signatures. In Opc the parts of the signatures come to that.
[[nodiscard]] bool isExemptName(PackageKind kind, std::string_view name) noexcept;

} // namespace vantrel::dsig

#endif
