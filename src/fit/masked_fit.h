// Fits that hold some parameters of a model and move the others.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "fit/levenberg_marquardt.h"

namespace zolt {

// One byte a parameter, in the model's order: 1 held at its given value, 0 fitted.
template <std::size_t Count>
using HoldMask = std::array<std::uint8_t, Count>;

// A mask written as its digits, the first parameter on the left.
template <std::size_t Length>
constexpr HoldMask<Length - 1> holdMask(const char (&digits)[Length]) {
  HoldMask<Length - 1> mask{};
  for (std::size_t i = 0; i + 1 < Length; ++i) {
    mask[i] = digits[i] == '1';
  }
  return mask;
}

// dG, Cm, aN, bN, aU, bU, RT
inline constexpr auto fit2State_all = holdMask("0000001");
inline constexpr auto fit2State_cmHeld = holdMask("0100001");
inline constexpr auto fit2State_slopesHeld = holdMask("0001011");
inline constexpr auto fit2State_denaturedHeld = holdMask("0000111");
inline constexpr auto fit2State_nativeHeld = holdMask("0011001");
inline constexpr auto fit2State_cmDenaturedHeld = holdMask("0100111");
inline constexpr auto fit2State_cmNativeHeld = holdMask("0111001");
inline constexpr auto fit2State_baselinesHeld = holdMask("0011111");
inline constexpr auto fit2State_dGOnly = holdMask("0111111");

// dG1, Cm1, dG2, Cm2, f, aN, bN, aU, bU, RT
inline constexpr auto fit3State_all = holdMask("0000000001");
inline constexpr auto fit3State_weightHeld = holdMask("0000100001");
inline constexpr auto fit3State_slopesHeld = holdMask("0000001011");
inline constexpr auto fit3State_denaturedHeld = holdMask("0000000111");
inline constexpr auto fit3State_nativeHeld = holdMask("0000011001");
inline constexpr auto fit3State_baselinesHeld = holdMask("0000011111");
inline constexpr auto fit3State_weightSlopesHeld = holdMask("0000101011");
inline constexpr auto fit3State_weightDenaturedHeld = holdMask("0000100111");
inline constexpr auto fit3State_weightNativeHeld = holdMask("0000111001");
inline constexpr auto fit3State_weightBaselinesHeld = holdMask("0000111111");

// dG1, Cm1, dG2, Cm2, dG3, Cm3, f1, f2, aN, bN, aU, bU, RT
inline constexpr auto fit4State_all = holdMask("0000000000001");
inline constexpr auto fit4State_weight1Held = holdMask("0000001000001");
inline constexpr auto fit4State_weight2Held = holdMask("0000000100001");
inline constexpr auto fit4State_weightsHeld = holdMask("0000001100001");
inline constexpr auto fit4State_slopesHeld = holdMask("0000000001011");
inline constexpr auto fit4State_weight1SlopesHeld = holdMask("0000001001011");
inline constexpr auto fit4State_weight2SlopesHeld = holdMask("0000000101011");
inline constexpr auto fit4State_weightsSlopesHeld = holdMask("0000001101011");
inline constexpr auto fit4State_denaturedHeld = holdMask("0000000000111");
inline constexpr auto fit4State_weight1DenaturedHeld = holdMask("0000001000111");
inline constexpr auto fit4State_weight2DenaturedHeld = holdMask("0000000100111");
inline constexpr auto fit4State_weightsDenaturedHeld = holdMask("0000001100111");
inline constexpr auto fit4State_nativeHeld = holdMask("0000000011001");
inline constexpr auto fit4State_weight1NativeHeld = holdMask("0000001011001");
inline constexpr auto fit4State_weight2NativeHeld = holdMask("0000000111001");
inline constexpr auto fit4State_weightsNativeHeld = holdMask("0000001111001");
inline constexpr auto fit4State_baselinesHeld = holdMask("0000000011111");
inline constexpr auto fit4State_weight1BaselinesHeld = holdMask("0000001011111");
inline constexpr auto fit4State_weight2BaselinesHeld = holdMask("0000000111111");
inline constexpr auto fit4State_weightsBaselinesHeld = holdMask("0000001111111");

// Heights, centres and widths of the peaks are all fitted.
inline constexpr auto fitGauss1 = holdMask("000");
inline constexpr auto fitGauss2 = holdMask("000000");
inline constexpr auto fitGauss3 = holdMask("000000000");

// The unfolding models are told by the length of their parameter vector, and so are the peaks.
template <std::size_t Count>
struct ModelOf;
template <>
struct ModelOf<model2State::kParameters> {
  using type = model2State;
};
template <>
struct ModelOf<model3State::kParameters> {
  using type = model3State;
};
template <>
struct ModelOf<model4State::kParameters> {
  using type = model4State;
};
template <>
struct ModelOf<modelGauss1::kParameters> {
  using type = modelGauss1;
};
template <>
struct ModelOf<modelGauss2::kParameters> {
  using type = modelGauss2;
};
template <>
struct ModelOf<modelGauss3::kParameters> {
  using type = modelGauss3;
};

// What a masked fit leaves.
template <std::size_t Count>
struct Fitted {
  std::array<double, Count> p;
  Misfit misfit;
};

// Fits the parameters that `mask` leaves free to the curve, starting from `start`. Held values come
// back bit for bit.
template <std::size_t Count>
Fitted<Count> maskedFit(const HoldMask<Count>& mask, const Curve& curve,
                        std::array<double, Count> start, FitWorkspace& workspace) {
  std::array<int, kMostFree> free{};
  std::size_t c = 0;
  for (std::size_t i = 0; i < Count; ++i) {
    if (mask[i] == 0) {
      free[c++] = static_cast<int>(i);
    }
  }
  workspace.reset();
  typename ModelOf<Count>::type model(curve.x, workspace);
  const Misfit misfit = fitLM(model, curve.y, std::span(free).first(c), start.data(), workspace);
  return {start, misfit};
}

}  // namespace zolt
