#ifndef DSIG_REFERENCE_DIGEST_INPUT_H
#define DSIG_REFERENCE_DIGEST_INPUT_H

#include "dsig/transform/working_text.h"

#include <memory>
#include <utility>

namespace vantrel::dsig {

// What the transforms of a reference made of the document.
struct DigestInput {
    DigestInput(std::shared_ptr<const xml::XmlDocument> loaded, WorkAccount& account)
        : text(std::move(loaded), account) {}

    WorkingText text;
    bool base64Pending = false; // the octets are what the text decodes to
};

} // namespace vantrel::dsig

#endif
