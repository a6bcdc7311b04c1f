#include "cli/verify_settings.h"

#include "cli/foreign_format.h"
#include "cli/input.h"
#include "cli/terminal.h"
#include <vantrel/ClsBinData.h>
#include <vantrel/XString.h>
#include <vantrel/_vlDataSource.h>
#include <vantrel/_vlLogger.h>
#include <vantrel/key_file.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

// Every option is checked in load(), before the first file is read: a run over ten thousand files
// does not end in the middle because of a key that is not there. What a verifier changes or locks
// is made anew for each; what is only looked up is shared.
namespace vantrel::cli {

namespace {

// Highest index of a reference for which the verifier takes data.
constexpr int kLastReferenceWithData = 100;
constexpr int kHighestIndex = 0x7FFFFFFE;
// Some two hours.
constexpr int kMostEffort = 3600;

// The last error line of an operation of the library.
std::string lastError(ClsBase& object) {
    XString line;
    object.get_LastErrorLine(line);
    return std::string(line.getUtf8Sb().view());
}

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
    return withRemedy("--cert " + fileName(path) + ": " + std::string(reason),
                      "--key " + shellWord(fileName(path)) + " (for a public key)");
}

// One value of --cert.
bool addCertificates(const std::string& value, ClsXmlCertVault& vault) {
    if (const std::optional<std::string_view> octets = inlineOctets(value)) {
        ClsBinData der;
        return octets->find("-----BEGIN") != std::string_view::npos
                   ? vault.AddCertPem(XString(*octets))
                   : der.data().append(asBytes(*octets)) && vault.AddCertDer(der);
    }
    const XString name(value);
    std::error_code ignored;
    // Of a folder every file that holds a certificate is taken, and the others passed over.
    return std::filesystem::is_directory(value, ignored) ? vault.AddCertDirectory(name)
                                                         : vault.AddCertFile(name);
}

// The file of --ref-data, by the system's reason where it has one.
std::string whyNotOpened(const std::string& path, std::string_view otherwise) {
    std::error_code problem;
    const auto kind = std::filesystem::status(path, problem).type();
    if (kind == std::filesystem::file_type::directory) {
        problem = std::make_error_code(std::errc::is_a_directory);
    } else if (!problem && kind == std::filesystem::file_type::regular) {
        problem = std::make_error_code(std::errc::permission_denied);
    }
    return whyNotRead("--ref-data", path, problem.value(), otherwise);
}

} // namespace

// Options of no file first, then those that open files, in the order of the help; the first fault
// ends it, since the next one may only follow from it.
bool VerifySettings::load(const Arguments& arguments, std::string& complaint) {
    m_ignoreExternal = arguments.has("--ignore-external");
    m_verbose = arguments.has("--verbose");
    m_log = m_verbose || arguments.has("--log");
    for (const std::string& word : arguments.all("--option")) {
        // The verifier searches the text for its words; the separator is for readers.
        m_words += (m_words.empty() ? "" : ",") + word;
    }
    if (arguments.has("--timestamps")) {
        m_words += m_words.empty() ? "" : ",";
        m_words += "VerifyEncapsulatedTimeStamp";
    }
    return loadSelection(arguments, complaint) && loadKeyFiles(arguments, complaint) &&
           loadHmacKey(arguments, complaint) && loadCertificates(arguments, complaint) &&
           loadReferenceData(arguments, complaint) && loadReferenceFolders(arguments, complaint) &&
           loadLimits(arguments, complaint) && loadPolicy(arguments, m_policy, complaint);
}

// Whether there are such signatures and references shows only when a document is at hand
// (select()).
bool VerifySettings::loadSelection(const Arguments& arguments, std::string& complaint) {
    if (bothGiven(arguments, "--signature", "--id", complaint) ||
        bothGiven(arguments, "--no-references", "--reference", complaint) ||
        !arguments.number("--signature", 0, kHighestIndex, m_signature, complaint) ||
        !arguments.number("--reference", 0, kHighestIndex, m_reference, complaint) ||
        !arguments.number("--effort", 1, kMostEffort, m_effort, complaint)) {
        return false;
    }
    if (const std::string* const id = arguments.last("--id")) {
        m_id = *id;
    }
    m_checkReferences = !arguments.has("--no-references");
    return true;
}

// The keys are read here so that a bad file is told at once, and anew for each verifier.
bool VerifySettings::loadKeyFiles(const Arguments& arguments, std::string& complaint) {
    for (const std::string& path : arguments.all("--key")) {
        DataBuffer bytes;
        if (!readOptionFile("--key", path, bytes, complaint)) {
            return false;
        }
        std::vector<Ref<ClsPublicKey>> keys;
        keyfile::KeyFileFault fault;
        std::vector<DataBuffer> certificates;
        if (!keyfile::loadKeys(bytes.view(), keys, fault, &certificates)) {
            const std::string remedy = fault.remedy.empty()
                                           ? "--key with a file as `xmldsig help verify` lists them"
                                           : withFileName(fault.remedy, fileName(path));
            complaint = withRemedy("--key " + fileName(path) + ": " + fault.what, remedy);
            return false;
        }
        m_keyFiles.push_back(bytes);
        addToVault(certificates);
    }
    return true;
}

// They name the holders of the keys, and are as well known to the caller as these.
void VerifySettings::addToVault(const std::vector<DataBuffer>& certificates) {
    for (const DataBuffer& der : certificates) {
        ClsBinData bytes;
        bytes.data() = der;
        static_cast<void>(vault().AddCertDer(bytes));
    }
}

ClsXmlCertVault& VerifySettings::vault() {
    if (!m_vault) {
        m_vault = std::make_unique<ClsXmlCertVault>();
    }
    return *m_vault;
}

// The secret of HMAC signatures, as text in an encoding or as the bytes of a file.
bool VerifySettings::loadHmacKey(const Arguments& arguments, std::string& complaint) {
    if (bothGiven(arguments, "--hmac-key", "--hmac-key-file", complaint)) {
        return false;
    }
    // One of those that are documented for the tool; the library knows more.
    const std::string* const encoding = arguments.last("--hmac-encoding");
    m_hmacEncoding = encoding != nullptr ? *encoding : "hex";
    if (const std::string* const path = arguments.last("--hmac-key-file")) {
        DataBuffer secret;
        // Wiped when it goes. The library takes a secret as text in an encoding, so raw bytes pass
        // as base64.
        secret.setSecure(true);
        if (!readOptionFile("--hmac-key-file", *path, secret, complaint)) {
            return false;
        }
        StringBuffer text;
        secret.encodeDB("base64", text);
        m_hmacKey = text.view();
        m_hmacEncoding = "base64";
        text.secureClear();
        // An empty secret would let everybody sign.
        if (m_hmacKey.empty()) {
            complaint =
                withRemedy("--hmac-key-file " + fileName(*path) + " is empty", "--hmac-key");
            return false;
        }
        return true;
    }
    if (const std::string* const text = arguments.last("--hmac-key")) {
        m_hmacKey = *text;
        // Tried on a verifier of its own, since decoding is the library's affair.
        ClsXmlDSig probe;
        XString key(m_hmacKey);
        XString name(m_hmacEncoding);
        if (m_hmacKey.empty() || !probe.SetHmacKey(key, name)) {
            complaint = withRemedy("--hmac-key is not valid in the encoding " + m_hmacEncoding,
                                   "--hmac-encoding base64 or ascii");
            return false;
        }
    }
    return true;
}

// Certificates for look-ups by what KeyInfo names; that a certificate is here makes it known, and
// nothing more.
bool VerifySettings::loadCertificates(const Arguments& arguments, std::string& complaint) {
    // One vault for all threads: certificates are decoded once, and look-ups in it may run at once.
    for (const std::string& path : arguments.all("--cert")) {
        if (!addCertificates(path, vault())) {
            complaint = certificateFault(path, lastError(*m_vault));
            return false;
        }
    }
    return true;
}

// "N=FILE": the name of the file may hold more of the same sign.
bool VerifySettings::loadReferenceData(const Arguments& arguments, std::string& complaint) {
    for (const std::string& given : arguments.all("--ref-data")) {
        const std::size_t equals = given.find('=');
        int index = 0;
        if (equals == std::string::npos || !parseNumber(std::string_view(given).substr(0, equals),
                                                        0, kLastReferenceWithData, index)) {
            complaint =
                withRemedy("--ref-data takes N=FILE with N from 0 to " +
                               std::to_string(kLastReferenceWithData) + ", not \"" + given + "\"",
                           "--ref-data 0=FILE");
            return false;
        }
        const std::string path = given.substr(equals + 1);
        _vlLogger log;
        // Opened to see that it can be, not read: it may be large, and is streamed when its digest
        // is due.
        _vlFileDataSource probe;
        if (!probe.openDataSourceFile(XString(path), log)) {
            complaint = whyNotOpened(path, log.lastErrorLine());
            return false;
        }
        m_referenceData.emplace_back(index, path);
    }
    return true;
}

// What of a URI leads into these folders, and that nothing leads out of them, is the library's
// affair.
bool VerifySettings::loadReferenceFolders(const Arguments& arguments, std::string& complaint) {
    for (const std::string& folder : arguments.all("--ref-dir")) {
        std::error_code problem;
        // A folder that cannot be listed would make every file in it "missing", which
        // --ignore-external forgives.
        std::filesystem::directory_iterator probe(folder, problem);
        if (problem) {
            complaint = whyNotRead("--ref-dir", folder, problem.value(), problem.message());
            return false;
        }
        // The library takes the folders as one text with this separator.
        if (folder.find(';') != std::string::npos) {
            complaint = withRemedy("--ref-dir " + folder + ": the name may not hold a semicolon",
                                   "--ref-dir with a link to the folder");
            return false;
        }
        m_referenceFolders += (m_referenceFolders.empty() ? "" : ";") + folder;
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
            dsig::setLimit(m_limits, text.substr(0, equals), value)) {
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

// The same for every limit, named or not.
bool VerifySettings::setLimits(ClsXmlDSig& verifier) const {
    // One that is refused does not keep the others from being set; any makes the whole fail.
    bool all = true;
    for (const dsig::LimitEntry& entry : dsig::limitTable()) {
        XString name(entry.name);
        XString value(std::to_string(m_limits.*entry.value));
        all = verifier.SetLimit(name, value) && all;
    }
    return all;
}

// For every signature of the document; tried after the keys of KeyInfo.
bool VerifySettings::setKeys(ClsXmlDSig& verifier) const {
    std::vector<Ref<ClsPublicKey>> keys;
    for (const DataBuffer& bytes : m_keyFiles) {
        keyfile::KeyFileFault fault;
        if (!keyfile::loadKeys(bytes.view(), keys, fault)) {
            return false;
        }
    }
    return std::all_of(keys.begin(), keys.end(), [&verifier](const Ref<ClsPublicKey>& key) {
        return verifier.AddPublicKeyForAll(*key);
    });
}

bool VerifySettings::prepare(ClsXmlDSig& verifier, std::string& complaint) const {
    // Nothing is set that was not given: the library's own defaults hold, whatever they are.
    if (!m_words.empty()) {
        XString words(m_words);
        verifier.put_UncommonOptions(words);
    }
    if (!m_referenceFolders.empty()) {
        XString folders(m_referenceFolders);
        verifier.put_ExternalRefDirs(folders);
    }
    if (m_policy.policy) {
        verifier.SetPolicy(m_policy.policy);
    }
    verifier.put_VerboseLogging(m_verbose);
    verifier.log().setOneLineValues(true); // what is shown of the log is shown line by line
    verifier.put_IgnoreExternalRefs(m_ignoreExternal);
    if (!setLimits(verifier)) {
        complaint = lastError(verifier);
        return false;
    }
    if (!setKeys(verifier)) {
        complaint = "the public key was refused";
        return false;
    }
    if (m_vault && !verifier.UseCertVault(*m_vault)) {
        complaint = lastError(verifier);
        return false;
    }
    if (!m_hmacKey.empty()) {
        XString key(m_hmacKey);
        XString encoding(m_hmacEncoding);
        if (!verifier.SetHmacKey(key, encoding)) {
            complaint = "the HMAC key was refused";
            return false;
        }
    }
    return true;
}

// The paths were tried when the options were read; a file that went away since fails here.
bool VerifySettings::prepareSelected(ClsXmlDSig& verifier, std::string& complaint) const {
    for (const auto& [index, path] : m_referenceData) {
        XString name(path);
        if (!verifier.SetRefDataFile(index, name)) {
            complaint = "--ref-data " + path + ": " + lastError(verifier);
            return false;
        }
    }
    return true;
}

// By Id, by index, or all.
bool VerifySettings::select(ClsXmlDSig& verifier, std::vector<int>& indexes,
                            std::string& complaint) const {
    const int count = verifier.get_NumSignatures();
    // Of several signatures with one Id the first is meant, as everywhere in the library.
    if (m_id) {
        XString id(*m_id);
        if (!verifier.SelectById(id)) {
            complaint = withRemedy("there is no signature with the Id \"" + *m_id + "\"",
                                   "xmldsig info (lists the signatures with their Ids)");
            return false;
        }
        indexes.push_back(verifier.get_Selector());
        return true;
    }
    if (m_signature) {
        // put_Selector would take the last one instead, and its verdict pass for that of another.
        if (*m_signature >= count) {
            complaint = noSuchSignature(*m_signature, count);
            return false;
        }
        indexes.push_back(*m_signature);
        return true;
    }
    for (int i = 0; i < count; ++i) {
        indexes.push_back(i);
    }
    return true;
}

std::string noSuchSignature(int index, int count) {
    const std::string complaint = "there is no signature with index " + std::to_string(index) +
                                  "; the document has " + std::to_string(count);
    return count == 0 ? complaint
                      : withRemedy(complaint, "--signature " + std::to_string(count - 1));
}

} // namespace vantrel::cli
