// SPDX-License-Identifier: MIT
// Whole documents, ours beside xmlsec: verifications in process, and the tool beside xmlsec1.
// Prints one table, and puts it into docs/performance.md where that is asked for:
//
//     bench_verify [--quick] [--slow] [--tool build/dev/xmldsig] [--write docs/performance.md]
//     bench_verify --repeat CASE COUNT
//
// --quick leaves out what takes minutes, --slow adds what takes the peer hours. --repeat verifies
// one of the small documents that often and prints nothing, for profilers; behind them are one of
// 100 references, one of 100 signatures, and the same with 1000:
//
//     valgrind --tool=callgrind --toggle-collect='*verifyAll*' bench_verify --repeat 0 100

#include "bench/figures.h"
#include "bench/process_runner.h"
#include "bench/signed_documents.h"
#include "dsig/object/ClsXmlDSig.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/cpu/cpu_features.h"
#include "foundation/text/LogBase.h"
#include "foundation/x509/keys/ClsPublicKey.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <utility>

namespace vantrel::bench {

namespace {

struct BenchOptions {
    bool quick = false;
    bool slow = false;
    std::string tool;
    std::string file;
    std::string only;  // one part of the table: small, sizes, lists, tool
    int repeated = -1; // a small document's number
    int count = 0;
};

constexpr double kSecondsPerRow = 2;
constexpr std::size_t kMega = std::size_t{1} << 20;

[[noreturn]] void failed(const std::string& what) {
    std::fprintf(stderr, "%s does not verify\n", what.c_str());
    std::exit(1);
}

ByteView bytesOf(const std::string& text) { return asBytes(std::string_view(text)); }

Ref<ClsPublicKey> loadedKey(const std::string& der) {
    Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
    LogNull log;
    if (!key || !key->loadAnyDer(bytesOf(der), log)) {
        failed("the key");
    }
    return key;
}

// `key`: null where the document brings it along.
bool verifyAll(const std::string& text, const Signing& signing, ClsPublicKey* key,
               int threads = 1) {
    ClsXmlDSig verifier;
    verifier.SetThreads(threads);
    ClsBinData data;
    data.AppendData(text.data(), static_cast<std::uint32_t>(text.size()));
    bool ok = verifier.LoadSignatureBd(data) && verifier.get_NumSignatures() > 0;
    if (signing.key == SignedBy::Hmac) {
        XString secret(hmacSecret());
        XString encoding("ascii");
        ok = verifier.SetHmacKey(secret, encoding) && ok;
    }
    for (int i = 0; ok && i < verifier.get_NumSignatures(); ++i) {
        verifier.put_Selector(i);
        ok = (key == nullptr || verifier.SetPublicKey(*key)) && verifier.VerifySignature(true);
    }
    return ok;
}

// A document verified by both. `fresh`: our key is loaded anew each time, as if it were used once.
// With several threads the clock is looked at.
Outcome compareOn(const std::string& name, const std::string& text, const Signing& signing,
                  bool fresh, bool withPeer, int threads = 1) {
    const Timing timing = threads == 1 ? Timing::Processor : Timing::Clock;
    const bool given = !signing.withCertificate && signing.key != SignedBy::Hmac;
    const std::string der = given ? publicKeyDer(signing.key) : std::string();
    const Ref<ClsPublicKey> ready = given ? loadedKey(der) : Ref<ClsPublicKey>();
    Contest contest;
    contest.ours = [&] {
        return timeOf(
            [&] {
                const Ref<ClsPublicKey> once = fresh ? loadedKey(der) : Ref<ClsPublicKey>();
                if (!verifyAll(text, signing, fresh ? once.get() : ready.get(), threads)) {
                    failed(name);
                }
            },
            timing);
    };
    if (withPeer) {
        contest.peer = [&] {
            return timeOf(
                [&] {
                    if (!peerVerifies(text, signing)) {
                        failed(name + " by the peer");
                    }
                },
                timing);
        };
    }
    return compare(contest, kSecondsPerRow);
}

struct SmallCase {
    const char* name;
    Signing signing;
    bool fresh;
};

constexpr SmallCase kSmallCases[] = {
    {"4 KB enveloped, RSA-2048, key ready, inclusive", {SignedBy::Rsa2048, false, false}, false},
    {"the same, exclusive", {SignedBy::Rsa2048, true, false}, false},
    {"the same, key from its certificate", {SignedBy::Rsa2048, true, true}, false},
    {"4 KB, P-256, key used before", {SignedBy::P256, true, false}, false},
    {"the same, key used once", {SignedBy::P256, true, false}, true},
    {"4 KB, P-384, key used before", {SignedBy::P384, true, false}, false},
    {"the same, key used once", {SignedBy::P384, true, false}, true},
    {"4 KB, HMAC-SHA256", {SignedBy::Hmac, true, false}, false},
};
constexpr std::size_t kSmallSize = 3200; // without the signature

void addSmall(FigureTable& table) {
    for (const SmallCase& each : kSmallCases) {
        const std::string text = envelopedDocument(kSmallSize, each.signing);
        table.add({each.name,
                   "xmlsec",
                   compareOn(each.name, text, each.signing, each.fresh, true),
                   {},
                   ""});
    }
}

// One more row of a series, with its growth from the row before.
struct Series {
    double time = 0;
    double size = 0;

    void add(FigureTable& table, FigureTable::Row row, double itsSize) {
        if (size > 0) {
            row.growth = growthExponent(time, row.outcome.ours, size, itsSize);
        }
        time = row.outcome.ours;
        size = itsSize;
        table.add(std::move(row));
    }
};

void addSizes(const BenchOptions& options, FigureTable& table) {
    for (const bool exclusive : {false, true}) {
        const Signing signing{SignedBy::Rsa2048, exclusive, false};
        Series series;
        for (const std::size_t megabytes : {1, 16, 128}) {
            if (options.quick && megabytes > 1) {
                break;
            }
            const std::string name = std::to_string(megabytes) + " MB enveloped, " +
                                     (exclusive ? "exclusive" : "inclusive");
            const std::string text = envelopedDocument(megabytes * kMega, signing);
            series.add(table, {name, "xmlsec", compareOn(name, text, signing, false, true), {}, ""},
                       static_cast<double>(megabytes));
            if (megabytes == 16) {
                table.add({"the same with a second thread, by the clock",
                           "xmlsec",
                           compareOn(name, text, signing, false, true, 2),
                           {},
                           ""});
            }
        }
    }
}

// `peerUpTo`: the peer's time grows with the square of the number.
void addMany(const char* what, std::string (*make)(std::size_t), bool keyInDocument,
             const std::vector<std::size_t>& counts, std::size_t peerUpTo, FigureTable& table) {
    const Signing signing{SignedBy::Rsa2048, true, keyInDocument};
    Series series;
    for (const std::size_t count : counts) {
        const std::string name = std::to_string(count) + what;
        // The peer is given the key in either case.
        const Signing peers{SignedBy::Rsa2048, true, false};
        const std::string text = make(count);
        const Outcome outcome =
            compareOn(name, text, keyInDocument ? signing : peers, false, count <= peerUpTo);
        series.add(table, {name, "xmlsec", outcome, {}, ""}, static_cast<double>(count));
    }
}

void addLists(const BenchOptions& options, FigureTable& table) {
    const std::size_t most = options.quick ? 100 : 10000;
    std::vector<std::size_t> counts = {100, 1000, 10000};
    std::erase_if(counts, [most](std::size_t count) { return count > most; });
    addMany(" references by Id", manyReferences, false, counts, options.slow ? 10000 : 1000, table);
    std::erase_if(counts, [](std::size_t count) { return count > 1000; });
    addMany(" signatures with their keys", manySignatures, true, counts, 1000, table);
}

// Files in a folder of their own, gone with the object.
class Folder final {
public:
    Folder()
        : m_path(std::filesystem::temp_directory_path() /
                 ("bench_verify_" + std::to_string(std::rand()))) {
        std::filesystem::create_directories(m_path);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    std::string write(const std::string& name, const std::string& text) const {
        const std::filesystem::path path = m_path / name;
        std::ofstream(path, std::ios::binary) << text;
        return path.string();
    }
    // A copy of a program, as an installed one is: what a linker wrote piece by piece lies in
    // memory piece by piece, which takes a tenth of a millisecond at each start.
    std::string install(const std::filesystem::path& program, const std::string& name) const {
        const std::filesystem::path path = m_path / name;
        std::filesystem::copy_file(program, path);
        return path.string();
    }

private:
    std::filesystem::path m_path;
};

using Command = std::vector<std::string>;

// Two commands in turns; `wall` or processor time.
Outcome compareCommands(ProcessRunner& runner, const Command& ours, const Command& peer, bool wall,
                        std::string& memory) {
    double ourPeak = 0;
    double peerPeak = 0;
    const auto run = [&runner, wall](const Command& command, double& peak) {
        double taken = 0;
        double elapsed = 0;
        int runs = 0;
        while (elapsed < kLeastMeasured) {
            const ProcessFigures figures = runner.run(command);
            if (figures.code != 0) {
                failed(command.front());
            }
            peak = std::max(peak, figures.peakMegabytes);
            taken += wall ? figures.wall : figures.processor;
            elapsed += figures.wall;
            ++runs;
        }
        return taken / runs;
    };
    const Outcome outcome = compare(
        {[&] { return run(ours, ourPeak); }, [&] { return run(peer, peerPeak); }}, kSecondsPerRow);
    memory = std::to_string(static_cast<int>(ourPeak)) + " / " +
             std::to_string(static_cast<int>(peerPeak)) + " MB";
    return outcome;
}

Command with(Command command, const std::vector<std::string>& files) {
    command.insert(command.end(), files.begin(), files.end());
    return command;
}

void addFiles(const BenchOptions& options, ProcessRunner& runner, FigureTable& table) {
    constexpr std::size_t kFiles = 2000;
    constexpr unsigned kDifferent = 50;
    const Signing signing{SignedBy::Rsa2048, true, true};
    const Folder folder;
    std::vector<std::string> texts;
    for (unsigned seed = 0; seed < kDifferent; ++seed) {
        texts.push_back(envelopedDocument(300, signing, seed));
    }
    std::vector<std::string> files;
    for (std::size_t i = 0; i < kFiles; ++i) {
        files.push_back(folder.write(std::to_string(i) + ".xml", texts[i % kDifferent]));
    }
    const Command peer = {"xmlsec1", "--verify", "--insecure"};
    const std::string tool = folder.install(options.tool, "xmldsig");
    const auto jobs = [&](const char* count) {
        return with({tool, "verify", "--quiet", "--jobs", count}, files);
    };
    std::string memory;
    Outcome outcome = compareCommands(runner, jobs("1"), with(peer, files), false, memory);
    table.add({"the tool, 2 000 files of " + std::to_string(texts[0].size()) + " octets, --jobs 1",
               "xmlsec1",
               outcome,
               {},
               memory});
    outcome = compareCommands(runner, jobs("2"), jobs("1"), true, memory);
    table.add({"the same, --jobs 2, by the clock", "--jobs 1", outcome, {}, memory});
    const std::vector<std::string> one = {
        folder.write("one.xml", envelopedDocument(kSmallSize, signing))};
    outcome = compareCommands(runner, with({tool, "verify", "--quiet"}, one), with(peer, one), true,
                              memory);
    table.add({"the tool, one file of 4 KB, by the clock", "xmlsec1", outcome, {}, memory});
    const std::filesystem::path fixed =
        std::filesystem::path(options.tool).parent_path() / "static" / "xmldsig";
    if (std::filesystem::exists(fixed)) {
        outcome = compareCommands(runner,
                                  with({folder.install(fixed, "static"), "verify", "--quiet"}, one),
                                  with(peer, one), true, memory);
        table.add({"the same, the static tool", "xmlsec1", outcome, {}, memory});
    }
    if (options.quick) {
        return;
    }
    const std::vector<std::string> large = {
        folder.write("large.xml", envelopedDocument(128 * kMega, signing))};
    outcome = compareCommands(runner, with({tool, "verify", "--quiet"}, large), with(peer, large),
                              false, memory);
    table.add({"the tool, one file of 128 MB", "xmlsec1", outcome, {}, memory});
}

bool readOptions(int argc, char** argv, BenchOptions& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word == "--quick") {
            options.quick = true;
        } else if (word == "--slow") {
            options.slow = true;
        } else if (word == "--repeat" && i + 2 < argc) {
            options.repeated = std::atoi(argv[++i]);
            options.count = std::atoi(argv[++i]);
        } else if (word == "--tool" && i + 1 < argc) {
            options.tool = argv[++i];
        } else if (word == "--write" && i + 1 < argc) {
            options.file = argv[++i];
        } else if (word == "--only" && i + 1 < argc) {
            options.only = argv[++i];
        } else {
            return false;
        }
    }
    return true;
}

int repeat(const SmallCase& small, int count) {
    const std::string text = envelopedDocument(kSmallSize, small.signing);
    const bool given = !small.signing.withCertificate && small.signing.key != SignedBy::Hmac;
    const Ref<ClsPublicKey> ready =
        given ? loadedKey(publicKeyDer(small.signing.key)) : Ref<ClsPublicKey>();
    for (int i = 0; i < count; ++i) {
        if (!verifyAll(text, small.signing, ready.get())) {
            failed(small.name);
        }
    }
    return 0;
}

int repeatList(bool signatures, std::size_t entries, int count) {
    const std::string text = signatures ? manySignatures(entries) : manyReferences(entries);
    const Signing signing{SignedBy::Rsa2048, true, signatures};
    const Ref<ClsPublicKey> ready =
        signatures ? Ref<ClsPublicKey>() : loadedKey(publicKeyDer(SignedBy::Rsa2048));
    for (int i = 0; i < count; ++i) {
        if (!verifyAll(text, signing, ready.get())) {
            failed("the list");
        }
    }
    return 0;
}

int run(const BenchOptions& options) {
    if (options.repeated >= 0 && options.repeated < static_cast<int>(std::size(kSmallCases))) {
        return repeat(kSmallCases[options.repeated], options.count);
    }
    if (options.repeated >= 0) {
        const int list = options.repeated - static_cast<int>(std::size(kSmallCases));
        return repeatList(list % 2 != 0, list < 2 ? 100 : 1000, options.count);
    }
    ProcessRunner runner;
    FigureTable table;
    const auto isWanted = [&options](std::string_view part) {
        return options.only.empty() || options.only == part;
    };
    if (isWanted("small")) {
        addSmall(table);
    }
    if (isWanted("sizes")) {
        addSizes(options, table);
    }
    if (isWanted("lists")) {
        addLists(options, table);
    }
    if (isWanted("tool") && !options.tool.empty()) {
        addFiles(options, runner, table);
    }
    if (!options.file.empty() && !replaceTable(options.file, table.markdown())) {
        std::fprintf(stderr, "there is no place for the table in %s\n", options.file.c_str());
        return 1;
    }
    return 0;
}

} // namespace

} // namespace vantrel::bench

int main(int argc, char** argv) {
    vantrel::bench::BenchOptions options;
    if (!vantrel::cpu::limitFromEnvironment() ||
        !vantrel::bench::readOptions(argc, argv, options)) {
        std::fputs("bench_verify [--quick] [--slow] [--only PART] [--tool FILE] [--write FILE]\n",
                   stderr);
        return 2;
    }
    return vantrel::bench::run(options);
}
