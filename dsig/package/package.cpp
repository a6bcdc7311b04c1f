// SPDX-License-Identifier: MIT
#include "dsig/package/package.h"

#include "dsig/package/relationships.h"
#include "dsig/reference/external_name.h"
#include "foundation/text/strings.h"
#include "foundation/zip/zip_reader.h"

#include <algorithm>
#include <set>

// How a package is opened and where its signatures are. What its references cover is worked out in
// part_digest.cpp, manifests.cpp and part_coverage.cpp.
namespace vantrel::dsig {

namespace {

constexpr std::string_view kContentTypesName = "[Content_Types].xml";

std::string faultOf(std::string_view name, std::string_view what) {
    std::string fault = "the member \"";
    fault += name;
    fault += "\" ";
    return fault += what;
}

} // namespace

std::shared_ptr<Package> Package::open(std::shared_ptr<const io::RandomAccess> bytes,
                                       const Limits& limits, std::string& fault) {
    const std::shared_ptr<Package> package(new Package);
    const zip::ZipLimits bounds = {limits.packageMembers, limits.packageMemberOctets,
                                   limits.packageOctets, limits.packageRatio};
    if (!package->m_archive.open(std::move(bytes), bounds, fault)) {
        return nullptr;
    }
    // Copied, since the package may be used by verifiers with limits of their own.
    package->m_limits = limits;
    package->m_kind = kindOf(package->m_archive);
    return package->findSignatures(fault) ? package : nullptr;
}

bool Package::findSignatures(std::string& fault) {
    const std::span<const zip::ZipMember> all = parts();
    m_exempt.assign(all.size(), false);
    for (std::size_t i = 0; i < all.size(); ++i) {
        m_exempt[i] = isExemptName(m_kind, all[i].name);
        if (isSignatureName(m_kind, all[i].name)) {
            m_signatureParts.push_back(i);
        }
    }
    // No operation is under way whose log this could go to.
    LogNull log;
    if (m_kind == PackageKind::Opc && !findOpcSignatures(log)) {
        fault = "the content types or relationships of the package are damaged";
        return false;
    }
    return true;
}

// ECMA-376, part 2, 13.2: the package leads to the origin, the origin to each signature, and a
// signature may lead to certificates. What no relationship leads to is no signature.
bool Package::findOpcSignatures(LogBase& log) {
    DataBuffer xml;
    std::string fault;
    const zip::ZipMember* const types = m_archive.find(kContentTypesName);
    if (types == nullptr || !readXml(indexOf(*types), xml, fault) ||
        !m_contentTypes.read(xml, log)) {
        return false;
    }
    std::vector<std::string> origins;
    if (!readRelated({}, origins, kOriginType, log)) {
        return false;
    }
    // In the order of the package, and each once, whatever leads to it.
    std::set<std::size_t> found;
    for (const std::string& origin : origins) {
        std::vector<std::string> signatures;
        if (!readRelated(origin, signatures, kSignatureType, log)) {
            return false;
        }
        exempt(origin);
        exempt(relationshipsOf(origin));
        for (const std::string& name : signatures) {
            const zip::ZipMember* const member = memberOf(name);
            std::vector<std::string> certificates;
            if (member == nullptr) {
                continue;
            }
            if (!readRelated(name, certificates, {}, log)) {
                return false;
            }
            found.insert(indexOf(*member));
            exempt(name);
            exempt(relationshipsOf(name));
            std::ranges::for_each(certificates, [this](const auto& one) { exempt(one); });
        }
    }
    m_signatureParts.assign(found.begin(), found.end());
    return true;
}

// The targets of the internal relationships of a type; of those of signatures, where it is empty.
bool Package::readRelated(std::string_view source, std::vector<std::string>& targets,
                          std::string_view type, LogBase& log) {
    const zip::ZipMember* const member = memberOf(relationshipsOf(source));
    DataBuffer xml;
    std::string fault;
    Relationships all;
    if (member == nullptr) {
        return true;
    }
    if (!readXml(indexOf(*member), xml, fault) || !readRelationships(xml, all, log)) {
        return false;
    }
    for (const Relationship& one : all.list) {
        const bool isWanted = type.empty() ? isOfSignatures(one) : one.type == type;
        if (isWanted && !one.isExternal) {
            targets.push_back(targetOf(one, source));
        }
    }
    return true;
}

void Package::exempt(std::string_view name) {
    if (const zip::ZipMember* const member = memberOf(name); member != nullptr) {
        m_exempt[indexOf(*member)] = true;
    }
}

// ECMA-376, part 2, 9.1.1.4: names of parts are equal whatever the case of their ASCII letters.
const zip::ZipMember* Package::memberOf(std::string_view name) const {
    return m_kind == PackageKind::Opc ? m_archive.findAnyCase(name) : m_archive.find(name);
}

// Members lie in one array, and only those are handed out.
std::size_t Package::indexOf(const zip::ZipMember& member) const noexcept {
    return static_cast<std::size_t>(&member - parts().data());
}

bool Package::readXml(std::size_t part, DataBuffer& out, std::string& fault) const {
    const zip::ZipMember& member = parts()[part];
    if (member.size > m_limits.packageXmlOctets) {
        fault = faultOf(member.name, "is larger than the limit (packageXmlOctets)");
        return false;
    }
    std::string_view why;
    if (!zip::readMember(m_archive, member, out, why)) {
        fault = faultOf(member.name, why);
        return false;
    }
    return true;
}

// In Opc a URI ends in the content type that was signed (13.2.4.17), without which anybody could
// have the part read as something else. The name of a member is that of the part, percent signs
// included; where there is none of that name, the decoded one is meant.
bool Package::resolve(std::string_view uri, const zip::ZipMember*& member, LogBase& log) const {
    constexpr std::string_view kQuery = "?ContentType=";
    if (m_kind != PackageKind::Opc) {
        member = memberOf(nameOfUri(uri));
        return true;
    }
    const std::size_t query = std::min(uri.find('?'), uri.size());
    std::string_view name = uri.substr(0, query);
    name.remove_prefix(name.starts_with('/') ? 1 : 0);
    member = memberOf(name);
    if (member == nullptr) {
        member = memberOf(nameOfUri(name));
    }
    if (member == nullptr) {
        return true;
    }
    const std::string_view rest = uri.substr(query);
    const std::string signedType =
        rest.starts_with(kQuery) ? nameOfUri(rest.substr(kQuery.size())) : std::string();
    const std::string_view type = m_contentTypes.of(member->name);
    log.logText("signedContentType", signedType);
    log.logText("contentType", type);
    return !signedType.empty() && text::equalsNoCase(signedType, type);
}

} // namespace vantrel::dsig
