// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_GENERAL_NAME_H
#define FOUNDATION_X509_PATH_GENERAL_NAME_H

#include "foundation/asn1/der_reader.h"
#include "foundation/text/byte_view.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vantrel::x509 {

// The alternatives of GeneralName by their tag numbers (RFC 5280 4.2.1.6). The numbers are used as
// they stand, for tags, tables and keys.
enum class NameForm : std::uint8_t {
    Other = 0,
    Email = 1,
    Dns = 2,
    X400 = 3,
    Directory = 4,
    EdiParty = 5,
    Uri = 6,
    Ip = 7,
    RegisteredId = 8,
};
inline constexpr std::size_t kNameForms = 9;

// One name. `contents`: the octets of the text, address or identifier; of a directory name the Name
// with its header. A view into the certificate or list it was read from.
struct GeneralName {
    NameForm form = NameForm::Other;
    ByteView contents;
};

// Reads the next name. Texts must be ASCII and a directory name must be one Name. Fails without
// moving the reader. Texts in other encodings than ASCII are refused: comparing them would need
// rules that no two programs share.
[[nodiscard]] bool readGeneralName(asn1::DerReader& reader, GeneralName& name);

// Reads the contents of a GeneralNames, which holds one name at least. On failure `out` is half
// filled.
[[nodiscard]] bool readGeneralNames(asn1::DerReader names, std::vector<GeneralName>& out);

// Appends bytes that are equal for equal names: a directory name as appendNameKey has it, the
// others octet for octet. False, with `key` unchanged, for a malformed directory name. The form is
// part of the key, so that a host name never equals a mailbox.
[[nodiscard]] bool appendGeneralNameKey(const GeneralName& name, std::string& key);

} // namespace vantrel::x509

#endif
