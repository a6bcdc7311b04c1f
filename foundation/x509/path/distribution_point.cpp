// SPDX-License-Identifier: MIT
#include "foundation/x509/path/distribution_point.h"

#include "foundation/x509/path/directory_name.h"
#include "foundation/x509/path/general_name.h"

#include <utility>

namespace vantrel::x509 {

using asn1::DerReader;
using asn1::Tag;

namespace {

// The key of a directory name, as appendGeneralNameKey begins it.
constexpr char kDirectoryMark = '0' + static_cast<char>(NameForm::Directory);

// Names of any form: lists are found by URIs that are equal, not by fetching them.
bool appendNameKeys(DerReader names, std::vector<std::string>& keys) {
    std::vector<GeneralName> list;
    if (!readGeneralNames(names, list)) {
        return false;
    }
    for (const GeneralName& name : list) {
        std::string key;
        if (!appendGeneralNameKey(name, key)) {
            return false;
        }
        keys.push_back(std::move(key));
    }
    return true;
}

// cRLIssuer: only directory names can be compared with the issuer of a list.
bool appendIssuers(DerReader names, std::vector<std::string>& issuers) {
    std::vector<GeneralName> list;
    if (!readGeneralNames(names, list)) {
        return false;
    }
    for (const GeneralName& name : list) {
        std::string key;
        // URIs of directories, which some issuers put beside the name, are passed over.
        if (name.form != NameForm::Directory) {
            continue;
        }
        if (!appendNameKey(name.contents, key)) {
            return false;
        }
        issuers.push_back(std::move(key));
    }
    // An issuer of lists that cannot be told from any other would let every list pass or none.
    return !issuers.empty();
}

bool readPoint(DerReader fields, DistributionPoint& point) {
    // DistributionPoint ::= SEQUENCE {
    //     distributionPoint  [0] DistributionPointName OPTIONAL,
    DerReader wrapper;
    if (fields.nextIs(asn1::contextConstructed(0)) &&
        (!fields.enter(asn1::contextConstructed(0), wrapper) ||
         !readPointName(wrapper, point.name))) {
        return false;
    }
    //     reasons            [1] ReasonFlags OPTIONAL,
    ByteView bits;
    if (fields.nextIs(asn1::contextPrimitive(1)) &&
        (!fields.read(asn1::contextPrimitive(1), bits) || !readReasons(bits, point.reasons))) {
        return false;
    }
    //     cRLIssuer          [2] GeneralNames OPTIONAL }
    DerReader issuers;
    if (fields.nextIs(asn1::contextConstructed(2)) &&
        (!fields.enter(asn1::contextConstructed(2), issuers) ||
         !appendIssuers(issuers, point.crlIssuers))) {
        return false;
    }
    return fields.atEnd();
}

} // namespace

std::vector<std::string> PointName::keys(std::string_view issuer) const {
    if (relative.empty()) {
        return fullNames;
    }
    // The issuer's key and that of the component side by side are the key of the whole name: keys
    // of names are those of their components in turn.
    std::string whole(1, kDirectoryMark);
    whole += issuer;
    whole += relative;
    return {std::move(whole)};
}

bool readPointName(DerReader reader, PointName& name) {
    // Also for a name that turns out malformed: the caller refuses the certificate or list then.
    name.present = true;
    // DistributionPointName ::= CHOICE {
    //     fullName                 [0] GeneralNames,
    DerReader names;
    if (reader.enter(asn1::contextConstructed(0), names)) {
        return appendNameKeys(names, name.fullNames) && reader.atEnd();
    }
    //     nameRelativeToCRLIssuer  [1] RelativeDistinguishedName }
    ByteView component;
    return reader.read(asn1::contextConstructed(1), component) && reader.atEnd() &&
           appendComponentKey(component, name.relative);
}

bool readDistributionPoints(ByteView value, std::vector<DistributionPoint>& points) {
    // CRLDistributionPoints ::= SEQUENCE SIZE (1..MAX) OF DistributionPoint
    DerReader reader(value);
    DerReader list;
    if (!reader.enter(Tag::Sequence, list) || !reader.atEnd() || list.atEnd()) {
        return false;
    }
    while (!list.atEnd()) {
        DerReader fields;
        DistributionPoint point;
        if (!list.enter(Tag::Sequence, fields) || !readPoint(fields, point)) {
            return false;
        }
        points.push_back(std::move(point));
    }
    return true;
}

bool readReasons(ByteView bits, std::uint32_t& reasons) noexcept {
    // ReasonFlags ::= BIT STRING { unused (0), keyCompromise (1), ..., aACompromise (8) }
    // The first octet counts the unused bits. Two octets hold the nine flags; longer ones are
    // padding or an attack on the loop below.
    if (bits.empty() || bits.size() > 3 || bits[0] > 7) {
        return false;
    }
    std::uint32_t found = 0;
    for (std::size_t i = 1; i < bits.size(); ++i) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            if ((bits[i] & (0x80U >> bit)) != 0) {
                found |= std::uint32_t{1} << (8 * (i - 1) + bit);
            }
        }
    }
    reasons = found & kAllReasons;
    return true;
}

} // namespace vantrel::x509
