// SPDX-License-Identifier: MIT
// Runs one fuzz target without a fuzzing engine: over every file that the command line names, or
// that stands in a folder which it names, over truncations and deterministic mutations of each (as
// many as --mutations=N says), and over random bytes. A fault shows as a crash (or a sanitizer's
// report), after the input's name. Files are read by functions of C alone, which the memory
// sanitizer knows; what is compiled into the C++ library it takes for unset memory.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <dirent.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
// Of targets with mutations of their own (mutator.h).
extern "C" __attribute__((weak)) std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data,
                                                                     std::size_t size,
                                                                     std::size_t room,
                                                                     unsigned seed);

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::string_view kMutationsOption = "--mutations=";
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

// The files of a folder, in the order of their names; the name itself where it is none.
std::vector<std::string> filesAt(const std::string& name) {
    DIR* const folder = opendir(name.c_str());
    if (folder == nullptr) {
        return {name};
    }
    std::vector<std::string> files;
    while (const dirent* const entry = readdir(folder)) {
        if (entry->d_name[0] != '.') {
            files.push_back(name + "/" + entry->d_name);
        }
    }
    closedir(folder);
    std::sort(files.begin(), files.end());
    return files;
}

Bytes contentOf(const std::string& file) {
    Bytes content;
    if (std::FILE* const in = std::fopen(file.c_str(), "rb")) {
        std::uint8_t block[4096];
        while (const std::size_t size = std::fread(block, 1, sizeof block, in)) {
            content.insert(content.end(), block, block + size);
        }
        std::fclose(in);
    }
    return content;
}

// The number of inputs that were run.
std::size_t runFile(const std::string& file, std::size_t mutations, std::mt19937_64& random) {
    const Bytes content = contentOf(file);
    std::printf("%s\n", file.c_str());
    std::fflush(stdout);
    run(content);
    if (content.empty() || content.size() > kLargestMutated) {
        return 1;
    }
    for (std::size_t i = 0; i < mutations; ++i) {
        run(mutated(content, random));
    }
    return 1 + mutations;
}

} // namespace

int main(int argc, char** argv) {
    std::mt19937_64 random(20240229);
    std::size_t inputs = 1;
    std::size_t mutations = kMutationsPerFile;
    run({});
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument.starts_with(kMutationsOption)) {
            mutations = std::strtoul(argv[i] + kMutationsOption.size(), nullptr, 10);
            continue;
        }
        for (const std::string& file : filesAt(argv[i])) {
            inputs += runFile(file, mutations, random);
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
