#ifndef DSIG_REFERENCE_DIGEST_INPUT_H
#define DSIG_REFERENCE_DIGEST_INPUT_H

#include "dsig/transform/working_text.h"

#include <memory>
#include <utility>

namespace vantrel::dsig {

// What the transforms of a reference made of the document.
struct DigestInput {
    explicit DigestInput(std::shared_ptr<const xml::XmlDocument> loaded)
        : text(std::move(loaded)) {}

    WorkingText text;
    bool base64Pending = false; // the octets are what the text decodes to
};

} // namespace vantrel::dsig

#endif
