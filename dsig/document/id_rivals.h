// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_ID_RIVALS_H
#define DSIG_DOCUMENT_ID_RIVALS_H

#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel::dsig {

// Which attribute values stand on more than one element. Which attribute is an Id depends on the
// reader (schemas declare others than those that a verifier goes by), so all of them count but
// those that by their names refer to an element elsewhere: their values are Ids of others.
class IdRivals final {
public:
    // One pass over all attributes. Keeps no references to the document. May throw std::bad_alloc.
    explicit IdRivals(const xml::XmlDocument& document);

    // Whether two elements have the value. Values are told apart by a hash; in the rare case that
    // two share it the answer is true as well, which errs towards a refusal.
    [[nodiscard]] bool has(std::string_view value) const;

private:
    std::vector<std::uint64_t> m_shared; // hashes, ascending
};

} // namespace vantrel::dsig

#endif
