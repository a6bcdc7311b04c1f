// SPDX-License-Identifier: MIT
#include "dsig/report/codes.h"

#include <algorithm>

namespace vantrel::dsig {

// A linear search: a set never has more members than there are constants.
void CodeSet::add(std::string_view code) {
    if (!contains(code)) {
        m_codes.push_back(code);
    }
}

void CodeSet::remove(std::string_view code) { std::erase(m_codes, code); }

bool CodeSet::contains(std::string_view code) const noexcept {
    return std::find(m_codes.begin(), m_codes.end(), code) != m_codes.end();
}

} // namespace vantrel::dsig
