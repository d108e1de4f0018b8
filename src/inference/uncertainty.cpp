// Covariances from the derivatives at the optimum.
#include "inference/uncertainty.h"

#include <Eigen/QR>
#include <Eigen/SVD>
#include <cmath>

#include "inference/shared_values.h"

namespace zolt::inference {
namespace {

// Singular values below this share of the largest, columns scaled to length 1, are rounding.
constexpr double kRankTolerance = 1e-9;
// A parameter this near to its bound, in what it takes to change the curve, is at the bound.
constexpr double kAtBound = 1e-6;
// A reading that the fit follows wholly would divide by 0.
constexpr double kMostLeverage = 1.0 - 1e-9;

using Physical = SmallMatrix<ZOLTI_PARAMETERS, kMostParameters>;

// Derivatives of the parameters in the caller's units by the columns of the fit.
Physical toCallersUnits(const Setup& setup, const Shape& shape,
                        const SmallMatrix<kMostShape, kMostSearched>& bySearched,
                        const std::array<int, kBaselineParameters>& which, int linear) {
  const Readings& r = setup.readings;
  Physical T(ZOLTI_PARAMETERS, linear + bySearched.cols());
  T.setZero();
  for (int j = 0; j < linear; ++j) {
    const int side = which[j] / 2;
    if (which[j] % 2 == 0) {
      T(2 * side, j) = r.ySpan;
    } else {
      T(2 * side, j) = -r.ySpan * (r.xFirst / r.xSpan);
      T(2 * side + 1, j) = r.ySpan / r.xSpan;
    }
  }
  const int k = shape.transitions;
  SmallMatrix<ZOLTI_PARAMETERS, kMostShape> byShape(ZOLTI_PARAMETERS, shapeCount(k));
  byShape.setZero();
  for (int t = 0; t < k; ++t) {
    byShape(placeOfCm(t), placeOfC(t)) = r.xSpan;
    byShape(placeOfM(t), placeOfLogS(t)) = std::exp(shape.logS[t]) * r.RT / r.xSpan;
  }
  if (k >= 2) {
    byShape(placeOfWeight(0), placeOfShare(k, 0)) = 1.0;
  }
  if (k == 2) {
    byShape(placeOfWeight(1), placeOfShare(k, 0)) = -1.0;
  } else if (k == 3) {
    byShape(placeOfWeight(1), placeOfShare(k, 0)) = -shape.share[1];
    byShape(placeOfWeight(1), placeOfShare(k, 1)) = 1.0 - shape.share[0];
  }
  T.rightCols(bySearched.cols()) = byShape.lazyProduct(bySearched);
  return T;
}

}  // namespace

std::array<bool, kMostSearched> atBounds(const ShapeMap& map, const Searched& at) {
  std::array<bool, kMostSearched> bound{};
  for (int i = 0; i < map.count(); ++i) {
    const double near = kAtBound * map.scale()[i];
    bound[i] = at[i] - map.lower()[i] <= near || map.upper()[i] - at[i] <= near;
  }
  return bound;
}

namespace {

// `share` is ZOLTI_SHARE_NOTHING for a curve alone, and `variance` is not looked at then.
void assessCurve(const Setup& setup, const Solution& solution, int share, double variance,
                 Uncertainty& result) {
  const Readings& r = setup.readings;
  const Shape& shape = solution.shape;
  const ShapeMap map = setup.map(shape.transitions);
  Separable separable(r, setup.baselines);
  Expansion expansion;
  separable.expand(shape, expansion);
  result.coefficients = separable.coefficients();
  result.residuals = separable.residuals();
  const auto whole = separable.jacobian(shape);
  const auto slopes = map.slopes(shape);
  const int linear = separable.linearCount();

  const auto bound = atBounds(map, map.searchedFrom(shape));
  SmallMatrix<kMostReadings, kMostParameters> J(r.n, linear + map.count());
  Physical T = toCallersUnits(setup, shape, slopes, separable.which(), linear);
  int columns = 0;
  for (int j = 0; j < linear + map.count(); ++j) {
    if (j >= linear && bound[j - linear]) {
      continue;
    }
    if (j < linear) {
      J.col(columns) = whole.col(j);
    } else {
      J.col(columns) = whole.rightCols(slopes.rows()).lazyProduct(slopes.col(j - linear));
    }
    T.col(columns) = T.col(j).eval();
    const double length = J.col(columns).norm();
    J.col(columns) *= length > 0.0 ? 1.0 / length : 0.0;
    T.col(columns) *= length > 0.0 ? 1.0 / length : 0.0;
    ++columns;
  }
  J.conservativeResize(r.n, columns);
  T.conservativeResize(ZOLTI_PARAMETERS, columns);

  result.freeParameters = linear + map.count();
  result.unbound = columns;
  result.degrees = r.n - result.freeParameters;
  if (share == ZOLTI_SHARE_NOTHING) {
    variance = r.sdKnown ? 1.0 / r.sseUnit : solution.sse / result.degrees;
  }
  result.variance = variance;
  result.condition = -1.0;
  if (columns == 0) {
    return;  // everything is held or at a bound: there is nothing to be uncertain of, and no fit
  }

  const Eigen::HouseholderQR<SmallMatrix<kMostReadings, kMostParameters>> qr(J);
  const Covariance R = qr.matrixQR().topRows(columns).triangularView<Eigen::Upper>();
  const Eigen::JacobiSVD<Covariance> singular(R);
  const auto& values = singular.singularValues();
  result.rank = static_cast<int>((values.array() > kRankTolerance * values[0]).count());
  result.determined = result.rank == columns && J.allFinite();
  if (!result.determined) {
    return;
  }
  result.condition = values[0] / values[columns - 1];
  // J = Q R, so that Q = J inverse(R) row by row, and the leverages are the squares of its rows.
  const Covariance inverse =
      R.triangularView<Eigen::Upper>().solve(Covariance::Identity(columns, columns));
  SmallMatrix<kMostReadings, kMostParameters> Q(r.n, columns);
  Q.setIdentity();
  Q.applyOnTheLeft(qr.householderQ());
  result.leverage = Q.rowwise().squaredNorm();
  const Physical half = T.lazyProduct(inverse);
  result.model = result.variance * half.lazyProduct(half.transpose());
  for (int power = 1; power <= 2; ++power) {
    Covariance inner(columns, columns);
    inner.setZero();
    for (int i = 0; i < r.n; ++i) {
      const double left = 1.0 - std::min(result.leverage[i], kMostLeverage);
      const double e = result.residuals[i];
      inner += (e * e / (power == 1 ? left : left * left)) * Q.row(i).transpose() * Q.row(i);
    }
    (power == 1 ? result.hc2 : result.hc3) = half.lazyProduct(inner).lazyProduct(half.transpose());
  }
  if (share != ZOLTI_SHARE_NOTHING) {
    // The free parameters follow the shared ones so that the residuals stay orthogonal to J.
    const auto direct = directionOfShared(setup, shape, share);
    const SmallMatrix<kMostReadings, kMostTransitions> moved =
        whole.rightCols(slopes.rows()).lazyProduct(direct);
    const SmallMatrix<kMostParameters, kMostTransitions> along = Q.transpose().lazyProduct(moved);
    result.byShared = toCallersUnits(setup, shape, SmallMatrix<kMostShape, kMostSearched>(direct),
                                     separable.which(), 0) -
                      half.lazyProduct(along);
  }
}

}  // namespace

void assess(const Setup& setup, const Solution& solution, Uncertainty& result) {
  assessCurve(setup, solution, ZOLTI_SHARE_NOTHING, 0.0, result);
}

void assessShared(const Setup& setup, const Solution& solution, int share, double variance,
                  Uncertainty& result) {
  assessCurve(setup, solution, share, variance, result);
}

double varianceOfDG(const SmallMatrix<ZOLTI_PARAMETERS, ZOLTI_PARAMETERS>& covariance, double Cm,
                    double m, int t) {
  const int i = placeOfCm(t), j = placeOfM(t);
  return m * m * covariance(i, i) + 2.0 * m * Cm * covariance(i, j) + Cm * Cm * covariance(j, j);
}

}  // namespace zolt::inference
