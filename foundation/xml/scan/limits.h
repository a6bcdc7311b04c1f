// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_LIMITS_H
#define FOUNDATION_XML_SCAN_LIMITS_H

#include <cstdint>

namespace vantrel::xml {

// Limits on what a document may demand. Passing one is an error that names it, never a truncation.
inline constexpr std::uint32_t kMaxDocumentSize = 0x7FFFFFFF; // bytes of text, 2 GiB - 1
inline constexpr std::uint32_t kMaxDepth = 10'000;            // elements open at one time
inline constexpr std::uint32_t kMaxAttributes = 100'000;      // of one start tag, defaults included
// Replacement text of entities that is read to expand a document's references: in bytes, and as a
// multiple of the text of the entity declarations. Every reference of a signature may digest the
// expanded text, so a small document must not become a large one. The multiple does not count for
// what is small anyway: a document may use a short entity a thousand times.
inline constexpr std::uint64_t kMaxEntityExpansion = 64ULL * 1024 * 1024;
inline constexpr std::uint64_t kMaxEntityAmplification = 1'000;
inline constexpr std::uint64_t kSmallEntityExpansion = 1024ULL * 1024;
inline constexpr std::uint32_t kMaxEntityNesting = 1'000; // entities in entities
// Attribute defaults that a document's elements take on: bytes beside four times the document. Each
// default counts with its name, its value and what it costs beside them.
inline constexpr std::uint64_t kMaxDefaultBytes = 64ULL * 1024 * 1024;
inline constexpr std::uint64_t kDefaultOverhead = 16;
inline constexpr std::uint32_t kMaxModelNesting = 1'000; // parentheses in an element declaration

// Of a name in a message.
inline constexpr std::uint32_t kShownName = 100;
// A canonical form that is kept as a text: bytes, or a multiple of the text that it is made of
// where that is more. Namespace declarations that come down from above are written by every element
// that needs them, so a canonical form may be much longer than its text.
inline constexpr std::uint64_t kMaxCanonicalForm = 64ULL * 1024 * 1024;
inline constexpr std::uint64_t kMaxCanonicalMultiple = 64;

} // namespace vantrel::xml

#endif
