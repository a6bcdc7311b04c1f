// SPDX-License-Identifier: MIT
#include "foundation/x509/path/path_words.h"

#include "foundation/asn1/asn1_time.h"
#include "foundation/asn1/oid.h"
#include "foundation/text/byte_view.h"
#include "foundation/x509/path/name_forms.h"
#include "foundation/x509/path/peer_name.h"

#include <cstddef>

namespace vantrel::x509 {

namespace {

// Names of standards rather than of our own, so that they are known from other tools.
struct Purpose {
    std::string_view name;
    std::string_view oid;
};

// RFC 5280 4.2.1.12, RFC 9336
constexpr Purpose kPurposes[] = {
    {"serverAuth", "1.3.6.1.5.5.7.3.1"},       {"clientAuth", "1.3.6.1.5.5.7.3.2"},
    {"codeSigning", "1.3.6.1.5.5.7.3.3"},      {"emailProtection", "1.3.6.1.5.5.7.3.4"},
    {"timeStamping", "1.3.6.1.5.5.7.3.8"},     {"OCSPSigning", "1.3.6.1.5.5.7.3.9"},
    {"documentSigning", "1.3.6.1.5.5.7.3.36"},
};

// Appends the digits of `text` where `form` has '0'; elsewhere both must have the same character. A
// picture of the form in place of a parser: lengths and places are all checked by one comparison.
bool appendDigits(std::string_view text, std::string_view form, std::string& digits) {
    if (text.size() != form.size()) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isDigit = text[i] >= '0' && text[i] <= '9';
        if (form[i] == '0' ? !isDigit : text[i] != form[i]) {
            return false;
        }
        if (isDigit) {
            digits.push_back(text[i]);
        }
    }
    return true;
}

} // namespace

bool parsePurpose(std::string_view text, std::string& oid) {
    for (const Purpose& purpose : kPurposes) {
        if (equalIgnoringCase(purpose.name, text)) {
            oid = purpose.oid;
            return true;
        }
    }
    if (!isObjectIdentifier(text)) {
        return false;
    }
    oid = text;
    return true;
}

bool isObjectIdentifier(std::string_view text) noexcept {
    asn1::OidBytes bytes;
    return asn1::oidFromText(text, bytes);
}

bool isPeerName(std::string_view text) {
    PeerName name;
    return parsePeerName(text, name);
}

// Put into the form of GeneralizedTime, whose reader knows the calendar and the offsets.
bool parseMoment(std::string_view text, std::int64_t& seconds) {
    constexpr std::string_view kDate = "0000-00-00";
    constexpr std::string_view kTime = "00:00:00";
    std::string moment;
    if (!appendDigits(text.substr(0, kDate.size()), kDate, moment)) {
        return false;
    }
    std::string_view rest = text.substr(kDate.size());
    if (rest.empty()) {
        return asn1::parseGeneralizedTime(asBytes(moment + "000000Z"), seconds);
    }
    // RFC 3339 5.6 lets applications write a blank for the T, and small letters.
    if ((rest[0] != 'T' && rest[0] != 't' && rest[0] != ' ') ||
        !appendDigits(rest.substr(1, kTime.size()), kTime, moment)) {
        return false;
    }
    rest.remove_prefix(1 + kTime.size());
    if (rest.substr(0, 1) == ".") {
        // A fraction needs a digit, and something behind it: the offset.
        const std::size_t end = rest.find_first_not_of("0123456789", 1);
        if (end == 1 || end == std::string_view::npos) {
            return false;
        }
        rest.remove_prefix(end);
    }
    if (rest == "Z" || rest == "z") {
        moment += 'Z';
    } else if (!rest.empty() && (rest[0] == '+' || rest[0] == '-')) {
        // GeneralizedTime writes the offset without its colon.
        moment += rest[0];
        if (!appendDigits(rest.substr(1), "00:00", moment)) {
            return false;
        }
    } else {
        return false;
    }
    return asn1::parseGeneralizedTime(asBytes(moment), seconds);
}

} // namespace vantrel::x509
