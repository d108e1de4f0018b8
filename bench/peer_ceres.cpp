#include <ceres/ceres.h>

#include "peers.h"

namespace {

// All free parameters are one block, as a user would put them.
class CurveCost : public ceres::CostFunction {
 public:
  explicit CurveCost(const SingleFit& fit) : fit_(fit) {
    set_num_residuals(static_cast<int>(fit.x.size()));
    mutable_parameter_block_sizes()->push_back(static_cast<int>(fit.free.size()));
  }

  bool Evaluate(double const* const* values, double* residuals, double** rows) const override {
    residualsOf(fit_, values[0], residuals);
    if (rows != nullptr && rows[0] != nullptr) {
      const std::size_t n = fit_.x.size(), c = fit_.free.size();
      std::vector<double> columns(n * c);
      derivativesOf(fit_, fullVector(fit_, values[0]).data(), columns.data());
      for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < c; ++j) {
          rows[0][i * c + j] = columns[j * n + i];
        }
      }
    }
    return true;
  }

 private:
  const SingleFit& fit_;
};

}  // namespace

std::vector<double> solveByCeres(const SingleFit& fit) {
  std::vector<double> values = freeStart(fit);
  ceres::Problem problem;
  problem.AddResidualBlock(new CurveCost(fit), nullptr, values.data());
  ceres::Solver::Options options;
  options.linear_solver_type = ceres::DENSE_QR;
  options.logging_type = ceres::SILENT;
  options.max_num_iterations = 200;
  options.function_tolerance = options.parameter_tolerance = kPeerTolerance;
  options.gradient_tolerance = 0.0;
  ceres::Solver::Summary summary;
  ceres::Solve(options, &problem, &summary);
  return fullVector(fit, values.data());
}
