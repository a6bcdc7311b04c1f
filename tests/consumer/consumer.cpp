// SPDX-License-Identifier: MIT
// Verifies the first signature of a document with the class below the typed interface.
#include <vantrel/ClsXmlDSig.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

int main(int argc, char** argv) {
    std::ifstream file(argc > 1 ? argv[1] : "");
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};

    vantrel::ClsXmlDSig verifier;
    vantrel::XString xml(text);
    if (!verifier.LoadSignature(xml)) {
        std::puts("not well-formed XML");
        return 2;
    }
    const bool valid = verifier.get_NumSignatures() > 0 && verifier.VerifySignature(true);

    vantrel::XString report; // JSON: what the signature covers, and whose key it was
    verifier.get_LastJsonData(report);
    std::printf("%s\n%s\n", valid ? "valid" : "invalid", report.getUtf8());
    return valid ? 0 : 1;
}
