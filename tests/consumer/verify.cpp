// SPDX-License-Identifier: MIT
// Verifies a document with the typed interface, as a user would build it.
#include <vantrel/verify.h>

#include <iostream>

int main(int argc, char** argv) {
    const vantrel::VerifyResult result = vantrel::verifyFile(argc > 1 ? argv[1] : "invoice.xml");
    std::cout << (result ? "valid" : "not valid") << " " << result.error << "\n";
    for (const vantrel::SignatureResult& signature : result.signatures) {
        std::cout << signature.id << ": " << (signature.signer ? signature.signer->subject : "-")
                  << " " << signature.reason << "\n";
    }
    return result ? 0 : 1;
}
