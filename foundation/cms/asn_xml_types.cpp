// SPDX-License-Identifier: MIT
#include "foundation/cms/asn_xml_types.h"

namespace vantrel::cms {

namespace {

// By tag number. A type that is missing here (REAL, EXTERNAL, RELATIVE-OID, ...) is still carried,
// as <universal tag="9">.
constexpr AsnXmlType kTypes[] = {
    {"bool", 1, AsnXmlForm::Boolean},
    {"int", 2, AsnXmlForm::Hex},
    {"bits", 3, AsnXmlForm::Bits},
    {"octets", 4, AsnXmlForm::Base64},
    {"null", 5, AsnXmlForm::Empty},
    {"oid", 6, AsnXmlForm::Oid},
    {"enum", 10, AsnXmlForm::Hex},
    {"utf8", 12, AsnXmlForm::Text},
    {"sequence", 16, AsnXmlForm::Children},
    {"set", 17, AsnXmlForm::Children},
    {"numeric", 18, AsnXmlForm::Text},
    {"printable", 19, AsnXmlForm::Text},
    {"t61", 20, AsnXmlForm::Text},
    {"videotex", 21, AsnXmlForm::Text},
    {"ia5", 22, AsnXmlForm::Text},
    {"utctime", 23, AsnXmlForm::Text},
    {"gentime", 24, AsnXmlForm::Text},
    {"graphic", 25, AsnXmlForm::Text},
    {"visible", 26, AsnXmlForm::Text},
    {"general", 27, AsnXmlForm::Text},
    {"universalstr", 28, AsnXmlForm::WideText},
    {"bmp", 30, AsnXmlForm::WideText},
};

// X.690 8.1.2.2: bits 8 and 7 of the identifier octet.
constexpr std::string_view kClasses[] = {"universal", "application", "contextSpecific", "private"};

} // namespace

const AsnXmlType* asnXmlTypeByNumber(std::uint32_t universalNumber) noexcept {
    for (const AsnXmlType& type : kTypes) {
        if (type.number == universalNumber) {
            return &type;
        }
    }
    return nullptr;
}

const AsnXmlType* asnXmlTypeByName(std::string_view name) noexcept {
    for (const AsnXmlType& type : kTypes) {
        if (type.name == name) {
            return &type;
        }
    }
    return nullptr;
}

std::string_view asnXmlClassName(unsigned classBits) noexcept { return kClasses[classBits & 3U]; }

int asnXmlClassByName(std::string_view name) noexcept {
    for (int i = 0; i < 4; ++i) {
        if (kClasses[i] == name) {
            return i;
        }
    }
    return -1;
}

} // namespace vantrel::cms
