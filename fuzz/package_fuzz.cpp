// SPDX-License-Identifier: MIT
// Packages from their members, which stand here one behind the other, name and contents, each up to
// a NUL: what signatures, relationships, content types and transforms on parts make of any
// contents. The archive around them is sound, so that check sums keep nothing away, and now and
// then a signature is signed anew by a secret: a part that is covered then cannot change.
#include "api/verify.h"
#include "dsig/package/relationships.h"
#include "fuzz/secret_signature.h"
#include "tests/dsig/truth/places.h"
#include "tests/support/stored_zip.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string_view>

using namespace vantrel;

namespace {

using Members = std::vector<std::pair<std::string, std::string>>;

std::string_view takeField(std::string_view& rest) {
    const std::string_view field = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(std::min(field.size() + 1, rest.size()));
    return field;
}

Members membersOf(std::string_view rest) {
    Members members;
    while (!rest.empty()) {
        const std::string_view name = takeField(rest);
        members.emplace_back(name, takeField(rest));
    }
    return members;
}

VerifyResult verdictOf(const Members& members) {
    VerifyOptions options;
    options.hmacSecret = fuzz::kSecret;
    options.policy.mustCover = {"part:a", "#m"};
    return verify(test::storedZip(members), options);
}

// The only member of that name.
std::string* contentsOf(Members& members, std::string_view name) {
    const auto isNamed = [name](const auto& member) { return member.first == name; };
    const auto found = std::ranges::find_if(members, isNamed);
    return std::ranges::count_if(members, isNamed) == 1 ? &found->second : nullptr;
}

std::vector<std::string> computedDigests(const SignatureResult& signature) {
    std::vector<std::string> digests;
    for (const auto* const list : {&signature.references, &signature.manifest}) {
        for (const ReferenceResult& reference : *list) {
            digests.push_back(reference.computedDigest);
        }
    }
    return digests;
}

// Signs the first signature of the package; false if it can't be.
bool signBySecret(Members& members) {
    VerifyResult result = verdictOf(members);
    std::string* const document =
        result.signatures.empty() ? nullptr : contentsOf(members, result.signatures[0].part);
    if (document == nullptr || !fuzz::putMethod(*document, 0)) {
        return false;
    }
    // A manifest is read once its own digest holds, which changes when those in it are put right.
    for (int round = 0; round < 3; ++round) {
        result = verdictOf(members);
        if (result.signatures.empty()) {
            return false;
        }
        fuzz::putDigests(*document, 0, computedDigests(result.signatures[0]));
        if (result.signatures[0].manifest.empty() && round == 0) {
            break;
        }
    }
    return fuzz::putValue(*document, 0);
}

// Whether a place is in a relationship of signatures: nobody can sign the way to a signature, and
// to follow it needs its part in any case of letters.
bool isOnTheWayToSignatures(std::string_view part, std::size_t place) {
    const std::size_t begin = std::min(part.rfind('<', place), place);
    const std::string_view tag = part.substr(begin, part.find('>', place) - begin);
    return tag.find(dsig::kSignatureTypes) != tag.npos || tag.find('&') != tag.npos;
}

// Of XML what is content, of others letters and figures, so that base64 has another meaning, too.
std::vector<std::size_t> placesIn(const std::string& part) {
    xml::ParseFailure why;
    if (xml::XmlDocument::parse(StringBuffer(part), {}, why) != nullptr) {
        return test::contentPlaces(part);
    }
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < part.size(); ++i) {
        if (std::isalnum(static_cast<unsigned char>(part[i])) != 0) {
            places.push_back(i);
        }
    }
    return places;
}

void requireCoverage(const Members& members, const VerifyResult& result) {
    const SignatureResult& signature = result.signatures[0];
    std::uint64_t seed = std::hash<std::string>()(members[0].second);
    for (const ContainerPart& part : result.container->parts) {
        Members changed = members;
        std::string* const contents = contentsOf(changed, part.name);
        if (contents == nullptr || std::ranges::count(part.by, signature.index) == 0) {
            continue;
        }
        const std::vector<std::size_t> places = placesIn(*contents);
        if (places.empty()) {
            continue;
        }
        seed = seed * 6364136223846793005U + 1;
        const std::size_t place = places[(seed >> 20) % places.size()];
        if (part.name.ends_with(".rels") && isOnTheWayToSignatures(*contents, place)) {
            continue;
        }
        test::changeContent(*contents, place);
        const VerifyResult other = verdictOf(changed);
        const auto again = std::ranges::find_if(other.signatures, [&](const auto& each) {
            return each.part == signature.part && each.index == signature.index;
        });
        if (again != other.signatures.end() && again->valid) {
            std::fprintf(stderr, "valid with another octet at %zu of %s\n", place,
                         part.name.c_str());
            std::abort();
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMost = std::size_t{1} << 16;
    Members members = membersOf(asText(ByteView(data, std::min(size, kMost))));
    const bool isSigned = size % 2 == 0 && signBySecret(members);
    const VerifyResult result = verdictOf(members);
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
    if (isSigned && !isError && !result.signatures.empty() && result.signatures[0].valid) {
        requireCoverage(members, result);
    }
    return 0;
}
