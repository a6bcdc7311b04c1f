// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_NODES_NODE_BITS_H
#define FOUNDATION_XML_NODES_NODE_BITS_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vantrel::xml {

using NodeId = std::uint32_t;
inline constexpr NodeId kNoNode = 0xFFFFFFFF;

// A set of nodes of one NodeIndex, a bit for each.
class NodeBits final {
public:
    NodeBits() noexcept = default;
    explicit NodeBits(std::size_t nodes, bool all = false)
        : m_size(nodes), m_words((nodes + 63) / 64, all ? ~std::uint64_t{0} : 0) {
        trim();
    }

    // The number of nodes of the index, not of those in the set.
    [[nodiscard]] std::size_t size() const noexcept { return m_size; }
    [[nodiscard]] bool contains(NodeId node) const noexcept {
        return (m_words[node / 64] >> (node % 64) & 1) != 0;
    }
    void add(NodeId node) noexcept { m_words[node / 64] |= std::uint64_t{1} << (node % 64); }
    void remove(NodeId node) noexcept { m_words[node / 64] &= ~(std::uint64_t{1} << (node % 64)); }
    // The nodes from `first` to the one before `end`.
    void addRange(NodeId first, NodeId end) noexcept {
        changeRange(first, end, [](std::uint64_t& word, std::uint64_t mask) { word |= mask; });
    }
    void removeRange(NodeId first, NodeId end) noexcept {
        changeRange(first, end, [](std::uint64_t& word, std::uint64_t mask) { word &= ~mask; });
    }

    [[nodiscard]] std::size_t count() const noexcept {
        std::size_t sum = 0;
        for (const std::uint64_t word : m_words) {
            sum += static_cast<std::size_t>(std::popcount(word));
        }
        return sum;
    }
    // The first node of the set from `from` on; kNoNode without one.
    [[nodiscard]] NodeId next(NodeId from) const noexcept {
        std::size_t at = from / 64;
        if (at >= m_words.size()) {
            return kNoNode;
        }
        std::uint64_t word = m_words[at] & (~std::uint64_t{0} << (from % 64));
        while (word == 0) {
            if (++at == m_words.size()) {
                return kNoNode;
            }
            word = m_words[at];
        }
        return static_cast<NodeId>(at * 64 + static_cast<std::size_t>(std::countr_zero(word)));
    }

    void intersect(const NodeBits& other) noexcept {
        for (std::size_t i = 0; i < m_words.size(); ++i) {
            m_words[i] &= other.m_words[i];
        }
    }
    void unite(const NodeBits& other) noexcept {
        for (std::size_t i = 0; i < m_words.size(); ++i) {
            m_words[i] |= other.m_words[i];
        }
    }
    void subtract(const NodeBits& other) noexcept {
        for (std::size_t i = 0; i < m_words.size(); ++i) {
            m_words[i] &= ~other.m_words[i];
        }
    }

private:
    template <class Change> void changeRange(NodeId first, NodeId end, Change change) noexcept {
        while (first < end) {
            const NodeId wordEnd = std::min(end, (first / 64 + 1) * 64);
            const NodeId length = wordEnd - first;
            const std::uint64_t ones = ~std::uint64_t{0} >> (64 - length);
            change(m_words[first / 64], ones << (first % 64));
            first = wordEnd;
        }
    }
    void trim() noexcept {
        if (m_size % 64 != 0) {
            m_words.back() &= ~std::uint64_t{0} >> (64 - m_size % 64);
        }
    }

    std::size_t m_size = 0;
    std::vector<std::uint64_t> m_words;
};

} // namespace vantrel::xml

#endif
