#include "cli/worker_request.h"

#include "cli/command_table.h"
#include "cli/input.h"
#include <vantrel/DataBuffer.h>
#include <vantrel/json_parts.h>
#include <vantrel/strings.h>

#include <algorithm>
#include <set>

// A request is gone through as text (json_parts.h): of a line that is mostly one document, values
// of all its parts would be a second one. The line comes from a program that may pass on what
// others sent it, so whatever could be read in two ways is refused.
namespace vantrel::cli {

namespace {

// A day.
constexpr int kMostTimeoutMs = 86'400'000;
constexpr std::string_view kTwice = "stands twice in the request";

// What a JSON string stands for. False when the text is no string.
bool stringOf(std::string_view json, StringBuffer& out) {
    json::JsonTokens tokens(json);
    return tokens.readString(&out) && tokens.atEnd();
}

// For what the system takes as a text: it would end at a NUL.
bool plainTextOf(std::string_view json, std::string& out) {
    StringBuffer text;
    if (!stringOf(json, text) || text.view().find('\0') != std::string_view::npos) {
        return false;
    }
    out = text.view();
    return true;
}

// Standard input holds the requests.
bool fileNameOf(std::string_view json, std::string& out) {
    return plainTextOf(json, out) && !out.empty() && out != "-";
}

// One walk over the members of a request. All are read even when one is wrong, since the id may
// stand behind it; the first fault is told.
class RequestReader {
public:
    explicit RequestReader(WorkerRequest& request) : m_request(request) {}

    bool read(std::string_view line, std::string& complaint) {
        json::JsonParts parts(line);
        StringBuffer name;
        std::string_view value;
        while (parts.next(name, value)) {
            take(name.view(), value);
        }
        // First, because a line that is cut off is the likeliest fault, and the source may be in
        // the part that is missing.
        if (parts.failed()) {
            m_complaint = "the request is no JSON object (octet " +
                          std::to_string(parts.faultAt()) + " of the line)";
        } else if (m_sources != 1) {
            refuse("a request has one of file, xml and base64");
        }
        complaint = m_complaint;
        return complaint.empty();
    }

private:
    // The first fault counts; those behind it often follow from it.
    void refuse(std::string_view complaint) {
        if (m_complaint.empty()) {
            m_complaint = complaint;
        }
    }

    void take(std::string_view name, std::string_view value) {
        constexpr std::string_view kMembers[] = {"id",     "file",    "xml",
                                                 "base64", "options", "timeoutMs"};
        if (std::ranges::find(kMembers, name) == std::end(kMembers)) {
            return; // of a newer caller, or its own
        }
        // Two readers of such a line may take different ones.
        if (!m_seen.insert(std::string(name)).second) {
            refuse(std::string(name) + " " + std::string(kTwice));
            return;
        }
        if (name == "id") {
            m_request.id = value;
        } else if (name == "options") {
            m_request.options = value;
        } else if (name == "timeoutMs") {
            takeTimeout(value);
        } else {
            ++m_sources;
            takeSource(name, value);
        }
    }

    // The id is kept as it stands: numbers beyond the range of a double, say, come back unchanged.
    void takeTimeout(std::string_view value) {
        int ms = 0;
        if (!parseNumber(value, 1, kMostTimeoutMs, ms)) {
            refuse("timeoutMs is a number from 1 to " + std::to_string(kMostTimeoutMs));
            return;
        }
        m_request.source.timeoutMs = ms;
    }

    // Exactly one of them: with two, the answer would not say which was verified.
    void takeSource(std::string_view name, std::string_view value) {
        if (name == "file") {
            if (!fileNameOf(value, m_request.source.name)) {
                refuse("file is the name of a file, and not -, by which the requests come");
            }
            return;
        }
        StringBuffer text;
        DataBuffer octets;
        if (!stringOf(value, text)) {
            refuse(std::string(name) + " is a text");
            return;
        }
        // A JSON string is decoded text, whatever encoding the document's declaration names.
        m_request.source.isText = name == "xml";
        const bool taken = m_request.source.isText ? octets.append(text)
                                                   : octets.appendEncoded(text.view(), "base64");
        if (!taken) {
            refuse("the document is no base64");
        }
        m_request.source.document = octets;
    }

    WorkerRequest& m_request;
    std::set<std::string> m_seen;
    int m_sources = 0;
    std::string m_complaint;
};

// The options of a request, one after the other, into a command line.
class OptionReader {
public:
    OptionReader(Arguments& arguments, std::string& complaint)
        : m_arguments(arguments), m_complaint(complaint) {}

    bool take(std::string_view name, std::string_view value) {
        const OptionSpec* const option = find(name);
        if (option == nullptr) {
            return refuse("there is no option " + std::string(name), nearestOption(name));
        }
        if (!m_seen.insert(option->name).second) {
            return refuse("the option " + std::string(name) + " " + std::string(kTwice));
        }
        // A request's value takes the place of the command line's, lists as a whole.
        m_arguments.remove(option->name);
        if (value == "null" || value == "false") {
            return value == "null" || option->kind == ValueKind::None || wrongKind(*option);
        }
        return value.front() == '[' ? takeList(*option, value) : takeOne(*option, value);
    }

private:
    // Names in requests are those of the command line in camelCase, so that there is one table.
    static const OptionSpec* find(std::string_view name) {
        const auto place = std::ranges::find_if(allOptions(), [name](const OptionSpec& each) {
            return (each.commands & kRequest) != 0 && camelCase(each.name) == name;
        });
        return place == allOptions().end() ? nullptr : &*place;
    }

    static std::string nearestOption(std::string_view name) {
        std::vector<std::string> names;
        for (const OptionSpec& each : allOptions()) {
            if ((each.commands & kRequest) != 0) {
                names.push_back(camelCase(each.name));
            }
        }
        const std::vector<std::string_view> candidates(names.begin(), names.end());
        return std::string(nearest(name, candidates));
    }

    // Reports have one line for what is wrong, so the guess stands in it.
    bool refuse(const std::string& what, const std::string& guess = "") {
        m_complaint = guess.empty() ? what : what + "; " + guess + " is one";
        return false;
    }

    // What the option takes, not what the request has: that may be a key.
    bool wrongKind(const OptionSpec& option) {
        std::string_view wanted = "a text";
        switch (option.kind) {
        case ValueKind::None: wanted = "true or false"; break;
        case ValueKind::Number: wanted = "a number"; break;
        case ValueKind::File:
            wanted = isSecret(option) ? "{\"file\": NAME}; hmacKey takes the secret itself"
                                      : "PEM text, base64 of DER or {\"file\": NAME}";
            break;
        default: break;
        }
        return refuse("the option " + camelCase(option.name) + " is " + std::string(wanted));
    }

    // Of an option that counts once the last value would win, and nobody be told.
    bool takeList(const OptionSpec& option, std::string_view json) {
        json::JsonParts parts(json);
        StringBuffer none;
        std::string_view value;
        std::size_t count = 0;
        while (parts.next(none, value)) {
            // The help of those that may be repeated ends in this word.
            if (++count > 1 && !option.help.ends_with("repeatable")) {
                return refuse("the option " + camelCase(option.name) + " takes one value");
            }
            if (!takeOne(option, value)) {
                return false;
            }
        }
        return option.kind != ValueKind::None || wrongKind(option);
    }

    bool takeOne(const OptionSpec& option, std::string_view json) {
        std::string value;
        const char first = json.front();
        bool fits = false;
        switch (option.kind) {
        case ValueKind::None: fits = json == "true"; break;
        case ValueKind::Number:
            // Its range is checked where the option of the command line is.
            value = json;
            fits = first == '-' || text::isDigitAscii(first);
            break;
        case ValueKind::File: fits = takeFile(option, json, value); break;
        default: fits = plainTextOf(json, value); break;
        }
        return fits ? m_arguments.add(option, std::move(value), m_complaint) : wrongKind(option);
    }

    // A secret has no form by which base64 could be told from the octets themselves.
    static bool isSecret(const OptionSpec& option) { return option.name == "--hmac-key-file"; }

    // The contents themselves, or an object with the file's name and nothing else.
    static bool takeFile(const OptionSpec& option, std::string_view json, std::string& value) {
        if (json.front() != '{') {
            StringBuffer text;
            if (isSecret(option) || !stringOf(json, text)) {
                return false;
            }
            value = inlineFile(decoded(text.view()));
            return true;
        }
        json::JsonParts parts(json);
        StringBuffer name;
        std::string_view member;
        return parts.next(name, member) && name.view() == "file" && fileNameOf(member, value) &&
               !parts.next(name, member);
    }

    // Base64 of DER, which begins as a SEQUENCE does (X.690, 8.9); other text stays as it is.
    static std::string decoded(std::string_view text) {
        constexpr char kSequence = '\x30';
        DataBuffer octets;
        if (text.find("-----BEGIN") == std::string_view::npos &&
            octets.appendEncoded(text, "base64") && asText(octets.view()).starts_with(kSequence)) {
            return std::string(asText(octets.view()));
        }
        return std::string(text);
    }

    Arguments& m_arguments;
    std::string& m_complaint;
    std::set<std::string_view> m_seen;
};

} // namespace

bool readRequest(std::string_view line, WorkerRequest& request, std::string& complaint) {
    const bool isRead = RequestReader(request).read(line, complaint);
    if (line.size() > kMostRequestOctets) {
        complaint = "the request is longer than " + std::to_string(kMostRequestOctets) +
                    " octets; hand the document over as a file";
        return false;
    }
    // Elements of an array have no names, so that none of them is a member; it lacks a document.
    return isRead;
}

bool takeOptions(std::string_view json, Arguments& arguments, std::string& complaint) {
    if (!json.starts_with('{')) {
        complaint = "options is an object";
        return false;
    }
    json::JsonParts parts(json);
    OptionReader reader(arguments, complaint);
    StringBuffer name;
    std::string_view value;
    while (parts.next(name, value)) {
        if (!reader.take(name.view(), value)) {
            return false;
        }
    }
    return true;
}

} // namespace vantrel::cli
