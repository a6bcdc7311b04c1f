// SPDX-License-Identifier: MIT
#ifndef API_PACKAGE_RUN_H
#define API_PACKAGE_RUN_H

#include "api/verification.h"
#include "api/verify_options.h"
#include "api/verify_result.h"
#include "foundation/io/random_access.h"
#include "foundation/text/DataBuffer.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// The verification of a package, which is one of each of its signature documents, for those who
// report in a form of their own. verify.h and the tool go this way.
namespace vantrel {

class ClsBinData;
class ClsXmlDSig;

namespace json {
class JsonWriter;
} // namespace json

namespace api {

// What is done with each signature document; `loaded` may be empty.
struct PackageSteps {
    // Gives a new verifier its settings, before it loads the document. False, with the reason in
    // `error`, ends the run.
    std::function<bool(ClsXmlDSig& verifier, std::string& error)> prepare;
    // After the document was loaded, or could not be.
    std::function<bool(ClsXmlDSig& verifier, std::string& error)> loaded;
    // The steps of its signatures.
    std::function<RunSteps(ClsXmlDSig& verifier)> stepsOf;
    // Behind the last of them, where there was one; may be empty.
    std::function<bool(ClsXmlDSig& verifier, std::string& error)> done;
};

// What the error about an archive begins with that cannot be read, or not in one way only.
inline constexpr std::string_view kNotRead = "this is a ZIP archive that is not read: ";

// Whether a document is a package, by its first octets.
[[nodiscard]] bool isPackage(ByteView document) noexcept;

// Verifies the selected signatures of a package: of the parts that hold signatures, in its order,
// all or that of VerifyOptions::part. Indexes run through the package. False, with the reason in
// `error`, when it cannot be judged as a whole; `found` then may have a part of what there is. A
// signature that does not verify is a result.
[[nodiscard]] bool verifyPackage(std::shared_ptr<const io::RandomAccess> bytes,
                                 const VerifyOptions& options, const PackageSteps& steps,
                                 Container& found, Status& status, std::string& error);

// Calls `steps.done` with each signature document, loaded and told of its package, and `prepare`
// before it where there is one. Nothing is verified. False as above, or when a step is.
[[nodiscard]] bool forEachSignaturePart(std::shared_ptr<const io::RandomAccess> bytes,
                                        const VerifyOptions& options, const PackageSteps& steps,
                                        std::string& error);

// The selected signatures of one document by their indexes in it; `first` counts those of the
// documents before it. One that is named may be in another document.
[[nodiscard]] std::vector<int> selectedIn(const VerifyOptions& options, int first,
                                          ClsXmlDSig& verifier);

// Loads one signature document, that of VerifyOptions::part or the only one, and tells the verifier
// of its package; `document` := its octets. False, with the reason, where none or several are
// meant.
[[nodiscard]] bool loadSignaturePart(std::shared_ptr<const io::RandomAccess> bytes,
                                     const VerifyOptions& options, ClsXmlDSig& verifier,
                                     ClsBinData& document, std::string& error);

// The octets of the part that VerifyOptions::part names, whatever it holds. False as above.
[[nodiscard]] bool readPart(std::shared_ptr<const io::RandomAccess> bytes,
                            const VerifyOptions& options, DataBuffer& part, std::string& error);

// The member `container` of the document's object.
void writeContainer(const Container& container, json::JsonWriter& out);

// The SHA-256 of all octets, lower-case hexadecimal; empty when they cannot be read.
[[nodiscard]] std::string sha256Of(const io::RandomAccess& bytes);

} // namespace api
} // namespace vantrel

#endif
