// SPDX-License-Identifier: MIT
#include "foundation/crypto/edwards/edwards_key.h"

#include "foundation/crypto/bignum/reduction.h"
#include "foundation/crypto/ecc/wnaf.h"
#include "foundation/crypto/edwards/edwards_group.h"
#include "foundation/crypto/edwards/field_25519.h"
#include "foundation/crypto/edwards/field_448.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/crypto/hash/shake.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

namespace vantrel::crypto {

const EdwardsCurve kEd25519 = {"Ed25519", "1.3.101.112", 255, 32};
const EdwardsCurve kEd448 = {"Ed448", "1.3.101.113", 448, 57};

namespace {

constexpr std::size_t kMostEdwardsContext = 255;
constexpr std::size_t kPreHashBytes = 64; // of SHA-512, and what is taken of SHAKE256

// RFC 8032, 2: dom2 and dom4 begin with a text of their own.
template <class Hash>
void appendDomain(Hash& hash, std::string_view begin, const EdwardsVariant& variant) noexcept {
    const std::array<std::uint8_t, 2> flags = {static_cast<std::uint8_t>(variant.preHashed ? 1 : 0),
                                               static_cast<std::uint8_t>(variant.context.size())};
    hash.update(asBytes(begin));
    hash.update(flags);
    hash.update(variant.context);
}

// RFC 8032, 5.1
struct Ed25519Params {
    using Field = Field25519;
    using Element = Field::Element;

    static constexpr bool kNegativeA = true;
    static constexpr std::size_t kKeyBytes = 32;
    static constexpr std::size_t kOrderBits = 253;
    static constexpr int kCofactorBits = 3;
    static constexpr std::array<Limb, 4> kOrder = {0x5812631a5cf5d3ed, 0x14def9dea2f79cd6, 0,
                                                   0x1000000000000000};
    static constexpr Element kD = {0x34dca135978a3, 0x1a8283b156ebd, 0x5e7a26001c029,
                                   0x739c663a03cbb, 0x52036cee2b6ff};
    // A root of -1.
    static constexpr Element kRootOfMinusOne = {0x61b274a0ea0b0, 0xd5a5fc8f189d, 0x7ef5e9cbd0c60,
                                                0x78595a6804c9e, 0x2b8324804fc1d};
    // y = 4/5 with the even x.
    static constexpr std::array<std::uint8_t, kKeyBytes> kBase = [] {
        std::array<std::uint8_t, kKeyBytes> bytes{};
        bytes.fill(0x66);
        bytes[0] = 0x58;
        return bytes;
    }();

    static const EdwardsCurve& curve() noexcept { return kEd25519; }

    // p - 2 = 2^5 (2^250 - 1) + 11
    static void invert(Element& z, const Element& x) noexcept {
        Element ones;
        Element eleventh;
        powerOfOnes<Field>(ones, x, 250);
        squareTimes<Field>(ones, ones, 5);
        squareTimes<Field>(eleventh, x, 2);
        Field::multiply(eleventh, eleventh, x);
        Field::square(eleventh, eleventh);
        Field::multiply(eleventh, eleventh, x);
        Field::multiply(z, ones, eleventh);
    }

    // RFC 8032, 5.1.3: x = u v^3 (u v^7)^((p - 5) / 8), or that times a root of -1.
    static bool rootOfQuotient(Element& x, const Element& u, const Element& v) noexcept {
        Element v3;
        Element power;
        Field::square(v3, v);
        Field::multiply(v3, v3, v);
        Field::square(power, v3);
        Field::multiply(power, power, v);
        Field::multiply(power, power, u);
        // (p - 5) / 8 = 2^252 - 3 = 4 (2^250 - 1) + 1
        Element ones;
        powerOfOnes<Field>(ones, power, 250);
        squareTimes<Field>(ones, ones, 2);
        Field::multiply(power, ones, power);
        Field::multiply(power, power, v3);
        Field::multiply(x, power, u);

        Element check;
        Field::square(check, x);
        Field::multiply(check, check, v);
        if (EdwardsGroup<Ed25519Params>::isEqual(check, u)) {
            return true;
        }
        Element negative;
        Field::multiply(negative, u, Field::kOne);
        EdwardsGroup<Ed25519Params>::negate(negative);
        Field::multiply(x, x, kRootOfMinusOne);
        return EdwardsGroup<Ed25519Params>::isEqual(check, negative);
    }

    static void preHash(std::span<std::uint8_t, kPreHashBytes> digest, ByteView message) noexcept {
        hashBytes(kHashSha512, message, digest);
    }

    // 5.1.7, step 2
    static void challenge(const EdwardsVariant& variant, ByteView r, ByteView key, ByteView message,
                          std::array<Limb, 8>& k) noexcept {
        std::array<std::uint8_t, 64> digest;
        Hasher hasher(kHashSha512);
        if (variant.withContext || variant.preHashed) {
            appendDomain(hasher, "SigEd25519 no Ed25519 collisions", variant);
        }
        hasher.update(r);
        hasher.update(key);
        hasher.update(message);
        hasher.final(digest);
        loadLittleEndian(k, digest);
    }
};

// RFC 8032, 5.2
struct Ed448Params {
    using Field = Field448;
    using Element = Field::Element;

    static constexpr bool kNegativeA = false;
    static constexpr std::size_t kKeyBytes = 57;
    static constexpr std::size_t kOrderBits = 446;
    static constexpr int kCofactorBits = 2;
    static constexpr std::array<Limb, 7> kOrder = {
        0x2378c292ab5844f3, 0x216cc2728dc58f55, 0xc44edb49aed63690, 0xffffffff7cca23e9,
        0xffffffffffffffff, 0xffffffffffffffff, 0x3fffffffffffffff};
    // d = p - 39081
    static constexpr Element kD = {0xffffffffff6756, 0xffffffffffffff, 0xffffffffffffff,
                                   0xffffffffffffff, 0xfffffffffffffe, 0xffffffffffffff,
                                   0xffffffffffffff, 0xffffffffffffff};
    static constexpr std::array<std::uint8_t, kKeyBytes> kBase = {
        0x14, 0xfa, 0x30, 0xf2, 0x5b, 0x79, 0x08, 0x98, 0xad, 0xc8, 0xd7, 0x4e, 0x2c, 0x13, 0xbd,
        0xfd, 0xc4, 0x39, 0x7c, 0xe6, 0x1c, 0xff, 0xd3, 0x3a, 0xd7, 0xc2, 0xa0, 0x05, 0x1e, 0x9c,
        0x78, 0x87, 0x40, 0x98, 0xa3, 0x6c, 0x73, 0x73, 0xea, 0x4b, 0x62, 0xc7, 0xc9, 0x56, 0x37,
        0x20, 0x76, 0x88, 0x24, 0xbc, 0xb6, 0x6e, 0x71, 0x46, 0x3f, 0x69, 0x00};

    static const EdwardsCurve& curve() noexcept { return kEd448; }

    // z := x^((p - 3) / 4), with (p - 3) / 4 = 2^223 (2^223 - 1) + 2^222 - 1
    static void power(Element& z, const Element& x) noexcept {
        Element low;
        Element high;
        powerOfOnes<Field>(low, x, 222);
        Field::square(high, low);
        Field::multiply(high, high, x);
        squareTimes<Field>(high, high, 223);
        Field::multiply(z, high, low);
    }

    // p - 2 = 4 (p - 3) / 4 + 1
    static void invert(Element& z, const Element& x) noexcept {
        Element raised;
        power(raised, x);
        squareTimes<Field>(raised, raised, 2);
        Field::multiply(z, raised, x);
    }

    // RFC 8032, 5.2.3: x = u^3 v (u^5 v^3)^((p - 3) / 4)
    static bool rootOfQuotient(Element& x, const Element& u, const Element& v) noexcept {
        Element u3v;
        Element raised;
        Field::square(raised, u);
        Field::multiply(u3v, raised, u);
        Field::multiply(u3v, u3v, v);
        Field::multiply(raised, raised, u3v);
        Field::multiply(raised, raised, v);
        Field::multiply(raised, raised, v);
        power(raised, raised);
        Field::multiply(x, raised, u3v);

        Element check;
        Field::square(check, x);
        Field::multiply(check, check, v);
        return EdwardsGroup<Ed448Params>::isEqual(check, u);
    }

    static void preHash(std::span<std::uint8_t, kPreHashBytes> digest, ByteView message) noexcept {
        Shake hasher(kShake256Rate);
        hasher.update(message);
        hasher.squeeze(digest);
    }

    // 5.2.7, step 2
    static void challenge(const EdwardsVariant& variant, ByteView r, ByteView key, ByteView message,
                          std::array<Limb, 15>& k) noexcept {
        std::array<std::uint8_t, 114> digest;
        Shake hasher(kShake256Rate);
        appendDomain(hasher, "SigEd448", variant);
        hasher.update(r);
        hasher.update(key);
        hasher.update(message);
        hasher.squeeze(digest);
        loadLittleEndian(k, digest);
    }
};

template <class Params> class Key final : public EdwardsKey {
    using Group = EdwardsGroup<Params>;
    using Point = typename Group::Point;
    using Summand = typename Group::Summand;
    using Order = decltype(Params::kOrder);

    static constexpr unsigned kBaseWidth = 8;
    static constexpr unsigned kKeyWidth = 5;
    using Digits = std::array<std::int16_t, Params::kOrderBits + 1>;
    using BaseTable = std::array<Summand, wnafTableSize(kBaseWidth)>;

public:
    // False, with the reason, for what is no key.
    [[nodiscard]] bool load(ByteView encoded, std::string_view& whyNot) noexcept {
        Point point;
        if (!Group::decode(point, encoded)) {
            whyNot = "the EdDSA key is not a point of its curve";
            return false;
        }
        // k * A is then one of eight points, or four, and a signature holds for an eighth of all
        // messages, or for every one.
        if (Group::hasSmallOrder(point)) {
            whyNot = "the EdDSA key is a point of small order";
            return false;
        }
        std::copy(encoded.begin(), encoded.end(), m_encoded.begin());
        Group::oddMultiples(point, m_multiples);
        return true;
    }

    const EdwardsCurve& curve() const noexcept override { return Params::curve(); }
    ByteView encoded() const noexcept override { return m_encoded; }

    // RFC 8032, 5.1.7 and 5.2.7
    bool verifyVariant(const EdwardsVariant& variant, ByteView message,
                       ByteView signature) const noexcept override {
        std::remove_const_t<Order> s{};
        std::remove_const_t<Order> k{};
        std::array<Limb, 2 * s.size() + (Params::kKeyBytes % 8 != 0 ? 1 : 0)> hash{};
        if (signature.size() != 2 * Params::kKeyBytes ||
            variant.context.size() > kMostEdwardsContext) {
            return false;
        }
        const ByteView r = signature.first(Params::kKeyBytes);
        // S is below the order, in all its octets.
        if (!loadLittleEndian(s, signature.subspan(Params::kKeyBytes)) ||
            !lessThan(s, Params::kOrder)) {
            return false;
        }
        std::array<std::uint8_t, kPreHashBytes> digest;
        if (variant.preHashed) {
            Params::preHash(digest, message);
            message = digest;
        }
        Params::challenge(variant, r, m_encoded, message, hash);
        reduceModulo(k, hash, Params::kOrder);

        Point sum;
        combine(sum, s, k);
        std::array<std::uint8_t, Params::kKeyBytes> encodedSum;
        Group::encode(encodedSum, sum);
        return std::equal(r.begin(), r.end(), encodedSum.begin());
    }

private:
    static const BaseTable& baseTable() noexcept {
        static const BaseTable table = [] {
            BaseTable multiples;
            Point base;
            // The constant encodes a point.
            static_cast<void>(Group::decode(base, Params::kBase));
            Group::oddMultiples(base, multiples);
            return multiples;
        }();
        return table;
    }

    // sum := s * B - k * A
    void combine(Point& sum, const Order& s, const Order& k) const noexcept {
        Digits ofBase;
        Digits ofKey;
        const std::size_t baseLength = recodeWnaf(ofBase, s, 0, Params::kOrderBits, kBaseWidth);
        const std::size_t keyLength = recodeWnaf(ofKey, k, 0, Params::kOrderBits, kKeyWidth);
        const BaseTable& base = baseTable();
        sum = Group::kNeutral;
        for (std::size_t i = std::max(baseLength, keyLength); i-- > 0;) {
            const int baseDigit = ofBase[i];
            const int keyDigit = ofKey[i];
            Group::twice(sum, baseDigit != 0 || keyDigit != 0);
            if (keyDigit != 0) {
                Group::add(sum, m_multiples[tableIndex(keyDigit)], keyDigit > 0, baseDigit != 0);
            }
            if (baseDigit != 0) {
                Group::add(sum, base[tableIndex(baseDigit)], baseDigit < 0, false);
            }
        }
    }

    static std::size_t tableIndex(int digit) noexcept {
        return static_cast<std::size_t>(digit < 0 ? -digit : digit) / 2;
    }

    std::array<std::uint8_t, Params::kKeyBytes> m_encoded{};
    std::array<Summand, wnafTableSize(kKeyWidth)> m_multiples; // of A
};

template <class Params>
std::unique_ptr<EdwardsKey> loadKey(ByteView encoded, std::string_view& whyNot) {
    auto key = std::make_unique<Key<Params>>();
    return key->load(encoded, whyNot) ? std::move(key) : nullptr;
}

char lower(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool sameName(std::string_view x, std::string_view y) noexcept {
    return std::equal(x.begin(), x.end(), y.begin(), y.end(),
                      [](char a, char b) { return lower(a) == lower(b); });
}

} // namespace

const EdwardsCurve* findEdwardsCurve(std::string_view name) noexcept {
    return sameName(name, kEd25519.name) ? &kEd25519
           : sameName(name, kEd448.name) ? &kEd448
                                         : nullptr;
}

const EdwardsCurve* findEdwardsCurveByOid(std::string_view oid) noexcept {
    return oid == kEd25519.oid ? &kEd25519 : oid == kEd448.oid ? &kEd448 : nullptr;
}

std::unique_ptr<EdwardsKey> EdwardsKey::load(const EdwardsCurve& curve, ByteView encoded,
                                             std::string_view& whyNot) {
    if (encoded.size() != curve.keyBytes) {
        whyNot = "the EdDSA key has not the size of its curve";
        return nullptr;
    }
    return &curve == &kEd448 ? loadKey<Ed448Params>(encoded, whyNot)
                             : loadKey<Ed25519Params>(encoded, whyNot);
}

} // namespace vantrel::crypto
