// SPDX-License-Identifier: MIT
#include "cli/worker_request.h"

#include <vantrel/DataBuffer.h>
#include <vantrel/json_parts.h>

#include <algorithm>
#include <set>

// A request is gone through as text (json_parts.h): of a line that is mostly one document, values
// of all its parts would be a second one. The line comes from a program that may pass on what
// others sent it, so whatever could be read in two ways is refused.
namespace vantrel::cli {

namespace {

// A day.
constexpr int kMostTimeoutMs = 86'400'000;

// What a JSON string stands for. False when the text is no string.
bool stringOf(std::string_view json, StringBuffer& out) {
    json::JsonTokens tokens(json);
    return tokens.readString(&out) && tokens.atEnd();
}

// The system would take a name to end at a NUL; standard input holds the requests.
bool fileNameOf(std::string_view json, std::string& out) {
    StringBuffer text;
    if (!stringOf(json, text) || text.view().find('\0') != std::string_view::npos) {
        return false;
    }
    out = text.view();
    return !out.empty() && out != "-";
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
            refuse(std::string(name) + " stands twice in the request");
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

} // namespace vantrel::cli
