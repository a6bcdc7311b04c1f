// SPDX-License-Identifier: MIT
// Asks for a time-stamp through a transport of the program's own, with what an installed library
// offers. The transport stands for an authority that refuses, so nothing is to be signed by it.
#include <vantrel/ClsHttp.h>
#include <vantrel/ClsJsonObject.h>
#include <vantrel/ClsStringBuilder.h>
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

    int requests = 0;
    bool isQuery = true;
    vantrel::ClsHttp http;
    http.SetTransport([&](const vantrel::HttpRequest& request) {
        ++requests;
        isQuery = isQuery && request.url == "https://authority.example/" &&
                  request.contentType == "application/timestamp-query" && !request.body.empty();
        vantrel::HttpResponse refusal;
        refusal.status = 503;
        return refusal;
    });
    verifier.SetHttpObj(http);

    vantrel::ClsJsonObject options;
    options.UpdateString(vantrel::XString("tsaUrl"),
                         vantrel::XString("https://authority.example/"));
    options.UpdateString(vantrel::XString("hashAlgorithm"), vantrel::XString("sha256"));
    vantrel::ClsStringBuilder stamped;
    verifier.AddEncapsulatedTimeStamp(options, stamped);

    vantrel::XString problem;
    verifier.get_FirstErrorLine(problem);
    std::printf("%d requests, status %d: %s\n", requests, http.get_LastStatus(), problem.getUtf8());
    return requests > 0 && isQuery && !problem.isEmpty() ? 0 : 1;
}
