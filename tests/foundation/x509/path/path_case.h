// SPDX-License-Identifier: MIT
#ifndef TESTS_FOUNDATION_X509_PATH_PATH_CASE_H
#define TESTS_FOUNDATION_X509_PATH_PATH_CASE_H

#include "foundation/asn1/asn1_time.h"
#include "foundation/json/json_value.h"
#include "foundation/text/LogBase.h"
#include "foundation/x509/path/path_material.h"
#include "foundation/x509/path/path_query.h"
#include "tests/support/bytes.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {

// A JSON file of the corpus; an empty value, and a failure, when it is none.
inline json::JsonValue readJson(const std::string& path) {
    json::JsonValue value;
    std::size_t faultAt = 0;
    EXPECT_TRUE(json::parseJson(readText(path), value, faultAt)) << path;
    return value;
}

inline std::string textOf(const json::JsonValue& object, std::string_view name) {
    const json::JsonValue* const value = object.find(name);
    return value == nullptr ? std::string() : std::string(value->text());
}

inline bool isTrue(const json::JsonValue& object, std::string_view name) {
    const json::JsonValue* const value = object.find(name);
    return value != nullptr && value->kind() == json::JsonValue::Kind::True;
}

inline std::vector<std::string> textsOf(const json::JsonValue& object, std::string_view name) {
    std::vector<std::string> texts;
    const json::JsonValue* const list = object.find(name);
    for (const json::JsonValue& each : list->elements()) {
        texts.emplace_back(each.text());
    }
    return texts;
}

// "2011-04-15T00:00:00Z", a fraction of a second dropped.
inline std::int64_t secondsOf(const std::string& iso) {
    std::string digits;
    for (const char c : iso.substr(0, 19)) {
        if (c >= '0' && c <= '9') {
            digits.push_back(c);
        }
    }
    std::int64_t seconds = 0;
    EXPECT_TRUE(asn1::parseGeneralizedTime(asBytes(digits + "Z"), seconds)) << iso;
    return seconds;
}

// A query with all that it refers to. Certificates that cannot be read are left out, and make
// `readable` false.
struct PathCase {
    std::unique_ptr<x509::PathMaterial> material = std::make_unique<x509::PathMaterial>();
    x509::PathQuery query;
    bool readable = true;

    void add(ByteView file, std::vector<const VantrelX509*>& to) {
        LogNull log;
        readable = material->addCertificates(file, to, log) && readable;
    }
    void setTarget(ByteView file) {
        std::vector<const VantrelX509*> one;
        add(file, one);
        query.target = one.empty() ? nullptr : one.front();
    }
    void addCrl(ByteView file) {
        LogNull log;
        readable = material->addCrls(file, query.crls, log) && readable;
    }
    // An unreadable target leads nowhere, as does an unreadable anchor.
    [[nodiscard]] x509::PathResult run() const {
        return query.target == nullptr ? x509::PathResult() : x509::findPath(query);
    }
};

// One case in the form that all JSON suites share.
inline PathCase readPathCase(const json::JsonValue& test) {
    PathCase made;
    for (const std::string& pem : textsOf(test, "trusted_certs")) {
        made.add(asBytes(pem), made.query.anchors);
    }
    for (const std::string& pem : textsOf(test, "untrusted_intermediates")) {
        made.add(asBytes(pem), made.query.candidates);
    }
    made.setTarget(asBytes(textOf(test, "peer_certificate")));
    for (const std::string& pem : textsOf(test, "crls")) {
        made.addCrl(asBytes(pem));
        made.query.checkRevocation = true;
    }
    made.query.time = secondsOf(textOf(test, "at"));
    made.query.name = textOf(test, "name");
    if (const std::string purpose = textOf(test, "purpose"); !purpose.empty()) {
        made.query.purposes = {purpose};
    }
    std::int64_t depth = 0;
    if (test.find("max_chain_depth")->integer(depth)) {
        made.query.maxDepth = static_cast<std::size_t>(depth);
    }
    return made;
}

inline std::string describe(const x509::PathResult& result) {
    std::string text = result.trusted ? "trusted" : "not trusted";
    for (const x509::PathProblem& problem : result.problems) {
        text += "; ";
        text += x509::pathFaultWord(problem.fault);
        text += ": " + problem.text;
    }
    return text;
}

} // namespace vantrel::test

#endif
