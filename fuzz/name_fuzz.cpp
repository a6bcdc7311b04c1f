// SPDX-License-Identifier: MIT
// Names of certificates: the first byte is the length of a text, which comes next; the rest is a
// DER Name. A name and each of its spellings are found by each other, and what comparing needs of
// them never depends on the order they came in. The text is also read as the names that callers
// write.

#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/x509/DistinguishedName.h"
#include "foundation/x509/name_match.h"
#include "foundation/x509/name_reader.h"
#include "foundation/x509/path/directory_name.h"
#include "foundation/x509/path/name_forms.h"
#include "foundation/x509/path/path_words.h"
#include "foundation/x509/path/peer_name.h"
#include "foundation/x509/serial_number.h"

#include <algorithm>
#include <cstdlib>
#include <string>

using namespace vantrel;

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

std::string keyOf(std::string_view text) {
    LogNull log;
    StringBuffer key;
    static_cast<void>(DistinguishedName::toVlCanonHashKey(std::string(text).c_str(), key, log));
    return std::string(key.view());
}

void checkSpelling(ByteView name, const StringBuffer& spelling, std::string_view text) {
    std::string scratch;
    require(x509::nameTokens(name) == x509::nameTokens(spelling.view()));
    require(x509::nameTokenHash(name, scratch) == x509::nameTokenHash(spelling.view(), scratch));
    // A text that counts as the spelling of a name has its key.
    if (text.find('\0') == std::string_view::npos &&
        DistinguishedName::isSpelledOut(name, text, false)) {
        StringBuffer first;
        require(DistinguishedName::fromDer(name, true, first));
        require(keyOf(text) == keyOf(first.view()));
    }
}

// Of a name that is empty or long no text counts as its spelling.
bool isOfUsualLength(ByteView name) {
    x509::NameReader reader(name);
    x509::DerAttribute attribute;
    std::size_t count = 0;
    while (reader.next(attribute)) {
        ++count;
    }
    return count > 0 && count < 16;
}

void checkName(ByteView name, std::string_view text) {
    StringBuffer forward;
    StringBuffer backward;
    const bool isName = DistinguishedName::fromDer(name, true, forward);
    require(isName == DistinguishedName::fromDer(name, false, backward));
    if (isName) {
        checkSpelling(name, forward, text);
        checkSpelling(name, backward, text);
        const bool isUsual = isOfUsualLength(name);
        require(DistinguishedName::isSpelledOut(name, forward.view(), false) == isUsual);
        require(DistinguishedName::isSpelledOut(name, backward.view(), true) == isUsual);
    }
    std::string key = "x";
    if (x509::appendNameKey(name, key)) {
        require(x509::isWithinSubtree(key, key));
    } else {
        require(key == "x");
    }
}

void checkText(std::string_view text) {
    x509::PeerName peer;
    require(x509::isPeerName(text) == x509::parsePeerName(text, peer));
    std::string oid;
    if (x509::parsePurpose(text, oid)) {
        require(x509::isObjectIdentifier(oid));
    }
    std::int64_t seconds = 0;
    static_cast<void>(x509::parseMoment(text, seconds));
    // What was brought into form stays as it is.
    std::string serial;
    std::string again;
    if (x509::appendSerialText(text, serial) && !serial.starts_with('-')) {
        require(x509::appendSerialText(serial, again) && again == serial);
    }
    for (const auto form :
         {x509::NameForm::Email, x509::NameForm::Dns, x509::NameForm::Uri, x509::NameForm::Ip}) {
        const x509::ComparableName name{{form, asBytes(text)}, {}};
        if (x509::isUsableName(name.name) && x509::isUsableConstraint(name.name)) {
            static_cast<void>(x509::isWithin(name, name, x509::Subtree::Permitted));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 4096) {
        return 0;
    }
    const ByteView rest(data + 1, size - 1);
    const std::size_t length = std::min<std::size_t>(data[0], rest.size());
    checkText(asText(rest.first(length)));
    checkName(rest.subspan(length), asText(rest.first(length)));
    return 0;
}
