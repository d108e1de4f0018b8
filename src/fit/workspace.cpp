#include "fit/workspace.h"

#include <algorithm>
#include <new>

#include "fit/damped_step.h"
#include "fit/fit_models.h"

namespace zolt {
namespace {

constexpr std::align_val_t kAlignment{64};

constexpr int kModelArrays =
    std::max({model2State::kArrays, model3State::kArrays, model4State::kArrays,
              modelGauss1::kArrays, modelGauss2::kArrays, modelGauss3::kArrays});

}  // namespace

FitWorkspace::FitWorkspace(int points)
    : capacity_((kModelArrays + 1) * padded(points) + DampedSystem::storage(points, kMostFree)),
      storage_(static_cast<double*>(::operator new[](capacity_ * sizeof(double), kAlignment))) {}

void FitWorkspace::Free::operator()(double* p) const { ::operator delete[](p, kAlignment); }

}  // namespace zolt
