// SPDX-License-Identifier: MIT
#ifndef TESTS_DSIG_CASE_SETTING_H
#define TESTS_DSIG_CASE_SETTING_H

#include "dsig/object/ClsXmlDSig.h"
#include "tests/support/vectors.h"

#include <map>
#include <string>
#include <vector>

// The whole-document cases of tests/vectors/dsig: where they stand and how each is set up.
namespace vantrel::test {

// What a case says about the document and the settings, read once and used for every verifier.
struct Setting {
    std::string document;
    bool asBytes = false;
    std::string options;
    std::string key;
    int selector = 0;
    bool ignoreExternal = false;
    std::vector<std::string> data; // "index bytes"
};

// `folder` holds the document; a change that finds nothing to change fails the running test.
[[nodiscard]] Setting readSetting(VecCase& c, const std::string& folder);
// Loads the document; false when it is refused.
[[nodiscard]] bool load(ClsXmlDSig& verifier, const Setting& setting);
// Hands over keys and data, and selects the signature, in a verifier that holds the document.
void supply(ClsXmlDSig& verifier, const Setting& setting);
// All that comes before a verification. A document that is not loaded fails the running test.
void prepare(ClsXmlDSig& verifier, const Setting& setting, std::string& loadLog);

// The folders with cases, by their group.
[[nodiscard]] const std::map<std::string, std::vector<std::string>>& casesByGroup();

} // namespace vantrel::test

#endif
