/* zolt_inference.h - the C interface of ZOLTInference.
 *
 * ZOLTFittingEngine gives a curve a fit; this library says what the readings allow to be said. It
 * takes the fit to the least sum of squares, weighs one, two and three transitions against one
 * another and against curves without any, gives standard errors and intervals, fits many curves
 * with one m-value or one dG, and draws the fitted curve with its confidence band. It calls the
 * engine for starts only. It has no user interface, no files, no settings and no state.
 *
 * THE MODEL
 *   That of the engine: k = 1, 2 or 3 transitions (two, three or four states) between one pair of
 *   straight baselines,
 *     S(x) = (aN + bN x)(1 - G(x)) + (aU + bU x) G(x),   G(x) = sum of w F over the transitions,
 *     F(x) = 1/(1 + exp(-m (x - Cm)/RT)),   dG = m Cm,   the weights w adding up to 1.
 *   Transitions stand in the order of their midpoints.
 *
 * UNITS
 *   Energies are in cal/mol, temperatures in degrees Celsius, RT = (temperature + 273.15) * 1.9872
 *   in cal/mol. x may be in any unit, which Cm then shares, and y in any unit, which the baseline
 *   intercepts share; m is in cal/mol per unit of x.
 *
 * READINGS
 *   A curve is x and y in any order, with a standard deviation a reading where there is one. A pair
 *   with a NaN or an infinity in it is a missing reading: it is counted and otherwise left out.
 *   Equal x are replicates; each stays a reading, and together they tell the pure error. At most
 *   384 readings; at least one more than the model has free parameters, and at least as many
 *   different concentrations as free parameters.
 *
 * SIZES AND POINTERS
 *   Arrays are plain storage of the caller's with the length told beside them. Inputs are never
 *   written, nothing is kept, and outputs must not overlap inputs or one another. Pointers must not
 *   be null unless it is said that they may; a null one otherwise gives ZOLTI_BAD_ARGUMENT.
 *   Records hold 32-bit integers and doubles without gaps; ZOLTI_size tells their sizes.
 *
 * FAILURES
 *   Nothing raises, logs or prints. Every call returns a status, 0 for success, and ZOLTI_sentence
 *   tells it in words. Records are written whatever happens; a record whose status is not
 *   ZOLTI_FITTED holds no fit. No number of a fit is infinite or NaN; what cannot be had, such as
 *   the standard error of a held value, is -1. Memory that cannot be had ends the process.
 *
 * THREADS
 *   Any number of threads may call at once, also with the same inputs; no two may share an output.
 *   A thread with 512 KiB of stack is enough.
 *
 * REPEATABILITY
 *   The same input gives the same bits on one build. Builds for other machines agree to about nine
 *   digits. Multiplying the signal by a factor or adding a constant to it moves no dG, Cm, m or
 *   weight by more than its rounding.
 *
 * The header is C99 and C++.
 */
#ifndef ZOLT_INFERENCE_H
#define ZOLT_INFERENCE_H

#include <stdint.h>

#if defined(_WIN32)
#if defined(ZOLTI_BUILDING_LIBRARY)
#define ZOLTI_API __declspec(dllexport)
#else
#define ZOLTI_API __declspec(dllimport)
#endif
#else
#define ZOLTI_API __attribute__((visibility("default")))
#endif

/* ================================== Status ================================== */

enum {
  ZOLTI_FITTED = 0,
  ZOLTI_NO_TRANSITION = 1,          /* a curve without a transition serves as well */
  ZOLTI_UNDETERMINED = 2,           /* the readings leave a combination of parameters open */
  ZOLTI_NOT_CONVERGED = 3,          /* the iterations ended before the optimum was reached */
  ZOLTI_TOO_FEW_READINGS = 4,       /* at least one more than free parameters */
  ZOLTI_TOO_MANY_READINGS = 5,      /* at most ZOLTI_MOST_READINGS */
  ZOLTI_TOO_FEW_CONCENTRATIONS = 6, /* at least as many different ones as free parameters */
  ZOLTI_FLAT_SIGNAL = 7,            /* all readings are equal */
  ZOLTI_BEYOND_ARITHMETIC = 8,      /* a range of x or y below 1e-140 or above 1e140 */
  ZOLTI_BAD_TEMPERATURE = 9,        /* not from 0 to 100 degrees Celsius */
  ZOLTI_BAD_DEVIATION = 10,         /* a standard deviation that is not above 0 */
  ZOLTI_BAD_HELD = 11,              /* held values that contradict or that no curve can have */
  ZOLTI_BAD_BASELINE = 12,          /* unknown kind, or given values that are not finite */
  ZOLTI_BAD_BOUNDS = 13,            /* bounds that leave nothing between them */
  ZOLTI_BAD_ARGUMENT = 14,          /* null pointer, unknown choice, record of another release */
  ZOLTI_NOTHING_SHARED = 15,        /* fewer than two curves of a global fit can be fitted */
  ZOLTI_STATUS_COUNT = 16
};

enum {
  ZOLTI_MOST_READINGS = 384,
  ZOLTI_MOST_TRANSITIONS = 3,
  ZOLTI_MOST_CURVES = 4096,   /* of a global fit; 400 and fewer are what it is made for */
  ZOLTI_PARAMETERS = 12,      /* rows and columns of a covariance, see ZOLTI_Fit */
  ZOLTI_ENGINE_LENGTH = 24,   /* length of a result vector of the engine */
  ZOLTI_SENTENCE_LENGTH = 240 /* bytes that hold every sentence of this library */
};

/* ================================== Input ================================== */

/* One curve. */
typedef struct ZOLTI_Curve {
  const double* x;    /* n concentrations, in any order; may be null if n is 0 */
  const double* y;    /* n signals; may be null if n is 0 */
  const double* sd;   /* n standard deviations of y, or null: all readings weigh the same */
  int32_t n;          /* number of readings; a negative one counts as 0 */
  int32_t reserved;   /* 0 */
  double temperature; /* degrees Celsius, 0 to 100 */
} ZOLTI_Curve;

/* Kinds of baseline. */
enum {
  ZOLTI_LINE = 0, /* intercept and slope fitted */
  ZOLTI_FLAT = 1, /* intercept fitted, slope 0 */
  ZOLTI_GIVEN = 2 /* intercept and slope as given */
};

/* Choices of a fit; ZOLTI_options fills in the usual ones. */
typedef struct ZOLTI_Options {
  int32_t size;              /* of this record in bytes, as ZOLTI_options writes it */
  int32_t native_kind;       /* ZOLTI_LINE, ZOLTI_FLAT or ZOLTI_GIVEN */
  int32_t denatured_kind;    /* the same for the denatured side */
  int32_t sd_known;          /* 1: sd are true deviations; 0: they only weigh readings against
                                one another, and the scatter about the fit tells their size */
  int32_t without_engine;    /* 1: starts come from this library's own grid alone */
  int32_t reserved;          /* 0 */
  double baseline[4];        /* aN, bN, aU, bU of given sides */
  double dG[3], Cm[3], m[3]; /* values held, transition by transition; NaN: fitted */
  double least_m, most_m;    /* bounds of m; 0: from the readings, see ZOLTI_fit */
  double margin;             /* how far a midpoint may lie outside the readings, in their range */
} ZOLTI_Options;

/* ================================== Records ================================== */

/* Bits of ZOLTI_Fit.bounds; each shifted left by 8 (transition - 1). */
enum {
  ZOLTI_M_LEAST = 1,      /* m at its lower bound */
  ZOLTI_M_MOST = 2,       /* m at its upper bound: the transition falls between two readings */
  ZOLTI_CM_LEAST = 4,     /* midpoint at the lower end of what is allowed */
  ZOLTI_CM_MOST = 8,      /* midpoint at the upper end */
  ZOLTI_WEIGHT_EDGE = 16, /* weight as small or as large as it may become */
  ZOLTI_OUTSIDE = 32      /* not a bound: the midpoint lies outside the readings */
};

/* A fit of one curve. The parameters of a covariance stand in the order aN, bN, aU, bU, Cm1, m1,
 * Cm2, m2, Cm3, m3, w1, w2; rows and columns of what is held, given or absent are 0. */
typedef struct ZOLTI_Fit {
  int32_t status;          /* ZOLTI_FITTED or why there is no fit */
  int32_t transitions;     /* 1, 2 or 3 */
  int32_t readings;        /* that were fitted */
  int32_t missing;         /* readings left out for a NaN or an infinity */
  int32_t concentrations;  /* that differ */
  int32_t free_parameters; /* baselines included */
  int32_t rank;       /* of the derivatives of the fitted signal; less than free: undetermined */
  int32_t bounds;     /* bits, see above; a parameter at its bound has no standard error */
  int32_t iterations; /* of the run that led to the optimum */
  int32_t starts;     /* that were followed */
  int32_t agreeing;   /* starts that led to the same optimum */
  int32_t sd_known;   /* as in the options, 0 without deviations */
  double RT;          /* cal/mol */
  double x_first, x_last;               /* the lowest and the highest concentration */
  double y_span;                        /* largest less smallest signal */
  double baseline[4];                   /* aN, bN, aU, bU */
  double dG[3], Cm[3], m[3], weight[3]; /* by transition, 0 beyond the last */
  double baseline_se[4];                /* standard errors from the model, -1 where there is none */
  double dG_se[3], Cm_se[3], m_se[3], weight_se[3];
  double baseline_hc3[4]; /* standard errors that hold under unequal scatter (HC3) */
  double dG_hc3[3], Cm_hc3[3], m_hc3[3], weight_hc3[3];
  double dG_m_correlation[3]; /* 0 where one of them is held */
  double sse;                 /* sum of squared residuals, each over its sd where there are any */
  double degrees;             /* of freedom: readings less free parameters */
  double residual_sd;         /* square root of sse / degrees */
  double r_squared;           /* 1 - sse over the sum of squares about the mean; may be below 0 */
  double durbin_watson;       /* of the residuals in ascending x: 2 for noise, 0 for waves */
  double condition;           /* of the derivatives, each column scaled to length 1 */
  double aicc;                /* Akaike's criterion for small samples, noise variance counted */
  double pure_sse, pure_degrees; /* of replicates about their means; 0 and 0 without any */
  double lack_F, lack_p;         /* lack of fit against pure error; -1 where it cannot be tested */
  double covariance[144];        /* 12 rows of 12, see above */
  double covariance_hc3[144];
  double engine[24]; /* what the engine said to the same readings; all 0 if it was not asked */
} ZOLTI_Fit;

/* The models that compete for a curve. */
enum {
  ZOLTI_MODEL_LINE = 0,        /* a + b x */
  ZOLTI_MODEL_PARABOLA = 1,    /* a + b x + c x^2 */
  ZOLTI_MODEL_EXPONENTIAL = 2, /* a + b exp(-c x), c of either sign */
  ZOLTI_MODEL_TWO_STATES = 3,
  ZOLTI_MODEL_THREE_STATES = 4,
  ZOLTI_MODEL_FOUR_STATES = 5,
  ZOLTI_MODEL_COUNT = 6
};

/* Why a larger model was not taken, in the order in which it is looked at. */
enum {
  ZOLTI_PASSED = 0,         /* it was taken */
  ZOLTI_NOT_TRIED = 1,      /* the decision had fallen before */
  ZOLTI_FEW_READINGS = 2,   /* 18 are needed for a third state, 24 for a fourth */
  ZOLTI_NO_NEED = 3,        /* residuals of the smaller model are noise, or below 0.3 % of span */
  ZOLTI_UNSOUND = 4,        /* the larger model has no sound fit */
  ZOLTI_SMALL_GAIN = 5,     /* the F test does not prefer it */
  ZOLTI_ONE_READING = 6,    /* it does not without one of the three readings that gain most */
  ZOLTI_SMALL_WEIGHT = 7,   /* a weight of 0.10 or less */
  ZOLTI_NOT_APART = 8,      /* midpoints within two standard errors of one another */
  ZOLTI_INCOMPLETE = 9,     /* a transition begins before or ends after the readings */
  ZOLTI_SERVES_AS_WELL = 10 /* two states: a curve without a transition serves as well */
};

/* A row of the comparison of models. A number that was not computed is -1. */
typedef struct ZOLTI_EvidenceRow {
  int32_t model;       /* ZOLTI_MODEL_... */
  int32_t states;      /* 0 for a curve without a transition, else 2, 3 or 4 */
  int32_t tried;       /* 1 if the model was fitted */
  int32_t sound;       /* 1 if its fit converged with all numbers finite */
  int32_t engine_code; /* of the engine's analysis that gave a start, -1 without one */
  int32_t outcome;     /* ZOLTI_PASSED and the others */
  int32_t parameters;  /* free, baselines included */
  int32_t against;     /* the smaller model of F and p, ZOLTI_MODEL_... or -1 */
  double sse, residual_sd, durbin_watson;
  double aicc, aicc_difference; /* the difference from the smallest of the table */
  double F, p;                  /* extra sum of squares over the smaller model */
  double p_without;             /* the largest p with one of three readings left out */
  double x_without;             /* the concentration of that reading; 0 where p_without is -1 */
  double least_weight;
  double apart; /* smallest distance of midpoints in standard errors */
} ZOLTI_EvidenceRow;

/* What speaks for the number of states. */
typedef struct ZOLTI_Evidence {
  int32_t status; /* ZOLTI_FITTED, ZOLTI_NO_TRANSITION or why nothing could be decided */
  int32_t states; /* 2, 3 or 4; 0 without a transition */
  int32_t readings;
  int32_t reserved;
  ZOLTI_EvidenceRow row[6]; /* by ZOLTI_MODEL_... */
} ZOLTI_Evidence;

/* How an interval is found. */
enum {
  ZOLTI_PROFILE = 0,  /* where the least sum of squares with the value held grows too large */
  ZOLTI_LINEAR = 1,   /* estimate and quantile of Student's t times the standard error */
  ZOLTI_BOOTSTRAP = 2 /* refits of the fitted curve with residuals drawn anew */
};

/* Confidence intervals, lower then upper end; an open end is an infinity. What is held has both
 * ends at its value; beyond the last transition all is 0. */
typedef struct ZOLTI_Intervals {
  int32_t status;
  int32_t transitions;
  int32_t method;      /* ZOLTI_PROFILE, ZOLTI_LINEAR or ZOLTI_BOOTSTRAP */
  int32_t rounds_used; /* bootstrap: rounds that gave a sound fit */
  double level;
  double dG[3][2], Cm[3][2], m[3][2];
} ZOLTI_Intervals;

/* What the curves of a global fit share. */
enum { ZOLTI_SHARE_NOTHING = 0, ZOLTI_SHARE_M = 1, ZOLTI_SHARE_DG = 2 };

/* A global fit as a whole. */
typedef struct ZOLTI_Global {
  int32_t status;
  int32_t share; /* ZOLTI_SHARE_M or ZOLTI_SHARE_DG */
  int32_t transitions;
  int32_t curves; /* that took part */
  int32_t free_parameters;
  int32_t iterations;
  double shared[3]; /* m or dG by transition */
  double shared_se[3];
  double shared_interval[3][2]; /* profile, at the level asked for */
  double chi_squared;           /* residuals over the noise of their curves, summed */
  double degrees;
  double free_chi_squared, free_degrees; /* the same with nothing shared */
  double F, p; /* shared against free; a small p: the curves do not share it */
} ZOLTI_Global;

/* A curve of a set less the reference curve, by transition. */
typedef struct ZOLTI_Difference {
  int32_t status;
  int32_t reserved;
  double dCm[3], dCm_se[3], dCm_interval[3][2];
  double ddG[3], ddG_se[3], ddG_interval[3][2];
} ZOLTI_Difference;

/* A curve less the reference curve, two states, ddG by three ways. */
typedef struct ZOLTI_Comparison {
  int32_t status; /* ZOLTI_FITTED, or why the curve or the reference has no fit */
  int32_t reserved;
  double dCm, dCm_se, dCm_interval[2];
  double shared_ddG, shared_se, shared_interval[2]; /* global fit with one m */
  double mean_m_ddG, mean_m_se, mean_m_interval[2]; /* mean m of all curves times dCm */
  double plain_ddG, plain_se, plain_interval[2];    /* difference of the two dG */
} ZOLTI_Comparison;

/* Records whose sizes ZOLTI_size tells. */
enum {
  ZOLTI_SIZE_CURVE = 0,
  ZOLTI_SIZE_OPTIONS = 1,
  ZOLTI_SIZE_FIT = 2,
  ZOLTI_SIZE_EVIDENCE = 3,
  ZOLTI_SIZE_INTERVALS = 4,
  ZOLTI_SIZE_GLOBAL = 5,
  ZOLTI_SIZE_DIFFERENCE = 6,
  ZOLTI_SIZE_COMPARISON = 7,
  ZOLTI_SIZE_COUNT = 8
};

#ifdef __cplusplus
#define ZOLTI_NOEXCEPT noexcept
extern "C" {
#else
#define ZOLTI_NOEXCEPT
#endif

/* ============================ choices and sentences ============================ */

/* Writes the usual choices: both baselines fitted lines, nothing held, margin 0.1. */
ZOLTI_API void ZOLTI_options(ZOLTI_Options* options) ZOLTI_NOEXCEPT;

/* The size of a record in bytes, 0 for an unknown one; for hosts that lay out records themselves.
 */
ZOLTI_API int32_t ZOLTI_size(int32_t record) ZOLTI_NOEXCEPT;

/* One English sentence for a status, also for an unknown one. Never null. */
ZOLTI_API const char* ZOLTI_sentence(int32_t status) ZOLTI_NOEXCEPT;

/* ================================ one curve ================================ */

/* Fits a number of transitions to the least sum of squares.
 *
 * Given:    curve        the readings, not null
 *           transitions  1, 2 or 3
 *           options      choices, or null for the usual ones
 *           fit          room for a record, not null
 *           residual     room for curve->n doubles, or null
 *           leverage     room for curve->n doubles, or null
 * Returned: the status, which also stands in fit; fit; residual, reading less fitted signal in the
 *           order of the input, NaN for a missing reading or without a fit; leverage, from 0 to 1,
 *           the weight of a reading in its own fitted value.
 * Notes:    The baselines are linear and are eliminated (variable projection); what is searched is
 *           Cm and the logarithm of m of each transition, which hardly depend on one another: dG
 *           is the product of both, and so correlates with m almost wholly. Starts are the
 *           engine's answers and a grid over the readings.
 *           Bounds: m from RT/range to 20 RT/gap, with the range of x and the median gap between
 *           neighbouring concentrations, unless the options tell others; a weight from 0.001 to
 *           0.999; midpoints within the readings and the margin. What lies at a bound or outside
 *           the readings is told in fit->bounds.
 *           Status ZOLTI_UNDETERMINED leaves the estimates in the record, with errors of -1.
 */
ZOLTI_API int32_t ZOLTI_fit(const ZOLTI_Curve* curve, int32_t transitions,
                            const ZOLTI_Options* options, ZOLTI_Fit* fit, double* residual,
                            double* leverage) ZOLTI_NOEXCEPT;

/* Decides how many states the readings show, none included, and gives the fit of that many.
 *
 * Given:    as for ZOLTI_fit, without transitions
 *           most_states  2, 3 or 4: no more are looked for
 *           evidence     room for a record, not null
 * Returned: the status, which also stands in fit and in evidence: ZOLTI_FITTED, or
 *           ZOLTI_NO_TRANSITION, where fit holds the numbers of the two-state fit all the same;
 *           evidence, a row a model.
 * Notes:    A larger model is taken where the F test prefers it, also without each of the three
 *           readings that gain most, where the smaller model's residuals are neither noise
 *           (Durbin-Watson of 2 and more) nor below 0.3 % of the span, and where its transitions
 *           are apart, complete within the readings and carry more than a tenth each. Values that
 *           the options hold apply to the transitions that a model has.
 */
ZOLTI_API int32_t ZOLTI_decide(const ZOLTI_Curve* curve, int32_t most_states,
                               const ZOLTI_Options* options, ZOLTI_Evidence* evidence,
                               ZOLTI_Fit* fit, double* residual, double* leverage) ZOLTI_NOEXCEPT;

/* Tells the evidence in one sentence or two.
 *
 * Given:    evidence      from ZOLTI_decide, not null
 *           buffer, size  room for size bytes; may be null if size is 0
 * Returned: the length of the sentence without its closing zero. It is cut where it does not fit,
 *           and always ends in a zero if size is above 0.
 */
ZOLTI_API int32_t ZOLTI_evidence_sentence(const ZOLTI_Evidence* evidence, char* buffer,
                                          int32_t size) ZOLTI_NOEXCEPT;

/* Confidence intervals of dG, Cm and m of a fit.
 *
 * Given:    curve, options  as they went to the fit
 *           fit             with status ZOLTI_FITTED, not null
 *           method          ZOLTI_PROFILE, ZOLTI_LINEAR or ZOLTI_BOOTSTRAP
 *           level           above 0 and below 1, such as 0.95
 *           rounds, seed    of the bootstrap, 20 to 100000 rounds; otherwise not looked at
 *           intervals       room for a record, not null
 *           draws           room for 9 doubles a round, or null: dG, Cm, m of the three
 *                           transitions of each round, NaN in rounds without a sound fit
 * Returned: the status, which also stands in intervals; intervals.
 * Notes:    An end of dG that only the bounds of m would set is infinite, as that of m is.
 *           Profile and linear half-widths are widened by the ratio of the standard error that
 *           holds under unequal scatter (HC2) to that of the model, where it is above 1.
 */
ZOLTI_API int32_t ZOLTI_intervals(const ZOLTI_Curve* curve, const ZOLTI_Options* options,
                                  const ZOLTI_Fit* fit, int32_t method, double level,
                                  int32_t rounds, uint64_t seed, ZOLTI_Intervals* intervals,
                                  double* draws) ZOLTI_NOEXCEPT;

/* The fitted curve at any concentrations.
 *
 * Given:    fit    with status ZOLTI_FITTED or ZOLTI_NO_TRANSITION, not null
 *           x, n   n concentrations; x may be null if n is 0
 *           level  of the band, above 0 and below 1
 *           out    room for 7 rows of n doubles, not null
 * Returned: the status; out, row after row: signal, native baseline, denatured baseline, fraction
 *           denatured G, its derivative dG/dx, half-width of the pointwise confidence band of the
 *           signal (-1 without a covariance), free energy m (Cm - x) of the first transition.
 */
ZOLTI_API int32_t ZOLTI_draw(const ZOLTI_Fit* fit, const double* x, int32_t n, double level,
                             double* out) ZOLTI_NOEXCEPT;

/* ================================ many curves ================================ */

/* Fits curves that share m, or dG, transition by transition; each has its own baselines and
 * midpoints.
 *
 * Given:    curves, count  2 to ZOLTI_MOST_CURVES curves
 *           transitions    1, 2 or 3, for all curves
 *           share          ZOLTI_SHARE_M or ZOLTI_SHARE_DG
 *           options        for all curves, or null; nothing may be held
 *           reference      index of the curve that differences refer to, from 0
 *           level          of the intervals, above 0 and below 1
 *           global         room for a record, not null
 *           fits           room for count records, not null
 *           intervals      room for count records, or null
 *           differences    room for count records, or null
 * Returned: the status, which also stands in global; global; fits, intervals and differences of
 *           every curve. A curve that cannot be fitted alone takes no part, and its record says
 *           why.
 * Notes:    Each curve weighs by its own noise, estimated from its own fit and drawn toward that
 *           of all curves by four degrees of freedom; with true deviations by those. One curve's
 *           parameters meet only the shared ones, so that time grows with the number of curves.
 *           Intervals are profiles, in which the other curves count by their curvature.
 */
ZOLTI_API int32_t ZOLTI_fit_global(const ZOLTI_Curve* curves, int32_t count, int32_t transitions,
                                   int32_t share, const ZOLTI_Options* options, int32_t reference,
                                   double level, ZOLTI_Global* global, ZOLTI_Fit* fits,
                                   ZOLTI_Intervals* intervals,
                                   ZOLTI_Difference* differences) ZOLTI_NOEXCEPT;

/* Compares two-state curves with a reference: ddG by three ways.
 *
 * Given:    as for ZOLTI_fit_global
 *           rows    room for count records, not null; that of the reference itself holds zeros
 * Returned: the status of the global fit; rows.
 * Notes:    The global fit with one m is right where m is the same in all curves, and then the
 *           sharpest. The mean m, weighted by its errors, times the difference of midpoints is
 *           what is often published. The plain difference of two dG asks nothing of m, and mostly
 *           carries the error of both m-values over to zero denaturant.
 */
ZOLTI_API int32_t ZOLTI_compare(const ZOLTI_Curve* curves, int32_t count,
                                const ZOLTI_Options* options, int32_t reference, double level,
                                ZOLTI_Global* global, ZOLTI_Fit* fits,
                                ZOLTI_Comparison* rows) ZOLTI_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
