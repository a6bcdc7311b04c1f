// SPDX-License-Identifier: MIT
// Runs one fuzz target without a fuzzing engine: over every file of the corpus folder named on the
// command line, over truncations and deterministic mutations of each, and over random bytes. A
// fault shows as a crash (or a sanitizer's report), after the input's name and round.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
// Of targets with mutations of their own (mutator.h).
extern "C" __attribute__((weak)) std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data,
                                                                     std::size_t size,
                                                                     std::size_t room,
                                                                     unsigned seed);

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kMutationsPerFile = 60;
constexpr std::size_t kRandomInputs = 200;
constexpr std::size_t kLargestMutated = std::size_t{1} << 16;

// The input lies in a block of exactly its size, so that a sanitizer sees a read beyond it.
void run(const Bytes& input) {
    const Bytes exact(input);
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

Bytes mutatedInStructure(const Bytes& input, std::mt19937_64& random) {
    Bytes result = input;
    result.resize(2 * input.size() + 1000);
    result.resize(LLVMFuzzerCustomMutator(result.data(), input.size(), result.size(),
                                          static_cast<unsigned>(random())));
    return result;
}

Bytes mutated(const Bytes& input, std::mt19937_64& random) {
    if (LLVMFuzzerCustomMutator != nullptr && random() % 2 == 0) {
        return mutatedInStructure(input, random);
    }
    Bytes result = input;
    const std::size_t at = random() % input.size();
    switch (random() % 4) {
    case 0: result.resize(at); break;
    case 1: result[at] = static_cast<std::uint8_t>(random()); break;
    case 2: result[at] ^= static_cast<std::uint8_t>(1U << random() % 8); break;
    default: {
        // A stretch of the input again: repeats structure, which single bytes cannot.
        const std::size_t length = std::min<std::size_t>(input.size() - at, 1 + random() % 64);
        const auto target = static_cast<std::ptrdiff_t>(random() % input.size());
        const auto from = input.begin() + static_cast<std::ptrdiff_t>(at);
        result.insert(result.begin() + target, from, from + static_cast<std::ptrdiff_t>(length));
        break;
    }
    }
    return result;
}

} // namespace

int main(int argc, char** argv) {
    std::mt19937_64 random(20240229);
    std::size_t inputs = 1;
    run({});
    std::vector<std::filesystem::path> files;
    if (argc > 1 && std::filesystem::is_directory(argv[1])) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    for (const std::filesystem::path& file : files) {
        std::ifstream in(file, std::ios::binary);
        const Bytes content{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        std::printf("%s\n", file.filename().c_str());
        std::fflush(stdout);
        run(content);
        ++inputs;
        if (content.empty() || content.size() > kLargestMutated) {
            continue;
        }
        for (std::size_t i = 0; i < kMutationsPerFile; ++i, ++inputs) {
            run(mutated(content, random));
        }
    }
    for (std::size_t i = 0; i < kRandomInputs; ++i, ++inputs) {
        Bytes content(random() % 300);
        for (std::uint8_t& byte : content) {
            byte = static_cast<std::uint8_t>(random());
        }
        run(content);
    }
    std::printf("%zu inputs\n", inputs);
    return 0;
}
