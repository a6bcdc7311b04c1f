// SPDX-License-Identifier: MIT
#include "dsig/package/package_kind.h"

#include "foundation/text/DataBuffer.h"
#include "foundation/text/strings.h"
#include "foundation/zip/zip_reader.h"

#include <algorithm>
#include <string>

namespace vantrel::dsig {

namespace {

constexpr std::string_view kMetaFolder = "META-INF/";
constexpr std::string_view kMediaTypeName = "mimetype";

// Beginnings of media types, so that parameters and versions do not matter; the first decides.
struct MediaType {
    std::string_view start;
    PackageKind kind;
};

constexpr MediaType kMediaTypes[] = {
    {"application/vnd.etsi.asic-e+zip", PackageKind::AsicE},
    {"application/vnd.etsi.asic-s+zip", PackageKind::AsicS},
    {"application/vnd.bdoc", PackageKind::AsicE},
    {"application/vnd.edoc", PackageKind::AsicE},
    {"application/vnd.oasis.opendocument", PackageKind::Odf},
    {"application/epub+zip", PackageKind::Epub},
    {"application/vnd.adobe.air", PackageKind::Air},
    {"application/widget", PackageKind::Widget},
};

// The kind decides what is exempt from coverage, and hence is asked of what every program that
// reads such packages goes by, never of the name of the file.
//
// The contents of a small member, without white space at the ends; empty for none.
std::string smallMember(const zip::ZipArchive& archive, std::string_view name, std::uint64_t most) {
    const zip::ZipMember* const member = archive.find(name);
    DataBuffer contents;
    std::string_view fault;
    if (member == nullptr || member->size > most ||
        !zip::readMember(archive, *member, contents, fault)) {
        return {};
    }
    return std::string(text::trimmed(asText(contents.view())));
}

// Other archives have a file of that name, too; the namespace is the widgets' own.
bool isWidget(const zip::ZipArchive& archive) {
    constexpr std::uint64_t kMostConfiguration = std::uint64_t{1} << 20;
    return smallMember(archive, "config.xml", kMostConfiguration)
               .find("http://www.w3.org/ns/widgets") != std::string::npos;
}

// "signature1.xml": no leading zero, so that each number has one name.
bool isNumberedSignature(std::string_view name) {
    constexpr std::string_view kStart = "signature";
    constexpr std::string_view kEnd = ".xml";
    if (!name.starts_with(kStart) || !name.ends_with(kEnd) ||
        name.size() <= kStart.size() + kEnd.size()) {
        return false;
    }
    const std::string_view number =
        name.substr(kStart.size(), name.size() - kStart.size() - kEnd.size());
    return number[0] != '0' && std::all_of(number.begin(), number.end(), text::isDigitAscii);
}

bool isWidgetSignature(std::string_view name) {
    return name == "author-signature.xml" || isNumberedSignature(name);
}

// "META-INF/signatures0.xml", and "META-INF/signature.xml" as some systems have it.
bool isMetaSignature(std::string_view name) {
    if (!name.starts_with(kMetaFolder) || !name.ends_with(".xml")) {
        return false;
    }
    const std::string_view file = name.substr(kMetaFolder.size());
    return file.find('/') == std::string_view::npos &&
           text::findTextNoCase(file, "signature") != std::string_view::npos;
}

} // namespace

std::string_view wordOf(PackageKind kind) noexcept {
    switch (kind) {
    case PackageKind::AsicE: return "asic-e";
    case PackageKind::AsicS: return "asic-s";
    case PackageKind::Odf: return "odf";
    case PackageKind::Opc: return "opc";
    case PackageKind::Epub: return "epub";
    case PackageKind::Air: return "air";
    case PackageKind::Widget: return "widget";
    case PackageKind::Zip: break;
    }
    return "zip";
}

PackageKind kindOf(const zip::ZipArchive& archive) {
    constexpr std::uint64_t kMostMediaType = 1024;
    const std::string media = smallMember(archive, kMediaTypeName, kMostMediaType);
    for (const MediaType& type : kMediaTypes) {
        if (media.starts_with(type.start)) {
            return type.kind;
        }
    }
    if (archive.find("[Content_Types].xml") != nullptr) {
        return PackageKind::Opc;
    }
    if (archive.find("META-INF/AIR/application.xml") != nullptr) {
        return PackageKind::Air;
    }
    return isWidget(archive) ? PackageKind::Widget : PackageKind::Zip;
}

bool isSignatureName(PackageKind kind, std::string_view name) noexcept {
    switch (kind) {
    case PackageKind::AsicE:
    case PackageKind::AsicS:
    case PackageKind::Odf: return isMetaSignature(name);
    case PackageKind::Epub:
    case PackageKind::Air: return name == "META-INF/signatures.xml";
    case PackageKind::Widget: return isWidgetSignature(name);
    case PackageKind::Opc: return false;
    case PackageKind::Zip: break;
    }
    return isMetaSignature(name) || isWidgetSignature(name) || name == "signature.xml" ||
           name == "signatures.xml" ||
           (name.starts_with("_xmlsignatures/") && name.ends_with(".xml"));
}

bool isExemptName(PackageKind kind, std::string_view name) noexcept {
    if (name == kMediaTypeName || isSignatureName(kind, name)) {
        return true;
    }
    switch (kind) {
    // EN 319 162-1, 4.4: what is signed are the data objects, outside of this folder.
    case PackageKind::AsicE:
    case PackageKind::AsicS: return name.starts_with(kMetaFolder);
    // No part by ECMA-376, part 2; what it says of a signed part is compared (content_types.h).
    case PackageKind::Opc: return name == "[Content_Types].xml";
    default: return false;
    }
}

} // namespace vantrel::dsig
