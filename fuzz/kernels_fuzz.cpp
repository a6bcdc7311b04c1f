// SPDX-License-Identifier: MIT
// The kernels that look at text many bytes at a time against their portable twins: search, UTF-8,
// masks of markup, check sums. The first byte says where in the rest they begin.

#include "foundation/text/multi_search.h"
#include "foundation/text/multi_search_kernels.h"
#include "foundation/text/utf8_kernels.h"
#include "foundation/xml/canon/canon_masks.h"
#include "foundation/xml/scan/block_masks.h"
#include "foundation/xml/scan/stop_bytes.h"
#include "foundation/zip/crc32.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <vector>

using namespace vantrel;

namespace {

// Calls use(kernel) for each kernel that may run here; all must say what the last of them says.
template <class List, class Use> void compareKernels(const List& kernels, const Use& use) {
    const auto wanted = use(kernels.back());
    for (const auto& kernel : kernels) {
        if (cpu::supports(kernel.needs) && use(kernel) != wanted) {
            std::abort();
        }
    }
}

std::vector<std::size_t> found(const text::MultiSearchKernel& kernel, std::string_view text) {
    static constexpr std::array<std::string_view, 6> kNeedles = {
        "ebxml-msg", "abc", "<?xml", "SignedInfo>", "aaaa", "\xC3\xA9\xC3"};
    static constexpr text::NeedleSet kSet{kNeedles};
    std::vector<std::size_t> places(kNeedles.size());
    text::findAllWith(kernel, text, kSet, places);
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (places[i] != text.find(kNeedles[i])) {
            std::abort();
        }
    }
    return places;
}

// The rows and the facts of the first `cut` blocks and then of the others, as a scanner goes on.
std::vector<std::uint64_t> classified(const xml::ClassifyKernel& kernel, std::string_view text,
                                      std::size_t cut) {
    static xml::BlockMasks masks;
    xml::TextFacts facts;
    const std::size_t count =
        std::min<std::size_t>(text.size() / xml::kBlockSize, xml::kWindowBlocks);
    cut = std::min(cut, count);
    std::vector<std::uint64_t> out;
    for (const auto& [start, end] : {std::pair{std::size_t{0}, cut}, std::pair{cut, count}}) {
        kernel.run(text.data() + start * xml::kBlockSize, end - start, start > 0, masks, facts);
        for (const xml::MaskRow& row : masks.rows) {
            out.insert(out.end(), row, row + (end - start));
        }
    }
    out.push_back(facts.carriageReturn ? 1 : 0);
    out.push_back(facts.bad ? 1 : 0);
    return out;
}

std::vector<xml::CanonMasks> canonMasks(const xml::CanonMaskKernel& kernel, std::string_view text) {
    std::vector<xml::CanonMasks> masks(text.size() / xml::kMaskedBytes);
    kernel.run(text.data(), masks.size(), masks.data());
    return masks;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 65536) {
        return 0;
    }
    const std::string_view whole = asText({data + 1, size - 1});
    const std::size_t start = std::min<std::size_t>(data[0], whole.size());
    const std::string_view text = whole.substr(start);
    compareKernels(text::utf8Kernels(), [&](const auto& kernel) { return kernel.run(text); });
    compareKernels(text::multiSearchKernels(),
                   [&](const auto& kernel) { return found(kernel, text); });
    compareKernels(xml::detail::findStopKernels(), [&](const auto& kernel) {
        return kernel.run(whole.data(), static_cast<std::uint32_t>(start),
                          static_cast<std::uint32_t>(whole.size()),
                          {{'"', '<', '&', '\t', '\n', '\r'}});
    });
    // A fault in the last octets may show with the next block, so there is one in the window.
    constexpr std::size_t kMost = (xml::kWindowBlocks - 2) * xml::kBlockSize;
    const std::string padded =
        std::string(text.substr(0, kMost)) + std::string(2 * xml::kBlockSize, ' ');
    compareKernels(xml::classifyKernels(),
                   [&](const auto& kernel) { return classified(kernel, padded, data[0] % 8); });
    compareKernels(xml::canonMaskKernels(),
                   [&](const auto& kernel) { return canonMasks(kernel, text); });
    compareKernels(zip::crc32Kernels(),
                   [&](const auto& kernel) { return kernel.run(data[0], asBytes(text)); });
    return 0;
}
