// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/entity_expander.h"

#include "foundation/xml/scan/char_class.h"
#include "foundation/xml/scan/document_scanner.h"
#include "foundation/xml/scan/references.h"

#include <algorithm>
#include <new>

namespace vantrel::xml {
namespace {

constexpr std::uint64_t kReferenceCost = 16; // charged for a reference beside the text it yields

// Appends one character of an entity's text to an attribute value.
void appendProtected(char c, std::string& out) {
    switch (c) {
    case '"': out.append("&#34;"); break;
    case '\'': out.append("&#39;"); break;
    case '\t':
    case '\n':
    case '\r': out.push_back(' '); break;
    default: out.push_back(c); break;
    }
}

struct ValueInput {
    std::string_view text;
    std::size_t at;
    const Entity* entity;
};

bool isOpen(const std::vector<ValueInput>& inputs, const Entity* entity) noexcept {
    return std::any_of(inputs.begin(), inputs.end(),
                       [entity](const ValueInput& input) { return input.entity == entity; });
}

bool refuse(std::string_view message, std::string_view name, std::string& why) {
    why.assign(message).append(" ").append(name.substr(0, kShownName));
    return false;
}

// Goes into the entity that is referenced; `length` bytes at the top of `inputs` are the reference.
bool enterValueEntity(const DocumentType& type, std::size_t length, ExpansionBudget& budget,
                      std::vector<ValueInput>& inputs, std::string& why) {
    ValueInput& top = inputs.back();
    const std::string_view name = top.text.substr(top.at + 1, length - 2);
    const Entity* const entity = type.findEntity(name);
    top.at += length;
    if (entity == nullptr) {
        return refuse(type.hasUnreadDeclarations()
                          ? kUnreadEntity
                          : "An attribute value refers to an undeclared entity:",
                      name, why);
    }
    if (entity->external || entity->unparsed) {
        return refuse("An attribute value refers to an external entity:", name, why);
    }
    if (inputs.size() > kMaxEntityNesting || isOpen(inputs, entity)) {
        why = kEntityRecursion;
        return false;
    }
    inputs.push_back({entity->text, 0, entity});
    return budget.charge(entity->text.size(), type.entityTextSize(), why);
}

} // namespace

bool ExpansionBudget::charge(std::uint64_t size, std::uint64_t declared, std::string& why) {
    m_read += size + kReferenceCost;
    if (m_read > kMaxEntityExpansion) {
        why = "Limit passed: the size of expanded entities";
        return false;
    }
    if (m_read > kSmallEntityExpansion && m_read / kMaxEntityAmplification > declared) {
        why = "Limit passed: the amplification of entities";
        return false;
    }
    return true;
}

bool expandAttributeEntities(const DocumentType& type, std::string_view raw,
                             ExpansionBudget& budget, std::string& out, std::string& why) {
    std::vector<ValueInput> inputs{{raw, 0, nullptr}};
    while (!inputs.empty()) {
        ValueInput& input = inputs.back();
        if (input.at >= input.text.size()) {
            inputs.pop_back();
            continue;
        }
        const char c = input.text[input.at];
        if (c == '&') {
            const ReferenceForm form = matchReference(input.text.substr(input.at));
            if (form.kind == ReferenceKind::Entity) {
                if (!enterValueEntity(type, form.length, budget, inputs, why)) {
                    return false;
                }
                continue;
            }
            if (form.kind == ReferenceKind::Malformed || form.kind == ReferenceKind::BadCharacter) {
                why = "A reference in an attribute value is malformed";
                return false;
            }
            out.append(input.text, input.at, form.length);
            input.at += form.length;
            continue;
        }
        if (c == '<') {
            why = "An attribute value contains '<' by way of an entity";
            return false;
        }
        if (input.entity == nullptr) {
            out.push_back(c);
        } else {
            appendProtected(c, out);
        }
        ++input.at;
    }
    return true;
}

EntityExpander::EntityExpander(std::string_view source, const DocumentType& type,
                               std::uint32_t contentStart)
    : m_source(source), m_type(type), m_inputs{{source, 0, nullptr}} {
    copy(contentStart);
}

bool EntityExpander::expand() {
    while (!m_inputs.empty()) {
        if (in().at >= in().text.size()) {
            m_inputs.pop_back();
        } else if (!readPiece()) {
            return false;
        }
        if (m_out.size() > kMaxDocumentSize) {
            return fail("Limit passed: the size of the expanded document");
        }
    }
    return true;
}

// One comment, tag, reference, or run of text. What is unfinished is copied to the end.
bool EntityExpander::readPiece() {
    const std::string_view rest = in().text.substr(in().at);
    if (rest[0] == '&') {
        return readReference();
    }
    if (rest[0] != '<') {
        copyText(std::min(rest.find_first_of("<&"), rest.size()));
        return true;
    }
    const auto through = [rest](std::string_view mark, std::size_t from) {
        const std::size_t found = rest.find(mark, from);
        return found == rest.npos ? rest.size() : found + mark.size();
    };
    if (rest.starts_with("<!--")) {
        copy(through("-->", 4));
    } else if (rest.starts_with("<![CDATA[")) {
        copyCdata(through("]]>", 9));
    } else if (rest.starts_with("<?")) {
        copy(through("?>", 2));
    } else if (rest.starts_with("</")) {
        copyTag(through(">", 2));
    } else {
        return readTag();
    }
    return true;
}

bool EntityExpander::readReference() {
    const std::string_view rest = in().text.substr(in().at);
    const ReferenceForm form = matchReference(rest);
    if (form.kind != ReferenceKind::Entity) {
        const bool whole =
            form.kind == ReferenceKind::Character || form.kind == ReferenceKind::Predefined;
        copy(whole ? form.length : 1);
        return true;
    }
    const std::string_view name = rest.substr(1, form.length - 2);
    const Entity* const entity = m_type.findEntity(name);
    if (entity == nullptr || entity->external || entity->unparsed) {
        copy(form.length); // refused when the result is read
        return true;
    }
    return enterEntity(name, *entity);
}

bool EntityExpander::enterEntity(std::string_view name, const Entity& entity) {
    const bool open = std::any_of(m_inputs.begin(), m_inputs.end(),
                                  [&](const Input& input) { return input.entity == &entity; });
    if (open || m_inputs.size() > kMaxEntityNesting) {
        return fail(kEntityRecursion);
    }
    std::string why;
    if (!m_budget.charge(entity.text.size(), m_type.entityTextSize(), why)) {
        return fail(why);
    }
    if (!checkReplacementText(entity)) {
        m_failureMessage.append(name);
        return false;
    }
    in().at += name.size() + 2;
    m_inputs.push_back({entity.text, 0, &entity});
    return true;
}

// XML 1.0, 4.3.2: the replacement text must match the content of an element by itself.
bool EntityExpander::checkReplacementText(const Entity& entity) {
    if (entity.text.find_first_of("<&>") == std::string::npos ||
        !m_checked.insert(&entity).second) {
        return true;
    }
    StringBuffer wrapped("<x>");
    if (!wrapped.appendView(entity.text) || !wrapped.append("</x>")) {
        throw std::bad_alloc();
    }
    const auto document = DocumentScanner::newDocument(wrapped, wrapped);
    DocumentScanner scanner(*document, DocumentScanner::Mode::EntityText);
    return scanner.scan() == ScanOutcome::Done ||
           fail("The replacement text of an entity is not well-formed content: ");
}

// A start tag, with the references in its attribute values expanded.
bool EntityExpander::readTag() {
    const std::string_view text = in().text;
    std::size_t at = in().at + 1;
    while (at < text.size() && text[at] != '>' && text[at] != '<') {
        if (text[at] != '"' && text[at] != '\'') {
            ++at;
            continue;
        }
        const std::size_t end = text.find(text[at], at + 1);
        if (end == text.npos) {
            at = text.size();
            break;
        }
        const std::string_view raw = text.substr(at + 1, end - at - 1);
        at = end + 1;
        if (raw.find('&') == raw.npos) {
            continue;
        }
        copyTag(end - raw.size() - in().at);
        std::string why;
        std::string value;
        if (!expandAttributeEntities(m_type, raw, m_budget, value, why)) {
            return fail(why);
        }
        if (inEntity()) {
            std::replace(value.begin(), value.end(), '\r', ' ');
        }
        m_out.append(value);
        in().at = end;
    }
    if (at < text.size() && text[at] == '>') {
        ++at;
    }
    copyTag(at - in().at);
    return true;
}

void EntityExpander::copy(std::size_t length) {
    const auto start = static_cast<std::uint32_t>(m_out.size());
    const auto from = static_cast<std::uint32_t>(in().at);
    const auto count = static_cast<std::uint32_t>(length);
    m_out.append(in().text, in().at, length);
    in().at += length;
    if (inEntity() || length == 0) {
        return;
    }
    if (!m_segments.empty()) {
        CopiedStretch& last = m_segments.back();
        if (last.start + last.length == start && last.sourceStart + last.length == from) {
            last.length += count;
            return;
        }
    }
    m_segments.push_back({start, from, count});
}

// A carriage return inside an entity's text is one that was written as a reference, so it is no
// line end; white space in a tag it is all the same.
void EntityExpander::copyTag(std::size_t length) {
    const std::size_t start = m_out.size();
    copy(length);
    if (inEntity()) {
        std::replace(m_out.begin() + static_cast<std::ptrdiff_t>(start), m_out.end(), '\r', ' ');
    }
}

void EntityExpander::copyCdata(std::size_t length) { copyLines(length, "]]>&#13;<![CDATA["); }

// The same for text: `reference` stands for a carriage return there.
void EntityExpander::copyLines(std::size_t length, std::string_view reference) {
    if (!inEntity()) {
        copy(length);
        return;
    }
    const std::string_view run = in().text.substr(in().at, length);
    std::size_t at = 0;
    for (std::size_t cr = run.find('\r'); cr != run.npos; cr = run.find('\r', at)) {
        m_out.append(run, at, cr - at).append(reference);
        at = cr + 1;
    }
    m_out.append(run, at, run.npos);
    in().at += length;
}

void EntityExpander::copyText(std::size_t length) {
    // "]]>" that two texts make together is no mark, and must not become one.
    const std::string_view run = in().text.substr(in().at, length);
    for (const std::string_view tail : {std::string_view(">"), std::string_view("]>")}) {
        const std::string_view head = std::string_view("]]>").substr(0, 3 - tail.size());
        if (run.starts_with(tail) && m_out.ends_with(head)) {
            m_out.append(tail.substr(0, tail.size() - 1)).append("&gt;");
            in().at += tail.size();
            length -= tail.size();
            break;
        }
    }
    copyLines(length, "&#13;");
}

bool EntityExpander::fail(std::string_view message) {
    m_failureOffset = static_cast<std::uint32_t>(m_inputs.front().at);
    m_failureMessage = message;
    return false;
}

} // namespace vantrel::xml
