// Starts of two and three transitions from a dictionary of single ones.
#include <algorithm>
#include <cmath>

#include "inference/starts.h"

namespace zolt::inference {
namespace {

constexpr double kSteepness[] = {6.0, 14.0, 32.0, 75.0};
constexpr int kMidpoints = 15;
constexpr int kWords = 4 * kMidpoints;
constexpr int kPairsKept = 24, kTaken = 6;
constexpr double kLeastWeight = 0.03;
// Starts nearer than this to a better one lead to the same place.
constexpr double kNearC = 0.07, kNearLogS = 0.9;

struct Set {
  double sse = 0.0;
  std::array<int, kMostTransitions> word{};
  std::array<double, kMostTransitions> height{};
};

// Sets kept in the order of their sums of squares.
class BestSets {
 public:
  void offer(const Set& set) {
    if (count_ == kPairsKept && !(set.sse < sets_[count_ - 1].sse)) {
      return;
    }
    int i = count_ < kPairsKept ? count_++ : count_ - 1;
    for (; i > 0 && set.sse < sets_[i - 1].sse; --i) {
      sets_[i] = sets_[i - 1];
    }
    sets_[i] = set;
  }
  int count() const { return count_; }
  const Set& operator[](int i) const { return sets_[i]; }

 private:
  int count_ = 0;
  std::array<Set, kPairsKept> sets_;
};

double midpoint(int word) { return (word % kMidpoints + 0.5) / kMidpoints; }
double logSteepness(int word) { return std::log(kSteepness[word / kMidpoints]); }

// What of the readings the transitions of the dictionary explain, beyond a line that changes its
// slope where the single transition lies.
class Dictionary {
 public:
  Dictionary(const Setup& setup, const Shape& single) {
    const Readings& r = setup.readings;
    SmallMatrix<kMostReadings, 3> frame(r.n, 3);
    const double s = std::exp(single.logS[0]);
    frame.col(0) = r.root;
    frame.col(1) = r.root.array() * r.u.array();
    frame.col(2) = frame.col(1).array() * (1.0 + ((single.c[0] - r.u.array()) * s).exp()).inverse();
    for (int j = 0; j < 3; ++j) {
      for (int i = 0; i < j; ++i) {
        frame.col(j) -= frame.col(i).dot(frame.col(j)) * frame.col(i);
      }
      const double length = frame.col(j).norm();
      frame.col(j) *= length > 1e-9 ? 1.0 / length : 0.0;
    }
    const auto leave = [&](PerReading& row) {
      for (int j = 0; j < 3; ++j) {
        row -= frame.col(j).dot(row) * frame.col(j);
      }
    };
    words_.resize(r.n, kWords);
    PerReading row = r.y.array() * r.root.array();
    leave(row);
    sse_ = row.squaredNorm();
    const PerReading y = row;
    for (int a = 0; a < kWords; ++a) {
      const double steep = std::exp(logSteepness(a));
      row = r.root.array() * (1.0 + ((midpoint(a) - r.u.array()) * steep).exp()).inverse();
      leave(row);
      words_.col(a) = row;
      with_[a] = y.dot(row);
      for (int b = 0; b <= a; ++b) {
        product_[a][b] = product_[b][a] = words_.col(b).dot(row);
      }
    }
  }

  // The heights of the words of a set and the sum of squares that they leave; false where the set
  // is not one of steps in the same direction, or not determined.
  bool solve(Set& set, int count) const {
    double A[3][4];
    for (int i = 0; i < count; ++i) {
      for (int j = 0; j < count; ++j) {
        A[i][j] = product_[set.word[i]][set.word[j]];
      }
      A[i][count] = with_[set.word[i]];
    }
    for (int k = 0; k < count; ++k) {
      if (!(A[k][k] > 1e-6 * product_[set.word[k]][set.word[k]])) {
        return false;
      }
      for (int i = k + 1; i < count; ++i) {
        const double factor = A[i][k] / A[k][k];
        for (int j = k; j <= count; ++j) {
          A[i][j] -= factor * A[k][j];
        }
      }
    }
    double sum = 0.0;
    set.sse = sse_;
    for (int k = count - 1; k >= 0; --k) {
      double value = A[k][count];
      for (int j = k + 1; j < count; ++j) {
        value -= A[k][j] * set.height[j];
      }
      set.height[k] = value / A[k][k];
      set.sse -= set.height[k] * with_[set.word[k]];
      sum += set.height[k];
    }
    for (int k = 0; k < count; ++k) {
      if (!(set.height[k] / sum > kLeastWeight)) {
        return false;
      }
    }
    return true;
  }

 private:
  Eigen::MatrixXd words_;  // too large for the stack
  double sse_ = 0.0;
  double with_[kWords];
  double product_[kWords][kWords];
};

Shape shapeOfSet(const Set& set, int count) {
  Shape shape;
  shape.transitions = count;
  std::array<double, kMostTransitions> w{};
  double sum = 0.0;
  for (int t = 0; t < count; ++t) {
    sum += set.height[t];
  }
  for (int t = 0; t < count; ++t) {
    shape.c[t] = midpoint(set.word[t]);
    shape.logS[t] = logSteepness(set.word[t]);
    w[t] = set.height[t] / sum;
  }
  shape.setWeights(w);
  shape.sort();
  return shape;
}

bool near(const Shape& a, const Shape& b) {
  for (int t = 0; t < a.transitions; ++t) {
    if (std::abs(a.c[t] - b.c[t]) > kNearC || std::abs(a.logS[t] - b.logS[t]) > kNearLogS) {
      return false;
    }
  }
  return true;
}

void takeSeparate(const BestSets& sets, int count, Starts& starts) {
  const int before = starts.count;
  for (int i = 0; i < sets.count() && starts.count - before < kTaken; ++i) {
    const Shape shape = shapeOfSet(sets[i], count);
    const auto last = starts.shape.begin() + starts.count;
    if (std::none_of(starts.shape.begin(), last, [&](const Shape& s) { return near(s, shape); })) {
      starts.add(shape);
    }
  }
}

}  // namespace

void addSeveralStarts(const Setup& setup, int transitions, const Shape& single, Starts& starts) {
  const Dictionary dictionary(setup, single);
  BestSets pairs, triples;
  Set set;
  for (int a = 0; a < kWords; ++a) {
    for (int b = a + 1; b < kWords; ++b) {
      set.word = {a, b, 0};
      if (dictionary.solve(set, 2)) {
        pairs.offer(set);
      }
    }
  }
  if (transitions == 2) {
    takeSeparate(pairs, 2, starts);
    return;
  }
  for (int i = 0; i < pairs.count(); ++i) {
    for (int c = 0; c < kWords; ++c) {
      set.word = {pairs[i].word[0], pairs[i].word[1], c};
      if (c != set.word[0] && c != set.word[1] && dictionary.solve(set, 3)) {
        triples.offer(set);
      }
    }
  }
  takeSeparate(triples, 3, starts);
}

}  // namespace zolt::inference
