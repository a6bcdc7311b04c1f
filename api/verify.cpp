// SPDX-License-Identifier: MIT
#include "api/verify.h"

#include "api/document_acceptance.h"
#include "api/package_result.h"
#include "api/package_run.h"
#include "api/read_file.h"
#include "dsig/document/fingerprint.h"

#include <memory>
#include <utility>

#define VANTREL_TEXT_OF(number) #number
#define VANTREL_DOTTED(major, minor, patch)                                                        \
    VANTREL_TEXT_OF(major) "." VANTREL_TEXT_OF(minor) "." VANTREL_TEXT_OF(patch)

namespace vantrel {

namespace {

// Of a document that could not be looked at, which no policy accepts.
VerifyResult failed(const VerifyOptions& options, const Error& error) {
    VerifyResult result;
    result.error = error.what;
    if (options.policy.asks()) {
        api::setAcceptance(options.policy, {}, result);
    }
    return result;
}

} // namespace

// A document that does not load is a result, too, so that one call answers everything; its octets
// are named all the same.
VerifyResult verify(std::string_view document, const VerifyOptions& options) {
    if (api::isPackage(asBytes(document))) {
        const std::size_t size = document.size();
        if (size > api::kMaxDocument) {
            return failed(options, Error{"the document is larger than 2 GiB", {}});
        }
        return api::packageResult(std::make_shared<io::MemoryAccess>(DataBuffer(asBytes(document))),
                                  options);
    }
    Result<Document> loaded = Document::load(document, options);
    if (loaded) {
        return loaded->verify();
    }
    VerifyResult result = failed(options, loaded.error());
    result.size = document.size();
    result.sha256 = dsig::sha256Text(asBytes(document));
    return result;
}

VerifyResult verifyFile(const std::string& path, const VerifyOptions& options) {
    if (std::shared_ptr<const io::RandomAccess> package = api::openPackage(path)) {
        return api::packageResult(std::move(package), options);
    }
    const Result<std::string> bytes = api::readFile(path, api::kMaxDocument);
    if (bytes) {
        return verify(*bytes, options);
    }
    return failed(options, bytes.error());
}

std::string_view version() noexcept {
    return VANTREL_DOTTED(VANTREL_VERSION_MAJOR, VANTREL_VERSION_MINOR, VANTREL_VERSION_PATCH);
}

} // namespace vantrel
