// Other least-squares libraries on the fits that the light entries make, as a user would call them:
// plain model code, analytic derivatives, the same starts and the same tolerances.
#pragma once

#include <string>
#include <vector>

// One fit of a curve with the parameters that `free` names; see ParameterOrder for their places.
struct SingleFit {
  int transitions;
  std::vector<double> x, y;
  std::vector<double> start;
  std::vector<int> free;
};

// Signal at all points, and its derivatives by the free parameters, one column each.
void signalOf(const SingleFit& fit, const double* full, double* signal);
void derivativesOf(const SingleFit& fit, const double* full, double* columns);

// The free parameters of the start, and the start with free parameters put in.
std::vector<double> freeStart(const SingleFit& fit);
std::vector<double> fullVector(const SingleFit& fit, const double* freeValues);

// Signal minus reading at all points.
void residualsOf(const SingleFit& fit, const double* freeValues, double* residuals);

double sumOfSquares(const SingleFit& fit, const std::vector<double>& full);

// A peer fits and returns all parameters.
struct Peer {
  std::string name;
  std::vector<double> (*solve)(const SingleFit&);
};
const std::vector<Peer>& peers();

// Where the libraries are there.
std::vector<double> solveByGsl(const SingleFit& fit);
std::vector<double> solveByCeres(const SingleFit& fit);

inline constexpr double kPeerTolerance = 1e-8;
inline constexpr int kPeerEvaluations = 400;
