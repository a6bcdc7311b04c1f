// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_VLDATASOURCE_H
#define FOUNDATION_IO_VLDATASOURCE_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel {

class LogBase;
class XString;

// Bytes that are read once, from front to end, in pieces.
class _vlDataSource {
public:
    _vlDataSource() noexcept = default;
    _vlDataSource(const _vlDataSource&) = delete;
    _vlDataSource& operator=(const _vlDataSource&) = delete;
    virtual ~_vlDataSource() = default;

    // Fills as much of `room` as can be had at once; `count` 0 means that the end is reached.
    // False, with an error line, when reading fails.
    [[nodiscard]] virtual bool readSource(std::span<std::uint8_t> room, std::size_t& count,
                                          LogBase& log) = 0;
};

// A regular file. Nothing else is opened: a directory, pipe or device could block or never end.
class _vlFileDataSource final : public _vlDataSource {
public:
    _vlFileDataSource() noexcept = default;
    ~_vlFileDataSource() override;

    // Closes what was open. False, with an error line, when there is no such file, it is no regular
    // file, or it may not be read.
    [[nodiscard]] bool openDataSourceFile(const XString& path, LogBase& log);
    void closeDataSource() noexcept;
    // Size at the time of opening.
    [[nodiscard]] std::uint64_t fileSize() const noexcept { return m_size; }
    // Handed out since then: another number where the file has changed meanwhile.
    [[nodiscard]] std::uint64_t octetsRead() const noexcept { return m_read; }

    [[nodiscard]] bool readSource(std::span<std::uint8_t> room, std::size_t& count,
                                  LogBase& log) override;

private:
    int m_descriptor = -1;
    std::uint64_t m_size = 0;
    std::uint64_t m_read = 0;
};

} // namespace vantrel

#endif
