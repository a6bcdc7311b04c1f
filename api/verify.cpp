#include "api/verify.h"

#include "api/read_file.h"
#include "dsig/document/fingerprint.h"

#define VANTREL_TEXT_OF(number) #number
#define VANTREL_DOTTED(major, minor, patch)                                                        \
    VANTREL_TEXT_OF(major) "." VANTREL_TEXT_OF(minor) "." VANTREL_TEXT_OF(patch)

namespace vantrel {

VerifyResult verify(std::string_view document, const VerifyOptions& options) {
    Result<Document> loaded = Document::load(document, options);
    if (loaded) {
        return loaded->verify();
    }
    VerifyResult result;
    result.error = loaded.error().what;
    result.size = document.size();
    result.sha256 = dsig::sha256Text(asBytes(document));
    return result;
}

VerifyResult verifyFile(const std::string& path, const VerifyOptions& options) {
    const Result<std::string> bytes = api::readFile(path, api::kMaxDocument);
    if (bytes) {
        return verify(*bytes, options);
    }
    VerifyResult result;
    result.error = bytes.error().what;
    return result;
}

std::string_view version() noexcept {
    return VANTREL_DOTTED(VANTREL_VERSION_MAJOR, VANTREL_VERSION_MINOR, VANTREL_VERSION_PATCH);
}

} // namespace vantrel
