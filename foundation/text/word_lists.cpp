// SPDX-License-Identifier: MIT
#include "foundation/text/word_lists.h"

#include "foundation/text/strings.h"

#include <algorithm>
#include <string>
#include <utility>

namespace vantrel::text {

namespace {

// A key that was held down too long is a slip as well.
std::string inLowerCase(std::string_view word) {
    std::string out(word);
    std::transform(out.begin(), out.end(), out.begin(), toLowerAscii);
    return out;
}

// How far apart two words are, for guesses at what was meant. Slips of the keyboard are one
// missing, one superfluous, one wrong character, or two that changed places; each counts one. In
// other words: the number of insertions, deletions, replacements and swaps of neighbours that make
// one word of the other ("optimal string alignment"). Three rows of the table suffice.
std::size_t editDistance(std::string_view one, std::string_view other) {
    std::vector<std::size_t> beforeLast(other.size() + 1);
    std::vector<std::size_t> last(other.size() + 1);
    std::vector<std::size_t> row(other.size() + 1);
    for (std::size_t k = 0; k <= other.size(); ++k) {
        row[k] = k;
    }
    for (std::size_t i = 1; i <= one.size(); ++i) {
        std::swap(beforeLast, last);
        std::swap(last, row);
        row[0] = i;
        for (std::size_t k = 1; k <= other.size(); ++k) {
            const std::size_t replaced = last[k - 1] + (one[i - 1] == other[k - 1] ? 0 : 1);
            row[k] = std::min({replaced, last[k] + 1, row[k - 1] + 1});
            if (i > 1 && k > 1 && one[i - 1] == other[k - 2] && one[i - 2] == other[k - 1]) {
                row[k] = std::min(row[k], beforeLast[k - 2] + 1);
            }
        }
    }
    return row[other.size()];
}

} // namespace

std::vector<std::string_view> splitWords(std::string_view list, char separator) {
    std::vector<std::string_view> words;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(separator), list.size());
        if (end > 0) {
            words.push_back(list.substr(0, end));
        }
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return words;
}

std::string_view nearest(std::string_view written, std::span<const std::string_view> candidates) {
    // A third of the word may be wrong; beyond that any answer would be a guess. The dashes of an
    // option count for none of it.
    const std::string word = inLowerCase(written);
    const std::size_t dashes = std::min(word.find_first_not_of('-'), word.size());
    std::size_t least = std::max<std::size_t>(1, (word.size() - dashes) / 3) + 1;
    std::string_view best;
    for (const std::string_view candidate : candidates) {
        // An abbreviation, which other tools would take; this one only proposes what it stands for.
        if (word.size() > dashes + 1 && inLowerCase(candidate).starts_with(word)) {
            return candidate;
        }
        // Cheap, and it keeps the work small however long the word: no distance is less than the
        // difference of the lengths, which may be of any size.
        if (candidate.size() + least <= word.size() || word.size() + least <= candidate.size()) {
            continue;
        }
        const std::size_t distance = editDistance(word, inLowerCase(candidate));
        if (distance < least) {
            least = distance;
            best = candidate;
        }
    }
    return best;
}

} // namespace vantrel::text
