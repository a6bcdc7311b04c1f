// SPDX-License-Identifier: MIT
#include "foundation/json/json_value.h"
#include "tests/support/corpus.h"
#include "tests/support/process.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

std::string tool() { return binaryPath("xmldsig"); }

std::string expand(std::string text) {
    const std::pair<std::string, std::string> places[] = {{"{ex}", sourcePath("examples")},
                                                          {"{dsig}", vectorPath("dsig")}};
    for (const auto& [mark, place] : places) {
        for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos;) {
            text.replace(at, mark.size(), place);
        }
    }
    return text;
}

// Words divided by blanks; double quotes hold one word together.
std::vector<std::string> words(const std::string& text) {
    std::vector<std::string> out;
    bool quoted = false;
    bool open = false;
    for (const char c : text) {
        if (c == '"') {
            quoted = !quoted;
        }
        if (c == ' ' && !quoted) {
            open = false;
            continue;
        }
        if (!open) {
            out.emplace_back();
            open = true;
        }
        if (c != '"') {
            out.back() += c;
        }
    }
    return out;
}

void checkStream(VecCase& c, const std::string& name, const std::string& stream) {
    for (const std::string& written : c.all(name)) {
        const std::string text = unescape(expand(written));
        EXPECT_NE(stream.find(text), std::string::npos) << c.where() << "no \"" << text << "\" in\n"
                                                        << stream;
    }
    for (const std::string& text : c.all("Not" + name)) {
        EXPECT_EQ(stream.find(text), std::string::npos) << c.where() << "\"" << text << "\" in\n"
                                                        << stream;
    }
    // What a document holds may steer no terminal, whatever else happens.
    EXPECT_EQ(stream.find('\033'), std::string::npos) << c.where();
}

void runCase(VecCase& c) {
    const TempDir folder;
    for (const std::string& file : c.all("File")) {
        const std::size_t colon = file.find(':');
        ASSERT_NE(colon, std::string::npos) << c.where();
        const std::size_t content = std::min(colon + 2, file.size());
        folder.write(file.substr(0, colon), unescape(expand(file.substr(content))));
    }
    std::vector<std::string> arguments = words(expand(c.text("Args")));
    arguments.insert(arguments.begin(), tool());
    ProcessOptions options;
    options.folder = folder.path();
    options.input = unescape(expand(c.textOr("Input", "")));
    const ProcessResult result = runProgram(arguments, options);
    EXPECT_EQ(result.exitCode, c.integer("Exit")) << c.where() << result.output << result.errors;
    if (c.has("Exactly")) {
        EXPECT_EQ(result.output, c.escaped("Exactly")) << c.where() << result.errors;
    }
    checkStream(c, "Out", result.output);
    checkStream(c, "Err", result.errors);
    for (const std::string& stream : c.all("Silent")) {
        EXPECT_EQ(stream == "out" ? result.output : result.errors, "") << c.where();
    }
}

TEST(Tool, KeepsItsContract) { forEachVector("cli/tool.vec", "", runCase); }

TEST(Tool, SaysWhatItFoundOut) { forEachVector("cli/report.vec", "", runCase); }

json::JsonValue parsed(const std::string& line) {
    json::JsonValue value;
    std::size_t faultAt = 0;
    EXPECT_TRUE(json::parseJson(line, value, faultAt)) << "byte " << faultAt << " of " << line;
    return value;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (std::size_t end = 0; (end = text.find('\n', start)) != std::string::npos;
         start = end + 1) {
        lines.push_back(text.substr(start, end - start));
    }
    EXPECT_EQ(start, text.size()) << "the last line has no end";
    return lines;
}

void expectMembers(const json::JsonValue& object, const std::vector<const char*>& names) {
    for (const char* const name : names) {
        EXPECT_NE(object.find(name), nullptr) << "no member " << name;
    }
}

// Every key that scripts may rely on is there, in every kind of result.
TEST(Tool, JsonHasAllItsKeys) {
    const std::string ex = sourcePath("examples/");
    const ProcessResult result =
        runProgram({tool(), "verify", "--json", ex + "invoice.xml", ex + "invoice-tampered.xml",
                    ex + "orders.xml", ex + "transfer-hmac.xml", ex + "letter-detached.xml",
                    ex + "letter.txt", ex + "absent.xml"});
    EXPECT_EQ(result.exitCode, 2);
    const std::vector<std::string> statuses = {"valid",   "invalid", "valid", "invalid",
                                               "invalid", "error",   "error"};
    const std::vector<std::string> lines = linesOf(result.output);
    ASSERT_EQ(lines.size(), statuses.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const json::JsonValue file = parsed(lines[i]);
        expectMembers(file, {"file", "status", "error", "schema", "size", "sha256", "signatures"});
        EXPECT_EQ(file.find("status")->text(), statuses[i]) << lines[i];
        EXPECT_EQ(file.find("error")->text().empty(), statuses[i] != "error") << lines[i];
        for (const json::JsonValue& signature : file.find("signatures")->elements()) {
            expectMembers(signature, {"index", "id", "status", "reason", "signatureMethod",
                                      "canonicalizationMethod", "references", "keys", "timestamp",
                                      "warnings"});
            EXPECT_EQ(signature.find("reason")->text().empty(), statuses[i] == "valid") << lines[i];
            EXPECT_FALSE(signature.find("references")->elements().empty()) << lines[i];
            for (const json::JsonValue& reference : signature.find("references")->elements()) {
                expectMembers(reference, {"index", "uri", "external", "digestMethod", "status",
                                          "reason", "covers"});
            }
            for (const json::JsonValue& key : signature.find("keys")->elements()) {
                expectMembers(key, {"source", "type", "bits"});
            }
        }
    }
}

// Comments within SignedInfo are not signed, and the log shows SignedInfo: whatever stands there
// begins no line of its own and steers no terminal.
TEST(Tool, LogsShowHostileTextOnOneLine) {
    const TempDir folder;
    std::string document = readText(sourcePath("examples/invoice.xml"));
    const std::size_t place = document.find("<SignedInfo>");
    ASSERT_NE(place, std::string::npos);
    const std::string_view hostile[] = {"\xC2\x9B",     "\xC2\x85",     "\x7F",
                                        "\xE2\x80\xAE", "\xE2\x80\xA8", "\xE2\x81\xA6"};
    std::string comment = "<!-- ]\nForged: line";
    for (const std::string_view text : hostile) {
        comment += text;
    }
    document.insert(place + std::string("<SignedInfo>").size(), comment + "\n-->");
    const std::string file = folder.write("hostile.xml", document);
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"verify", "--log"},
          {"verify", "--verbose"},
          {"digest-input", "--signed-info", "--verbose"}}) {
        std::vector<std::string> arguments = command;
        arguments.insert(arguments.begin(), tool());
        arguments.push_back(file);
        const ProcessResult result = runProgram(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        EXPECT_NE(result.errors.find("\\nForged: line\\xc2\\x9b\\xc2\\x85"), std::string::npos)
            << result.errors;
        for (const std::string_view text : hostile) {
            EXPECT_EQ(result.errors.find(text), std::string::npos) << result.errors;
        }
        for (const std::string& line : linesOf(result.errors)) {
            const std::size_t start = std::min(line.find_first_not_of(' '), line.size());
            EXPECT_FALSE(line.substr(start).starts_with("Forged")) << line;
        }
    }
}

// Nor does the name of a file, which somebody else may have chosen, propose a command.
TEST(Tool, NamesOfFilesProposeNothing) {
    const TempDir folder;
    folder.write("tree/a\ntry: b.xml", "<a>");
    folder.write("c\ntry: d.xml", "<a/>");
    ProcessOptions options;
    options.folder = folder.path();
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"verify", "-r", "tree"},
          {"info", "-r", "tree"},
          {"verify", "c\ntry: d.xm"}}) {
        std::vector<std::string> arguments = command;
        arguments.insert(arguments.begin(), tool());
        const ProcessResult result = runProgram(arguments, options);
        EXPECT_EQ(result.exitCode, 2) << result.errors;
        EXPECT_EQ(result.errors.find("\ntry: b"), std::string::npos) << result.errors;
        EXPECT_EQ(result.errors.find("\ntry: d"), std::string::npos) << result.errors;
    }
}

// Many files on many threads come out in the order in which they went in.
TEST(Tool, KeepsTheOrderOfTheFiles) {
    const TempDir folder;
    std::string list;
    std::vector<std::string> names;
    const std::string good = readText(sourcePath("examples/invoice.xml"));
    for (int i = 0; i < 300; ++i) {
        const std::string padding(i % 97 == 5 ? 4000000 : i % 7 == 0 ? 100000 : i, ' ');
        names.push_back(folder.write(std::to_string(i) + ".xml", good + padding));
        list += names.back() + "\n";
    }
    // More than may wait for their turn.
    const std::vector<std::string> once = names;
    names.insert(names.end(), once.begin(), once.end());
    names.insert(names.end(), once.begin(), once.end());
    list += list + list;
    ProcessOptions options;
    options.input = list;
    // Of a file names are taken together; of a pipe one by one, since its writer may take its time.
    const std::string file = folder.write("list", list);
    const auto run = [&](const char* form, const char* jobs, const std::string& from) {
        return runProgram({tool(), "verify", form, "--jobs", jobs, "--files-from", from}, options);
    };
    const std::string alone = run("--summary", "1", "-").output;
    EXPECT_EQ(run("--summary", "3", "-").output, alone);
    EXPECT_EQ(run("--summary", "2", file).output, alone);
    const ProcessResult result = run("--json", "5", file);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    const std::vector<std::string> lines = linesOf(result.output);
    ASSERT_EQ(lines.size(), names.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const json::JsonValue file = parsed(lines[i]);
        EXPECT_EQ(file.find("file")->text(), names[i]);
        EXPECT_EQ(file.find("status")->text(), "valid");
    }
}

// certs writes what was put into the document, to the byte.
TEST(Tool, CertsAreTheSignersOwn) {
    const ProcessResult result = runProgram({tool(), "certs", sourcePath("examples/invoice.xml")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, readText(sourcePath("examples/keys/signer.pem")));
}

// Whoever looks at many files on a terminal is told how many are what; with JSON on standard error,
// which `script` shows as well.
TEST(Tool, TerminalsGetASummary) {
    VANTREL_NEED_PROGRAM(script, "script");
    const std::string files =
        " " + sourcePath("examples/orders.xml") + " " + sourcePath("examples/invoice-tampered.xml");
    const auto onTerminal = [&script](const std::string& command) {
        return runProgram({script, "-qec", tool() + command, "/dev/null"}).output;
    };
    const std::string counts = "2 files: 1 valid, 1 invalid";
    EXPECT_NE(onTerminal(" verify" + files).find(counts), std::string::npos);
    EXPECT_NE(onTerminal(" verify --json" + files + " >/dev/null").find(counts), std::string::npos);
    EXPECT_EQ(onTerminal(" verify --json" + files + " 2>/dev/null").find(counts),
              std::string::npos);
    EXPECT_EQ(onTerminal(" verify --quiet" + files), "");
    EXPECT_EQ(onTerminal(" verify " + sourcePath("examples/orders.xml")).find("1 file:"),
              std::string::npos);
}

// The octets of digest-input are those whose digest the document states.
TEST(Tool, DigestInputHasTheStatedDigest) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    const ProcessResult octets =
        runProgram({tool(), "digest-input", sourcePath("examples/invoice.xml")});
    ProcessOptions options;
    options.input = octets.output;
    const ProcessResult digest = runProgram({openssl, "dgst", "-sha256", "-binary"}, options);
    const std::string stated = toBase64(bytesOf(digest.output));
    EXPECT_NE(readText(sourcePath("examples/invoice.xml")).find(">" + stated + "<"),
              std::string::npos);

    // And the signature value is one over the octets of --signed-info.
    const TempDir folder;
    const ProcessResult signedInfo =
        runProgram({tool(), "digest-input", "--signed-info", sourcePath("examples/invoice.xml")});
    const std::string document = readText(sourcePath("examples/invoice.xml"));
    const std::size_t start = document.find("<SignatureValue>") + 16;
    const Bytes value =
        fromBase64(std::string_view(document).substr(start, document.find('<', start) - start));
    options.input = signedInfo.output;
    const ProcessResult verified =
        runProgram({openssl, "dgst", "-sha256", "-verify", sourcePath("examples/keys/signer.pub"),
                    "-signature", folder.write("value", textOf(value))},
                   options);
    EXPECT_EQ(verified.exitCode, 0) << verified.output;
}

// An output that cannot be written is an error, not a silent loss.
TEST(Tool, FullDiskIsAnError) {
    const ProcessResult result = runProgram({"sh", "-c", "exec \"$0\" c14n \"$1\" >/dev/full",
                                             tool(), sourcePath("examples/invoice.xml")});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_NE(result.errors.find("cannot write"), std::string::npos) << result.errors;
}

} // namespace
} // namespace vantrel::test
