#include "analysis/three_state/three_state_seeds.h"

namespace zolt {
namespace {

constexpr double kEvenWeight = 0.5;

// A guarded weight is held between these.
constexpr double kGuardLow = 0.01;
constexpr double kGuardHigh = 0.99;

using enum Estimate;
using enum WeightRule;
constexpr auto& A = kThreeStateStartA;
constexpr auto& E = kThreeStateStartE;

// clang-format off
constexpr ThreeStateSeeder
    G0 {A, ThreePoint, GivenPairs::None, Free, fit3State_all,           fit3State_all},
    G1 {A, ThreePoint, GivenPairs::None, Free, fit3State_baselinesHeld, fit3State_baselinesHeld},
    G2 {A, End,        GivenPairs::None, Free, fit3State_baselinesHeld, fit3State_baselinesHeld},
    G3 {E, Window,     GivenPairs::None, Free, fit3State_baselinesHeld, fit3State_baselinesHeld},
    G7 {A, ThreePoint, GivenPairs::None, Held, fit3State_all,           fit3State_weightHeld},
    G8 {A, ThreePoint, GivenPairs::None, Held, fit3State_baselinesHeld, fit3State_weightBaselinesHeld},
    G9 {A, End,        GivenPairs::None, Held, fit3State_baselinesHeld, fit3State_weightBaselinesHeld},
    G10{E, Window,     GivenPairs::None, Held, fit3State_baselinesHeld, fit3State_weightBaselinesHeld},

    N0 {A, ThreePoint, GivenPairs::Native, Free,    fit3State_nativeHeld,    fit3State_nativeHeld,
        &fit3State_denaturedHeld, &fit3State_denaturedHeld},
    N1 {A, ThreePoint, GivenPairs::Native, Guarded, fit3State_nativeHeld,    fit3State_weightNativeHeld,
        &fit3State_denaturedHeld, &fit3State_weightDenaturedHeld},
    N2 {A, ThreePoint, GivenPairs::Native, Free,    fit3State_baselinesHeld, fit3State_baselinesHeld},
    N3 {A, ThreePoint, GivenPairs::Native, Guarded, fit3State_baselinesHeld, fit3State_weightBaselinesHeld},
    N4 {A, End,        GivenPairs::Native, Free,    fit3State_baselinesHeld, fit3State_baselinesHeld},
    N5 {A, End,        GivenPairs::Native, Guarded, fit3State_baselinesHeld, fit3State_weightBaselinesHeld},
    N6 {E, Window,     GivenPairs::Native, Free,    fit3State_baselinesHeld, fit3State_baselinesHeld},
    N7 {E, Window,     GivenPairs::Native, Guarded, fit3State_baselinesHeld, fit3State_weightBaselinesHeld},

    D0 {A, ThreePoint, GivenPairs::Denatured, Free,    fit3State_denaturedHeld, fit3State_denaturedHeld},
    D1 {A, ThreePoint, GivenPairs::Denatured, Guarded, fit3State_denaturedHeld, fit3State_weightDenaturedHeld},
    D2 {A, ThreePoint, GivenPairs::Denatured, Free,    fit3State_baselinesHeld, fit3State_baselinesHeld},
    D3 {A, ThreePoint, GivenPairs::Denatured, Guarded, fit3State_baselinesHeld, fit3State_weightBaselinesHeld},
    D4 {A, End,        GivenPairs::Denatured, Free,    fit3State_baselinesHeld, fit3State_baselinesHeld},
    D5 {A, End,        GivenPairs::Denatured, Guarded, fit3State_baselinesHeld, fit3State_weightBaselinesHeld},
    D6 {E, Window,     GivenPairs::Denatured, Free,    fit3State_baselinesHeld, fit3State_baselinesHeld},
    D7 {E, Window,     GivenPairs::Denatured, Guarded, fit3State_baselinesHeld, fit3State_weightBaselinesHeld},

    B0 {A, End,        GivenPairs::Both, Free,    fit3State_baselinesHeld, fit3State_baselinesHeld},
    B1 {A, End,        GivenPairs::Both, Guarded, fit3State_baselinesHeld, fit3State_weightBaselinesHeld};
// clang-format on

}  // namespace

const ThreeStateSeeder kBothGivenSeeder = B0;
constexpr std::array<const ThreeStateSeeder*, 11> kThreeStateGeneral{
    &G0, &G1, &G2, &G3, nullptr, nullptr, nullptr, &G7, &G8, &G9, &G10};
constexpr std::array<const ThreeStateSeeder*, 8> kThreeStateNativeGiven{&N0, &N1, &N2, &N3,
                                                                        &N4, &N5, &N6, &N7};
constexpr std::array<const ThreeStateSeeder*, 8> kThreeStateDenaturedGiven{&D0, &D1, &D2, &D3,
                                                                           &D4, &D5, &D6, &D7};
constexpr std::array<const ThreeStateSeeder*, 2> kThreeStateBothGiven{&B0, &B1};

Candidate<2> runSeeder(const ThreeStateSeeder& seeder, const Setting& setting,
                       const BaselinePair& known, double weight) {
  const Curve& curve = setting.curve;
  const BaselinePair given = pairsRead(seeder.pairs, known);
  const bool holdsWeight = seeder.weightRule == Held || (seeder.weightRule == Guarded &&
                                                         weight > kGuardLow && weight < kGuardHigh);
  const ThreeStateMask* fit = holdsWeight ? &seeder.weightFit : &seeder.fit;
  if (seeder.unpairedFit != nullptr && !isGiven(given.native)) {
    fit = holdsWeight ? seeder.unpairedWeightFit : seeder.unpairedFit;
  }
  const auto start =
      startVector<2>(setting, seeder.dG, {holdsWeight ? weight : kEvenWeight},
                     seedBaselines(curve, setting.estimates, seeder.estimate, given));
  return settled<2>(setting, fitCurve<2>(setting, *fit, start));
}

}  // namespace zolt
