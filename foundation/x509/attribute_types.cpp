// SPDX-License-Identifier: MIT
#include "foundation/x509/attribute_types.h"

#include "foundation/asn1/oid.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace vantrel::x509 {

namespace {

constexpr AttributeType kTypes[] = {
    {"CN", "2.5.4.3"},
    {"SN", "2.5.4.4"},
    {"serialNumber", "2.5.4.5"},
    {"C", "2.5.4.6"},
    {"L", "2.5.4.7"},
    {"ST", "2.5.4.8"},
    {"STREET", "2.5.4.9"},
    {"O", "2.5.4.10"},
    {"OU", "2.5.4.11"},
    {"title", "2.5.4.12"},
    {"description", "2.5.4.13"},
    {"businessCategory", "2.5.4.15"},
    {"postalAddress", "2.5.4.16"},
    {"postalCode", "2.5.4.17"},
    {"postOfficeBox", "2.5.4.18"},
    {"physicalDeliveryOfficeName", "2.5.4.19"},
    {"telephoneNumber", "2.5.4.20"},
    {"facsimileTelephoneNumber", "2.5.4.23"},
    {"member", "2.5.4.31"},
    {"owner", "2.5.4.32"},
    {"seeAlso", "2.5.4.34"},
    {"name", "2.5.4.41"},
    {"GN", "2.5.4.42"},
    {"initials", "2.5.4.43"},
    {"generationQualifier", "2.5.4.44"},
    {"x500UniqueIdentifier", "2.5.4.45"},
    {"dnQualifier", "2.5.4.46"},
    {"houseIdentifier", "2.5.4.51"},
    {"dmdName", "2.5.4.54"},
    {"pseudonym", "2.5.4.65"},
    {"role", "2.5.4.72"},
    {"organizationIdentifier", "2.5.4.97"},
    {"c3", "2.5.4.98"},
    {"n3", "2.5.4.99"},
    {"dnsName", "2.5.4.100"},
    {"UID", "0.9.2342.19200300.100.1.1"},
    {"mail", "0.9.2342.19200300.100.1.3"},
    {"DC", "0.9.2342.19200300.100.1.25"},
    {"emailAddress", "1.2.840.113549.1.9.1"},
    {"unstructuredName", "1.2.840.113549.1.9.2"},
    {"unstructuredAddress", "1.2.840.113549.1.9.8"},
    {"dateOfBirth", "1.3.6.1.5.5.7.9.1"},
    {"placeOfBirth", "1.3.6.1.5.5.7.9.2"},
    {"gender", "1.3.6.1.5.5.7.9.3"},
    {"countryOfCitizenship", "1.3.6.1.5.5.7.9.4"},
    {"countryOfResidence", "1.3.6.1.5.5.7.9.5"},
    {"nameAtBirth", "1.3.36.8.3.14"},
    {"jurisdictionL", "1.3.6.1.4.1.311.60.2.1.1"},
    {"jurisdictionST", "1.3.6.1.4.1.311.60.2.1.2"},
    {"jurisdictionC", "1.3.6.1.4.1.311.60.2.1.3"},
    {"INN", "1.2.643.3.131.1.1"},
    {"OGRN", "1.2.643.100.1"},
    {"SNILS", "1.2.643.100.3"},
    {"INNLE", "1.2.643.100.4"},
    {"OGRNIP", "1.2.643.100.5"},
};

// Other names of the types above, in lower case.
struct Alias {
    std::string_view name;
    std::string_view label;
};
constexpr Alias kAliases[] = {
    {"commonname", "CN"},
    {"surname", "SN"},
    {"countryname", "C"},
    {"country", "C"},
    {"localityname", "L"},
    {"locality", "L"},
    {"stateorprovincename", "ST"},
    {"s", "ST"},
    {"sp", "ST"},
    {"state", "ST"},
    {"streetaddress", "STREET"},
    {"organizationname", "O"},
    {"organization", "O"},
    {"organizationalunitname", "OU"},
    {"organizationalunit", "OU"},
    {"t", "title"},
    {"d", "description"},
    {"g", "GN"},
    {"givenname", "GN"},
    {"i", "initials"},
    {"generation", "generationQualifier"},
    {"uniqueidentifier", "x500UniqueIdentifier"},
    {"dnq", "dnQualifier"},
    {"zip", "postalCode"},
    {"orgid", "organizationIdentifier"},
    {"userid", "UID"},
    {"rfc822mailbox", "mail"},
    {"domaincomponent", "DC"},
    {"e", "emailAddress"},
    {"email", "emailAddress"},
    {"pkcs9email", "emailAddress"},
    {"serial", "serialNumber"},
    {"dob", "dateOfBirth"},
    {"jurisdictionlocalityname", "jurisdictionL"},
    {"jurisdictionstateorprovincename", "jurisdictionST"},
    {"jurisdictioncountryname", "jurisdictionC"},
    {"jurisdictionofincorporationlocalityname", "jurisdictionL"},
    {"jurisdictionofincorporationstateorprovincename", "jurisdictionST"},
    {"jurisdictionofincorporationcountryname", "jurisdictionC"},
};

bool equalFolded(std::string_view a, std::string_view b) noexcept {
    if (a.size() != b.size()) {
        return false;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (foldAscii(a[i]) != foldAscii(b[i])) {
            return false;
        }
    }
    return true;
}

const AttributeType* findByDotted(std::string_view dotted) noexcept {
    for (const AttributeType& type : kTypes) {
        if (type.oid == dotted) {
            return &type;
        }
    }
    return nullptr;
}

std::string_view withoutOidPrefix(std::string_view label) noexcept {
    return label.size() > 4 && equalFolded(label.substr(0, 4), "oid.") ? label.substr(4) : label;
}

bool isDotted(std::string_view label) noexcept {
    return std::ranges::all_of(label, [](char c) { return (c >= '0' && c <= '9') || c == '.'; }) &&
           !label.empty();
}

// The types below 2.5.4 by their last number, since nearly every attribute is one of them; and the
// encoded identifiers of all types for the others.
struct OidTable {
    OidTable() noexcept {
        for (std::size_t i = 0; i < std::size(kTypes); ++i) {
            asn1::OidBytes& bytes = encoded[i];
            if (!asn1::oidFromText(kTypes[i].oid, bytes)) {
                bytes.size = 0;
            } else if (bytes.size == 3 && bytes.bytes[0] == 0x55 && bytes.bytes[1] == 4) {
                x520[bytes.bytes[2]] = &kTypes[i];
            }
        }
    }
    std::array<const AttributeType*, 256> x520{};
    std::array<asn1::OidBytes, std::size(kTypes)> encoded;
};

const OidTable& oidTable() noexcept {
    static const OidTable table;
    return table;
}

} // namespace

const AttributeType* findAttributeByOid(ByteView oid) noexcept {
    const OidTable& table = oidTable();
    if (oid.size() == 3 && oid[0] == 0x55 && oid[1] == 4) {
        return table.x520[oid[2]];
    }
    for (std::size_t i = 0; i < std::size(kTypes); ++i) {
        if (asText(oid) == asText(table.encoded[i].view())) {
            return &kTypes[i];
        }
    }
    return nullptr;
}

const AttributeType* findAttributeByLabel(std::string_view label) noexcept {
    const std::string_view name = withoutOidPrefix(label);
    if (isDotted(name)) {
        return findByDotted(name);
    }
    for (const AttributeType& type : kTypes) {
        if (equalFolded(name, type.label)) {
            return &type;
        }
    }
    for (const Alias& alias : kAliases) {
        if (equalFolded(name, alias.name)) {
            return findAttributeByLabel(alias.label);
        }
    }
    return nullptr;
}

bool appendAttributeLabel(ByteView oid, std::string& out) {
    if (const AttributeType* const type = findAttributeByOid(oid); type != nullptr) {
        out += type->label;
        return true;
    }
    return asn1::oidToText(oid, out);
}

void appendFoldedLabel(std::string_view label, std::string& out) {
    const AttributeType* const type = findAttributeByLabel(label);
    for (const char c : type != nullptr ? type->label : withoutOidPrefix(label)) {
        out.push_back(foldAscii(c));
    }
}

} // namespace vantrel::x509
