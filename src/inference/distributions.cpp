// Distributions by Boost.Math, with errors that come back as values: nothing here may throw.
#include "inference/distributions.h"

#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <cmath>

namespace zolt::inference {
namespace {

namespace policies = boost::math::policies;
using Policy = policies::policy<
    policies::domain_error<policies::ignore_error>, policies::pole_error<policies::ignore_error>,
    policies::overflow_error<policies::ignore_error>,
    policies::underflow_error<policies::ignore_error>,
    policies::evaluation_error<policies::ignore_error>,
    policies::rounding_error<policies::ignore_error>, policies::promote_double<false>>;

// Tails below this are reported as 0, which keeps the continued fractions off their limits.
constexpr double kMostF = 1e100;

}  // namespace

double studentQuantile(double level, double degrees) {
  const boost::math::students_t_distribution<double, Policy> t(degrees);
  return boost::math::quantile(boost::math::complement(t, 0.5 * (1.0 - level)));
}

double normalQuantile(double level) {
  const boost::math::normal_distribution<double, Policy> z(0.0, 1.0);
  return boost::math::quantile(boost::math::complement(z, 0.5 * (1.0 - level)));
}

double fTail(double F, double degreesAbove, double degreesBelow) {
  if (!(F > 0.0)) {
    return 1.0;
  }
  if (F > kMostF) {
    return 0.0;
  }
  const boost::math::fisher_f_distribution<double, Policy> f(degreesAbove, degreesBelow);
  return boost::math::cdf(boost::math::complement(f, F));
}

}  // namespace zolt::inference
