// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_EXTERNAL_REFERENCE_H
#define DSIG_REFERENCE_EXTERNAL_REFERENCE_H

#include "dsig/reference/DSigReference.h"
#include "dsig/reference/check_reference.h"

namespace vantrel::dsig {

// A reference to data outside the document: bytes or a file that the caller supplies, or a file in
// the folders that the caller named, or a part of the package that the signature stands in. The
// data is digested as it is; files are streamed. `uri` comes from the document and is only ever a
// name below those folders (external_name.h): an absolute path, a ".." and a link that leads out
// are not found. Transforms are carried out on parts only. `result` gets the reason,
// dataMissing where there was nothing to digest, and the octets when they are asked for.
void checkExternalReference(const ReferenceQuery& query, const DSigReference& reference,
                            const StringBuffer& uri, ReferenceResult& result, LogBase& log);

// The octets of that data, charged to the document's account. False without data, where it cannot
// be read, or where a limit is passed.
[[nodiscard]] bool readExternalData(const ReferenceQuery& query, const StringBuffer& uri,
                                    DataBuffer& octets, LogBase& log);

} // namespace vantrel::dsig

#endif
