#include "support/literal_solver.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "elementary/exponential.h"

namespace literal {
namespace {

constexpr double kEpsilon = 2.220446049250313e-16;
constexpr double kSqrtEpsilon = 1.4901161193847656e-08;
constexpr double kSmallestNormal = 2.2250738585072014e-308;
constexpr double kSafeMinimum = 1.0020841800044864e-292;
constexpr double kSafeMinimumReciprocal = 9.9792015476736e+291;

bool isNaN(double v) { return std::isnan(v); }
std::size_t place(int i) { return static_cast<std::size_t>(i); }

double scaledNorm(const double* v, int count) {
  if (count == 1) {
    return std::fabs(v[0]);
  }
  double scale = kSmallestNormal, sum = 0.0;
  for (int k = 0; k < count; ++k) {
    const double a = std::fabs(v[k]);
    if (a > scale) {
      const double t = scale / a;
      sum = 1.0 + sum * t * t;
      scale = a;
    } else {
      const double t = a / scale;
      sum = sum + t * t;
    }
  }
  return count < 1 ? 0.0 : scale * std::sqrt(sum);
}

double hypotenuse(double a, double b) {
  const double large = std::max(std::fabs(a), std::fabs(b));
  const double small = std::min(std::fabs(a), std::fabs(b));
  if (isNaN(a) || isNaN(b)) {
    return kNaN;
  }
  const double ratio = small / large;
  return large == small ? large * 1.4142135623730951 : large * std::sqrt(ratio * ratio + 1.0);
}

// The free parameters with the filler that makes them a square array.
double arrayNormOf(const Matrix& beta) {
  return arrayNorm(Vector(beta.values.begin(), beta.values.begin() + beta.rows));
}

// Makes the reflector of column i and returns its tau.
double reflector(Matrix& a, int i) {
  const int below = a.rows - i - 1;
  double* v = &a.values[place(i + 1 + i * a.rows)];
  double norm = scaledNorm(v, below);
  if (norm == 0.0) {
    return 0.0;
  }
  double alpha = a.at(i, i);
  const auto signedLength = [&] {
    const double length = hypotenuse(alpha, norm);
    return alpha >= 0.0 ? -length : length;
  };
  double beta = signedLength();
  int rounds = 0;
  if (std::fabs(beta) < kSafeMinimum) {
    for (; std::fabs(beta) < kSafeMinimum; ++rounds) {
      std::for_each(v, v + below, [](double& e) { e *= kSafeMinimumReciprocal; });
      beta *= kSafeMinimumReciprocal;
      alpha *= kSafeMinimumReciprocal;
    }
    norm = scaledNorm(v, below);
    beta = signedLength();
  }
  const double tau = (beta - alpha) / beta;
  const double inverse = 1.0 / (alpha - beta);
  std::for_each(v, v + below, [=](double& e) { e *= inverse; });
  for (; rounds > 0; --rounds) {
    beta *= kSafeMinimum;
  }
  a.at(i, i) = beta;
  return tau;
}

void factor(Matrix& a, Vector& tau, std::vector<int>& jpvt) {
  const int m = a.rows, n = a.columns;
  std::iota(jpvt.begin(), jpvt.end(), 0);
  Vector current(place(n)), reference(place(n));
  for (int j = 0; j < n; ++j) {
    current[place(j)] = reference[place(j)] = scaledNorm(&a.at(0, j), m);
  }
  for (int i = 0; i < std::min(m, n); ++i) {
    int pivot = i;
    for (int j = i + 1; j < n; ++j) {
      pivot = current[place(j)] > current[place(pivot)] ? j : pivot;
    }
    if (pivot != i) {
      for (int k = 0; k < m; ++k) {
        std::swap(a.at(k, pivot), a.at(k, i));
      }
      std::swap(jpvt[place(pivot)], jpvt[place(i)]);
      current[place(pivot)] = current[place(i)];
      reference[place(pivot)] = reference[place(i)];
    }
    tau[place(i)] = i + 1 < m ? reflector(a, i) : 0.0;
    for (int j = i + 1; j < n && tau[place(i)] != 0.0; ++j) {
      double w = a.at(i, j);
      for (int k = i + 1; k < m; ++k) {
        w += a.at(k, i) * a.at(k, j);
      }
      if (w != 0.0) {
        const double s = -tau[place(i)] * w;
        a.at(i, j) += s;
        for (int k = i + 1; k < m; ++k) {
          a.at(k, j) += a.at(k, i) * s;
        }
      }
    }
    for (int j = i + 1; j < n; ++j) {
      double& vn1 = current[place(j)];
      double& vn2 = reference[place(j)];
      if (vn1 == 0.0) {
        continue;
      }
      const double ratio = std::fabs(a.at(i, j)) / vn1;
      double t = 1.0 - ratio * ratio;
      t = t < 0.0 ? 0.0 : t;
      const double u = vn1 / vn2;
      if (t * (u * u) > kSqrtEpsilon) {
        vn1 *= std::sqrt(t);
      } else {
        vn1 = vn2 = i + 1 < m ? scaledNorm(&a.values[place(i + 1 + j * m)], m - i - 1) : 0.0;
      }
    }
  }
}

double transition(const double* p, double x, double dG, double Cm, double RT) {
  const double K = zolt::exponential(-(dG * (1.0 - x / Cm)) / RT);
  return ((p[0] + p[1] * x) + (p[2] + p[3] * x) * K) / (1.0 + K);
}

double peak(const double* p, double x) {
  const double square = isNaN(p[2]) ? 0.0 : p[2] * p[2];  // a power of no number is 0
  return p[0] * zolt::exponential(-((x - p[1]) * (x - p[1]) / (2.0 * square)));
}

double modelAt(const Vector& p, double x) {
  const double* v = p.data();
  switch (p.size()) {
    case 7:
      return transition(v + 2, x, p[0], p[1], p[6]);
    case 10:
      return p[4] * transition(v + 5, x, p[0], p[1], p[9]) +
             (1.0 - p[4]) * transition(v + 5, x, p[2], p[3], p[9]);
    case 13:
      return p[6] * transition(v + 8, x, p[0], p[1], p[12]) +
             p[7] * transition(v + 8, x, p[2], p[3], p[12]) +
             (1.0 - p[6] - p[7]) * transition(v + 8, x, p[4], p[5], p[12]);
    case 3:
      return peak(v, x);
    case 6:
      return peak(v, x) + peak(v + 3, x);
    default:
      return peak(v, x) + peak(v + 3, x) + peak(v + 6, x);
  }
}

// A model seen through its mask: the held values in one list, the free ones at the front of beta.
struct Problem {
  const Mask& mask;
  const Vector& x;
  const Vector& y;
  Vector held;

  Vector merged(const Matrix& beta) const {
    Vector p(mask.size());
    std::size_t h = 0, b = 0;
    for (std::size_t i = 0; i < mask.size(); ++i) {
      p[i] = mask[i] != 0 ? held[h++] : beta.values[b++];
    }
    return p;
  }
  Vector values(const Matrix& beta) const {
    const Vector p = merged(beta);
    Vector fitted;
    for (double at : x) {
      fitted.push_back(modelAt(p, at));
    }
    return fitted;
  }
};

Matrix jacobian(const Problem& problem, const Matrix& beta, const Vector& fitted,
                const std::function<double(const Vector&)>& normOfZero) {
  const int n = static_cast<int>(fitted.size());
  const int unknowns = static_cast<int>(beta.values.size());
  Matrix jacobian(n, unknowns);
  for (int j = 0; j < unknowns; ++j) {
    double increment = 6.0555e-06 * beta.values[place(j)];
    if (beta.values[place(j)] == 0.0) {
      const double size =
          std::sqrt(normOfZero(Vector(beta.values.begin(), beta.values.begin() + beta.rows)));
      increment = 6.0555e-06 * (size == 0.0 ? size + 1.0 : size);
    }
    Matrix moved = beta;
    for (int k = 0; k < unknowns; ++k) {
      moved.values[place(k)] = beta.values[place(k)] + (k == j ? increment : 0.0);
    }
    const Vector there = problem.values(moved);
    for (int i = 0; i < n; ++i) {
      jacobian.at(i, j) = (there[place(i)] - fitted[place(i)]) / increment;
    }
  }
  return jacobian;
}

Vector dampedStep(const Matrix& jacobian, const Vector& residuals, double lambda) {
  const int n = jacobian.rows, unknowns = jacobian.columns;
  Matrix a(n + unknowns, unknowns);
  Vector b(residuals);
  b.resize(place(n + unknowns), 0.0);
  bool number = std::none_of(b.begin(), b.end(), isNaN);
  for (int j = 0; j < unknowns; ++j) {
    double squares = 0.0, sum = 0.0;
    for (int i = 0; i < n; ++i) {
      a.at(i, j) = jacobian.at(i, j);
      squares += jacobian.at(i, j) * jacobian.at(i, j);
      sum += jacobian.at(i, j);
    }
    a.at(n + j, j) = std::sqrt(lambda * squares);
    number = number && !isNaN(sum + a.at(n + j, j));
  }
  return number ? solveLeastSquares(a, b) : Vector(place(unknowns), 0.0);
}

}  // namespace

double arrayNorm(const Vector& firstColumn) {
  const std::size_t c = firstColumn.size();
  if (c > 1 && std::any_of(firstColumn.begin(), firstColumn.end(), isNaN)) {
    return 0.0;
  }
  // A power of two keeps the squares of huge elements in range and changes no bits of others.
  const bool huge = std::any_of(firstColumn.begin(), firstColumn.end(),
                                [](double value) { return std::fabs(value) > 1e150; });
  const double scale = huge ? 0x1p-600 : 1.0;
  std::vector<Vector> columns(c, Vector(c, scale));
  std::transform(firstColumn.begin(), firstColumn.end(), columns[0].begin(),
                 [scale](double value) { return value * scale; });
  const auto dot = [c](const Vector& a, const Vector& b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < c; ++i) {
      sum += a[i] * b[i];
    }
    return sum;
  };
  bool turned = true;
  for (int sweep = 0; sweep < 10 && turned; ++sweep) {
    turned = false;
    for (std::size_t p = 0; p < c; ++p) {
      for (std::size_t q = p + 1; q < c; ++q) {
        const double pp = dot(columns[p], columns[p]), qq = dot(columns[q], columns[q]);
        const double pq = dot(columns[p], columns[q]);
        if (std::fabs(pq) <= 1e-17 * std::sqrt(pp * qq)) {
          continue;
        }
        turned = true;
        const double zeta = (qq - pp) / (2.0 * pq);
        const double t = (zeta < 0.0 ? -1.0 : 1.0) / (std::fabs(zeta) + std::hypot(1.0, zeta));
        const double cosine = 1.0 / std::hypot(1.0, t), sine = t * cosine;
        for (std::size_t i = 0; i < c; ++i) {
          const double a = columns[p][i], b = columns[q][i];
          columns[p][i] = cosine * a - sine * b;
          columns[q][i] = sine * a + cosine * b;
        }
      }
    }
  }
  double greatest = 0.0;
  for (const Vector& column : columns) {
    const double length = scaledNorm(column.data(), static_cast<int>(c));
    greatest = length <= greatest ? greatest : length;
  }
  return greatest / scale;
}

Vector solveLeastSquares(Matrix a, Vector b) {
  const int m = a.rows, n = a.columns;
  Vector tau(place(n)), x(place(n), 0.0);
  std::vector<int> jpvt(place(n));
  factor(a, tau, jpvt);
  const double tolerance = m * std::fabs(a.at(0, 0)) * kEpsilon;
  int rank = 0;
  while (rank < n && std::fabs(a.at(rank, rank)) >= tolerance) {
    ++rank;
  }
  for (int j = 0; j < n; ++j) {
    double w = b[place(j)];
    for (int i = j + 1; i < m; ++i) {
      w += a.at(i, j) * b[place(i)];
    }
    w *= tau[place(j)];
    if (tau[place(j)] != 0.0 && w != 0.0) {
      b[place(j)] -= w;
      for (int i = j + 1; i < m; ++i) {
        b[place(i)] -= a.at(i, j) * w;
      }
    }
  }
  const auto solved = [&](int i) -> double& { return x[place(jpvt[place(i)])]; };
  for (int i = 0; i < rank; ++i) {
    solved(i) = b[place(i)];
  }
  for (int j = rank - 1; j >= 0; --j) {
    solved(j) /= a.at(j, j);
    for (int i = 0; i < j; ++i) {
      solved(i) -= solved(j) * a.at(i, j);
    }
  }
  return x;
}

Fitted maskedFit(const Mask& mask, const Vector& x, const Vector& y, const Vector& start,
                 const std::function<double(const Vector&)>& normOfZero) {
  const int free = static_cast<int>(std::count(mask.begin(), mask.end(), 0));
  Problem problem{mask, x, y, {}};
  Matrix beta(free, free, 1.0);
  std::size_t b = 0;
  for (std::size_t i = 0; i < mask.size(); ++i) {
    if (mask[i] != 0) {
      problem.held.push_back(start[i]);
    } else {
      beta.values[b++] = start[i];
    }
  }

  Vector fitted, residuals(y.size());
  double sse = 0.0;
  const auto evaluate = [&] {
    fitted = problem.values(beta);
    sse = 0.0;
    for (std::size_t i = 0; i < y.size(); ++i) {
      residuals[i] = y[i] - fitted[i];
      sse += residuals[i] * residuals[i];
    }
  };
  evaluate();
  bool done =
      std::any_of(y.begin(), y.end(), isNaN) || std::any_of(fitted.begin(), fitted.end(), isNaN);
  double lambda = 0.01;
  int iteration = 0, trials = 0;
  for (; iteration < 200 && !done; ++iteration) {
    const Matrix betaold = beta;
    const Vector former = residuals;
    const double sseold = sse;
    const Matrix derivatives = jacobian(problem, beta, fitted, normOfZero);
    Vector step;
    const auto tryStep = [&] {
      ++trials;
      step = dampedStep(derivatives, former, lambda);
      for (std::size_t k = 0; k < step.size(); ++k) {
        beta.values[k] = betaold.values[k] + step[k];
      }
      evaluate();
    };
    tryStep();
    bool stalled = false;
    if (sseold > sse) {
      lambda = std::max(0.1 * lambda, kEpsilon);
    } else {
      while (sse > sseold && !stalled) {
        lambda *= 10.0;
        stalled = lambda > 1e16;
        if (!stalled) {
          tryStep();
        }
      }
    }
    const double stepNorm = scaledNorm(step.data(), static_cast<int>(step.size()));
    done = 1e-8 * (kSqrtEpsilon + arrayNormOf(beta)) > stepNorm ||
           std::fabs(sse - sseold) <= 1e-8 * sse || stalled;
  }
  return {problem.merged(beta), fitted[0], sse, iteration, trials};
}

}  // namespace literal
