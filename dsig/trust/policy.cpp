// SPDX-License-Identifier: MIT
#include "dsig/trust/policy.h"

#include "dsig/trust/demands.h"
#include "foundation/text/strings.h"

namespace vantrel::dsig {

std::optional<Demand> demandOf(std::string_view word) noexcept {
    for (const DemandEntry& entry : demandTable()) {
        if (text::equalsNoCase(entry.word, word)) {
            return entry.demand;
        }
    }
    return std::nullopt;
}

const std::set<Demand>& strictDemands() {
    static const std::set<Demand> demands = {Demand::Strong, Demand::NoLeniency, Demand::AllChecked,
                                             Demand::Unambiguous, Demand::Vouched};
    return demands;
}

bool parsePin(std::string_view text, std::string& pin) {
    constexpr std::string_view kHash = "sha256:";
    constexpr std::size_t kDigits = 64;
    if (!text::equalsNoCase(text.substr(0, kHash.size()), kHash)) {
        return false;
    }
    pin.clear();
    for (const char c : text.substr(kHash.size())) {
        // Programs that print fingerprints put colons between the octets.
        if (c == ':' && pin.size() % 2 == 0) {
            continue;
        }
        if (text::hexDigitValue(c) < 0) {
            return false;
        }
        pin.push_back(text::toLowerAscii(c));
    }
    return pin.size() == kDigits;
}

bool isRevocationList(ByteView der) {
    std::string_view whyNot;
    return x509::isRevocationList(der, whyNot);
}

bool isTarget(std::string_view text) noexcept {
    return text == "document" || (text.size() > 1 && (text[0] == '#' || text[0] == '/')) ||
           (text.starts_with(kPartTarget) && text.size() > kPartTarget.size());
}

} // namespace vantrel::dsig
