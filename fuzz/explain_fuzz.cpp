// SPDX-License-Identifier: MIT
// The search for causes and the page for people, for any bytes as a document. A search ends, and
// changes no verdict; nothing of a document becomes markup of its page.

#include "dsig/object/ClsXmlDSig.h"
#include "foundation/base/ClsBinData.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace vantrel;

namespace {

bool isValid(ClsXmlDSig& verifier) {
    XString json;
    verifier.get_LastJsonData(json);
    // The signature's own status stands before those of its references, behind its path.
    constexpr std::string_view kStatus = "\"status\":\"";
    const std::string_view text = json.getUtf8Sb().view();
    const std::size_t at = text.find(kStatus);
    return at != std::string_view::npos && text.substr(at + kStatus.size()).starts_with("valid");
}

// A page has no element that runs or loads something, and a document cannot bring one along.
bool isHarmless(std::string_view page) {
    constexpr std::string_view kActive[] = {"<script", "<iframe", "<img",  "<svg",  "<link",
                                            "<object", "<embed",  "<base", "<form", "<input"};
    return page.ends_with("</body></html>\n") &&
           std::ranges::none_of(kActive, [page](std::string_view tag) {
               return page.find(tag) != std::string_view::npos;
           });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 8192) {
        return 0;
    }
    ClsBinData document;
    document.AppendData(data, static_cast<std::uint32_t>(size));
    ClsXmlDSig verifier;
    // Searches take their seconds; the target wants many documents.
    verifier.SetDeadline(20);
    if (!verifier.LoadSignatureBd(document) || verifier.get_NumSignatures() == 0) {
        return 0;
    }
    const bool verified = verifier.VerifySignature(true);
    verifier.ExplainFailures(1);
    if (!verifier.TimeIsUp() && verified != isValid(verifier)) {
        std::abort();
    }
    // The title is as hostile.
    XString title(asText({data, size}));
    XString page;
    if (verifier.KeepForHtmlReport() && verifier.HtmlReport(title, page)) {
        if (!isHarmless(page.getUtf8Sb().view())) {
            std::abort();
        }
    }
    return 0;
}
