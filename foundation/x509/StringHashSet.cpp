// SPDX-License-Identifier: MIT
#include "foundation/x509/StringHashSet.h"

#include "foundation/text/StringBuffer.h"
#include "foundation/text/no_throw.h"

namespace vantrel {

bool StringHashSet::hashAddKey(const char* key) {
    return key != nullptr && text::noThrow(false, [&] {
               if (m_keys.empty() && m_sizeHint > 0) {
                   m_keys.reserve(static_cast<std::size_t>(m_sizeHint));
               }
               m_keys.emplace(key);
               return true;
           });
}

bool StringHashSet::hashContainsSb(const StringBuffer& key) const {
    return m_keys.find(key.view()) != m_keys.end();
}

} // namespace vantrel
