// SPDX-License-Identifier: MIT
// The page for people about any document, verified and kept as the tool does it. Up to the first
// NUL stands the title, then the document. The page is taken apart by a reader that knows nothing
// but its own elements and attributes: they close in order, their values are of plain characters,
// each link leads to a place that is there once, and what is between them is text.

#include "dsig/object/ClsXmlDSig.h"
#include "foundation/base/ClsBinData.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>
#include <vector>

using namespace vantrel;

namespace {

void require(bool holds, std::string_view around) {
    if (!holds) {
        std::fprintf(stderr, "%.200s\n", std::string(around).c_str());
        std::abort();
    }
}

class PageReader {
public:
    explicit PageReader(std::string_view page) : m_rest(page) {
        // What stands ahead is fixed text and the style sheet; the title is text as everything.
        const std::size_t head = page.find("<title>");
        const std::size_t title = page.find("</title><style>");
        const std::size_t body = page.find("\n<body>\n");
        require(head < title && title < body && body < page.size(), page);
        require(page.substr(head + 7, title - head - 7).find('<') == std::string_view::npos, page);
        m_rest.remove_prefix(body + 8);
    }

    void read() {
        while (!m_rest.empty()) {
            const std::size_t next = m_rest.find_first_of("<&");
            m_rest.remove_prefix(std::min(next, m_rest.size()));
            if (m_rest.starts_with("</")) {
                endTag();
            } else if (m_rest.starts_with('<')) {
                startTag();
            } else if (!m_rest.empty()) {
                reference();
            }
        }
        require(m_isClosed && m_open.empty(), "not closed");
        require(std::ranges::includes(m_ids, m_links), "a link leads nowhere");
    }

private:
    std::string_view take(std::string_view until) {
        const std::size_t end = m_rest.find(until);
        require(end != std::string_view::npos, m_rest);
        const std::string_view taken = m_rest.substr(0, end);
        m_rest.remove_prefix(end + until.size());
        return taken;
    }

    void endTag() {
        const std::string_view all = m_rest;
        m_rest.remove_prefix(2);
        const std::string_view name = take(">");
        if (m_open.empty()) {
            // body and html, and nothing behind them.
            require(name == "body" && m_rest == "</html>\n", all);
            m_isClosed = true;
            m_rest = {};
            return;
        }
        require(m_open.back() == name, all);
        m_open.pop_back();
    }

    void startTag() {
        static constexpr std::string_view kNames[] = {
            "header", "main", "footer", "article", "div", "h1", "h2", "p",   "b",  "a", "dl",
            "dt",     "dd",   "code",   "span",    "del", "i",  "em", "wbr", "ul", "li"};
        const std::string_view all = m_rest;
        m_rest.remove_prefix(1);
        std::string_view tag = take(">");
        const std::string_view name = tag.substr(0, tag.find(' '));
        require(std::ranges::find(kNames, name) != std::end(kNames), all);
        tag.remove_prefix(name.size());
        while (!tag.empty()) {
            attribute(tag, all);
        }
        if (name != "wbr") {
            m_open.push_back(name);
        }
    }

    // ` name="value"`, taken from the front of `tag`.
    void attribute(std::string_view& tag, std::string_view all) {
        static constexpr std::string_view kNames[] = {"class", "id", "href", "data-n"};
        const std::size_t equals = tag.find("=\"");
        require(tag.front() == ' ' && equals < tag.size(), all);
        const std::string_view name = tag.substr(1, equals - 1);
        const std::size_t end = tag.find('"', equals + 2);
        require(std::ranges::find(kNames, name) != std::end(kNames) && end < tag.size(), all);
        const std::string_view value = tag.substr(equals + 2, end - equals - 2);
        require(value.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-# ") ==
                    std::string_view::npos,
                all);
        if (name == "href") {
            require(value.starts_with('#'), all);
            m_links.insert(value.substr(1));
        } else if (name == "id") {
            require(m_ids.insert(value).second, all);
        }
        tag.remove_prefix(end + 1);
    }

    void reference() {
        static constexpr std::string_view kKnown[] = {"&lt;",  "&gt;",   "&amp;",   "&quot;",
                                                      "&#39;", "&nbsp;", "&hellip;"};
        const auto known = std::ranges::find_if(
            kKnown, [&](std::string_view text) { return m_rest.starts_with(text); });
        require(known != std::end(kKnown), m_rest);
        m_rest.remove_prefix(known->size());
    }

    std::string_view m_rest;
    bool m_isClosed = false;
    std::vector<std::string_view> m_open;
    std::set<std::string_view> m_ids;
    std::set<std::string_view> m_links;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr int kMostSignatures = 4;
    if (size > 32768) {
        return 0;
    }
    const std::string_view input = asText({data, size});
    const std::string_view head = input.substr(0, input.find('\0'));
    ClsBinData document;
    document.data().append(asBytes(input.substr(std::min(head.size() + 1, size))));
    XString title{std::string(head)};
    XString secret("secret");
    XString encoding("ascii");
    ClsXmlDSig verifier;
    verifier.SetHmacKey(secret, encoding);
    verifier.SetDeadline(2000);
    if (!verifier.LoadSignatureBd(document)) {
        return 0;
    }
    for (int i = 0; i < std::min(verifier.get_NumSignatures(), kMostSignatures); ++i) {
        verifier.put_Selector(i);
        verifier.VerifySignature(true);
        static_cast<void>(verifier.KeepForHtmlReport());
    }
    XString page;
    if (verifier.HtmlReport(title, page)) {
        PageReader(page.getUtf8Sb().view()).read();
    }
    return 0;
}
