// SPDX-License-Identifier: MIT
// What the tool does with keys and certificates, of the document and of the command line.

#include "tests/support/corpus.h"
#include "tests/support/key_messages.h"
#include "tests/support/process.h"
#include "tests/support/vectors.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// "PUBLIC KEY name CERTIFICATE name": a label is the words in capitals before a name.
std::string pemBlocks(const std::vector<std::string>& words, std::size_t first) {
    std::string out;
    std::string label;
    for (std::size_t i = first; i < words.size(); ++i) {
        if (words[i].find_first_of("abcdefghijklmnopqrstuvwxyz") == std::string::npos) {
            label += (label.empty() ? "" : " ") + words[i];
        } else {
            out += pemNamed(words[i], label);
            label.clear();
        }
    }
    return out;
}

constexpr const char* kOfNames = "abcdefghijklmnopqrstuvwxyz0123456789.";

void writeKeyFile(const TempDir& folder, const std::string& description, const std::string& where) {
    const std::vector<std::string> words = wordsOf(description);
    ASSERT_GE(words.size(), 3U) << where;
    const std::string path = folder.file(words[0]);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    if (words[1] == "text") {
        std::string text = description.substr(description.find(" text ") + 6);
        for (std::size_t at = 0; (at = text.find('{', at)) != std::string::npos;) {
            const std::size_t end = text.find_first_not_of(kOfNames, ++at);
            // Braces around anything else are JSON's.
            if (end != std::string::npos && end > at && text[end] == '}') {
                text.replace(at - 1, end + 2 - at, keyValueNamed(text.substr(at, end - at)));
                at = 0;
            }
        }
        folder.write(words[0], text);
    } else if (words[1] == "pem") {
        folder.write(words[0], pemBlocks(words, 2));
    } else if (words[1] == "der") {
        folder.write(words[0], textOf(fromBase64(keyValueNamed(words[2]))));
    } else {
        std::string xml = keyValueNamed(words[2]);
        xml.insert(xml.find('>'), " xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"");
        folder.write(words[0], xml);
    }
}

std::string joined(const std::vector<std::string>& all) {
    std::string out;
    for (const std::string& one : all) {
        out += one;
    }
    return out;
}

void checkOutput(VecCase& c, const ProcessResult& result) {
    const std::string shown = result.output + result.errors;
    EXPECT_EQ(result.exitCode, c.integer("Exit")) << c.where() << shown;
    for (const std::string& text : c.all("Out")) {
        EXPECT_NE(result.output.find(text), std::string::npos) << c.where() << text << "\n"
                                                               << shown;
    }
    for (const std::string& text : c.all("NotOut")) {
        EXPECT_EQ(result.output.find(text), std::string::npos) << c.where() << text << "\n"
                                                               << shown;
    }
    for (const std::string& text : c.all("Err")) {
        EXPECT_NE(result.errors.find(text), std::string::npos) << c.where() << text << "\n"
                                                               << shown;
    }
    if (c.has("Certs")) {
        std::string expected;
        for (const std::string& name : wordsOf(c.text("Certs"))) {
            expected += pemNamed(name, "CERTIFICATE");
        }
        EXPECT_EQ(result.output, expected) << c.where();
    }
}

TEST(KeyOptions, KeepTheirContract) {
    forEachVector("key_sources/tool.vec", "", [](VecCase& c) {
        const TempDir folder;
        folder.write("message.xml", keyMessage(c.textOr("Document", "message"),
                                               joined(c.all("Token")), joined(c.all("KeyInfo"))));
        for (const std::string& file : c.all("File")) {
            ASSERT_NO_FATAL_FAILURE(writeKeyFile(folder, file, c.where()));
        }
        std::vector<std::string> arguments = wordsOf(c.text("Args"));
        arguments.insert(arguments.begin(), binaryPath("xmldsig"));
        ProcessOptions options;
        options.folder = folder.path();
        checkOutput(c, runProgram(arguments, options));
    });
}

// The key of the command line serves every signature, however many there are.
TEST(KeyOptions, OneKeyServesManySignatures) {
    const TempDir folder;
    std::string message = keyMessage("message", "", "");
    const std::size_t start = message.find("<ds:Signature ");
    const std::string end = "</ds:Signature>";
    const std::string signature = message.substr(start, message.find(end) + end.size() - start);
    std::string more;
    for (int i = 1; i < 300; ++i) {
        more += signature;
    }
    message.insert(message.find(end) + end.size(), more);
    folder.write("message.xml", message);
    folder.write("key.pem", pemNamed("signer.spki", "PUBLIC KEY"));
    ProcessOptions options;
    options.folder = folder.path();
    const ProcessResult result = runProgram({binaryPath("xmldsig"), "verify", "--json",
                                             "--no-references", "--key", "key.pem", "message.xml"},
                                            options);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    std::size_t valid = 0;
    const std::string wanted = "\"status\":\"valid\",\"reason\"";
    for (std::size_t at = 0; (at = result.output.find(wanted, at)) != std::string::npos; ++at) {
        ++valid;
    }
    EXPECT_EQ(valid, 300U);
}

} // namespace
} // namespace vantrel::test
