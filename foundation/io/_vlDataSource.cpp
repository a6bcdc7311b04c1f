// SPDX-License-Identifier: MIT
#include "foundation/io/_vlDataSource.h"

#include "foundation/io/file_handle.h"
#include "foundation/io/huge_pages.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"

namespace vantrel {

namespace {

// Before main, so that the first large document has it too.
[[maybe_unused]] const bool g_hugePagesUsed = (io::useHugePages(), true);

} // namespace

_vlFileDataSource::~_vlFileDataSource() { closeDataSource(); }

bool _vlFileDataSource::openDataSourceFile(const XString& path, LogBase& log) {
    closeDataSource();
    io::FileHandle file;
    if (!io::openRegularFile(path.getUtf8Sb().view(), file, m_size, log)) {
        return false;
    }
    m_descriptor = file.release();
    return true;
}

void _vlFileDataSource::closeDataSource() noexcept {
    const io::FileHandle closed(m_descriptor);
    m_descriptor = -1;
    m_size = 0;
    m_read = 0;
}

bool _vlFileDataSource::readSource(std::span<std::uint8_t> room, std::size_t& count, LogBase& log) {
    const bool read = io::readSome(m_descriptor, room, count, log);
    m_read += read ? count : 0;
    return read;
}

} // namespace vantrel
