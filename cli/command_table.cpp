// SPDX-License-Identifier: MIT
#include "cli/command_table.h"

#include <vantrel/option_values.h>

#include <algorithm>
#include <array>

// To add an option: a line in kOptions, at the place where the help shall list it, and the code
// that asks for it by its long name. To add a command: a bit in the header, a line in kCommands,
// and its function in commands.h. Lines of help stay short enough for a terminal of 80 columns
// when they are wrapped; brackets and colons are kept out of them, since shells have uses for
// those.
namespace vantrel::cli {

namespace {

constexpr auto kCommands = std::to_array<Command>({
    {kVerify, "verify", "[options] FILE...",
     "Verifies every signature, its value and every reference digest.", "", runVerify},
    {kExplain, "explain", "[options] FILE...",
     "Verifies, and searches why digests and values do not match.", "", runExplain},
    {kReport, "report", "--html [options] [-o FILE] FILE",
     "Verifies a document and shows it with what its signatures cover.", "", runReport},
    {kInfo, "info", "[options] FILE...",
     "Lists the signatures of a document without verifying them.", "", runInfo},
    {kC14n, "c14n", "[options] [FILE]...",
     "Writes the canonical form of a document, byte for byte.", "", runC14n},
    {kCerts, "certs", "[options] FILE...",
     "Writes the certificates of KeyInfo as PEM, in document order.", "", runCerts},
    {kDigestInput, "digest-input", "[--signature N] [--reference N | --signed-info] [options] FILE",
     "Writes the octets over which a reference's digest is computed.", "", runDigestInput},
    {kTimestamp, "timestamp", "--tsa URL [options] FILE",
     "Adds a signature time-stamp from a time-stamp authority.", "", runTimestamp},
    {kWorker, "worker", "[--jobs N] [--unordered] [options]",
     "Answers requests to verify, one JSON object a line, as verify --json does.", "", runWorker},
    {kPath, "path", "--anchor FILE [options] CERTIFICATE",
     "Builds and validates the certification path of a certificate (RFC 5280).", "", runPath},
    {kCompletion, "completion", "bash|zsh|fish",
     "Writes the script that completes command lines in a shell.", "bash zsh fish", runCompletion},
    {kHelp, "help", "[COMMAND]", "Lists the commands, or the options of one.", "", runHelp},
    {kVersion, "version", "[--verbose]", "Writes the version of the tool.", "", runVersion},
});

// The kinds are named in every line below.
using enum ValueKind;

// The order is that of the help: what is verified, with which keys and data, by which rules, which
// files, and what is shown of it.
//
// Keys and data are used after what a document carries, or where it only names something. The words
// of --option are the library's own and are handed on as written. The options that say which files
// are the same for all commands that read many, so that nobody has to remember which take them.
// What is shown means standard output: complaints always go to standard error.
constexpr auto kOptions = std::to_array<OptionSpec>({
    // What is looked at.
    {"--signature", '\0', Number, "N", "", "only the signature with this zero-based index",
     kVerifying},
    {"--signature", '\0', Number, "N", "",
     "only those of the signature with this index (default all)", kCerts},
    {"--signature", '\0', Number, "N", "", "the signature with this index (default the first)",
     kTimestamp},
    {"--id", '\0', Text, "ID", "", "only the signature with this Id", kVerifying},
    {"--id", '\0', Text, "ID", "", "only the element with this Id and its subtree", kC14n},
    {"--part", '\0', Text, "NAME", "", "of a package, only the signatures in this part",
     kVerify | kExplain | kReport | kWorker | kInfo | kCerts | kDigestInput},
    {"--part", '\0', Text, "NAME", "", "of a package, this part", kC14n},
    {"--no-references", '\0', None, "", "", "check signature values only", kVerifying},
    {"--reference", '\0', Number, "N", "", "check only the digest of reference N", kVerifying},
    {"--signed-info", '\0', None, "", "", "the octets of SignedInfo instead", kDigestInput},

    // With which keys and data.
    {"--key", '\0', File, "FILE", "",
     "public key (PEM, DER, certificate, .p7b, JWK or XML), used after the keys of KeyInfo; "
     "repeatable",
     kVerifying},
    {"--named-key", '\0', Text, "NAME=FILE", "",
     "public key for signatures whose KeyInfo has this KeyName; repeatable", kVerifying},
    {"--only-key", '\0', None, "", "",
     "try no key of the document, only those of --key or the HMAC secret", kVerifying},
    {"--hmac-key", '\0', Text, "TEXT", "", "HMAC secret", kVerifying},
    {"--hmac-encoding", '\0', Word, "NAME", api::kHmacEncodings,
     "encoding of the HMAC secret, hex (default), base64 or ascii", kVerifying},
    {"--hmac-key-file", '\0', File, "FILE", "", "HMAC secret as the raw bytes of a file",
     kVerifying},
    {"--cert", '\0', File, "FILE", "",
     "certificates (PEM, DER or a folder of them) for look-ups; repeatable", kVerifying},
    {"--anchor", '\0', File, "FILE", "",
     "trust anchors (PEM, DER, a folder of them, or system for this machine's); repeatable",
     kJudging | kPath},
    {"--cert", '\0', File, "FILE", "",
     "certificates (PEM, DER or a folder of them) that may lie on the way; repeatable", kPath},
    {"--crl", '\0', File, "FILE", "",
     "certificate revocation lists (PEM or DER); one that names a certificate of the path counts; "
     "repeatable",
     kJudging | kPath},
    {"--ocsp", '\0', File, "FILE", "", "a stored OCSP response (DER); repeatable", kPath},
    {"--ref-data", '\0', Text, "N=FILE", "", "content of external reference N; repeatable",
     kVerifying},
    {"--ref-dir", '\0', Folder, "DIR", "", "where external references are looked for; repeatable",
     kVerifying},
    {"--ignore-external", '\0', None, "", "", "report a missing external file, do not count it",
     kVerifying},

    // By which rules.
    {"--timestamps", '\0', None, "", "", "also verify an encapsulated time-stamp", kVerifying},
    {"--option", '\0', Words, "WORD", api::kOptionWords,
     "a word for the verifier's uncommon options; repeatable", kVerifying},
    {"--limit", '\0', Text, "NAME=VALUE", "",
     "a limit of the library by its name in docs/limits.md; repeatable", kVerifying},
    {"--pin", '\0', Text, "HASH", "",
     "accept the key or certificate with this fingerprint, sha256 and a colon before it; "
     "repeatable",
     kJudging},
    {"--require", '\0', Words, "WORD", api::kRequireWords,
     "what a signature must show to be accepted, words with commas between them; repeatable",
     kJudging},
    {"--must-cover", '\0', Text, "TARGET", "",
     "what must be covered to accept a signature, document, an Id with # before it, or a path; "
     "repeatable",
     kJudging},
    {"--strict", '\0', None, "", "",
     "require strong, no-leniency, all-checked, unambiguous and vouched", kJudging},
    {"--accept", '\0', Word, "HOW", api::kAcceptWords,
     "whether all signatures (default) or any must be valid and accepted", kJudging},
    {"--at", '\0', Text, "TIME", "",
     "the time of validation, by RFC 3339 (default that of a trusted time-stamp, else now)",
     kJudging},
    {"--at", '\0', Text, "TIME", "", "the time of validation, by RFC 3339 (default now)", kPath},
    {"--check-revocation", '\0', None, "", "",
     "the status of every certificate must be known from a list or response", kJudging | kPath},
    {"--purpose", '\0', Text, "NAME", "",
     "extended key usage that must be allowed (serverAuth, documentSigning, ... or an identifier)",
     kJudging | kPath},
    {"--policy", '\0', Text, "OID", "", "an acceptable certificate policy; repeatable", kPath},
    {"--explicit-policy", '\0', None, "", "", "an acceptable policy must hold along the path",
     kPath},
    {"--inhibit-mapping", '\0', None, "", "", "policies are not mapped", kPath},
    {"--inhibit-any", '\0', None, "", "", "any-policy stands for no policy", kPath},
    {"--name", '\0', Text, "NAME", "",
     "for whom it must be issued, a host (dns), address (ip) or mailbox (email)", kPath},
    {"--max-depth", '\0', Number, "N", "",
     "most authorities between certificate and anchor, self-issued ones not counted", kPath},
    {"--exclusive", '\0', None, "", "",
     "Exclusive XML Canonicalization 1.0 (default Canonical XML 1.0)", kC14n},
    {"--with-comments", '\0', None, "", "", "keep comments", kC14n},
    {"--prefixes", '\0', Text, "LIST", "", "InclusiveNamespaces prefix list (exclusive only)",
     kC14n},
    {"--tsa", '\0', Text, "URL", "", "the time-stamp authority, by http or https", kTimestamp},
    {"--transport", '\0', Text, "PROGRAM", "",
     "carries out the request with the arguments of curl (default for https curl)", kTimestamp},
    {"--hash", '\0', Word, "NAME", "sha1 sha256 sha384 sha512",
     "sha1, sha256 (default), sha384 or sha512", kTimestamp},
    {"--no-cert", '\0', None, "", "", "do not ask for the authority's certificate", kTimestamp},

    {"--explain", '\0', None, "", "", "search the cause of each failure, as the command explain",
     kSearching},
    {"--effort", '\0', Number, "N", "", "search N times as long as the default of 2 seconds a file",
     kSearching | kExplain},

    // Which files.
    {"--recursive", 'r', None, "", "", "take the files below a FILE that is a directory",
     kManyFiles},
    {"--files-from", '\0', File, "FILE", "", "read the file names from FILE, one a line",
     kManyFiles},
    {"--null", '0', None, "", "", "the names of --files-from end in NUL, not in a line end",
     kManyFiles},
    {"--jobs", 'j', Number, "N", "", "files verified in parallel (default one a processor)",
     kVerify | kExplain | kWorker},

    {"--no-sandbox", '\0', None, "", "",
     "keep the right to open files and start programs while documents are read", kVerifying},

    // What is shown.
    {"--unordered", '\0', None, "", "", "answer each request as it is done, not in their order",
     kWorker},
    {"--json", '\0', None, "", "", "one JSON object a file, one a line",
     kVerify | kExplain | kInfo},
    {"--json", '\0', None, "", "", "the result as a JSON object", kPath},
    {"--log", '\0', None, "", "", "print the log of each verification to standard error",
     kVerifying},
    {"--verbose", 'v', None, "", "", "the same with its verbose entries", kVerifying},
    {"--verbose", 'v', None, "", "", "also what bounds this machine sets to verifying", kVersion},
    {"--html", '\0', None, "", "", "as one HTML page that needs nothing else", kReport},
    {"--quiet", 'q', None, "", "", "no output, only the exit code", kVerify | kExplain},
    {"--failed-only", '\0', None, "", "", "only the files that are not valid", kVerify | kExplain},
    {"--summary", '\0', None, "", "", "end with a line of counts", kVerify | kExplain},
    {"--output", 'o', File, "FILE", "", "write the document there, not to standard output",
     kTimestamp},
    {"--output", 'o', File, "FILE", "", "write the page there, not to standard output", kReport},
    {"--man", '\0', None, "", "", "the manual page, for the program man", kHelp},
    {"--help", 'h', None, "", "", "list the options and do nothing else", kEveryCommand},
});

} // namespace

std::span<const Command> allCommands() noexcept { return kCommands; }

const Command* findCommand(std::string_view name) noexcept {
    const auto place = std::find_if(kCommands.begin(), kCommands.end(),
                                    [name](const Command& each) { return each.name == name; });
    return place == kCommands.end() ? nullptr : &*place;
}

std::span<const OptionSpec> allOptions() noexcept { return kOptions; }

} // namespace vantrel::cli
