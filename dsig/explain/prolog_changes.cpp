// SPDX-License-Identifier: MIT
// What may stand ahead of the octets that are canonical: an XML declaration. Signers that read a
// file and digest it as it is, or write the tree to a string and digest that, get the declaration
// along with the rest.

#include "dsig/explain/codes.h"
#include "dsig/explain/text_changes.h"

namespace vantrel::dsig::explain {

namespace {

// As serializers write it; the document's own is among them where it is one of these. A list and no
// grammar: each is one hash, and programs do not invent spellings.
constexpr std::string_view kDeclarations[] = {
    R"(<?xml version="1.0" encoding="UTF-8"?>)",
    R"(<?xml version="1.0" encoding="utf-8"?>)",
    R"(<?xml version="1.0"?>)",
    R"(<?xml version="1.0" encoding="UTF-8" standalone="no"?>)",
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)",
    R"(<?xml version="1.0" encoding="utf-8" standalone="no"?>)",
    R"(<?xml version="1.0" encoding="utf-8" standalone="yes"?>)",
    R"(<?xml version='1.0' encoding='UTF-8'?>)",
    R"(<?xml version='1.0' encoding='utf-8'?>)",
    R"(<?xml version="1.0" encoding="ISO-8859-1"?>)",
    R"(<?xml version="1.0" encoding="iso-8859-1"?>)",
    R"(<?xml version="1.0" encoding="UTF-16"?>)",
    R"(<?xml version="1.0" encoding="utf-16"?>)",
    R"(<?xml version="1.0" encoding="windows-1252"?>)",
};
// What stands between the declaration and the root element. What is put there depends on the
// system.
constexpr std::string_view kSeparators[] = {"", "\n", "\r\n"};

} // namespace

bool prologChanges(std::string_view form, const ChangeVisit& visit) {
    // External data may have one of its own.
    if (form.starts_with("<?xml ")) {
        return false;
    }
    for (const std::string_view declaration : kDeclarations) {
        // The declaration and what follows it are one change with one name.
        for (const std::string_view separator : kSeparators) {
            Change change{cause::kDeclaration,
                          "the XML declaration " + quoted(declaration) +
                              " was digested ahead of the rest",
                          std::string(declaration)};
            change.evidence += separator.empty() ? "" : ", with a line end behind it";
            change.octets.append(separator).append(form);
            if (visit(change)) {
                return true;
            }
        }
    }
    return false;
}

} // namespace vantrel::dsig::explain
