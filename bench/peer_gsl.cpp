#include <gsl/gsl_multifit_nlinear.h>

#include <map>
#include <memory>

#include "peers.h"

namespace {

int residualsForGsl(const gsl_vector* values, void* data, gsl_vector* residuals) {
  residualsOf(*static_cast<const SingleFit*>(data), values->data, residuals->data);
  return 0;
}

int derivativesForGsl(const gsl_vector* values, void* data, gsl_matrix* rows) {
  const auto& fit = *static_cast<const SingleFit*>(data);
  std::vector<double> columns(fit.x.size() * fit.free.size());
  derivativesOf(fit, fullVector(fit, values->data).data(), columns.data());
  for (std::size_t i = 0; i < fit.x.size(); ++i) {
    for (std::size_t j = 0; j < fit.free.size(); ++j) {
      gsl_matrix_set(rows, i, j, columns[j * fit.x.size() + i]);
    }
  }
  return 0;
}

using Workspace =
    std::unique_ptr<gsl_multifit_nlinear_workspace, decltype(&gsl_multifit_nlinear_free)>;

}  // namespace

// Whoever fits many curves keeps the workspace of a size.
std::vector<double> solveByGsl(const SingleFit& fit) {
  static std::map<std::pair<std::size_t, std::size_t>, Workspace> kept;
  const std::pair size(fit.x.size(), fit.free.size());
  auto found = kept.find(size);
  if (found == kept.end()) {
    const auto usual = gsl_multifit_nlinear_default_parameters();
    found =
        kept.emplace(size, Workspace(gsl_multifit_nlinear_alloc(gsl_multifit_nlinear_trust, &usual,
                                                                size.first, size.second),
                                     gsl_multifit_nlinear_free))
            .first;
  }
  gsl_multifit_nlinear_workspace* const work = found->second.get();
  gsl_multifit_nlinear_fdf problem{};
  problem.f = residualsForGsl;
  problem.df = derivativesForGsl;
  problem.n = size.first;
  problem.p = size.second;
  problem.params = const_cast<SingleFit*>(&fit);
  const std::vector<double> start = freeStart(fit);
  const gsl_vector_const_view view = gsl_vector_const_view_array(start.data(), start.size());
  gsl_multifit_nlinear_init(&view.vector, &problem, work);
  int reason = 0;
  gsl_multifit_nlinear_driver(200, kPeerTolerance, kPeerTolerance, kPeerTolerance, nullptr, nullptr,
                              &reason, work);
  return fullVector(fit, gsl_multifit_nlinear_position(work)->data);
}
