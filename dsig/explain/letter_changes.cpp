// SPDX-License-Identifier: MIT
// Letters that are written in two ways, and letters that are gone. Names of people and places carry
// them, so that invoices, tax forms and health records fail by these where test documents never do.

#include "dsig/explain/codes.h"
#include "dsig/explain/form_tokens.h"
#include "dsig/explain/text_changes.h"
#include "foundation/text/composed_letters.h"
#include "foundation/text/utf8.h"

#include <algorithm>
#include <vector>

namespace vantrel::dsig::explain {

namespace {

using text::ComposedLetter;
using text::kComposedLetters;

// The characters are those of this file's tables, all of which have a form in UTF-8.
void append(char32_t character, std::string& out) {
    char octets[4];
    out.append(octets, text::encodeUtf8(character, octets));
}

// As UTF-8.
std::string encoded(char32_t character) {
    std::string out;
    append(character, out);
    return out;
}

// Null for a character that is no composed letter. The table is sorted by letter, so this is a
// binary search.
const ComposedLetter* findLetter(char32_t letter) {
    const auto* const at = std::lower_bound(
        std::begin(kComposedLetters), std::end(kComposedLetters), letter,
        [](const ComposedLetter& entry, char32_t wanted) { return entry.letter < wanted; });
    return at != std::end(kComposedLetters) && at->letter == letter ? at : nullptr;
}

// 0 when there is none. A walk, since it is asked for combining marks only.
char32_t composed(char32_t base, char32_t mark) {
    const auto* const at =
        std::find_if(std::begin(kComposedLetters), std::end(kComposedLetters),
                     [=](const ComposedLetter& e) { return e.base == base && e.mark == mark; });
    return at != std::end(kComposedLetters) ? at->letter : 0;
}

// A letter with two marks is taken apart twice; the marks stand behind it in the order in which
// they were put on. Three marks are one more than any letter of the table has.
void appendDecomposed(char32_t character, std::string& out) {
    char32_t marks[3] = {};
    std::size_t count = 0;
    while (const ComposedLetter* const entry = count < 3 ? findLetter(character) : nullptr) {
        marks[count++] = entry->mark;
        character = entry->base;
    }
    append(character, out);
    while (count > 0) {
        append(marks[--count], out);
    }
}

// Calls visit(character, offset, length) for each; octets that are no character one by one, as 0.
template <class Visit> void forEachCharacter(std::string_view text, const Visit& visit) {
    for (std::size_t at = 0; at < text.size();) {
        char32_t character = 0;
        std::size_t length = text::decodeUtf8(text.substr(at), character);
        character = length == 0 ? 0 : character;
        length = std::max<std::size_t>(length, 1);
        visit(character, at, length);
        at += length;
    }
}

// The two forms of Unicode Standard Annex 15, for the letters of the table; other alphabets stay as
// they are. Some file systems and keyboards decompose what they are given; databases compose it.
Change decomposedForm(std::string_view form) {
    Change change{cause::kNormalization,
                  "letters with marks were composed (NFC); they were decomposed (NFD) when it was "
                  "signed",
                  {}};
    forEachCharacter(form, [&](char32_t character, std::size_t at, std::size_t length) {
        if (character == 0 || findLetter(character) == nullptr) {
            change.octets.append(form, at, length);
            return;
        }
        notePlace(at, change);
        appendDecomposed(character, change.octets);
    });
    return change;
}

Change composedForm(std::string_view form) {
    Change change{cause::kNormalization,
                  "letters with marks were decomposed (NFD); they were composed (NFC) when it was "
                  "signed",
                  {}};
    // A mark joins what stands directly ahead of it; others between the two keep them apart. The
    // combining marks of the table lie in one block, U+0300 to U+036F.
    char32_t before = 0;         // the character written last
    std::size_t beforeStart = 0; // where, in the new octets
    forEachCharacter(form, [&](char32_t character, std::size_t at, std::size_t length) {
        const bool isMark = character >= 0x300 && character < 0x370;
        const char32_t both = isMark && before != 0 ? composed(before, character) : 0;
        if (both != 0) {
            // What was written last is taken back and the letter put in its place.
            change.octets.resize(beforeStart);
            append(both, change.octets);
            before = both;
            notePlace(at, change);
            return;
        }
        beforeStart = change.octets.size();
        change.octets.append(form, at, length);
        before = character;
    });
    return change;
}

// What is likely first: the alphabet is cut where many places are open. From the letters of German,
// French, Spanish and the Nordic languages; then signs that word processors put in.
constexpr char32_t kUsualLetters[] = {
    0xE9, 0xFC, 0xE4,   0xF6,   0xDF,   0xE8,   0xE0,   0xE1,   0xED,   0xF3,   0xFA,   0xF1,  0xE7,
    0xE3, 0xF5, 0xE2,   0xEA,   0xF4,   0xE5,   0xF8,   0xE6,   0xC4,   0xD6,   0xDC,   0xC9,  0xD1,
    0xB0, 0xA0, 0x20AC, 0x2013, 0x2019, 0x201C, 0x201D, 0x201E, 0x2018, 0x2014, 0x2026, 0x2022};

// Latin, Greek and Cyrillic letters, the usual ones first. The blocks up to U+017F, Greek with its
// accents, Cyrillic, and the capital sharp s.
std::vector<char32_t> alphabet(std::size_t size) {
    std::vector<char32_t> letters(std::begin(kUsualLetters), std::end(kUsualLetters));
    const auto addRange = [&](char32_t first, char32_t last) {
        for (char32_t letter = first; letter <= last; ++letter) {
            if (std::find(letters.begin(), letters.end(), letter) == letters.end()) {
                letters.push_back(letter);
            }
        }
    };
    addRange(0xA1, 0x17F);
    addRange(0x386, 0x3CE);
    addRange(0x401, 0x45F);
    addRange(0x1E9E, 0x1E9E);
    letters.resize(std::min(size, letters.size()));
    return letters;
}

// More than all of the letters above.
constexpr std::size_t kWholeAlphabet = 1000;

struct LostPlace {
    std::size_t start;
    std::size_t length;
};

// Question marks and replacement characters in texts. `width`: question marks that one letter
// became. In tags a question mark is an instruction's or a URI's and was never a letter.
std::vector<LostPlace> lostPlaces(std::string_view form, std::size_t width) {
    // As many question marks as the letter had octets in the set that was lost.
    const std::string marks(width, '?');
    constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
    std::vector<LostPlace> places;
    std::size_t start = 0;
    for (const Token& token : formTokens(form)) {
        for (std::size_t at = 0; token.kind == TokenKind::Text && at < token.text.size();) {
            const std::string_view rest = token.text.substr(at);
            const bool replaced = rest.starts_with(kReplacement);
            if (!replaced && !rest.starts_with(marks)) {
                ++at;
                continue;
            }
            const std::size_t length = replaced ? kReplacement.size() : width;
            places.push_back({start + at, length});
            at += length;
        }
        start += token.text.size();
    }
    return places;
}

// Every letter at every place: the places are the digits of a number that is counted up. Without
// recursion: the number of places is the document's.
bool tryLetters(std::string_view form, const std::vector<LostPlace>& places,
                const std::vector<char32_t>& letters, const ChangeVisit& visit) {
    // All places begin with the likeliest letter. The first place changes fastest.
    std::vector<std::size_t> digits(places.size(), 0);
    for (bool more = true; more;) {
        Change change{cause::kLostCharacters, {}, {}};
        std::string restored;
        std::size_t copied = 0;
        for (std::size_t i = 0; i < places.size(); ++i) {
            change.octets.append(form, copied, places[i].start - copied);
            append(letters[digits[i]], change.octets);
            append(letters[digits[i]], restored);
            copied = places[i].start + places[i].length;
        }
        change.octets.append(form, copied);
        change.places = places.size();
        change.first = places.front().start;
        change.evidence = "letters became " +
                          quoted(form.substr(places.front().start, places.front().length)) +
                          "; signed was " + quoted(restored);
        if (visit(change)) {
            return true;
        }
        // Counts up: the first digit that does not overflow ends the carry.
        more = false;
        for (std::size_t i = 0; i < digits.size() && !more; ++i) {
            more = ++digits[i] < letters.size();
            digits[i] = more ? digits[i] : 0;
        }
    }
    return false;
}

// The same letter at all of them. A name that stands in a document ten times lost the same letter
// ten times.
bool tryOneLetter(std::string_view form, const std::vector<LostPlace>& places,
                  const ChangeVisit& visit) {
    for (const char32_t letter : alphabet(kWholeAlphabet)) {
        Change change{cause::kLostCharacters,
                      "a letter became " +
                          quoted(form.substr(places.front().start, places.front().length)) +
                          "; signed was " + quoted(encoded(letter)),
                      {}};
        std::size_t copied = 0;
        for (const LostPlace& place : places) {
            change.octets.append(form, copied, place.start - copied);
            append(letter, change.octets);
            copied = place.start + place.length;
        }
        change.octets.append(form, copied);
        change.places = places.size();
        change.first = places.front().start;
        if (visit(change)) {
            return true;
        }
    }
    return false;
}

// How many letters may be tried where so many places are open, so that no more than some forty
// thousand forms are made. By the number of places: none, one, two, three, four. The powers of the
// sizes stay below forty thousand.
constexpr std::size_t kAlphabets[] = {0, kWholeAlphabet, 200, 34, 14};

// A letter that has lost its mark, at one place. The "e" of a surname that was stripped to ASCII on
// its way through an old system.
bool tryMarks(std::string_view form, const ChangeVisit& visit) {
    std::size_t start = 0;
    for (const Token& token : formTokens(form)) {
        for (std::size_t at = 0; token.kind == TokenKind::Text && at < token.text.size(); ++at) {
            // A mark is lost from a letter of ASCII; others were no letters of the old system to
            // begin with.
            const auto base = static_cast<unsigned char>(token.text[at]);
            const bool isLetter = (base | 0x20) >= 'a' && (base | 0x20) <= 'z';
            for (const ComposedLetter& entry : kComposedLetters) {
                // Letters beyond Latin Extended-A are rare in such texts.
                if (!isLetter || entry.base != base || entry.letter > 0x17F) {
                    continue;
                }
                Change change{cause::kLostCharacters,
                              "a letter lost its mark; signed was " + quoted(encoded(entry.letter)),
                              std::string(form)};
                change.octets.replace(start + at, 1, encoded(entry.letter));
                change.places = 1;
                change.first = start + at;
                if (visit(change)) {
                    return true;
                }
            }
        }
        start += token.text.size();
    }
    return false;
}

} // namespace

bool normalizationChanges(std::string_view form, const ChangeVisit& visit) {
    // ASCII is the same in both forms.
    if (text::asciiPrefix(form) == form.size()) {
        return false;
    }
    for (const Change& change : {decomposedForm(form), composedForm(form)}) {
        if (change.places > 0 && visit(change)) {
            return true;
        }
    }
    return false;
}

// One letter everywhere is tried for any number of places; different ones for a few only.
bool restoredCharacters(std::string_view form, const ChangeVisit& visit) {
    // Up to three octets to a letter in the sets that are lost most.
    for (std::size_t width = 1; width <= 3; ++width) {
        const std::vector<LostPlace> places = lostPlaces(form, width);
        if (!places.empty() && tryOneLetter(form, places, visit)) {
            return true;
        }
        if (places.size() > 1 && places.size() < std::size(kAlphabets) &&
            tryLetters(form, places, alphabet(kAlphabets[places.size()]), visit)) {
            return true;
        }
    }
    return tryMarks(form, visit);
}

} // namespace vantrel::dsig::explain
