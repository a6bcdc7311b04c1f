// SPDX-License-Identifier: MIT
// Which parts of a large document a page shows. The pages themselves: whole/report_page.py.

#include "dsig/html/windows.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::dsig::html {
namespace {

using Part = std::pair<std::size_t, std::size_t>;

constexpr std::size_t kLarge = 1'000'000;

std::vector<Part> partsOf(const std::string& text, const std::vector<std::size_t>& places) {
    std::vector<Stretch> stretches;
    for (const std::size_t place : places) {
        stretches.push_back({xml::rangeOf(place, place + 1), {}});
    }
    std::vector<Part> parts;
    for (const xml::TextRange part : shownParts(text, stretches)) {
        parts.emplace_back(part.start, part.end());
    }
    return parts;
}

TEST(ShownParts, BeginningPlacesAndEnd) {
    const std::string text(kLarge, 'a');
    const Part beginning{0, 16384};
    const Part end{kLarge - 4096, kLarge};
    const struct {
        std::vector<std::size_t> places;
        std::vector<Part> between;
    } cases[] = {
        {{}, {}},
        {{0, 10, 15384}, {}},
        {{50'000}, {{49'000, 51'000}}},
        {{50'000, 51'500, 60'000}, {{49'000, 52'500}, {59'000, 61'000}}},
        {{50'000, 52'000}, {{49'000, 53'000}}}, // they meet
        {{50'000, 52'001}, {{49'000, 51'000}, {51'001, 53'001}}},
        {{kLarge - 3000}, {}}, // lies in the end, which begins ahead of it
    };
    for (const auto& c : cases) {
        std::vector<Part> wanted = c.between;
        wanted.insert(wanted.begin(), beginning);
        wanted.push_back(end);
        EXPECT_EQ(partsOf(text, c.places), wanted) << c.places.size();
    }
    EXPECT_EQ(partsOf(text, {16'000}), (std::vector<Part>{{0, 17'000}, end}));
    EXPECT_EQ(partsOf(text, {kLarge - 5000}),
              (std::vector<Part>{beginning, {kLarge - 6000, kLarge}}));
    const std::string small(kMostShown, 'a');
    EXPECT_EQ(partsOf(small, {100'000}), (std::vector<Part>{{0, kMostShown}}));
}

// However many places: no more than the room, apart from each other, at characters.
TEST(ShownParts, StayWithinTheRoom) {
    std::string text;
    while (text.size() < kLarge) {
        text += "\xE2\x82\xAC";
    }
    std::vector<std::size_t> places;
    for (std::size_t place = 20'000; place < kLarge; place += 2003) {
        places.push_back(place);
    }
    const std::vector<Part> parts = partsOf(text, places);
    std::size_t shown = 0;
    std::size_t before = 0;
    for (const auto& [start, end] : parts) {
        EXPECT_TRUE(shown == 0 ? start == 0 : start > before);
        EXPECT_TRUE(start % 3 == 0 && end % 3 == 0) << start << " " << end;
        shown += end - start;
        before = end;
    }
    EXPECT_EQ(before, text.size());
    EXPECT_LE(shown, kMostShown + 8);
    EXPECT_GT(shown, kMostShown - 2100);
}

} // namespace
} // namespace vantrel::dsig::html
