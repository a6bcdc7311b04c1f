// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_STRINGHASHSET_H
#define FOUNDATION_X509_STRINGHASHSET_H

#include "foundation/text/VantrelObject.h"

#include <string>
#include <string_view>
#include <unordered_set>

namespace vantrel {

class StringBuffer;

// A set of texts; membership is exact.
class StringHashSet final : public VantrelObject {
public:
    // `sizeHint`: how many texts to expect; nothing is reserved before the first one is added.
    explicit StringHashSet(int sizeHint) noexcept : m_sizeHint(sizeHint) {}

    // Adding a present key changes nothing. False for a null key or when memory runs out.
    bool hashAddKey(const char* key);
    [[nodiscard]] bool hashContainsSb(const StringBuffer& key) const;

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const noexcept {
            return std::hash<std::string_view>()(text);
        }
    };

    int m_sizeHint;
    std::unordered_set<std::string, Hash, std::equal_to<>> m_keys;
};

} // namespace vantrel

#endif
