// SPDX-License-Identifier: MIT
#include "foundation/xml/xpath/functions.h"

namespace vantrel::xml {

namespace {

using F = XPathFunction;
using T = XPathType;

constexpr XPathSignature kFunctions[] = {
    {"last", F::Last, T::Number, 0, 0, false, true},
    {"position", F::Position, T::Number, 0, 0, false, true},
    {"count", F::Count, T::Number, 1, 1, true, false},
    {"id", F::Id, T::NodeSet, 1, 1, false, false},
    {"local-name", F::LocalName, T::String, 0, 1, true, true},
    {"namespace-uri", F::NamespaceUri, T::String, 0, 1, true, true},
    {"name", F::Name, T::String, 0, 1, true, true},
    {"string", F::String, T::String, 0, 1, false, true},
    {"concat", F::Concat, T::String, 2, kAnyNumber, false, false},
    {"starts-with", F::StartsWith, T::Boolean, 2, 2, false, false},
    {"contains", F::Contains, T::Boolean, 2, 2, false, false},
    {"substring-before", F::SubstringBefore, T::String, 2, 2, false, false},
    {"substring-after", F::SubstringAfter, T::String, 2, 2, false, false},
    {"substring", F::Substring, T::String, 2, 3, false, false},
    {"string-length", F::StringLength, T::Number, 0, 1, false, true},
    {"normalize-space", F::NormalizeSpace, T::String, 0, 1, false, true},
    {"translate", F::Translate, T::String, 3, 3, false, false},
    {"boolean", F::Boolean, T::Boolean, 1, 1, false, false},
    {"not", F::Not, T::Boolean, 1, 1, false, false},
    {"true", F::True, T::Boolean, 0, 0, false, false},
    {"false", F::False, T::Boolean, 0, 0, false, false},
    {"lang", F::Lang, T::Boolean, 1, 1, false, true},
    {"number", F::Number, T::Number, 0, 1, false, true},
    {"sum", F::Sum, T::Number, 1, 1, true, false},
    {"floor", F::Floor, T::Number, 1, 1, false, false},
    {"ceiling", F::Ceiling, T::Number, 1, 1, false, false},
    {"round", F::Round, T::Number, 1, 1, false, false},
    {"here", F::Here, T::NodeSet, 0, 0, false, false},
};

} // namespace

const XPathSignature* findXPathFunction(std::string_view name) noexcept {
    for (const XPathSignature& signature : kFunctions) {
        if (signature.name == name) {
            return &signature;
        }
    }
    return nullptr;
}

} // namespace vantrel::xml
