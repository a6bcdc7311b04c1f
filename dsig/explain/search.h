// SPDX-License-Identifier: MIT
#ifndef DSIG_EXPLAIN_SEARCH_H
#define DSIG_EXPLAIN_SEARCH_H

#include "dsig/explain/budget.h"
#include "dsig/explain/change.h"
#include "dsig/explain/goal.h"
#include "dsig/explain/target.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace vantrel::dsig::explain {

// What a search holds of other forms, in octets.
inline constexpr std::size_t kMostKeptOctets = std::size_t{64} << 20;

// What was found: a code, and a sentence for people. An empty code is the form as it stands,
// reached by another reading of the goal.
struct Finding {
    std::string_view code;
    std::string evidence;
};

// The search for the octets that were signed, from those that a verification digests. Hypotheses
// are tried the cheapest first, alone and then two together, and the first that reaches the goal is
// what is found. Everything is borrowed for the life of the object.
// It holds copies of the form and of the forms that processings gave, within kMostFormOctets,
// kMostKeptOctets and a fixed number. A search that the budget ended is as one that found nothing;
// the budget says which it was. Trying is all there is: no hypothesis argues from how a document
// looks, so a find is never a guess.
class Search final {
public:
    // `form`: the octets of the verification. `target`: what they were canonicalized from; null
    // where that is not known.
    // `mostKept`: octets of processings' forms that are held for pairs; further ones are tried
    // alone.
    Search(std::string form, const Target* target, Goal& goal, Budget& budget,
           std::size_t mostKept = kMostKeptOctets);

    // What a candidate or a few thousand of them cost. Run once, before runThorough.
    void runQuick();
    // Every single change of the form, as the budget allows. Where nothing is found `remark` says
    // how far the search went.
    void runThorough(std::string& remark);

    // Empty until something was found; then it stays.
    [[nodiscard]] const std::optional<Finding>& finding() const noexcept { return m_finding; }
    [[nodiscard]] const std::string& form() const noexcept { return m_form; }

private:
    // A form that a processing gave, for being combined with text changes.
    struct Kept {
        std::string_view code;
        std::string evidence;
        std::string octets;
    };

    // Whether the search is over: the change reaches the goal, or the budget is used up. `before`:
    // the text that was changed, for telling places. `first`: a step that was carried out ahead of
    // the change, null for none.
    bool offer(const Change& change, std::string_view before, const Kept* first, Depth depth);
    // From the family `fromFamily` on.
    bool tryTexts(std::string_view form, const Kept* first, std::size_t fromFamily, Depth depth);
    bool tryProcessings();
    bool tryPairs();
    // Remembers the form, so a second call says no.
    bool isNew(std::string_view form);

    std::string m_form;
    const Target* m_target;
    Goal& m_goal;
    Budget& m_budget;
    std::optional<Finding> m_finding;
    std::vector<Kept> m_kept;
    std::size_t m_octetsToKeep; // yet
    // Many processings of a simple document give the same form.
    std::unordered_set<std::size_t> m_seen; // forms, by their hashes
};

} // namespace vantrel::dsig::explain

#endif
