// Several curves at once: what they share is searched, each curve's own parameters follow.
#pragma once

#include <memory>
#include <vector>

#include "inference/profile.h"
#include "inference/shared_values.h"

namespace zolt::inference {

// A curve of a global fit.
struct Member {
  Setup setup;
  Solution alone;      // the curve's own fit
  Solution together;   // its part of the global fit
  double noise = 1.0;  // variance of a reading of weight 1, scaled
  int status = ZOLTI_FITTED;
};

// Two curves whose difference is held: of one transition, in Cm or in dG.
struct HeldDifference {
  Quantity quantity = Quantity::Cm;
  int transition = 0;
  double value = 0.0;
};

// The sum over curves of squares over noise as a function of the shared values. One curve's
// parameters meet only the shared ones: at each call every curve is brought to its own optimum and
// then leaves an expansion over the shared values alone, so that a call costs time in proportion
// to the number of curves. Curves are followed from where the last call left them.
class SharedModel {
 public:
  SharedModel(int share, int transitions) : share_(share), transitions_(transitions) {}

  void add(const Member& member, const Solution& start);

  // The rest of the curves as an expansion, added to the sum.
  void setRest(const Shared& rest) { rest_ = &rest; }

  // Holds the difference of the second curve and the first. Searched besides the shared values is
  // then the midpoint of the first, as its last parameter.
  void holdDifference(const HeldDifference& difference) { difference_ = &difference; }

  bool operator()(const Searched& at, Expansion& expansion);

  // What a curve left at the last call: its part of the expansion, and its solution.
  const Expansion& part(int index) const { return parts_[static_cast<std::size_t>(index)].left; }
  const Solution& solution(int index) const {
    return parts_[static_cast<std::size_t>(index)].solution;
  }

 private:
  struct Part {
    const Member* member;
    Solution solution;
    Expansion left;  // over the searched values
  };
  bool expand(Part& part, int index, const Searched& at);
  bool holdValues(const Part& part, int index, const Searched& at,
                  std::array<Held, kMostTransitions>& held) const;
  SmallMatrix<kMostShape, kMostSearched> directions(const Part& part, int index, const Shape& shape,
                                                    const Searched& at) const;

  int share_, transitions_;
  const Shared* rest_ = nullptr;
  const HeldDifference* difference_ = nullptr;
  std::vector<Part> parts_;
};

}  // namespace zolt::inference
