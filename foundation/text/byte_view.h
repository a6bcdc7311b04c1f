// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_BYTE_VIEW_H
#define FOUNDATION_TEXT_BYTE_VIEW_H

#include <cstdint>
#include <span>
#include <string_view>

namespace vantrel {

// Bytes owned by somebody else; valid as long as their owner does not change.
using ByteView = std::span<const std::uint8_t>;

// The bytes of a text, and a text over bytes. Nothing is copied or checked.
inline ByteView asBytes(std::string_view text) noexcept {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}
inline std::string_view asText(ByteView bytes) noexcept {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

} // namespace vantrel

#endif
