// SPDX-License-Identifier: MIT
// Packages from their members, which stand here one behind the other, name and contents, each up to
// a NUL: what signatures, relationships, content types and transforms on parts make of any
// contents. The archive around them is sound, so that check sums keep nothing away.
#include "api/verify.h"
#include "tests/support/stored_zip.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

using namespace vantrel;

namespace {

std::string_view takeField(std::string_view& rest) {
    const std::string_view field = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(std::min(field.size() + 1, rest.size()));
    return field;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMost = std::size_t{1} << 16;
    std::string_view rest = asText(ByteView(data, std::min(size, kMost)));
    std::vector<std::pair<std::string, std::string>> members;
    while (!rest.empty()) {
        const std::string_view name = takeField(rest);
        members.emplace_back(name, takeField(rest));
    }
    VerifyOptions options;
    options.hmacSecret = "secret";
    options.policy.mustCover = {"part:a", "#m"};
    const VerifyResult result = verify(test::storedZip(members), options);
    const bool isError = result.status == Status::Error;
    if (isError != !result.error.empty() || isError == result.container.has_value()) {
        std::abort();
    }
    // What is covered is covered by a signature that is valid.
    for (std::size_t i = 0; !isError && i < result.container->parts.size(); ++i) {
        const ContainerPart& part = result.container->parts[i];
        for (const int index : part.by) {
            const auto found = std::ranges::find(result.signatures, index, &SignatureResult::index);
            if (found == result.signatures.end() || !found->valid) {
                std::abort();
            }
        }
    }
    return 0;
}
