// SPDX-License-Identifier: MIT
#ifndef DSIG_PACKAGE_RELATIONSHIPS_H
#define DSIG_PACKAGE_RELATIONSHIPS_H

#include "dsig/report/ref_reason.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/xml/tree/ClsXml.h"

#include <string>
#include <string_view>
#include <vector>

// Relationships between the parts of a package (ECMA-376, part 2, 9.3 and 13.2.4.24).
namespace vantrel::dsig {

struct Relationship {
    std::string id;
    std::string type;
    std::string target;
    bool isExternal = false;
};

// What a part of relationships holds.
struct Relationships {
    std::vector<Relationship> list;
    // Nothing but them, and in them nothing that the schema does not know; no document type either.
    bool isPlain = true;
};

// What the types of all relationships of signatures begin with.
inline constexpr std::string_view kSignatureTypes =
    "http://schemas.openxmlformats.org/package/2006/relationships/digital-signature/";
inline constexpr std::string_view kOriginType =
    "http://schemas.openxmlformats.org/package/2006/relationships/digital-signature/origin";
inline constexpr std::string_view kSignatureType =
    "http://schemas.openxmlformats.org/package/2006/relationships/digital-signature/signature";
inline constexpr std::string_view kRelationshipTransform =
    "http://schemas.openxmlformats.org/package/2006/RelationshipTransform";

// False after an error line, when the part is not well formed, is another document, or has one Id
// twice.
[[nodiscard]] bool readRelationships(const DataBuffer& part, Relationships& out, LogBase& log);

// There for the signatures themselves, which cannot cover them all.
[[nodiscard]] bool isOfSignatures(const Relationship& relationship) noexcept;

// The name of the part that holds the relationships of `part` ("" for the package's).
[[nodiscard]] std::string relationshipsOf(std::string_view part);
// The part that an internal relationship of `source` leads to, without a "/" in front; empty when
// it leads out of the package.
[[nodiscard]] std::string targetOf(const Relationship& relationship, std::string_view source);

// The transform: of the relationships those that `transform` names by Id or type, in the order of
// their Ids, with the default of TargetMode. `out` := the text, which is canonical; `isWhole` :=
// nothing is left out but the relationships of signatures. Match, or why not.
[[nodiscard]] RefReason transformRelationships(const ClsXml& transform, const DataBuffer& part,
                                               DataBuffer& out, bool& isWhole, LogBase& log);

} // namespace vantrel::dsig

#endif
