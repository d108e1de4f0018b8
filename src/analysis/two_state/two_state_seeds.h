// The starts of the two-state analysis. Each seeder builds one start vector in its own way, runs
// one masked fit and delivers one candidate; they differ in how the baselines are estimated, in
// whether a known baseline or a midpoint hint is used, and in what the fit may move.
#pragma once

#include "analysis/candidates.h"

namespace zolt {

using TwoStateMask = HoldMask<ParameterOrder<1>::count>;

// One seeder. `withHint` is the fit when a usable midpoint hint stands in for the fitted midpoint;
// the `unpaired` fits are those of a seeder whose fit depends on its pair being given.
struct TwoStateSeeder {
  double dG;
  Estimate estimate;
  GivenPairs pairs;
  const TwoStateMask& fit;
  const TwoStateMask& withHint;
  const TwoStateMask* unpairedFit = nullptr;
  const TwoStateMask* unpairedWithHint = nullptr;
};

// No hint at all, as the seeders without one are called.
inline constexpr double kNoHint = -1.0;

// Free energies in cal/mol from which the fits start. Lines over the ends of a curve leave less of
// the transition to the baselines, and so start steeper.
inline constexpr double kOrdinaryStart = 6000.0;
inline constexpr double kWindowStart = 10000.0;

// clang-format off
// Without a hint (the last column does not apply) and with one.
inline constexpr TwoStateSeeder
    seedThreePointAllFree      {kOrdinaryStart, Estimate::ThreePoint, GivenPairs::None, fit2State_all, fit2State_all},
    seedThreePointAllFreeHint  {kOrdinaryStart, Estimate::ThreePoint, GivenPairs::None, fit2State_all, fit2State_cmHeld},
    seedThreePoint             {kOrdinaryStart, Estimate::ThreePoint, GivenPairs::None, fit2State_baselinesHeld, fit2State_baselinesHeld},
    seedThreePointHint         {kOrdinaryStart, Estimate::ThreePoint, GivenPairs::None, fit2State_baselinesHeld, fit2State_dGOnly},
    seedEndPoint               {kOrdinaryStart, Estimate::End,        GivenPairs::None, fit2State_baselinesHeld, fit2State_baselinesHeld},
    seedEndPointHint           {kOrdinaryStart, Estimate::End,        GivenPairs::None, fit2State_baselinesHeld, fit2State_dGOnly},
    seedWindow                 {kWindowStart,   Estimate::Window,     GivenPairs::None, fit2State_baselinesHeld, fit2State_baselinesHeld},
    seedWindowHint             {kWindowStart,   Estimate::Window,     GivenPairs::None, fit2State_baselinesHeld, fit2State_dGOnly},

    seedBothBaselines          {kOrdinaryStart, Estimate::End,        GivenPairs::Both, fit2State_baselinesHeld, fit2State_baselinesHeld},
    seedBothBaselinesHint      {kOrdinaryStart, Estimate::End,        GivenPairs::Both, fit2State_baselinesHeld, fit2State_dGOnly},

    // The free-side seeders of the native family hold the native baseline when they have one, and
    // else the denatured estimate. Those of the denatured family always hold the denatured side.
    seedFreeSideNative         {kOrdinaryStart, Estimate::ThreePoint, GivenPairs::Native, fit2State_nativeHeld, fit2State_nativeHeld,
                                &fit2State_denaturedHeld, &fit2State_denaturedHeld},
    seedFreeSideNativeHint     {kOrdinaryStart, Estimate::ThreePoint, GivenPairs::Native, fit2State_nativeHeld, fit2State_cmNativeHeld,
                                &fit2State_denaturedHeld, &fit2State_cmDenaturedHeld},
    seedThreePointNative       {kOrdinaryStart, Estimate::ThreePoint, GivenPairs::Native, fit2State_baselinesHeld, fit2State_baselinesHeld},
    seedThreePointNativeHint   {kOrdinaryStart, Estimate::ThreePoint, GivenPairs::Native, fit2State_baselinesHeld, fit2State_dGOnly},
    seedEndPointNative         {kOrdinaryStart, Estimate::End,        GivenPairs::Native, fit2State_baselinesHeld, fit2State_baselinesHeld},
    seedEndPointNativeHint     {kOrdinaryStart, Estimate::End,        GivenPairs::Native, fit2State_baselinesHeld, fit2State_dGOnly},
    seedWindowNative           {kWindowStart,   Estimate::Window,     GivenPairs::Native, fit2State_baselinesHeld, fit2State_baselinesHeld},
    seedWindowNativeHint       {kWindowStart,   Estimate::Window,     GivenPairs::Native, fit2State_baselinesHeld, fit2State_dGOnly},

    seedFreeSideDenatured      {kOrdinaryStart, Estimate::ThreePoint, GivenPairs::Denatured, fit2State_denaturedHeld, fit2State_denaturedHeld},
    seedFreeSideDenaturedHint  {kOrdinaryStart, Estimate::ThreePoint, GivenPairs::Denatured, fit2State_denaturedHeld, fit2State_cmDenaturedHeld},
    seedThreePointDenatured    {kOrdinaryStart, Estimate::ThreePoint, GivenPairs::Denatured, fit2State_baselinesHeld, fit2State_baselinesHeld},
    seedThreePointDenaturedHint{kOrdinaryStart, Estimate::ThreePoint, GivenPairs::Denatured, fit2State_baselinesHeld, fit2State_dGOnly},
    seedEndPointDenatured      {kOrdinaryStart, Estimate::End,        GivenPairs::Denatured, fit2State_baselinesHeld, fit2State_baselinesHeld},
    seedEndPointDenaturedHint  {kOrdinaryStart, Estimate::End,        GivenPairs::Denatured, fit2State_baselinesHeld, fit2State_dGOnly},
    seedWindowDenatured        {kWindowStart,   Estimate::Window,     GivenPairs::Denatured, fit2State_baselinesHeld, fit2State_baselinesHeld},
    seedWindowDenaturedHint    {kWindowStart,   Estimate::Window,     GivenPairs::Denatured, fit2State_baselinesHeld, fit2State_dGOnly};
// clang-format on

// Runs one seeder. `given` holds the pairs known so far; the seeder reads those of its row.
Candidate<1> runSeeder(const TwoStateSeeder& seeder, const Setting& setting,
                       const BaselinePair& given = {}, double hint = kNoHint);

// A fit with the slopes held, from a candidate's own vector.
Candidate<1> refitFromVector(const Setting& setting, const Parameters<1>& start);

// The same from the first seven numbers of a table of candidates in the order of their R-squared.
// The table is stored parameter by parameter, so these are the free energies of the seven best
// candidates; they stand as they are in the places of dG, Cm, the baselines and RT.
Candidate<1> refitFromTable(const Setting& setting, const CandidateSet<1, 9>& table);

}  // namespace zolt
