// SPDX-License-Identifier: MIT
#include "foundation/crypto/ecc/curve_engine.h"

#include "foundation/crypto/ecc/field.h"
#include "foundation/crypto/ecc/field_p521.h"
#include "foundation/crypto/ecc/ifma_engine.h"
#include "foundation/crypto/ecc/montgomery_x86_adx.h"
#include "foundation/crypto/ecc/p256_x86_adx.h"
#include "foundation/crypto/ecc/p384_x86_adx.h"
#include "foundation/crypto/ecc/secp256k1_engine.h"
#include "foundation/crypto/ecc/secp256k1_x86_adx.h"
#include "foundation/crypto/ecc/weierstrass_engine.h"

namespace vantrel::crypto {
namespace {

using cpu::Feature;

template <CurveId kId, class Field, CoefficientA kA> const CurveEngine& engineOf() noexcept {
    static const Curve& curve = *findCurve(kId);
    static const WeierstrassEngine<Field, kA> engine(curve, Field(curve.p));
    return engine;
}

template <CurveId kId, std::size_t N, CoefficientA kA>
constexpr CurveKernel kPortable{"portable", Feature::None, engineOf<kId, MontgomeryField<N>, kA>};

#if defined(__x86_64__)
template <CurveId kId, class Field, CoefficientA kA>
constexpr CurveKernel kAdx{"adx", Feature::Bmi2 | Feature::Adx, engineOf<kId, Field, kA>};

template <CurveId kId, class Lanes> const CurveEngine& ifmaEngineOf() noexcept {
    static const Curve& curve = *findCurve(kId);
    static const IfmaEngine<Lanes> engine(curve, typename Lanes::Field(curve.p));
    return engine;
}

// The scalar fields of some need the instructions of "adx"; no processor has these without those.
template <CurveId kId, class Lanes>
constexpr CurveKernel kIfma{"ifma",
                            Feature::Bmi2 | Feature::Adx | Feature::Avx512 | Feature::Avx512Ifma,
                            ifmaEngineOf<kId, Lanes>};
#endif

template <class Field> const CurveEngine& secp256k1EngineOf() noexcept {
    static const Curve& curve = *findCurve(CurveId::Secp256k1);
    static const Secp256k1Engine<Field> engine(curve, Field(curve.p));
    return engine;
}

constexpr CoefficientA kMinusThree = CoefficientA::MinusThree;

constexpr CurveKernel kP192[] = {kPortable<CurveId::P192, 3, kMinusThree>};
constexpr CurveKernel kP224[] = {
#if defined(__x86_64__)
    kAdx<CurveId::P224, MontgomeryField<4, AdxProducts>, kMinusThree>,
#endif
    kPortable<CurveId::P224, 4, kMinusThree>};
constexpr CurveKernel kP256[] = {
#if defined(__x86_64__)
    kIfma<CurveId::P256, P256Lanes>, kAdx<CurveId::P256, FieldP256Adx, kMinusThree>,
#endif
    kPortable<CurveId::P256, 4, kMinusThree>};
constexpr CurveKernel kP384[] = {
#if defined(__x86_64__)
    kIfma<CurveId::P384, P384Lanes>, kAdx<CurveId::P384, FieldP384Adx, kMinusThree>,
#endif
    kPortable<CurveId::P384, 6, kMinusThree>};
constexpr CurveKernel kP521[] = {
#if defined(__x86_64__)
    kIfma<CurveId::P521, P521Lanes>,
#endif
    {"radix58", Feature::None, engineOf<CurveId::P521, FieldP521, kMinusThree>},
    kPortable<CurveId::P521, 9, kMinusThree>};
constexpr CurveKernel kSecp256k1[] = {
#if defined(__x86_64__)
    {"adx", Feature::Bmi2 | Feature::Adx, secp256k1EngineOf<FieldSecp256k1Adx>},
#endif
    {"endomorphism", Feature::None, secp256k1EngineOf<MontgomeryField<4>>},
    kPortable<CurveId::Secp256k1, 4, CoefficientA::Zero>};
constexpr CurveKernel kBrainpool256[] = {
#if defined(__x86_64__)
    kAdx<CurveId::BrainpoolP256r1, MontgomeryField<4, AdxProducts>, CoefficientA::Any>,
#endif
    kPortable<CurveId::BrainpoolP256r1, 4, CoefficientA::Any>};
constexpr CurveKernel kBrainpool384[] = {
#if defined(__x86_64__)
    kAdx<CurveId::BrainpoolP384r1, MontgomeryField<6, AdxProducts>, CoefficientA::Any>,
#endif
    kPortable<CurveId::BrainpoolP384r1, 6, CoefficientA::Any>};
constexpr CurveKernel kBrainpool160[] = {kPortable<CurveId::BrainpoolP160r1, 3, CoefficientA::Any>};
constexpr CurveKernel kBrainpool192[] = {kPortable<CurveId::BrainpoolP192r1, 3, CoefficientA::Any>};
constexpr CurveKernel kBrainpool224[] = {kPortable<CurveId::BrainpoolP224r1, 4, CoefficientA::Any>};
constexpr CurveKernel kBrainpool320[] = {kPortable<CurveId::BrainpoolP320r1, 5, CoefficientA::Any>};
constexpr CurveKernel kBrainpool512[] = {kPortable<CurveId::BrainpoolP512r1, 8, CoefficientA::Any>};

} // namespace

std::span<const CurveKernel> curveKernels(CurveId id) noexcept {
    switch (id) {
    case CurveId::P192: return kP192;
    case CurveId::P224: return kP224;
    case CurveId::P256: return kP256;
    case CurveId::P384: return kP384;
    case CurveId::P521: return kP521;
    case CurveId::Secp256k1: return kSecp256k1;
    case CurveId::BrainpoolP256r1: return kBrainpool256;
    case CurveId::BrainpoolP384r1: return kBrainpool384;
    case CurveId::BrainpoolP512r1: return kBrainpool512;
    case CurveId::BrainpoolP160r1: return kBrainpool160;
    case CurveId::BrainpoolP192r1: return kBrainpool192;
    case CurveId::BrainpoolP224r1: return kBrainpool224;
    case CurveId::BrainpoolP320r1: return kBrainpool320;
    }
    return {};
}

const CurveEngine& chosenCurveEngine(CurveId id) noexcept {
    return cpu::chosenKernel(curveKernels(id)).run();
}

} // namespace vantrel::crypto
