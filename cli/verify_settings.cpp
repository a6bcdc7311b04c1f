// SPDX-License-Identifier: MIT
#include "cli/verify_settings.h"

#include "cli/foreign_format.h"
#include "cli/input.h"
#include "cli/policy_settings.h"
#include "cli/terminal.h"
#include <vantrel/DataBuffer.h>
#include <vantrel/option_values.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

// Every option is checked in load(), before the first file is read: a run over ten thousand files
// does not end in the middle because of a key that is not there. What a verifier changes or locks
// is made anew for each; what is only looked up is shared.
namespace vantrel::cli {

namespace {

// Options that contradict each other are refused; which of them would win is nothing to guess.
bool bothGiven(const Arguments& arguments, std::string_view one, std::string_view other,
               std::string& complaint) {
    if (arguments.has(one) && arguments.has(other)) {
        complaint =
            withRemedy(std::string(one) + " and " + std::string(other) + " exclude each other",
                       std::string(one) + " alone");
        return true;
    }
    return false;
}

// "--name=value" with the limit that was probably meant, and what it is now.
std::string nearestLimit(std::string_view given) {
    std::vector<std::string_view> names;
    for (const dsig::LimitEntry& entry : dsig::limitTable()) {
        names.push_back(entry.name);
    }
    const std::string_view name = given.substr(0, given.find('='));
    const std::string_view guess = nearest(name, names);
    const dsig::Limits limits;
    const dsig::LimitEntry& entry = *std::find_if(
        dsig::limitTable().begin(), dsig::limitTable().end(),
        [guess](const dsig::LimitEntry& each) { return guess.empty() || each.name == guess; });
    return "--limit " + std::string(entry.name) + "=" + std::to_string(limits.*entry.value);
}

// A file of certificates was not read: by the system, or because it holds none.
std::string certificateFault(const std::string& path, std::string_view reason) {
    std::string unreadable;
    DataBuffer bytes;
    std::error_code ignored;
    if (!std::filesystem::is_directory(path, ignored) &&
        !readOptionFile("--cert", path, bytes, unreadable)) {
        return unreadable;
    }
    return withRemedy("--cert " + path + ": " + std::string(reason),
                      "--key " + shellWord(path) + " (for a public key)");
}

// A file of keys; nothing, with the complaint, where it holds none.
std::optional<Key> readKey(std::string_view option, const std::string& path,
                           std::string& complaint) {
    DataBuffer bytes;
    if (!readOptionFile(option, path, bytes, complaint)) {
        return std::nullopt;
    }
    const Result<Key> key = Key::fromBytes(asText(bytes.view()));
    if (!key) {
        const Error& fault = key.error();
        const std::string remedy = fault.remedy.empty()
                                       ? "--key with a file as `xmldsig help verify` lists them"
                                       : withFileName(fault.remedy, path);
        complaint = withRemedy(std::string(option) + " " + path + ": " + fault.what, remedy);
        return std::nullopt;
    }
    return *key;
}

} // namespace

// Options of no file first, then those that open files, in the order of the help; the first fault
// ends it, since the next one may only follow from it.
bool VerifySettings::load(const Arguments& arguments, std::string& complaint) {
    m_options.ignoreExternal = arguments.has("--ignore-external");
    m_options.verboseLog = arguments.has("--verbose");
    m_options.log = m_options.verboseLog || arguments.has("--log");
    m_options.words = arguments.all("--option");
    m_options.timestamps = arguments.has("--timestamps");
    return loadSelection(arguments, complaint) && loadKeyFiles(arguments, complaint) &&
           loadHmacKey(arguments, complaint) && loadCertificates(arguments, complaint) &&
           loadReferenceData(arguments, complaint) && loadReferenceFolders(arguments, complaint) &&
           loadLimits(arguments, complaint) && loadPolicy(arguments, m_options.policy, complaint);
}

// Whether there are such signatures and references shows only when a document is at hand
// (select()).
bool VerifySettings::loadSelection(const Arguments& arguments, std::string& complaint) {
    std::optional<int> effort;
    if (bothGiven(arguments, "--signature", "--id", complaint) ||
        bothGiven(arguments, "--no-references", "--reference", complaint) ||
        !arguments.number("--signature", 0, api::kHighestIndex, m_options.signature, complaint) ||
        !arguments.number("--reference", 0, api::kHighestIndex, m_options.reference, complaint) ||
        !arguments.number("--effort", 1, api::kMostEffort, effort, complaint)) {
        return false;
    }
    if (const std::string* const id = arguments.last("--id")) {
        m_options.id = *id;
    }
    if (const std::string* const part = arguments.last("--part")) {
        m_options.part = *part;
    }
    m_options.effort = effort.value_or(1);
    m_options.checkReferences = !arguments.has("--no-references");
    return true;
}

// The keys are read here so that a bad file is told at once, and anew for each verifier.
bool VerifySettings::loadKeyFiles(const Arguments& arguments, std::string& complaint) {
    for (const std::string& path : arguments.all("--key")) {
        const std::optional<Key> key = readKey("--key", path, complaint);
        if (!key) {
            return false;
        }
        m_options.keys.push_back(*key);
    }
    for (const std::string& given : arguments.all("--named-key")) {
        std::string name;
        std::string path;
        if (!api::parseNamedKey(given, name, path)) {
            complaint = withRemedy("--named-key takes NAME=FILE, not \"" + given + "\"",
                                   "xmldsig info FILE (shows what KeyInfo names)");
            return false;
        }
        const std::optional<Key> key = readKey("--named-key", path, complaint);
        if (!key) {
            return false;
        }
        m_options.namedKeys.push_back({name, *key});
    }
    return true;
}

// The secret of HMAC signatures, as text in an encoding or as the bytes of a file.
bool VerifySettings::loadHmacKey(const Arguments& arguments, std::string& complaint) {
    if (bothGiven(arguments, "--hmac-key", "--hmac-key-file", complaint)) {
        return false;
    }
    // One of those that are documented for the tool; the library knows more.
    const std::string* const encoding = arguments.last("--hmac-encoding");
    const std::string name = encoding != nullptr ? *encoding : "hex";
    if (const std::string* const path = arguments.last("--hmac-key-file")) {
        DataBuffer secret;
        secret.setSecure(true); // wiped when it goes
        if (!readOptionFile("--hmac-key-file", *path, secret, complaint)) {
            return false;
        }
        m_options.hmacSecret = asText(secret.view());
        // An empty secret would let everybody sign.
        if (m_options.hmacSecret.empty()) {
            complaint = withRemedy("--hmac-key-file " + *path + " is empty", "--hmac-key");
            return false;
        }
        return true;
    }
    if (const std::string* const text = arguments.last("--hmac-key")) {
        if (!decodeSecret(*text, name, m_options.hmacSecret)) {
            complaint = withRemedy("--hmac-key is not valid in the encoding " + name,
                                   "--hmac-encoding base64 or ascii");
            return false;
        }
    }
    return true;
}

// Certificates for look-ups by what KeyInfo names; that a certificate is here makes it known, and
// nothing more.
bool VerifySettings::loadCertificates(const Arguments& arguments, std::string& complaint) {
    // One store for all threads: certificates are decoded once, and look-ups in it may run at once.
    for (const std::string& path : arguments.all("--cert")) {
        std::string error;
        if (!m_options.certificates.addFile(path, error)) {
            complaint = certificateFault(path, error);
            return false;
        }
    }
    return true;
}

// Each file is opened to see that it can be, not read: it may be large, and is streamed when its
// digest is due.
bool VerifySettings::loadReferenceData(const Arguments& arguments, std::string& complaint) {
    for (const std::string& given : arguments.all("--ref-data")) {
        ReferenceData data;
        int systemError = 0;
        std::string otherwise;
        if (!api::parseReferenceData(given, data.index, data.file)) {
            complaint = withRemedy("--ref-data takes N=FILE with N from 0 to " +
                                       std::to_string(api::kLastReferenceWithData) + ", not \"" +
                                       given + "\"",
                                   "--ref-data 0=FILE");
            return false;
        }
        if (!api::canOpen(data.file, systemError, otherwise)) {
            complaint = whyNotRead("--ref-data", data.file, systemError, otherwise);
            return false;
        }
        m_options.referenceData.push_back(std::move(data));
    }
    return true;
}

// What of a URI leads into these folders, and that nothing leads out of them, is the library's
// affair.
bool VerifySettings::loadReferenceFolders(const Arguments& arguments, std::string& complaint) {
    for (const std::string& folder : arguments.all("--ref-dir")) {
        int systemError = 0;
        if (!api::canList(folder, systemError)) {
            complaint = whyNotRead("--ref-dir", folder, systemError, "it cannot be listed");
            return false;
        }
        // The library takes the folders as one text with this separator.
        if (folder.find(';') != std::string::npos) {
            complaint = withRemedy("--ref-dir " + folder + ": the name may not hold a semicolon",
                                   "--ref-dir with a link to the folder");
            return false;
        }
        m_options.referenceFolders.push_back(folder);
    }
    return true;
}

// Raised or lowered, each by its name; of two values for one name the last counts.
bool VerifySettings::loadLimits(const Arguments& arguments, std::string& complaint) {
    for (const std::string& given : arguments.all("--limit")) {
        const std::string_view text = given;
        const std::size_t equals = std::min(text.find('='), text.size());
        std::uint64_t value = 0;
        if (equals < text.size() && dsig::parseLimit(text.substr(equals + 1), value) &&
            dsig::setLimit(m_options.limits, text.substr(0, equals), value)) {
            continue;
        }
        // The names come from the table, so that the message is never out of date.
        complaint = "--limit takes NAME=VALUE with a decimal number and one of the names";
        for (const dsig::LimitEntry& entry : dsig::limitTable()) {
            complaint += " " + std::string(entry.name);
        }
        complaint = withRemedy(complaint + ", not \"" + given + "\"", nearestLimit(given));
        return false;
    }
    return true;
}

bool VerifySettings::prepare(ClsXmlDSig& verifier, std::string& complaint) const {
    return api::prepareVerifier(m_options, verifier, complaint);
}

// By Id, by index, or all.
bool VerifySettings::select(ClsXmlDSig& verifier, std::vector<int>& indexes,
                            std::string& complaint) const {
    std::string error;
    if (api::selectSignatures(m_options, verifier, indexes, error)) {
        return true;
    }
    complaint = m_options.id
                    ? withRemedy(error, "xmldsig info (lists the signatures with their Ids)")
                    : noSuchSignature(*m_options.signature, verifier.get_NumSignatures());
    return false;
}

std::string noSuchSignature(int index, int count) {
    const std::string complaint = api::noSuchSignature(index, count);
    return count == 0 ? complaint
                      : withRemedy(complaint, "--signature " + std::to_string(count - 1));
}

} // namespace vantrel::cli
