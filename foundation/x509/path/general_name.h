#ifndef FOUNDATION_X509_PATH_GENERAL_NAME_H
#define FOUNDATION_X509_PATH_GENERAL_NAME_H

#include "foundation/asn1/der_reader.h"
#include "foundation/text/byte_view.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vantrel::x509 {

// The alternatives of GeneralName by their tag numbers (RFC 5280 4.2.1.6).
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

// Reads the next name. Texts must be ASCII and a directory name must be one Name.
[[nodiscard]] bool readGeneralName(asn1::DerReader& reader, GeneralName& name);

// Reads the contents of a GeneralNames, which holds one name at least.
[[nodiscard]] bool readGeneralNames(asn1::DerReader names, std::vector<GeneralName>& out);

// Appends bytes that are equal for equal names: a directory name as appendNameKey has it, the
// others octet for octet. False, with `key` unchanged, for a malformed directory name.
[[nodiscard]] bool appendGeneralNameKey(const GeneralName& name, std::string& key);

} // namespace vantrel::x509

#endif
