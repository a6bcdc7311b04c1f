// SPDX-License-Identifier: MIT
#include "api/package_run.h"

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/package/package.h"
#include "dsig/report/codes.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/json/json_writer.h"
#include "foundation/text/encoders.h"
#include "foundation/zip/zip_archive.h"

#include <algorithm>
#include <array>

namespace vantrel::api {

namespace {

std::string inQuotes(std::string_view name) {
    std::string out(1, '"');
    out += name;
    return out += '"';
}

std::string lastErrorOf(ClsXmlDSig& verifier) {
    XString line;
    verifier.get_LastErrorLine(line);
    return std::string(line.getUtf8Sb().view());
}

// One package on its way. Each signature document has a verifier of its own, so that nothing that
// one of them makes the verifier find out acts on the next.
class PackageRun {
public:
    explicit PackageRun(const VerifyOptions& options) : m_options(options) {}

    // The parts with signatures that are meant are then known.
    bool open(std::shared_ptr<const io::RandomAccess> bytes, std::string& error) {
        m_package = dsig::Package::open(std::move(bytes), m_options.limits, error);
        if (m_package == nullptr) {
            error.insert(0, kNotRead);
            return false;
        }
        for (const std::size_t part : m_package->signatureParts()) {
            if (m_options.part.empty() || nameOf(part) == m_options.part) {
                m_parts.push_back(part);
            }
        }
        if (m_parts.empty() && !m_options.part.empty()) {
            error = "the package has no signature document " + inQuotes(m_options.part);
            return false;
        }
        return true;
    }

    [[nodiscard]] const std::vector<std::size_t>& parts() const noexcept { return m_parts; }
    [[nodiscard]] const std::string& nameOf(std::size_t part) const {
        return m_package->parts()[part].name;
    }
    [[nodiscard]] const dsig::Package& package() const noexcept { return *m_package; }

    // Loads a signature document; `first` signatures stand in the parts before it.
    bool load(std::size_t part, int first, ClsXmlDSig& verifier, std::string& error) {
        ClsBinData document;
        return load(part, first, verifier, document, error);
    }
    bool load(std::size_t part, int first, ClsXmlDSig& verifier, ClsBinData& document,
              std::string& error) {
        document.data().clear(); // what is read is appended
        if (!m_package->readXml(part, document.data(), error)) {
            return false;
        }
        if (!verifier.LoadSignatureBd(document)) {
            error = "the part " + inQuotes(nameOf(part)) + ": " + lastErrorOf(verifier);
            return false;
        }
        verifier.SetPackage(m_package, nameOf(part), first);
        return true;
    }

private:
    const VerifyOptions& m_options;
    std::shared_ptr<dsig::Package> m_package;
    std::vector<std::size_t> m_parts;
};

Container describe(const dsig::Package& package) {
    Container container;
    container.kind = dsig::wordOf(package.kind());
    for (std::size_t i = 0; i < package.parts().size(); ++i) {
        const zip::ZipMember& member = package.parts()[i];
        ContainerPart part;
        part.name = member.name;
        part.size = member.size;
        part.exempt = package.isExempt(i);
        container.parts.push_back(std::move(part));
    }
    return container;
}

// What the signature covers that was verified last.
void addCoverage(ClsXmlDSig& verifier, int index, Container& found) {
    for (const std::size_t part : verifier.CoveredParts()) {
        found.parts[part].covered = true;
        found.parts[part].by.push_back(index);
    }
}

void warn(Container& container) {
    // Known only when all signatures were looked at: each may cover a part of the whole.
    const bool isLeft =
        std::any_of(container.parts.begin(), container.parts.end(),
                    [](const ContainerPart& part) { return !part.covered && !part.exempt; });
    if (isLeft) {
        container.warnings.emplace_back(dsig::warning::kPartsNotCovered);
    }
}

// The steps of a caller, and before them what the package keeps.
RunSteps withCoverage(RunSteps steps, ClsXmlDSig& verifier, int first, Container& found) {
    const auto finished = std::move(steps.finished);
    steps.finished = [&verifier, first, &found, finished](std::string& error) {
        addCoverage(verifier, first + verifier.get_Selector(), found);
        return !finished || finished(error);
    };
    return steps;
}

// Of two documents that both have selected signatures.
Status worse(Status one, Status other) {
    return one == Status::Valid && other == Status::Valid ? Status::Valid : Status::Invalid;
}

} // namespace

bool isPackage(ByteView document) noexcept { return zip::looksLikeZip(document); }

std::vector<int> selectedIn(const VerifyOptions& options, int first, ClsXmlDSig& verifier) {
    const int count = verifier.get_NumSignatures();
    std::vector<int> indexes;
    if (options.id) {
        XString id(*options.id);
        if (verifier.SelectById(id)) {
            indexes.push_back(verifier.get_Selector());
        }
        return indexes;
    }
    for (int i = 0; i < count; ++i) {
        if (options.signature ? *options.signature == first + i : verifier.IsSignature(i)) {
            indexes.push_back(i);
        }
    }
    return indexes;
}

bool verifyPackage(std::shared_ptr<const io::RandomAccess> bytes, const VerifyOptions& options,
                   const PackageSteps& steps, Container& found, Status& status,
                   std::string& error) {
    PackageRun run(options);
    // Given data would go before a part, and coverage by name mean nothing.
    if (!options.referenceData.empty()) {
        error = "the data of a package's references are its parts; none can be given";
        return false;
    }
    if (!run.open(std::move(bytes), error)) {
        return false;
    }
    found = describe(run.package());
    int first = 0;
    bool isFound = false;
    status = Status::NoSignature;
    for (const std::size_t part : run.parts()) {
        ClsXmlDSig verifier;
        if (!steps.prepare(verifier, error)) {
            return false;
        }
        // The log of loading is handed out in either case.
        const bool isLoaded = run.load(part, first, verifier, error);
        if ((steps.loaded && !steps.loaded(verifier, error)) || !isLoaded) {
            return false;
        }
        const std::vector<int> indexes = selectedIn(options, first, verifier);
        Status ofPart = Status::NoSignature;
        const RunSteps all = withCoverage(steps.stepsOf(verifier), verifier, first, found);
        if (!verifySignatures(options, indexes, verifier, all, ofPart, error) ||
            (steps.done && !indexes.empty() && !steps.done(verifier, error))) {
            return false;
        }
        if (!indexes.empty()) {
            status = isFound ? worse(status, ofPart) : ofPart;
            isFound = true;
        }
        first += verifier.get_NumSignatures();
        // Of several signatures with one Id the first is meant.
        if (isFound && options.id) {
            break;
        }
    }
    if (!isFound && options.id) {
        error = noSuchId(*options.id);
        return false;
    }
    if (!isFound && options.signature) {
        error = noSuchSignature(*options.signature, first);
        return false;
    }
    warn(found);
    return true;
}

bool forEachSignaturePart(std::shared_ptr<const io::RandomAccess> bytes,
                          const VerifyOptions& options, const PackageSteps& steps,
                          std::string& error) {
    PackageRun run(options);
    if (!run.open(std::move(bytes), error)) {
        return false;
    }
    int first = 0;
    for (const std::size_t part : run.parts()) {
        ClsXmlDSig verifier;
        if ((steps.prepare && !steps.prepare(verifier, error)) ||
            !run.load(part, first, verifier, error) || !steps.done(verifier, error)) {
            return false;
        }
        first += verifier.get_NumSignatures();
    }
    return true;
}

bool loadSignaturePart(std::shared_ptr<const io::RandomAccess> bytes, const VerifyOptions& options,
                       ClsXmlDSig& verifier, ClsBinData& document, std::string& error) {
    PackageRun run(options);
    if (!run.open(std::move(bytes), error)) {
        return false;
    }
    if (run.parts().size() == 1) {
        return run.load(run.parts().front(), 0, verifier, document, error);
    }
    error = run.parts().empty() ? "the package has no signature document"
                                : "the package has " + std::to_string(run.parts().size()) +
                                      " signature documents, and none of them is named (part)";
    return false;
}

bool readPart(std::shared_ptr<const io::RandomAccess> bytes, const VerifyOptions& options,
              DataBuffer& part, std::string& error) {
    const auto package = dsig::Package::open(std::move(bytes), options.limits, error);
    if (package == nullptr) {
        error.insert(0, kNotRead);
        return false;
    }
    const std::span<const zip::ZipMember> parts = package->parts();
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (parts[i].name == options.part) {
            return package->readXml(i, part, error);
        }
    }
    error = "the package has no part " + inQuotes(options.part);
    return false;
}

void writeContainer(const Container& container, json::JsonWriter& out) {
    out.key("container");
    out.beginObject();
    out.textMember("kind", container.kind);
    out.key("warnings");
    out.beginArray();
    for (const std::string& word : container.warnings) {
        out.text(word);
    }
    out.endArray();
    out.key("parts");
    out.beginArray();
    for (const ContainerPart& part : container.parts) {
        out.beginObject();
        out.textMember("name", part.name);
        out.integerMember("size", static_cast<std::int64_t>(part.size));
        out.booleanMember("covered", part.covered);
        out.key("by");
        out.beginArray();
        for (const int index : part.by) {
            out.integer(index);
        }
        out.endArray();
        out.booleanMember("exempt", part.exempt);
        out.endObject();
    }
    out.endArray();
    out.endObject();
}

std::string sha256Of(const io::RandomAccess& bytes) {
    constexpr std::size_t kPiece = std::size_t{256} << 10;
    std::vector<std::uint8_t> buffer(kPiece);
    crypto::Hasher hasher(kHashSha256);
    for (std::uint64_t at = 0; at < bytes.size(); at += buffer.size()) {
        buffer.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kPiece, bytes.size() - at)));
        if (!bytes.read(at, buffer)) {
            return {};
        }
        hasher.update(buffer);
    }
    std::array<std::uint8_t, crypto::kMaxDigestSize> digest{};
    StringBuffer text;
    static_cast<void>(text::encode(ByteView(hasher.final(digest)), text::Encoding::HexLower, text));
    return std::string(text.view());
}

} // namespace vantrel::api
