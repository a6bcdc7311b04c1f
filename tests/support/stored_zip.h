// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_STORED_ZIP_H
#define TESTS_SUPPORT_STORED_ZIP_H

#include "foundation/text/byte_view.h"
#include "foundation/zip/crc32.h"

#include <string>
#include <utility>
#include <vector>

namespace vantrel::test {

// A little-endian number of so many octets.
inline std::string littleEndian(std::size_t value, int octets) {
    std::string out;
    for (; octets > 0; --octets, value >>= 8) {
        out += static_cast<char>(value & 0xFF);
    }
    return out;
}

// A ZIP archive whose members are stored (APPNOTE 4.3).
inline std::string storedZip(const std::vector<std::pair<std::string, std::string>>& members) {
    std::string local;
    std::string directory;
    for (const auto& [name, contents] : members) {
        zip::Crc32 crc;
        crc.update(asBytes(contents));
        const std::string common = littleEndian(20, 2) + littleEndian(0, 8) +
                                   littleEndian(crc.value(), 4) + littleEndian(contents.size(), 4) +
                                   littleEndian(contents.size(), 4) + littleEndian(name.size(), 2) +
                                   littleEndian(0, 2);
        directory += "PK\1\2" + littleEndian(20, 2) + common + littleEndian(0, 10) +
                     littleEndian(local.size(), 4) + name;
        local += "PK\3\4" + common + name + contents;
    }
    const std::string count = littleEndian(members.size(), 2);
    return local + directory + "PK\5\6" + littleEndian(0, 4) + count + count +
           littleEndian(directory.size(), 4) + littleEndian(local.size(), 4) + littleEndian(0, 2);
}

} // namespace vantrel::test

#endif
