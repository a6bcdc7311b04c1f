// SPDX-License-Identifier: MIT
#ifndef TESTS_DSIG_DOCUMENT_CASE_H
#define TESTS_DSIG_DOCUMENT_CASE_H

#include "dsig/object/ClsXmlDSig.h"
#include "foundation/json/json_value.h"
#include "tests/support/report_values.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::test {

// The manifest's JSON, its array `list`; a fault fails the running test and gives an empty value.
[[nodiscard]] json::JsonValue readManifest(const std::string& path, const char* list);

// Loads a document; a failure fails the running test.
void loadText(ClsXmlDSig& verifier, const std::string& document);
// Loads a document from a file; a failure fails the running test.
void loadDocument(ClsXmlDSig& verifier, const std::string& path);
// Hands over what the entry's `key` and `external` say, for the selected signature. Files are
// relative to `folder`. False when the entry's key is of a kind that the verifier cannot be given.
void supplyKeysAndData(ClsXmlDSig& verifier, const json::JsonValue& entry,
                       const std::string& folder);
[[nodiscard]] std::string logOf(ClsXmlDSig& verifier);
// What the verifier hands out as digested octets and as the octets of the signature value is what a
// verification digests: `prepare` sets a fresh verifier up, with the signature selected.
void expectOctetsOfVerification(const std::function<void(ClsXmlDSig&)>& prepare,
                                const std::string& where);

// The structured result of the last verification.
[[nodiscard]] json::JsonValue reportOf(ClsXmlDSig& verifier);

} // namespace vantrel::test

#endif
