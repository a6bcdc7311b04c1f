#ifndef FOUNDATION_XML_SCAN_LIMITS_H
#define FOUNDATION_XML_SCAN_LIMITS_H

#include <cstdint>

namespace vantrel::xml {

// Limits on what a document may demand. Passing one is an error that names it, never a truncation.
inline constexpr std::uint32_t kMaxDocumentSize = 0x7FFFFFFF; // bytes of text, 2 GiB - 1
inline constexpr std::uint32_t kMaxDepth = 10'000;            // elements open at one time
inline constexpr std::uint32_t kMaxAttributes = 100'000;      // of one start tag, defaults included
// Entities: text that references may add to a document, in bytes and as a multiple of the text of
// the entity declarations; nesting of references.
inline constexpr std::uint64_t kMaxEntityExpansion = 64ULL * 1024 * 1024;
inline constexpr std::uint64_t kMaxEntityAmplification = 1'000;
inline constexpr std::uint32_t kMaxEntityNesting = 40;
inline constexpr std::uint32_t kMaxModelNesting = 1'000; // parentheses in an element declaration

} // namespace vantrel::xml

#endif
