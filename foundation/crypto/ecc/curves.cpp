// SPDX-License-Identifier: MIT
#include "foundation/crypto/ecc/curves.h"

#include <algorithm>

namespace vantrel::crypto {
namespace {

// Compile-time only: the digits below are right by construction.
consteval CurveNumber fromHex(std::string_view digits) {
    CurveNumber number{};
    std::size_t position = 0;
    for (std::size_t i = digits.size(); i-- > 0; position += 4) {
        const char c = digits[i];
        const Limb value = static_cast<Limb>(c <= '9' ? c - '0' : c - 'a' + 10);
        number[position / kLimbBits] |= value << (position % kLimbBits);
    }
    return number;
}

// FIPS 186-4 D.1.2, SEC 2 2.4.1, RFC 5639 3.1 to 3.7. Members: p, a, b, gx, gy, n.
// clang-format off
constexpr Curve kCurves[] = {
    {CurveId::P192, "P-192", "secp192r1", "prime192v1", "1.2.840.10045.3.1.1", 192, 192,
     fromHex("fffffffffffffffffffffffffffffffeffffffffffffffff"),
     fromHex("fffffffffffffffffffffffffffffffefffffffffffffffc"),
     fromHex("64210519e59c80e70fa7e9ab72243049feb8deecc146b9b1"),
     fromHex("188da80eb03090f67cbf20eb43a18800f4ff0afd82ff1012"),
     fromHex("07192b95ffc8da78631011ed6b24cdd573f977a11e794811"),
     fromHex("ffffffffffffffffffffffff99def836146bc9b1b4d22831")},
    {CurveId::P224, "P-224", "secp224r1", "", "1.3.132.0.33", 224, 224,
     fromHex("ffffffffffffffffffffffffffffffff000000000000000000000001"),
     fromHex("fffffffffffffffffffffffffffffffefffffffffffffffffffffffe"),
     fromHex("b4050a850c04b3abf54132565044b0b7d7bfd8ba270b39432355ffb4"),
     fromHex("b70e0cbd6bb4bf7f321390b94a03c1d356c21122343280d6115c1d21"),
     fromHex("bd376388b5f723fb4c22dfe6cd4375a05a07476444d5819985007e34"),
     fromHex("ffffffffffffffffffffffffffff16a2e0b8f03e13dd29455c5c2a3d")},
    {CurveId::P256, "P-256", "secp256r1", "prime256v1", "1.2.840.10045.3.1.7", 256, 256,
     fromHex("ffffffff00000001000000000000000000000000ffffffffffffffffffffffff"),
     fromHex("ffffffff00000001000000000000000000000000fffffffffffffffffffffffc"),
     fromHex("5ac635d8aa3a93e7b3ebbd55769886bc651d06b0cc53b0f63bce3c3e27d2604b"),
     fromHex("6b17d1f2e12c4247f8bce6e563a440f277037d812deb33a0f4a13945d898c296"),
     fromHex("4fe342e2fe1a7f9b8ee7eb4a7c0f9e162bce33576b315ececbb6406837bf51f5"),
     fromHex("ffffffff00000000ffffffffffffffffbce6faada7179e84f3b9cac2fc632551")},
    {CurveId::P384, "P-384", "secp384r1", "", "1.3.132.0.34", 384, 384,
     fromHex("fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffeffffffff0000000000000000ffffffff"),
     fromHex("fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffeffffffff0000000000000000fffffffc"),
     fromHex("b3312fa7e23ee7e4988e056be3f82d19181d9c6efe8141120314088f5013875ac656398d8a2ed19d2a85c8edd3ec2aef"),
     fromHex("aa87ca22be8b05378eb1c71ef320ad746e1d3b628ba79b9859f741e082542a385502f25dbf55296c3a545e3872760ab7"),
     fromHex("3617de4a96262c6f5d9e98bf9292dc29f8f41dbd289a147ce9da3113b5f0b8c00a60b1ce1d7e819d7a431d7c90ea0e5f"),
     fromHex("ffffffffffffffffffffffffffffffffffffffffffffffffc7634d81f4372ddf581a0db248b0a77aecec196accc52973")},
    {CurveId::P521, "P-521", "secp521r1", "", "1.3.132.0.35", 521, 521,
     fromHex("1ffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff"),
     fromHex("1fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffc"),
     fromHex("051953eb9618e1c9a1f929a21a0b68540eea2da725b99b315f3b8b489918ef109e156193951ec7e937b1652c0bd3bb1bf073573df883d2c34f1ef451fd46b503f00"),
     fromHex("0c6858e06b70404e9cd9e3ecb662395b4429c648139053fb521f828af606b4d3dbaa14b5e77efe75928fe1dc127a2ffa8de3348b3c1856a429bf97e7e31c2e5bd66"),
     fromHex("11839296a789a3bc0045c8a5fb42c7d1bd998f54449579b446817afbd17273e662c97ee72995ef42640c550b9013fad0761353c7086a272c24088be94769fd16650"),
     fromHex("1fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffa51868783bf2f966b7fcc0148f709a5d03bb5c9b8899c47aebb6fb71e91386409")},
    {CurveId::Secp256k1, "secp256k1", "secp256k1", "", "1.3.132.0.10", 256, 256,
     fromHex("fffffffffffffffffffffffffffffffffffffffffffffffffffffffefffffc2f"),
     fromHex("0000000000000000000000000000000000000000000000000000000000000000"),
     fromHex("0000000000000000000000000000000000000000000000000000000000000007"),
     fromHex("79be667ef9dcbbac55a06295ce870b07029bfcdb2dce28d959f2815b16f81798"),
     fromHex("483ada7726a3c4655da4fbfc0e1108a8fd17b448a68554199c47d08ffb10d4b8"),
     fromHex("fffffffffffffffffffffffffffffffebaaedce6af48a03bbfd25e8cd0364141")},
    {CurveId::BrainpoolP256r1, "brainpoolP256r1", "brainpoolP256r1", "", "1.3.36.3.3.2.8.1.1.7", 256, 256,
     fromHex("a9fb57dba1eea9bc3e660a909d838d726e3bf623d52620282013481d1f6e5377"),
     fromHex("7d5a0975fc2c3057eef67530417affe7fb8055c126dc5c6ce94a4b44f330b5d9"),
     fromHex("26dc5c6ce94a4b44f330b5d9bbd77cbf958416295cf7e1ce6bccdc18ff8c07b6"),
     fromHex("8bd2aeb9cb7e57cb2c4b482ffc81b7afb9de27e1e3bd23c23a4453bd9ace3262"),
     fromHex("547ef835c3dac4fd97f8461a14611dc9c27745132ded8e545c1d54c72f046997"),
     fromHex("a9fb57dba1eea9bc3e660a909d838d718c397aa3b561a6f7901e0e82974856a7")},
    {CurveId::BrainpoolP384r1, "brainpoolP384r1", "brainpoolP384r1", "", "1.3.36.3.3.2.8.1.1.11", 384, 384,
     fromHex("8cb91e82a3386d280f5d6f7e50e641df152f7109ed5456b412b1da197fb71123acd3a729901d1a71874700133107ec53"),
     fromHex("7bc382c63d8c150c3c72080ace05afa0c2bea28e4fb22787139165efba91f90f8aa5814a503ad4eb04a8c7dd22ce2826"),
     fromHex("04a8c7dd22ce28268b39b55416f0447c2fb77de107dcd2a62e880ea53eeb62d57cb4390295dbc9943ab78696fa504c11"),
     fromHex("1d1c64f068cf45ffa2a63a81b7c13f6b8847a3e77ef14fe3db7fcafe0cbd10e8e826e03436d646aaef87b2e247d4af1e"),
     fromHex("8abe1d7520f9c2a45cb1eb8e95cfd55262b70b29feec5864e19c054ff99129280e4646217791811142820341263c5315"),
     fromHex("8cb91e82a3386d280f5d6f7e50e641df152f7109ed5456b31f166e6cac0425a7cf3ab6af6b7fc3103b883202e9046565")},
    {CurveId::BrainpoolP512r1, "brainpoolP512r1", "brainpoolP512r1", "", "1.3.36.3.3.2.8.1.1.13", 512, 512,
     fromHex("aadd9db8dbe9c48b3fd4e6ae33c9fc07cb308db3b3c9d20ed6639cca703308717d4d9b009bc66842aecda12ae6a380e62881ff2f2d82c68528aa6056583a48f3"),
     fromHex("7830a3318b603b89e2327145ac234cc594cbdd8d3df91610a83441caea9863bc2ded5d5aa8253aa10a2ef1c98b9ac8b57f1117a72bf2c7b9e7c1ac4d77fc94ca"),
     fromHex("3df91610a83441caea9863bc2ded5d5aa8253aa10a2ef1c98b9ac8b57f1117a72bf2c7b9e7c1ac4d77fc94cadc083e67984050b75ebae5dd2809bd638016f723"),
     fromHex("81aee4bdd82ed9645a21322e9c4c6a9385ed9f70b5d916c1b43b62eef4d0098eff3b1f78e2d0d48d50d1687b93b97d5f7c6d5047406a5e688b352209bcb9f822"),
     fromHex("7dde385d566332ecc0eabfa9cf7822fdf209f70024a57b1aa000c55b881f8111b2dcde494a5f485e5bca4bd88a2763aed1ca2b2fa8f0540678cd1e0f3ad80892"),
     fromHex("aadd9db8dbe9c48b3fd4e6ae33c9fc07cb308db3b3c9d20ed6639cca70330870553e5c414ca92619418661197fac10471db1d381085ddaddb58796829ca90069")},
    {CurveId::BrainpoolP160r1, "brainpoolP160r1", "brainpoolP160r1", "", "1.3.36.3.3.2.8.1.1.1", 160, 160,
     fromHex("e95e4a5f737059dc60dfc7ad95b3d8139515620f"),
     fromHex("340e7be2a280eb74e2be61bada745d97e8f7c300"),
     fromHex("1e589a8595423412134faa2dbdec95c8d8675e58"),
     fromHex("bed5af16ea3f6a4f62938c4631eb5af7bdbcdbc3"),
     fromHex("1667cb477a1a8ec338f94741669c976316da6321"),
     fromHex("e95e4a5f737059dc60df5991d45029409e60fc09")},
    {CurveId::BrainpoolP192r1, "brainpoolP192r1", "brainpoolP192r1", "", "1.3.36.3.3.2.8.1.1.3", 192, 192,
     fromHex("c302f41d932a36cda7a3463093d18db78fce476de1a86297"),
     fromHex("6a91174076b1e0e19c39c031fe8685c1cae040e5c69a28ef"),
     fromHex("469a28ef7c28cca3dc721d044f4496bcca7ef4146fbf25c9"),
     fromHex("c0a0647eaab6a48753b033c56cb0f0900a2f5c4853375fd6"),
     fromHex("14b690866abd5bb88b5f4828c1490002e6773fa2fa299b8f"),
     fromHex("c302f41d932a36cda7a3462f9e9e916b5be8f1029ac4acc1")},
    {CurveId::BrainpoolP224r1, "brainpoolP224r1", "brainpoolP224r1", "", "1.3.36.3.3.2.8.1.1.5", 224, 224,
     fromHex("d7c134aa264366862a18302575d1d787b09f075797da89f57ec8c0ff"),
     fromHex("68a5e62ca9ce6c1c299803a6c1530b514e182ad8b0042a59cad29f43"),
     fromHex("2580f63ccfe44138870713b1a92369e33e2135d266dbb372386c400b"),
     fromHex("0d9029ad2c7e5cf4340823b2a87dc68c9e4ce3174c1e6efdee12c07d"),
     fromHex("58aa56f772c0726f24c6b89e4ecdac24354b9e99caa3f6d3761402cd"),
     fromHex("d7c134aa264366862a18302575d0fb98d116bc4b6ddebca3a5a7939f")},
    {CurveId::BrainpoolP320r1, "brainpoolP320r1", "brainpoolP320r1", "", "1.3.36.3.3.2.8.1.1.9", 320, 320,
     fromHex("d35e472036bc4fb7e13c785ed201e065f98fcfa6f6f40def4f92b9ec7893ec28fcd412b1f1b32e27"),
     fromHex("3ee30b568fbab0f883ccebd46d3f3bb8a2a73513f5eb79da66190eb085ffa9f492f375a97d860eb4"),
     fromHex("520883949dfdbc42d3ad198640688a6fe13f41349554b49acc31dccd884539816f5eb4ac8fb1f1a6"),
     fromHex("43bd7e9afb53d8b85289bcc48ee5bfe6f20137d10a087eb6e7871e2a10a599c710af8d0d39e20611"),
     fromHex("14fdd05545ec1cc8ab4093247f77275e0743ffed117182eaa9c77877aaac6ac7d35245d1692e8ee1"),
     fromHex("d35e472036bc4fb7e13c785ed201e065f98fcfa5b68f12a32d482ec7ee8658e98691555b44c59311")},
};
// clang-format on

constexpr char lower(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool sameName(std::string_view x, std::string_view y) noexcept {
    return !x.empty() && std::equal(x.begin(), x.end(), y.begin(), y.end(),
                                    [](char a, char b) { return lower(a) == lower(b); });
}

bool sameNumber(const CurveNumber& number, ByteView bytes) noexcept {
    CurveNumber other;
    return loadBigEndian(other, bytes) && other == number;
}

// The generator as an encoded point: 04 x y, or 02/03 x.
bool sameGenerator(const Curve& curve, ByteView point) noexcept {
    const std::size_t width = curve.fieldBytes();
    if (point.size() == 1 + 2 * width && point[0] == 4) {
        return sameNumber(curve.gx, point.subspan(1, width)) &&
               sameNumber(curve.gy, point.subspan(1 + width));
    }
    return point.size() == 1 + width && point[0] == (2 | (curve.gy[0] & 1)) &&
           sameNumber(curve.gx, point.subspan(1));
}

template <class Predicate> const Curve* firstCurve(Predicate predicate) noexcept {
    const auto found = std::find_if(std::begin(kCurves), std::end(kCurves), predicate);
    return found == std::end(kCurves) ? nullptr : found;
}

} // namespace

std::span<const Curve> allCurves() noexcept { return kCurves; }

const Curve* findCurve(CurveId id) noexcept {
    return firstCurve([id](const Curve& curve) { return curve.id == id; });
}

const Curve* findCurveByOid(std::string_view oid) noexcept {
    return firstCurve([oid](const Curve& curve) { return curve.oid == oid; });
}

const Curve* findCurveByName(std::string_view name) noexcept {
    return firstCurve([name](const Curve& curve) {
        return sameName(curve.name, name) || sameName(curve.secName, name) ||
               sameName(curve.ansiName, name);
    });
}

const Curve* findCurveByParameters(ByteView p, ByteView a, ByteView b, ByteView g,
                                   ByteView n) noexcept {
    return firstCurve([&](const Curve& curve) {
        return sameNumber(curve.p, p) && sameNumber(curve.a, a) && sameNumber(curve.b, b) &&
               sameNumber(curve.n, n) && sameGenerator(curve, g);
    });
}

} // namespace vantrel::crypto
