// SPDX-License-Identifier: MIT
// Each form of name under constraints, by the words of RFC 5280 4.2.1.10.

#include "foundation/x509/path/name_forms.h"

#include "tests/support/bytes.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace vantrel::x509 {
namespace {

using test::fromHex;

GeneralName named(NameForm form, std::string_view text) { return {form, asBytes(text)}; }

bool within(NameForm form, std::string_view name, std::string_view base,
            Subtree subtree = Subtree::Permitted) {
    return isWithin({named(form, name), ""}, {named(form, base), ""}, subtree);
}

TEST(NameForms, LieInSubtreesOrNot) {
    const struct {
        NameForm form;
        std::string_view name;
        std::string_view base;
        bool lies;
    } cases[] = {
        {NameForm::Dns, "example.com", "example.com", true},
        {NameForm::Dns, "EXAMPLE.com", "example.COM", true},
        {NameForm::Dns, "a.b.example.com", "example.com", true},
        {NameForm::Dns, "badexample.com", "example.com", false},
        {NameForm::Dns, "example.com", "a.example.com", false},
        {NameForm::Dns, "example.org", "example.com", false},
        {NameForm::Dns, "a.example.com", ".example.com", true},
        {NameForm::Dns, "example.com", ".example.com", false},
        {NameForm::Dns, "*.example.com", "example.com", true},
        {NameForm::Dns, "*.example.com", "a.example.com", false},
        {NameForm::Dns, "anything", "", true},
        {NameForm::Email, "ada@example.com", "ada@EXAMPLE.com", true},
        {NameForm::Email, "Ada@example.com", "ada@example.com", false},
        {NameForm::Email, "ada@example.com", "bob@example.com", false},
        {NameForm::Email, "ada@example.com", "example.COM", true},
        {NameForm::Email, "ada@a.example.com", "example.com", false},
        {NameForm::Email, "ada@a.example.com", ".example.com", true},
        {NameForm::Email, "ada@example.com", ".example.com", false},
        {NameForm::Email, "\"a@b\"@example.com", "example.com", true},
        {NameForm::Email, "a@b@example.com", "example.com", false},
        {NameForm::Email, "example.com", "example.com", false},
        {NameForm::Email, "ada@example.com", "", true},
        {NameForm::Uri, "http://example.com/x", "example.com", true},
        {NameForm::Uri, "http://EXAMPLE.com:80?x", "example.com", true},
        {NameForm::Uri, "http://a.example.com#x", "example.com", false},
        {NameForm::Uri, "http://a.example.com", ".example.com", true},
        {NameForm::Uri, "http://example.com", ".example.com", false},
        {NameForm::Uri, "http://example.com@evil.org/", "example.com", false},
        {NameForm::Uri, "http://a@b@example.com/", "example.com", true},
        {NameForm::Uri, "http://evil.org/@example.com", "example.com", false},
        {NameForm::Uri, "urn:example.com", "example.com", false},
        {NameForm::RegisteredId, "x", "x", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(within(c.form, c.name, c.base), c.lies) << c.name << " in " << c.base;
    }
    // A wildcard stands for a host that is excluded; it excludes nothing of what it does not reach.
    EXPECT_TRUE(within(NameForm::Dns, "*.example.com", "a.example.com", Subtree::Excluded));
    EXPECT_TRUE(within(NameForm::Dns, "*.example.com", ".a.EXAMPLE.com", Subtree::Excluded));
    EXPECT_FALSE(within(NameForm::Dns, "*.example.com", "a.b.example.com", Subtree::Excluded));
    EXPECT_FALSE(within(NameForm::Dns, "x.example.com", "a.example.com", Subtree::Excluded));
}

TEST(NameForms, AddressesLieInRanges) {
    const struct {
        const char* address;
        const char* range;
        bool lies;
    } cases[] = {
        {"c0000207", "c0000200ffffff00", true},
        {"c0000307", "c0000200ffffff00", false},
        {"c00002ff", "c00002f0fffffff8", false},
        {"c00002f7", "c00002f0fffffff8", true},
        {"01020304", "0000000000000000", true},
        {"20010db8000000000000000000000001",
         "20010db8000000000000000000000000ffffffff000000000000000000000000", true},
        {"20010db9000000000000000000000001",
         "20010db8000000000000000000000000ffffffff000000000000000000000000", false},
        {"00000000000000000000000000000000", "0000000000000000", false},
    };
    for (const auto& c : cases) {
        const test::Bytes address = fromHex(c.address);
        const test::Bytes range = fromHex(c.range);
        EXPECT_EQ(isWithin({{NameForm::Ip, address}, ""}, {{NameForm::Ip, range}, ""},
                           Subtree::Permitted),
                  c.lies)
            << c.address << " in " << c.range;
    }
}

TEST(NameForms, AreUsableOrNot) {
    const struct {
        NameForm form;
        std::string text;
        bool asName;
        bool asConstraint;
    } cases[] = {
        {NameForm::Dns, "a.example", true, true},
        {NameForm::Dns, "*.a.example", true, false},
        {NameForm::Dns, "a.*.example", false, false},
        {NameForm::Dns, "*", false, false},
        {NameForm::Dns, ".a.example", false, true},
        {NameForm::Dns, "..a", false, false},
        {NameForm::Dns, ".", false, false},
        {NameForm::Dns, "", false, true},
        {NameForm::Dns, "a..example", false, false},
        {NameForm::Dns, "a.example.", false, false},
        {NameForm::Dns, "a b", false, false},
        {NameForm::Dns, "a\x7F", false, false},
        {NameForm::Dns, "a\xC3\xA4", false, false},
        {NameForm::Dns, "a@b", false, false},
        {NameForm::Email, "ada@a.example", true, true},
        {NameForm::Email, "@a.example", false, false},
        {NameForm::Email, "ada@", false, false},
        {NameForm::Email, "ada@*.example", false, false},
        {NameForm::Email, "a@b@c", false, false},
        {NameForm::Email, "\"a@b\"@c", true, true},
        {NameForm::Email, "\"@c", true, true}, // a quotation mark of one character is no quotation
        {NameForm::Email, "\"a@b@c", false, false},
        {NameForm::Email, "a.example", false, true},
        {NameForm::Email, ".a.example", false, true},
        // A URI in place of a host would hold none, and so exclude none.
        {NameForm::Uri, "http://a.example/", true, false},
        {NameForm::Uri, "http://192.0.2.1/", false, false},
        {NameForm::Uri, "http://[::1]/", false, false},
        {NameForm::Uri, "a.example:80", false, false},
        {NameForm::Uri, "http://*.example/", false, false},
        {NameForm::Uri, "a.example", false, true},
        {NameForm::Uri, ".a.example", false, true},
        {NameForm::Ip, std::string(4, '\xFF'), true, false},
        {NameForm::Ip, std::string(16, '\xFF'), true, false},
        {NameForm::Ip, std::string(8, '\xFF'), false, true},
        {NameForm::Ip, std::string(32, '\xFF'), false, true},
        {NameForm::Ip, std::string("\1\2\3\4\xFF\xFE\0\0", 8), false, true},
        {NameForm::Ip, std::string("\1\2\3\4\xFF\xFE\0\1", 8), false, false},
        {NameForm::Ip, std::string("\1\2\3\4\xFE\xFF\0\0", 8), false, false},
        {NameForm::Ip, std::string("\1\2\3\4\xFD\0\0\0", 8), false, false},
        {NameForm::Ip, std::string(12, '\xFF'), false, false},
        {NameForm::RegisteredId, "x", true, true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(isUsableName(named(c.form, c.text)), c.asName) << c.text;
        EXPECT_EQ(isUsableConstraint(named(c.form, c.text)), c.asConstraint) << c.text;
    }
    for (int form = 0; form < static_cast<int>(kNameForms); ++form) {
        EXPECT_EQ(isComparableForm(static_cast<NameForm>(form)),
                  form == 1 || form == 2 || form == 4 || form == 6 || form == 7)
            << form;
    }
}

} // namespace
} // namespace vantrel::x509
