// SPDX-License-Identifier: MIT
#include "dsig/explain/text_changes.h"

namespace vantrel::dsig::explain {

std::span<const TextFamily> textFamilies() noexcept {
    // A declaration is put ahead before the whole is converted; line ends are those of the whole. A
    // pair is an earlier family and a later one, as in the signer's own program: first the content,
    // then how it was printed, last the octets.
    static constexpr TextFamily kFamilies[] = {
        contentChanges, trailingSpaceChanges, indentationChanges, spaceChanges,  markupChanges,
        endChanges,     normalizationChanges, lineEndChanges,     prologChanges, charsetChanges,
    };
    return kFamilies;
}

} // namespace vantrel::dsig::explain
