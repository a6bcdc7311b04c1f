// SPDX-License-Identifier: MIT
#include "dsig/explain/single_change.h"

#include "dsig/explain/change.h"
#include "dsig/explain/form_tokens.h"
#include "foundation/crypto/hash/hasher.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

namespace vantrel::dsig::explain {

namespace {

// What was done to the signed form at `at`, to make of it the one that stands here. From the signed
// form to this one; the search goes the other way.
enum class Edit : std::uint8_t { Replaced, Added, Removed, Swapped };

struct Found {
    Edit edit;
    std::size_t at;
    std::uint8_t octet; // that was signed: in the place of that here, or before it
};

// Which octets are tried at a place.
enum class Tier : std::uint8_t { Likely, All };

// The signed octets that are tried in the place of `here` and before it.
// By the octet that stands here, since that decides what may have stood in its place. Two lists a
// place: what stood in place of an octet, and what stood before it and is gone.
struct Alphabets {
    std::array<std::vector<std::uint8_t>, 256> inPlaceOf;
    std::vector<std::uint8_t> added;
};

// The second to fourth octet of a character.
bool isContinuation(unsigned octet) { return octet >= 0x80 && octet < 0xC0; }

// Octets of a character are exchanged for those that may stand in the same place of one (RFC 3629).
// A change that breaks a character would have broken the document: no parser accepts it.
bool keepsUtf8(unsigned here, unsigned signedOctet) {
    if (here < 0x80 || signedOctet < 0x80) {
        return here < 0x80 && signedOctet < 0x80;
    }
    if (isContinuation(here) || isContinuation(signedOctet)) {
        return isContinuation(here) && isContinuation(signedOctet);
    }
    const auto length = [](unsigned lead) { return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4; };
    return length(here) == length(signedOctet);
}

// '<' and '>' would make other markup; a carriage return stands in no canonical form. Markup that
// changed is not the work of one octet; the document would not be well-formed any more.
bool isText(unsigned octet) {
    return octet == '\n' || octet == '\t' ||
           (octet >= 0x20 && octet != 0x7F && octet != '<' && octet != '>');
}

bool isDigit(unsigned octet) { return octet >= '0' && octet <= '9'; }
bool isLetter(unsigned octet) { return (octet | 0x20) >= 'a' && (octet | 0x20) <= 'z'; }

// Digits for digits, capitals for small letters, marks for marks: what people mistype or alter. An
// amount, a date or an account number, changed by hand or by an attacker.
bool isLikely(unsigned here, unsigned signedOctet) {
    if (isDigit(here)) {
        return isDigit(signedOctet);
    }
    if (isLetter(here)) {
        return (here ^ signedOctet) == 0x20;
    }
    constexpr std::string_view kMarks = " \n\t,.-";
    return kMarks.find(static_cast<char>(here)) != std::string_view::npos &&
           kMarks.find(static_cast<char>(signedOctet)) != std::string_view::npos;
}

// Made once a tier: the inner loop goes through ready lists. The order of octets does not matter:
// every candidate of a tier is tried or the time is up.
Alphabets alphabets(Tier tier) {
    Alphabets all;
    for (unsigned octet = 0; octet < 256; ++octet) {
        const bool likely = isDigit(octet) || octet == ' ' || octet == '\n' || octet == '-' ||
                            octet == '.' || octet == ',';
        if (octet < 0x80 && isText(octet) && (tier == Tier::All || likely)) {
            all.added.push_back(static_cast<std::uint8_t>(octet));
        }
        for (unsigned here = 0; here < 256; ++here) {
            if (octet != here && isText(octet) && keepsUtf8(here, octet) &&
                (tier == Tier::All || isLikely(here, octet))) {
                all.inPlaceOf[here].push_back(static_cast<std::uint8_t>(octet));
            }
        }
    }
    return all;
}

// Candidates for a place, at most; the work of a tier. Two more for the removal and the exchange.
// An estimate from above, so that a search that was let in stays within the budget.
std::uint64_t candidatesPerPlace(const Alphabets& alphabets) {
    std::size_t most = 0;
    for (const std::vector<std::uint8_t>& octets : alphabets.inPlaceOf) {
        most = std::max(most, octets.size());
    }
    return most + alphabets.added.size() + 2;
}

// The form cut into blocks of the hash, with the hasher's state before each: a candidate is hashed
// from its block on.
// Without these states each candidate would cost the whole form, twice as much on average. The
// states stay in memory for the search, one for each block.
class Prefixes {
public:
    Prefixes(std::string_view form, int hashId) : m_form(asBytes(form)) {
        crypto::Hasher hasher(hashId);
        m_block = hasher.blockSize();
        // With a state behind the last octet too, for what is missing at the end.
        for (std::size_t at = 0; at <= form.size(); at += m_block) {
            m_states.push_back(hasher);
            hasher.update(m_form.subspan(at, std::min(m_block, form.size() - at)));
        }
    }

    [[nodiscard]] std::size_t block() const noexcept { return m_block; }
    [[nodiscard]] std::size_t blocks() const noexcept { return m_states.size(); }
    [[nodiscard]] const crypto::Hasher& before(std::size_t block) const { return m_states[block]; }
    [[nodiscard]] ByteView form() const noexcept { return m_form; }

private:
    ByteView m_form;
    std::size_t m_block = 0;
    std::vector<crypto::Hasher> m_states;
};

// Shared by the threads of a search.
// Blocks are handed out one by one, so that a processor that others use takes fewer of them. The
// first to find something stops all others; two finds would be two collisions of the hash.
struct Shared {
    std::atomic<std::size_t> nextBlock{0};
    std::atomic<bool> stop{false};
    std::mutex lock;
    std::optional<Found> found;
    bool timeIsUp = false;
};

// One thread's part: it takes blocks until none is left. Borrows everything. Workers share only
// `shared`, the rest is read.
class Worker {
public:
    Worker(const Prefixes& prefixes, const Alphabets& alphabets, ByteView digest,
           const Budget& budget, Shared& shared)
        : m_prefixes(prefixes), m_alphabets(alphabets), m_digest(digest), m_budget(budget),
          m_shared(shared) {}

    void run() {
        while (!m_shared.stop) {
            // From the end: what lies there costs least.
            const std::size_t taken = m_shared.nextBlock++;
            if (taken >= m_prefixes.blocks()) {
                return;
            }
            // The last block reaches one place behind the form.
            const std::size_t first = (m_prefixes.blocks() - 1 - taken) * m_prefixes.block();
            const std::size_t end = std::min(first + m_prefixes.block(), form().size() + 1);
            for (std::size_t at = first; at < end && !m_shared.stop; ++at) {
                tryPlace(at);
            }
        }
    }

private:
    [[nodiscard]] ByteView form() const noexcept { return m_prefixes.form(); }

    // Whether the digest is that of the form with `instead` for its octets [at, at + removed). The
    // inner loop: it allocates nothing, and hashes each octet once.
    [[nodiscard]] bool isSigned(std::size_t at, std::size_t removed, ByteView instead) {
        // The state before the block, then the block as it was signed, then what lies behind it.
        const std::size_t block = m_prefixes.block();
        const std::size_t start = at / block * block;
        crypto::Hasher hasher = m_prefixes.before(at / block);
        // Up to the next whole block the octets are gathered, so that the rest is hashed where it
        // lies. Two blocks hold what lies before the place, what was put in, and enough to end at a
        // block.
        std::array<std::uint8_t, 2 * crypto::kMaxHashBlockSize + 8> gathered;
        std::size_t size = at - start;
        std::memcpy(gathered.data(), form().data() + start, size);
        for (const std::uint8_t octet : instead) {
            gathered[size++] = octet;
        }
        std::size_t next = at + removed;
        const std::size_t room = size <= block ? block - size : 2 * block - size;
        const std::size_t more = std::min(room, form().size() - next);
        std::memcpy(gathered.data() + size, form().data() + next, more);
        size += more;
        next += more;
        hasher.update(ByteView(gathered.data(), size));
        hasher.update(form().subspan(next));
        std::array<std::uint8_t, crypto::kMaxDigestSize> digest;
        const std::span<std::uint8_t> made = hasher.final(digest);
        return std::equal(made.begin(), made.end(), m_digest.begin(), m_digest.end());
    }

    void note(Edit edit, std::size_t at, std::uint8_t octet) {
        const std::lock_guard guard(m_shared.lock);
        m_shared.found = Found{edit, at, octet};
        m_shared.stop = true;
    }

    // The clock is read once a place, not once a candidate.
    void tryPlace(std::size_t at) {
        if (m_budget.timeIsUp()) {
            const std::lock_guard guard(m_shared.lock);
            m_shared.timeIsUp = true;
            m_shared.stop = true;
            // What is missing may be missing at the end too, so that comes before the look at the
            // end.
            return;
        }
        for (const std::uint8_t octet : m_alphabets.added) {
            if (isSigned(at, 0, ByteView(&octet, 1))) {
                return note(Edit::Removed, at, octet);
            }
        }
        if (at == form().size()) {
            return;
        }
        const std::uint8_t here = form()[at];
        for (const std::uint8_t octet : m_alphabets.inPlaceOf[here]) {
            if (isSigned(at, 1, ByteView(&octet, 1))) {
                return note(Edit::Replaced, at, octet);
            }
        }
        if (isSigned(at, 1, {})) {
            return note(Edit::Added, at, here);
        }
        // Equal neighbours exchanged are the same form.
        if (at + 1 < form().size() && form()[at + 1] != here) {
            const std::uint8_t swapped[] = {form()[at + 1], here};
            if (isSigned(at, 2, swapped)) {
                return note(Edit::Swapped, at, here);
            }
        }
    }

    const Prefixes& m_prefixes;
    const Alphabets& m_alphabets;
    ByteView m_digest;
    const Budget& m_budget;
    Shared& m_shared;
};

// Runs the workers, one of them here. A thread that the system does not give is done without. The
// result does not depend on their number, only the time does.
void runWorkers(const Prefixes& prefixes, const Alphabets& alphabets, ByteView digest,
                const Budget& budget, Shared& shared) {
    constexpr std::size_t kFewBlocks = 8; // not worth a thread
    constexpr unsigned kMostThreads = 16;
    // One of them is the caller's own. As many as the system has, and one where that is not known.
    const unsigned processors =
        prefixes.blocks() < kFewBlocks
            ? 1
            : std::clamp(std::thread::hardware_concurrency(), 1U, kMostThreads);
    std::vector<std::thread> threads;
    threads.reserve(processors);
    for (unsigned i = 1; i < processors; ++i) {
        try {
            // The one place where an exception of the library is expected: a system without threads
            // is no reason to stop.
            threads.emplace_back(
                [&] { Worker(prefixes, alphabets, digest, budget, shared).run(); });
        } catch (const std::system_error&) {
            break;
        }
    }
    Worker(prefixes, alphabets, digest, budget, shared).run();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// Where it is, what stands there and what was signed. Offsets count from 0; a context of some
// octets helps to find the place in an editor.
std::string describe(std::string_view form, const Found& found) {
    // Enough to tell one amount from the next.
    constexpr std::size_t kContext = 20;
    const std::size_t from = found.at - std::min(found.at, kContext);
    const char octet = static_cast<char>(found.octet);
    const std::string_view was(&octet, 1);
    const std::string path = pathAt(form, found.at);
    std::string text = "at octet " + std::to_string(found.at) + " of what is digested (";
    text += path.empty() ? "" : "in " + path + ", ";
    text += "behind " + quoted(form.substr(from, found.at - from)) + ") ";
    switch (found.edit) {
    case Edit::Replaced:
        text += quoted(form.substr(found.at, 1)) + " stands; " + quoted(was) + " was signed";
        break;
    case Edit::Added: text += quoted(was) + " stands that was not signed"; break;
    case Edit::Removed: text += quoted(was) + " is missing that was signed"; break;
    case Edit::Swapped:
        text += quoted(form.substr(found.at, 2)) + " stands; the two were signed the other way "
                                                   "round";
        break;
    }
    return text;
}

} // namespace

SingleChangeOutcome findSingleChange(std::string_view form, int hashId, ByteView digest,
                                     Budget& budget, std::string& evidence) {
    // A hash that is not known has no state to begin with.
    const crypto::Hasher probe(hashId);
    if (!probe.valid() || digest.size() != probe.digestSize() || form.empty()) {
        return SingleChangeOutcome::TooLarge;
    }
    const Prefixes prefixes(form, hashId);
    // The likeliest alone first: they are a small part of the work and most of what happens.
    for (const Tier tier : {Tier::Likely, Tier::All}) {
        const Alphabets tried = alphabets(tier);
        // The factors are bounded by some hundreds and the size of a form: this does not wrap.
        const std::uint64_t work =
            candidatesPerPlace(tried) * (form.size() + 1) * (form.size() / 2 + probe.blockSize());
        if (!budget.takeOctets(work)) {
            return tier == Tier::Likely ? SingleChangeOutcome::TooLarge
                                        : SingleChangeOutcome::Partly;
        }
        Shared shared;
        runWorkers(prefixes, tried, digest, budget, shared);
        if (shared.found) {
            evidence = describe(form, *shared.found);
            return SingleChangeOutcome::Found;
        }
        if (shared.timeIsUp) {
            return SingleChangeOutcome::Partly;
        }
    }
    return SingleChangeOutcome::NotFound;
}

} // namespace vantrel::dsig::explain
