// SPDX-License-Identifier: MIT
// Archives: whatever opens can be read to its end or to a fault, in bounded memory, and what is
// found by name is what stands in the list.
#include "foundation/zip/zip_archive.h"
#include "foundation/zip/zip_reader.h"

#include <cstdlib>
#include <memory>
#include <string>

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const zip::ZipLimits limits = {1000, 1 << 22, 1 << 23, 1000};
    zip::ZipArchive archive;
    std::string fault;
    const auto bytes = std::make_shared<io::MemoryAccess>(DataBuffer(ByteView(data, size)));
    if (!archive.open(bytes, limits, fault)) {
        if (fault.empty()) {
            std::abort();
        }
        return 0;
    }
    for (const zip::ZipMember& member : archive.members()) {
        DataBuffer contents;
        std::string_view why;
        const bool isRead = zip::readMember(archive, member, contents, why);
        if (isRead ? contents.getSize() != member.size : why.empty()) {
            std::abort();
        }
        if (archive.find(member.name) != &member) {
            std::abort();
        }
    }
    return 0;
}
