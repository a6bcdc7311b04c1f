// SPDX-License-Identifier: MIT
#include "dsig/document/limits.h"

#include <charconv>

namespace vantrel::dsig {

namespace {

// The one place that pairs names with values: setting, listing and documenting all read it.
constexpr LimitEntry kTable[] = {
    {"keyOperations", &Limits::keyOperations,
     "Signature checks with a public key in all signatures of a document, weighted by the size of "
     "the key."},
    {"workOctets", &Limits::workOctets,
     "Octets that all references of a document together have parsed, canonicalized and hashed; for "
     "large documents 64 times their size up to 4 GiB, and 16 times their size beyond."},
    {"transformsPerReference", &Limits::transformsPerReference, "Transforms of one reference."},
    {"transforms", &Limits::transforms,
     "Transforms of all references of a document, those beyond the second of each."},
    {"failuresRetried", &Limits::failuresRetried,
     "References of a document that may fail before digests that do not match are no longer tried "
     "with another attribute order."},
    {"xpathSteps", &Limits::xpathSteps,
     "Steps of XPath expressions and of work on sets of nodes in all references of a document: "
     "nodes visited and bytes of text compared; for large documents 32 times their size."},
    {"logOctets", &Limits::logOctets, "Octets of the log of one operation."},
    {"reportOctets", &Limits::reportOctets, "Octets of the report of one operation."},
    {"packageMembers", &Limits::packageMembers, "Members of a package, folders included."},
    {"packageMemberOctets", &Limits::packageMemberOctets,
     "Octets of one member of a package, uncompressed."},
    {"packageOctets", &Limits::packageOctets,
     "Octets of all members of a package together, uncompressed."},
    {"packageRatio", &Limits::packageRatio,
     "How many times its compressed size a member of a package may have, where it is larger than "
     "64 MiB."},
    {"packageXmlOctets", &Limits::packageXmlOctets,
     "Octets of a member of a package that is read as XML: a signature document, relationships, "
     "what is transformed."},
};

} // namespace

std::span<const LimitEntry> limitTable() noexcept { return kTable; }

bool setLimit(Limits& limits, std::string_view name, std::uint64_t value) noexcept {
    for (const LimitEntry& entry : kTable) {
        if (entry.name == name) {
            limits.*entry.value = value;
            return true;
        }
    }
    return false;
}

bool parseLimit(std::string_view text, std::uint64_t& value) noexcept {
    std::uint64_t parsed = 0;
    const char* const last = text.data() + text.size();
    // Unlike strtoull it accepts no sign, no leading white space and no value that does not fit.
    const auto [end, error] = std::from_chars(text.data(), last, parsed);
    if (text.empty() || error != std::errc() || end != last) {
        return false;
    }
    value = parsed;
    return true;
}

} // namespace vantrel::dsig
