// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_BASE_CLSBINDATA_H
#define FOUNDATION_BASE_CLSBINDATA_H

#include "foundation/base/ClsBase.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/XString.h"

#include <cstdint>

namespace vantrel {

/// Bytes that the application hands to other objects or receives from them.
class ClsBinData final : public ClsBase {
public:
    ClsBinData() = default;
    ~ClsBinData() override = default;
    /// A new, empty object that the caller deletes; null when out of memory.
    [[nodiscard]] static ClsBinData* createNewCls();

    void dotNetDispose() override;

    bool AppendData(const void* data, std::uint32_t size);
    bool AppendBd(const ClsBinData& other);
    /// Decodes text in the named encoding ("base64", "hex", ...) and appends the bytes.
    bool AppendEncoded(const XString& text, const XString& encoding);
    bool GetEncoded(const XString& encoding, XString& text);
    /// Replaces the bytes; they are shared with `other` until one of the two changes.
    bool SetData(const ClsBinData& other);
    void Clear();
    void SecureClear();
    [[nodiscard]] std::uint32_t get_NumBytes();
    /// Valid until the next change; null when there are none.
    [[nodiscard]] const unsigned char* GetBytes();

    // The bytes themselves, for the other public objects.
    [[nodiscard]] DataBuffer& data() noexcept { return m_data; }
    [[nodiscard]] const DataBuffer& data() const noexcept { return m_data; }

private:
    DataBuffer m_data;
};

} // namespace vantrel

#endif
