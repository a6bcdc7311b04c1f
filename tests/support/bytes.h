// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_BYTES_H
#define TESTS_SUPPORT_BYTES_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Bytes for tests: plain vectors, and conversions that share no code with the library, so that a
// fault of its encoders cannot hide itself. Bad input throws std::invalid_argument, which fails
// the test that passed it.
namespace vantrel::test {

using Bytes = std::vector<std::uint8_t>;

[[nodiscard]] Bytes fromHex(std::string_view hex);
[[nodiscard]] std::string toHex(std::span<const std::uint8_t> bytes);
[[nodiscard]] Bytes fromBase64(std::string_view base64);
[[nodiscard]] std::string toBase64(std::span<const std::uint8_t> bytes);
[[nodiscard]] Bytes bytesOf(std::string_view text);
[[nodiscard]] std::string textOf(std::span<const std::uint8_t> bytes);
// How often the part stands in the text, overlapping ones counted.
[[nodiscard]] std::size_t countOf(std::string_view text, std::string_view part);
// The size as the contract's classes take it.
[[nodiscard]] inline std::uint32_t size32(std::span<const std::uint8_t> bytes) {
    return static_cast<std::uint32_t>(bytes.size());
}
// Resolves \n \r \t \0 \\ and \xHH, so that a one-line vector can hold any byte.
[[nodiscard]] std::string unescape(std::string_view text);

// The whole file; throws std::runtime_error when it cannot be read.
[[nodiscard]] Bytes readFile(const std::string& path);
[[nodiscard]] std::string readText(const std::string& path);
void writeFile(const std::string& path, std::string_view content);

// Deterministic random input: one seed, one sequence, on every machine.
class RandomBytes final {
public:
    explicit RandomBytes(std::uint64_t seed) : m_engine(seed) {}

    [[nodiscard]] Bytes bytes(std::size_t count);
    // A number in [0, bound); bound > 0.
    [[nodiscard]] std::uint64_t below(std::uint64_t bound) { return m_engine() % bound; }
    [[nodiscard]] std::uint64_t word() { return m_engine(); }

private:
    std::mt19937_64 m_engine;
};

} // namespace vantrel::test

#endif
