/* zolt_fitting_engine.h - the C interface of ZOLTFittingEngine.
 *
 * The library fits thermodynamic unfolding models of two, three or four states to chemical
 * denaturation curves: a signal y measured at ascending denaturant concentrations x, at one
 * temperature. It has no user interface, no files, no settings and no state. Every call takes
 * arrays and numbers, runs to its end on the caller's thread, and writes to the caller's storage.
 *
 * THE MODEL
 *   A transition with free energy dG at zero denaturant and midpoint Cm has, at concentration x,
 *     K(x) = exp(-(dG (1 - x/Cm)) / RT)             the equilibrium constant,
 *     F(x) = K / (1 + K)                            the fraction denatured,
 *     S(x) = ((aN + bN x) + (aU + bU x) K) / (1 + K)  the signal between two straight baselines.
 *   Two states are one transition. Three and four states are weighted sums of two and of three
 *   transitions between one shared pair of baselines; the weights add up to 1. The m-value of a
 *   transition is dG/Cm.
 *
 * UNITS
 *   Energies are in cal/mol, temperatures in degrees Celsius, RT = (temperature + 273.15) * 1.9872
 *   in cal/mol. x may be in any unit, which Cm then shares, and y in any unit, which the baseline
 *   intercepts share. Weights and fractions run from 0 to 1.
 *
 * SIZES
 *   A plain array comes as two arguments, a pointer to its elements and a pointer to its size pair:
 *   two 32-bit integers, rows and columns. All arrays are rows: the first integer is 1, the second
 *   is the length n. Where the documentation names n, it means that second integer; a negative one
 *   counts as 0. A full analysis takes 8 to 384 points, a midpoint fit 6 to 384. Longer curves are
 *   outside the contract: the call stays inside its arguments, its result is not promised.
 *
 * POINTERS
 *   Size pairs, records, result vectors and output storage must not be null. The pointer to the
 *   elements of an input array may be null when its length is 0, and a null one is read as length
 *   0. Inputs are never written. Outputs must not overlap inputs or one another.
 *
 * RECORDS
 *   Outputs whose length the caller cannot know, and the curves of a series, travel in records: see
 *   emxArray_real_T below for the layout and for who frees what.
 *
 * FAILURES
 *   Nothing raises, logs or prints. An analysis answers with a fit code in its result vector, the
 *   other calls with the values told at each. Memory that cannot be had ends the process.
 *
 * THREADS
 *   Any number of threads may call at once, also with the same inputs; no two may share an output.
 *   There is nothing to start or to shut down. A thread with 256 KiB of stack is enough:
 *   the deepest call measured on x86-64 uses 65 KiB, the thread's own included.
 *
 * REPEATABILITY
 *   The same input gives the same bits: call after call, build after build, on every processor and
 *   system that script/platforms names.
 *
 * The header is C99 and C++. Each declaration below has one sentence, then what is Given, what is
 * Returned, which Codes can stand in the result where there is one, and Notes.
 */
#ifndef ZOLT_FITTING_ENGINE_H
#define ZOLT_FITTING_ENGINE_H

#include <stdbool.h>
#include <stdint.h>

#if defined(_WIN32)
#if defined(ZOLT_BUILDING_LIBRARY)
#define ZOLTA_API __declspec(dllexport)
#else
#define ZOLTA_API __declspec(dllimport)
#endif
#else
#define ZOLTA_API __attribute__((visibility("default")))
#endif

/* =============================== Array records ===============================
 *
 * A record is an array that can grow. The three element kinds share one layout.
 *
 * Elements of two dimensions lie column by column: element (r, c) has the index
 * r + c * size[0]. The library makes and reads rows, of size (1, n).
 *
 * Growth: a callee that needs more elements than allocatedSize takes new storage from calloc, of
 * at least 16 elements and doubling from there, frees the old storage if canFreeData is true, and
 * sets data, allocatedSize and canFreeData. A record over the caller's buffer so becomes an owner
 * of other storage when it outgrows that buffer, which keeps its contents; always read data and
 * size back after a call. A record never shrinks.
 *
 * Ownership: whoever makes a record frees it, with free() of the C library. That is data if
 * canFreeData is true, then size, then the record. No export frees a record.
 */
typedef struct emxArray_real_T {
  double* data;          /* first element; null while the record is empty and has never grown */
  int32_t* size;         /* one extent per dimension */
  int32_t allocatedSize; /* capacity of data, in elements */
  int32_t numDimensions; /* entries in size; 2 here */
  bool canFreeData;      /* whether data belongs to the record */
} emxArray_real_T;

typedef struct emxArray_int32_T {
  int32_t* data;
  int32_t* size;
  int32_t allocatedSize;
  int32_t numDimensions;
  bool canFreeData;
} emxArray_int32_T;

typedef struct emxArray_boolean_T {
  bool* data;
  int32_t* size;
  int32_t allocatedSize;
  int32_t numDimensions;
  bool canFreeData;
} emxArray_boolean_T;

/* =============================== Result vectors ===============================
 *
 * An analysis writes all 24 elements, whatever happens. Three layouts share the positions: with
 * two states the elements of transitions 2 and 3 are 0, with three states those of transition 3.
 * The layout is that of the model which produced the vector, and short curves are handed to a
 * smaller model than the one asked for. So elements 6, 7 and 8 all 0 mean two states, otherwise 9,
 * 10 and 11 all 0 mean three.
 *
 * A vector without a fit has -1 in ZOLTA_RT, in the parameters of its model and in
 * ZOLTA_R_SQUARED, its code in ZOLTA_FIT_CODE, and 0 elsewhere.
 *
 * The width of elements 15 to 17 is the one-sided 0.95 quantile of Student's t distribution times
 * the residual standard error of the fit, in the unit of y; -1 where it cannot be had.
 */
enum {
  ZOLTA_NATIVE_INTERCEPT = 0,    /* aN, unit of y: native baseline aN + bN x */
  ZOLTA_NATIVE_SLOPE = 1,        /* bN, unit of y per unit of x */
  ZOLTA_DENATURED_INTERCEPT = 2, /* aU, unit of y: denatured baseline aU + bU x */
  ZOLTA_DENATURED_SLOPE = 3,     /* bU, unit of y per unit of x */
  ZOLTA_DG1 = 4,                 /* dG of transition 1, cal/mol, at zero denaturant */
  ZOLTA_CM1 = 5,                 /* Cm of transition 1, unit of x, where K = 1 */
  ZOLTA_DG2 = 6,                 /* dG of transition 2, cal/mol */
  ZOLTA_CM2 = 7,                 /* Cm of transition 2, unit of x */
  ZOLTA_WEIGHT1 = 8,       /* weight of transition 1; with three states the second's is 1 - it */
  ZOLTA_DG3 = 9,           /* dG of transition 3, cal/mol */
  ZOLTA_CM3 = 10,          /* Cm of transition 3, unit of x */
  ZOLTA_WEIGHT2 = 11,      /* weight of transition 2 of four states; the third takes the rest */
  ZOLTA_RT = 12,           /* (temperature + 273.15) * 1.9872, cal/mol; -1: no fit */
  ZOLTA_FIT_CODE = 13,     /* a whole number, see the codes below */
  ZOLTA_R_SQUARED = 14,    /* 1 - residual over total sum of squares; -1: below 0 or none */
  ZOLTA_DG1_WIDTH = 15,    /* dG1 * width, cal/mol times unit of y */
  ZOLTA_DG2_WIDTH = 16,    /* dG2 * width */
  ZOLTA_DG3_WIDTH = 17,    /* dG3 * width */
  ZOLTA_K1_PPM = 18,       /* exp(-dG1/RT) * 1e6: K1 at zero denaturant, in parts per million */
  ZOLTA_K2_PPM = 19,       /* exp(-dG2/RT) * 1e6 */
  ZOLTA_K3_PPM = 20,       /* exp(-dG3/RT) * 1e6 */
  ZOLTA_RESULT_LENGTH = 24 /* elements 21 to 23 are 0 */
};

/* ================================= Fit codes =================================
 *
 * The code tells which path produced the vector, or why there is no fit. 1, 32, 33, 34 and 36 never
 * carry a fit; 35 is a midpoint fit from a midpoint entry. A vector without a fit may also bear the
 * code of a path: its candidate turned out to have no dG of 0 or above. Look at ZOLTA_RT to tell.
 *
 * An analysis first fits from many starts and keeps the baselines of those fits that reach
 * R-squared 0.99 and meet the ends of the curve. It then fits again with what it has learned, and
 * takes the first candidate that passes: 2, 3 and 4 at 0.99, then one of the candidates with a
 * known baseline (falling from 0.9995 to 0.99), then one of the first fits (from 0.999 to 0.95).
 */
enum {
  ZOLTA_CODE_BAD_INPUT = 1,          /* lengths differ, too few points, or not 0 to 100 degrees */
  ZOLTA_CODE_BOTH_BASELINES = 2,     /* both baselines known, or the caller's baselines */
  ZOLTA_CODE_NATIVE_BASELINE = 3,    /* native baseline known, first candidate that qualifies */
  ZOLTA_CODE_DENATURED_BASELINE = 4, /* denatured baseline known, first candidate that qualifies */
  ZOLTA_CODE_NO_TRANSITION = 32,     /* ends of y less than a standard deviation apart, or x flat */
  ZOLTA_CODE_NO_CANDIDATE = 33,      /* three states only: no start reaches R-squared 0 */
  ZOLTA_CODE_NO_ACCEPTABLE_FIT = 34, /* no candidate passes, or R-squared below 0.9 where asked */
  ZOLTA_CODE_MIDPOINT_FIT = 35,      /* midpoint entries: R-squared at least 0.5 */
  ZOLTA_CODE_MIDPOINT_REJECTED = 36  /* midpoint entries: R-squared below 0.5 */
};

/* The names of the other codes are put together from
 *   NATIVE_, DENATURED_     that baseline is known; without either, no baseline is known;
 *   THREE_POINT, END_POINT  held baselines through three points, or flat from one, at each end;
 *   WINDOW                  held baselines along the ends, as far as the slope stays the same;
 *   FREE_SIDE, ALL_FREE     as THREE_POINT, with the other baseline, or with both, fitted;
 *   HALVES, THIRDS          parts of the curve fitted alone and joined; split evenly, or between
 *                           the _PEAKS of the derivative, or the midpoints of the _BEST candidate;
 *   REFIT                   an earlier candidate fitted once more with its slopes held;
 *   _HINT                   with a midpoint known beforehand;
 *   _WEIGHT, _WEIGHT1, _WEIGHT2, _WEIGHTS
 *                           with the weight, the first, the second or both weights held.
 * A code belongs to the model that produced the vector: 5 means another path with each of them.
 */

/* Codes of two states. */
enum {
  ZOLTA_2STATE_NATIVE_WINDOW_HINT = 5,          /* native known, window, midpoint known */
  ZOLTA_2STATE_DENATURED_WINDOW_HINT = 6,       /* denatured known, window, midpoint known */
  ZOLTA_2STATE_NATIVE_WINDOW = 7,               /* native known, window */
  ZOLTA_2STATE_DENATURED_WINDOW = 8,            /* denatured known, window */
  ZOLTA_2STATE_NATIVE_REFIT = 9,                /* native known, refit of the ranking */
  ZOLTA_2STATE_DENATURED_REFIT = 10,            /* denatured known, refit of the ranking */
  ZOLTA_2STATE_NATIVE_THREE_POINT_HINT = 11,    /* native known, three-point, midpoint known */
  ZOLTA_2STATE_DENATURED_THREE_POINT_HINT = 12, /* denatured known, three-point, midpoint known */
  ZOLTA_2STATE_NATIVE_THREE_POINT = 13,         /* native known, three-point */
  ZOLTA_2STATE_DENATURED_THREE_POINT = 14,      /* denatured known, three-point */
  ZOLTA_2STATE_NATIVE_END_POINT_HINT = 15,      /* native known, end-point, midpoint known */
  ZOLTA_2STATE_DENATURED_END_POINT_HINT = 16,   /* denatured known, end-point, midpoint known */
  ZOLTA_2STATE_NATIVE_END_POINT = 17,           /* native known, end-point */
  ZOLTA_2STATE_DENATURED_END_POINT = 18,        /* denatured known, end-point */
  ZOLTA_2STATE_NATIVE_FREE_SIDE_HINT = 19,      /* native known, free side, midpoint known */
  ZOLTA_2STATE_DENATURED_FREE_SIDE_HINT = 20,   /* denatured known, free side, midpoint known */
  ZOLTA_2STATE_NATIVE_FREE_SIDE = 21,           /* native known, free side */
  ZOLTA_2STATE_DENATURED_FREE_SIDE = 22,        /* denatured known, free side */
  ZOLTA_2STATE_WINDOW_HINT = 23,                /* window baselines, midpoint known */
  ZOLTA_2STATE_WINDOW = 24,                     /* window baselines */
  ZOLTA_2STATE_REFIT = 25,                      /* the best candidate refitted, slopes held */
  ZOLTA_2STATE_ALL_FREE_HINT = 26,              /* three-point baselines, fitted, midpoint known */
  ZOLTA_2STATE_ALL_FREE = 27,                   /* three-point baselines, fitted */
  ZOLTA_2STATE_THREE_POINT_HINT = 28,           /* three-point baselines, midpoint known */
  ZOLTA_2STATE_THREE_POINT = 29,                /* three-point baselines */
  ZOLTA_2STATE_END_POINT_HINT = 30,             /* end-point baselines, midpoint known */
  ZOLTA_2STATE_END_POINT = 31                   /* end-point baselines */
};

/* Codes of three states. */
enum {
  ZOLTA_3STATE_NATIVE_WINDOW_WEIGHT = 5,          /* native known, window, weight held */
  ZOLTA_3STATE_DENATURED_WINDOW_WEIGHT = 6,       /* denatured known, window, weight held */
  ZOLTA_3STATE_NATIVE_WINDOW = 7,                 /* native known, window */
  ZOLTA_3STATE_DENATURED_WINDOW = 8,              /* denatured known, window */
  ZOLTA_3STATE_NATIVE_THREE_POINT_WEIGHT = 9,     /* native known, three-point, weight held */
  ZOLTA_3STATE_DENATURED_THREE_POINT_WEIGHT = 10, /* denatured known, three-point, weight held */
  ZOLTA_3STATE_NATIVE_THREE_POINT = 11,           /* native known, three-point */
  ZOLTA_3STATE_DENATURED_THREE_POINT = 12,        /* denatured known, three-point */
  ZOLTA_3STATE_NATIVE_END_POINT_WEIGHT = 13,      /* native known, end-point, weight held */
  ZOLTA_3STATE_DENATURED_END_POINT_WEIGHT = 14,   /* denatured known, end-point, weight held */
  ZOLTA_3STATE_NATIVE_END_POINT = 15,             /* native known, end-point */
  ZOLTA_3STATE_DENATURED_END_POINT = 16,          /* denatured known, end-point */
  ZOLTA_3STATE_NATIVE_FREE_SIDE_WEIGHT = 17,      /* native known, free side, weight held */
  ZOLTA_3STATE_DENATURED_FREE_SIDE_WEIGHT = 18,   /* denatured known, free side, weight held */
  ZOLTA_3STATE_NATIVE_FREE_SIDE = 19,             /* native known, free side */
  ZOLTA_3STATE_DENATURED_FREE_SIDE = 20,          /* denatured known, free side */
  ZOLTA_3STATE_WINDOW_WEIGHT = 21,                /* window baselines, weight held */
  ZOLTA_3STATE_WINDOW = 22,                       /* window baselines */
  ZOLTA_3STATE_HALVES_BEST = 23,                  /* halves, at the best midpoints */
  ZOLTA_3STATE_ALL_FREE_WEIGHT = 24,              /* three-point baselines, fitted, weight held */
  ZOLTA_3STATE_ALL_FREE = 25,                     /* three-point baselines, fitted */
  ZOLTA_3STATE_THREE_POINT_WEIGHT = 26,           /* three-point baselines, weight held */
  ZOLTA_3STATE_THREE_POINT = 27,                  /* three-point baselines */
  ZOLTA_3STATE_END_POINT_WEIGHT = 28,             /* end-point baselines, weight held */
  ZOLTA_3STATE_END_POINT = 29,                    /* end-point baselines */
  ZOLTA_3STATE_HALVES_PEAKS = 30,                 /* halves, at the derivative peaks */
  ZOLTA_3STATE_HALVES = 31                        /* halves, split in the middle */
};

/* Codes of four states, which skip the failure codes 32 to 34. */
enum {
  ZOLTA_4STATE_NATIVE_WINDOW = 5,                  /* native known, window */
  ZOLTA_4STATE_DENATURED_WINDOW = 6,               /* denatured known, window */
  ZOLTA_4STATE_NATIVE_WINDOW_WEIGHTS = 7,          /* native known, window, weights held */
  ZOLTA_4STATE_DENATURED_WINDOW_WEIGHTS = 8,       /* denatured known, window, weights held */
  ZOLTA_4STATE_NATIVE_WINDOW_WEIGHT2 = 9,          /* native known, window, weight 2 held */
  ZOLTA_4STATE_DENATURED_WINDOW_WEIGHT2 = 10,      /* denatured known, window, weight 2 held */
  ZOLTA_4STATE_NATIVE_WINDOW_WEIGHT1 = 11,         /* native known, window, weight 1 held */
  ZOLTA_4STATE_DENATURED_WINDOW_WEIGHT1 = 12,      /* denatured known, window, weight 1 held */
  ZOLTA_4STATE_NATIVE_THREE_POINT = 13,            /* native known, three-point */
  ZOLTA_4STATE_DENATURED_THREE_POINT = 14,         /* denatured known, three-point */
  ZOLTA_4STATE_NATIVE_THREE_POINT_WEIGHTS = 15,    /* native known, three-point, weights held */
  ZOLTA_4STATE_DENATURED_THREE_POINT_WEIGHTS = 16, /* denatured known, three-point, weights held */
  ZOLTA_4STATE_NATIVE_THREE_POINT_WEIGHT2 = 17,    /* native known, three-point, weight 2 held */
  ZOLTA_4STATE_DENATURED_THREE_POINT_WEIGHT2 = 18, /* denatured known, three-point, weight 2 held */
  ZOLTA_4STATE_NATIVE_THREE_POINT_WEIGHT1 = 19,    /* native known, three-point, weight 1 held */
  ZOLTA_4STATE_DENATURED_THREE_POINT_WEIGHT1 = 20, /* denatured known, three-point, weight 1 held */
  ZOLTA_4STATE_NATIVE_END_POINT = 21,              /* native known, end-point */
  ZOLTA_4STATE_DENATURED_END_POINT = 22,           /* denatured known, end-point */
  ZOLTA_4STATE_NATIVE_END_POINT_WEIGHTS = 23,      /* native known, end-point, weights held */
  ZOLTA_4STATE_DENATURED_END_POINT_WEIGHTS = 24,   /* denatured known, end-point, weights held */
  ZOLTA_4STATE_NATIVE_END_POINT_WEIGHT2 = 25,      /* native known, end-point, weight 2 held */
  ZOLTA_4STATE_DENATURED_END_POINT_WEIGHT2 = 26,   /* denatured known, end-point, weight 2 held */
  ZOLTA_4STATE_NATIVE_END_POINT_WEIGHT1 = 27,      /* native known, end-point, weight 1 held */
  ZOLTA_4STATE_DENATURED_END_POINT_WEIGHT1 = 28,   /* denatured known, end-point, weight 1 held */
  ZOLTA_4STATE_NATIVE_FREE_SIDE = 29,              /* native known, free side */
  ZOLTA_4STATE_DENATURED_FREE_SIDE = 30,           /* denatured known, free side */
  ZOLTA_4STATE_NATIVE_FREE_SIDE_WEIGHTS = 31,      /* native known, free side, weights held */
  ZOLTA_4STATE_DENATURED_FREE_SIDE_WEIGHTS = 35,   /* denatured known, free side, weights held */
  ZOLTA_4STATE_NATIVE_FREE_SIDE_WEIGHT2 = 36,      /* native known, free side, weight 2 held */
  ZOLTA_4STATE_DENATURED_FREE_SIDE_WEIGHT2 = 37,   /* denatured known, free side, weight 2 held */
  ZOLTA_4STATE_NATIVE_FREE_SIDE_WEIGHT1 = 38,      /* native known, free side, weight 1 held */
  ZOLTA_4STATE_DENATURED_FREE_SIDE_WEIGHT1 = 39,   /* denatured known, free side, weight 1 held */
  ZOLTA_4STATE_WINDOW = 40,                        /* window baselines */
  ZOLTA_4STATE_WINDOW_WEIGHTS = 41,                /* window baselines, weights held */
  ZOLTA_4STATE_WINDOW_WEIGHT1 = 42,                /* window baselines, weight 1 held */
  ZOLTA_4STATE_WINDOW_WEIGHT2 = 43,                /* window baselines, weight 2 held */
  ZOLTA_4STATE_ALL_FREE_BEST_WEIGHTS = 44,    /* three-point baselines, fitted, best weights held */
  ZOLTA_4STATE_WINDOW_BEST_WEIGHTS = 45,      /* window baselines, best weights held */
  ZOLTA_4STATE_END_POINT_BEST_WEIGHTS = 46,   /* end-point baselines, best weights held */
  ZOLTA_4STATE_THREE_POINT_BEST_WEIGHTS = 47, /* three-point baselines, best weights held */
  ZOLTA_4STATE_THIRDS_BEST = 48,              /* thirds, at the best midpoints */
  ZOLTA_4STATE_THIRDS_BEST_WEIGHTS = 49,      /* thirds, at the best midpoints, weights held */
  ZOLTA_4STATE_THIRDS_BEST_WEIGHT1 = 50,      /* thirds, at the best midpoints, weight 1 held */
  ZOLTA_4STATE_THIRDS_BEST_WEIGHT2 = 51,      /* thirds, at the best midpoints, weight 2 held */
  ZOLTA_4STATE_ALL_FREE = 52,                 /* three-point baselines, fitted */
  ZOLTA_4STATE_ALL_FREE_WEIGHTS = 53,         /* three-point baselines, fitted, weights held */
  ZOLTA_4STATE_ALL_FREE_WEIGHT1 = 54,         /* three-point baselines, fitted, weight 1 held */
  ZOLTA_4STATE_ALL_FREE_WEIGHT2 = 55,         /* three-point baselines, fitted, weight 2 held */
  ZOLTA_4STATE_THREE_POINT = 56,              /* three-point baselines */
  ZOLTA_4STATE_THREE_POINT_WEIGHTS = 57,      /* three-point baselines, weights held */
  ZOLTA_4STATE_THREE_POINT_WEIGHT1 = 58,      /* three-point baselines, weight 1 held */
  ZOLTA_4STATE_THREE_POINT_WEIGHT2 = 59,      /* three-point baselines, weight 2 held */
  ZOLTA_4STATE_END_POINT = 60,                /* end-point baselines */
  ZOLTA_4STATE_END_POINT_WEIGHTS = 61,        /* end-point baselines, weights held */
  ZOLTA_4STATE_END_POINT_WEIGHT1 = 62,        /* end-point baselines, weight 1 held */
  ZOLTA_4STATE_END_POINT_WEIGHT2 = 63,        /* end-point baselines, weight 2 held */
  ZOLTA_4STATE_THIRDS_PEAKS = 64,             /* thirds, at the derivative peaks */
  ZOLTA_4STATE_THIRDS_PEAKS_WEIGHTS = 65,     /* thirds, at the derivative peaks, weights held */
  ZOLTA_4STATE_THIRDS_PEAKS_WEIGHT1 = 66,     /* thirds, at the derivative peaks, weight 1 held */
  ZOLTA_4STATE_THIRDS_PEAKS_WEIGHT2 = 67,     /* thirds, at the derivative peaks, weight 2 held */
  ZOLTA_4STATE_THIRDS = 68,                   /* thirds, split evenly */
  ZOLTA_4STATE_THIRDS_WEIGHTS = 69,           /* thirds, split evenly, weights held */
  ZOLTA_4STATE_THIRDS_WEIGHT1 = 70,           /* thirds, split evenly, weight 1 held */
  ZOLTA_4STATE_THIRDS_WEIGHT2 = 71            /* thirds, split evenly, weight 2 held */
};

#ifdef __cplusplus
#define ZOLTA_NOEXCEPT noexcept
extern "C" {
#else
#define ZOLTA_NOEXCEPT
#endif

/* =============================== frame: records =============================== */

/* Makes a record of doubles over storage of the caller's.
 *
 * Given:    data           rows * columns elements; may be null if there are none
 *           rows, columns  the extents; 1 and n for a row
 * Returned: a new record that does not own data, never null.
 * Notes:    Made of two blocks from malloc: free(record->size), then free(record), and before them
 *           free(record->data) if canFreeData has become true. A wrapper of 0 elements is the
 *           simplest output record: it grows on first use.
 */
ZOLTA_API emxArray_real_T* ZOLTA_emxCreateWrapper_real_T(double* data, int32_t rows,
                                                         int32_t columns) ZOLTA_NOEXCEPT;

/* Like ZOLTA_emxCreateWrapper_real_T, but for 32-bit integers.
 *
 * Notes:    The two names are one entry, which never looks at the elements: either serves any kind.
 */
ZOLTA_API emxArray_int32_T* ZOLTA_emxCreateWrapper_int32_T(int32_t* data, int32_t rows,
                                                           int32_t columns) ZOLTA_NOEXCEPT;

/* ====================== analysis: fits of one curve ====================== */

/* Fits two states to a curve, with everything the library knows to try.
 *
 * Given:    x, xSize     n concentrations, ascending; x may be null if n is 0
 *           y, ySize     n signals, one per concentration; y may be null if n is 0
 *           temperature  degrees Celsius, 0 to 100
 *           result       room for 24 doubles, not null
 * Returned: result, all 24 elements, in the layout of two states.
 * Codes:    1 (fewer than 8 points among others), 32, 34; 2, 3, 4; ZOLTA_2STATE_...
 * Notes:    x need not be evenly spaced. A NaN is no error: it takes part in the arithmetic. The
 *           first entry of ySize is the stride at which the first and the last five signals are
 *           read, so anything but 1 is outside the contract.
 */
ZOLTA_API void ZOLTA_2state(const double* x, const int32_t* xSize, const double* y,
                            const int32_t* ySize, double temperature,
                            double* result) ZOLTA_NOEXCEPT;

/* Like ZOLTA_2state, but asks only where the transition lies: at most two fits from one start.
 *
 * Codes:    1 (fewer than 6 points among others), 32, 35, 36
 * Notes:    For curves too poor for the full analysis. Trust Cm more than dG.
 */
ZOLTA_API void ZOLTA_2state_chalf(const double* x, const int32_t* xSize, const double* y,
                                  const int32_t* ySize, double temperature,
                                  double* result) ZOLTA_NOEXCEPT;

/* Like ZOLTA_2state, but tries the caller's baselines first.
 *
 * Given:    baselines    four doubles aN, bN, aU, bU, as elements 0 to 3 of a result; not null
 * Codes:    1, 32, 34; 2 for the caller's baselines; 3, 4 and ZOLTA_2STATE_... otherwise, and 2 too
 * Notes:    With R-squared below 0.9 the full analysis runs, without the caller's baselines, and
 *           its fit stands if it reaches 0.9; all else is 34. A pair that adds up to 0.0 counts as
 *           not given and is taken from the ends of the curve.
 */
ZOLTA_API void ZOLTA_2state_user_set_baselines(const double* x, const int32_t* xSize,
                                               const double* y, const int32_t* ySize,
                                               const double* baselines, double temperature,
                                               double* result) ZOLTA_NOEXCEPT;

/* Like ZOLTA_2state, but with three states.
 *
 * Returned: result, all 24 elements; the layout and codes of two states for 8 to 17 points.
 * Codes:    1, 32, 33, 34; 2, 3, 4; ZOLTA_3STATE_...
 * Notes:    Transitions stand in ascending order of Cm.
 */
ZOLTA_API void ZOLTA_3state(const double* x, const int32_t* xSize, const double* y,
                            const int32_t* ySize, double temperature,
                            double* result) ZOLTA_NOEXCEPT;

/* Like ZOLTA_2state_chalf, but with three states: at most four fits from one start.
 *
 * Returned: result, all 24 elements; that of ZOLTA_2state_chalf for 6 to 9 points.
 */
ZOLTA_API void ZOLTA_3state_chalf(const double* x, const int32_t* xSize, const double* y,
                                  const int32_t* ySize, double temperature,
                                  double* result) ZOLTA_NOEXCEPT;

/* Like ZOLTA_2state_user_set_baselines, but with three states.
 *
 * Returned: result, all 24 elements; that of ZOLTA_2state_user_set_baselines for 8 to 17 points.
 *           Codes 1 and 32 come in the layout of two states.
 * Codes:    1, 32, 34; 2 for the caller's baselines; otherwise those of ZOLTA_3state
 */
ZOLTA_API void ZOLTA_3state_user_set_baselines(const double* x, const int32_t* xSize,
                                               const double* y, const int32_t* ySize,
                                               const double* baselines, double temperature,
                                               double* result) ZOLTA_NOEXCEPT;

/* Like ZOLTA_2state, but with four states.
 *
 * Returned: result, all 24 elements; the layout and codes of two states for 8 to 17 points, of
 *           three states for 18 to 23.
 * Codes:    1, 32, 34; 2, 3, 4; ZOLTA_4STATE_..., up to 71
 * Notes:    Transitions stand in ascending order of Cm. 35 and 36 are paths of the ladder here.
 */
ZOLTA_API void ZOLTA_4state(const double* x, const int32_t* xSize, const double* y,
                            const int32_t* ySize, double temperature,
                            double* result) ZOLTA_NOEXCEPT;

/* Like ZOLTA_2state_chalf, but with four states: at most sixteen fits from one start.
 *
 * Returned: result, all 24 elements; that of ZOLTA_2state_chalf for 6 to 9 points, and of
 *           ZOLTA_3state_chalf for 10 to 13. Fewer points give code 1 in the layout of four states.
 */
ZOLTA_API void ZOLTA_4state_chalf(const double* x, const int32_t* xSize, const double* y,
                                  const int32_t* ySize, double temperature,
                                  double* result) ZOLTA_NOEXCEPT;

/* Like ZOLTA_2state_user_set_baselines, but with four states.
 *
 * Returned: result, all 24 elements; that of ZOLTA_2state_user_set_baselines for 8 to 17 points,
 *           and of ZOLTA_3state_user_set_baselines for 18 to 23. Codes 1 and 32 come in the layout
 *           of two states.
 * Codes:    1, 32, 34; 2 for the caller's baselines; otherwise those of ZOLTA_4state
 * Notes:    A denatured pair that is not given is taken as intercept 0.001 and the last y as slope.
 */
ZOLTA_API void ZOLTA_4state_user_set_baselines(const double* x, const int32_t* xSize,
                                               const double* y, const int32_t* ySize,
                                               const double* baselines, double temperature,
                                               double* result) ZOLTA_NOEXCEPT;

/* ============= curve_tools: what else one does with one curve ============= */

/* Draws the fitted signal, baselines included, over the range of the caller's x.
 *
 * Given:    x, xSize   the concentrations, of which only the first and the last are read
 *           result     24 doubles of an analysis, not null
 *           n          number of points wanted, 0 or more
 *           xFit       record for the grid, not null
 *           yFit       record for the curve, not null
 * Returned: xFit, yFit, rows of n: an even grid from the first to the last x, both exact, and the
 *           signal there. A grid of one point holds the last x.
 * Notes:    The number of states is told from the zeros of the vector. A vector without a fit gives
 *           a proper grid and zeros. Where exp overflows, the value is NaN.
 */
ZOLTA_API void ZOLTA_ChemDenatFluorescenceFitCurve(const double* x, const int32_t* xSize,
                                                   const double* result, int32_t n,
                                                   emxArray_real_T* xFit,
                                                   emxArray_real_T* yFit) ZOLTA_NOEXCEPT;

/* Like ZOLTA_ChemDenatFluorescenceFitCurve, but draws the fraction denatured.
 *
 * Returned: yFit, the weighted sum of K/(1+K), from 0 to 1; exactly 0.5 at Cm of two states.
 */
ZOLTA_API void ZOLTA_ChemDenatFDFitCurve(const double* x, const int32_t* xSize,
                                         const double* result, int32_t n, emxArray_real_T* xFit,
                                         emxArray_real_T* yFit) ZOLTA_NOEXCEPT;

/* Like ZOLTA_ChemDenatFluorescenceFitCurve, but draws the slope of the fraction denatured.
 *
 * Returned: xFit, the first n of n + 1 even points; yFit, the slope from each to the next, per unit
 *           of x. So the grid stops one step short of the last x.
 */
ZOLTA_API void ZOLTA_ChemDenatFirstDerivativeFitCurve(const double* x, const int32_t* xSize,
                                                      const double* result, int32_t n,
                                                      emxArray_real_T* xFit,
                                                      emxArray_real_T* yFit) ZOLTA_NOEXCEPT;

/* Tells from the signal alone how many states to fit.
 *
 * Given:    y, ySize   n signals at evenly spaced concentrations, 3 to 384; y may be null if n is 0
 * Returned: 2, 3 or 4, and nothing else; 2 for any other n.
 * Notes:    Counts the peaks of smoothed derivatives. A falling curve serves as well as a rising
 *           one. Nothing inside the library asks for this number.
 */
ZOLTA_API int32_t ZOLTA_ChemDenatModelPicker(const double* y, const int32_t* ySize) ZOLTA_NOEXCEPT;

/* Marks single readings that stand far from both their neighbours.
 *
 * Given:    y, ySize   n signals; y may be null if n is 0
 *           mask       room for n 32-bit integers; may be null if n is 0
 *           maskSize   room for a size pair, not null
 * Returned: mask, 1 for a point to keep and 0 for a spike; maskSize, 1 and n.
 * Notes:    A spike differs from each neighbour by more than 20 % of that neighbour, both lifted by
 *           1.0. An end point has one neighbour and is judged by it, unless that is a spike.
 */
ZOLTA_API void ZOLTA_ChemDenatKillSpikes(const double* y, const int32_t* ySize, int32_t* mask,
                                         int32_t* maskSize) ZOLTA_NOEXCEPT;

/* Marks readings that lie far from a fit.
 *
 * Given:    x, xSize   n concentrations; x may be null if n is 0
 *           y, ySize   n signals; y may be null if n is 0
 *           result     24 doubles of an analysis of this curve, not null
 *           mask       room for n 32-bit integers; may be null if n is 0
 *           maskSize   room for a size pair, not null
 * Returned: mask, 1 for a point to keep and 0 for an outlier; maskSize, 1 and n.
 * Notes:    An outlier is more than 0.15 standard deviations of y (n in the denominator) off the
 *           fit. A vector without a fit, or lengths that differ, mark nothing.
 */
ZOLTA_API void ZOLTA_ChemDenatOutlierRemoval(const double* x, const int32_t* xSize, const double* y,
                                             const int32_t* ySize, const double* result,
                                             int32_t* mask, int32_t* maskSize) ZOLTA_NOEXCEPT;

/* ================== series: many curves under one model ==================
 *
 * A series is M curves of n points each, laid end to end in two rows, with a label per curve: the
 * value of the condition that varies, a positive number. Curves with equal labels are replicates.
 * The dGtrend exports look for a trend of dG in ln(label), the dGagg exports in the label itself.
 */

/* Fits all curves of a series from one reference fit, m-values on a line in ln(label).
 *
 * Given:    n                   points per curve
 *           x, y                records of M n concentrations and signals, not null
 *           labels, labelsSize  M labels; labels may be null if M is 0
 *           states              3 or 4; anything else asks for two states
 *           temperature         degrees Celsius, 0 to 100
 *           results             record for the results, not null
 *           mask                record for the masks, not null
 * Returned: results, a row of 24 M: element k of curve c at 24 c + k. mask, a row of M n: 1 for a
 *           point in the final fit of its curve, 0 for a spike or an outlier that was left out.
 * Codes:    2, 3 or 4 in every vector, for two, three or four states
 * Notes:    The reference is the full analysis of the averaged replicates of one label, the first
 *           curve's if that can be fitted. Every curve is refitted from it with baseline slopes,
 *           weights and RT held. Then dG is replaced by Cm times the m-value of the line; R-squared
 *           and elements 15 to 20 stay those of the fit. A curve without a fit has -1 in its
 *           parameters. Where the lengths do not match or no reference is found, every vector is 0
 *           with -1 in ZOLTA_RT.
 */
ZOLTA_API void ZOLTA_dGtrend_primaryFit(int32_t n, const emxArray_real_T* x,
                                        const emxArray_real_T* y, const double* labels,
                                        const int32_t* labelsSize, int32_t states,
                                        double temperature, emxArray_real_T* results,
                                        emxArray_int32_T* mask) ZOLTA_NOEXCEPT;

/* Like ZOLTA_dGtrend_primaryFit, but every curve keeps the dG of its own fit. */
ZOLTA_API void ZOLTA_dGagg_primaryFit(int32_t n, const emxArray_real_T* x, const emxArray_real_T* y,
                                      const double* labels, const int32_t* labelsSize,
                                      int32_t states, double temperature, emxArray_real_T* results,
                                      emxArray_int32_T* mask) ZOLTA_NOEXCEPT;

/* Like ZOLTA_dGtrend_primaryFit, but the caller says which points take part.
 *
 * Given:    userMask, userMaskSize  M n 32-bit integers, 1 admits a point; may be null if M n is 0
 * Returned: results alone; no point is left out but by the mask.
 */
ZOLTA_API void ZOLTA_dGtrend_user_primaryFit(int32_t n, const emxArray_real_T* x,
                                             const emxArray_real_T* y, const double* labels,
                                             const int32_t* labelsSize, const int32_t* userMask,
                                             const int32_t* userMaskSize, int32_t states,
                                             double temperature,
                                             emxArray_real_T* results) ZOLTA_NOEXCEPT;

/* Like ZOLTA_dGtrend_user_primaryFit, but every curve keeps the dG of its own fit. */
ZOLTA_API void ZOLTA_dGagg_user_primaryFit(int32_t n, const emxArray_real_T* x,
                                           const emxArray_real_T* y, const double* labels,
                                           const int32_t* labelsSize, const int32_t* userMask,
                                           const int32_t* userMaskSize, int32_t states,
                                           double temperature,
                                           emxArray_real_T* results) ZOLTA_NOEXCEPT;

/* Reduces a fitted series to one dG per label and a line dG = trend[1] + trend[0] ln(label).
 *
 * Given:    labels, labelsSize    M labels; labels may be null if M is 0
 *           results               record of 24 M doubles from a primary fit, not null
 *           include, includeSize  M 32-bit integers, 1 includes a curve; may be null if M is 0
 *           transition            2 for the second, 3 for the third, anything else for the first
 *           labelsOut, dGOut, errorOut, usedOut
 *                                 records for the table, not null
 *           trend                 room for four doubles, not null
 * Returned: labelsOut, the distinct labels, ascending; dGOut, errorOut, the mean dG of each label
 *           and its standard deviation (the stored error of a single curve), cal/mol; usedOut, 1 if
 *           any of its curves was included. A label without one gets dG from the line and error 0.
 *           trend: slope, or 0.0 where it is not significant; intercept; R-squared of the line;
 *           number of distinct labels.
 * Notes:    A slope is significant if it changes dG from the first to the last label by at least
 *           the sum of their errors, and at least 300 cal/mol. Lengths that do not match, nothing
 *           included or no curve fitted give zeros in all but labelsOut and trend[3].
 */
ZOLTA_API void ZOLTA_dGtrend_calc(const double* labels, const int32_t* labelsSize,
                                  const emxArray_real_T* results, const int32_t* include,
                                  const int32_t* includeSize, int32_t transition,
                                  emxArray_real_T* labelsOut, emxArray_real_T* dGOut,
                                  emxArray_real_T* errorOut, emxArray_int32_T* usedOut,
                                  double* trend) ZOLTA_NOEXCEPT;

/* Like ZOLTA_dGtrend_calc, but the line is dG = trend[1] + trend[0] label.
 *
 * Given:    transition            below 2 for the first, anything else for the second
 * Returned: errorOut, the mean of the stored errors; a label without an included curve has dG 0.
 *           trend[1], the mean dG where the slope is not significant; trend[2], 0.0; trend[3], 2.0.
 * Notes:    Where one of the two lowest labels has no included curve, trend[1] is the other label.
 */
ZOLTA_API void ZOLTA_dGagg_calc(const double* labels, const int32_t* labelsSize,
                                const emxArray_real_T* results, const int32_t* include,
                                const int32_t* includeSize, int32_t transition,
                                emxArray_real_T* labelsOut, emxArray_real_T* dGOut,
                                emxArray_real_T* errorOut, emxArray_int32_T* usedOut,
                                double* trend) ZOLTA_NOEXCEPT;

/* Draws the line of ZOLTA_dGtrend_calc over the range of the labels.
 *
 * Given:    labels, labelsSize  M labels, in any order; labels may be null if M is 0
 *           trend               the doubles of the calculation, of which two are read; not null
 *           n                   number of points wanted
 *           xOut, yOut          records for the grid and the curve, not null
 * Returned: xOut, yOut, rows of n: an even grid from the smallest to the largest label, and dG
 *           there in cal/mol. Fewer than 2 labels or n below 1 give one point with both values 1.0.
 * Notes:    A label of 0 or below makes infinities or NaN through the logarithm.
 */
ZOLTA_API void ZOLTA_dGtrend_trend(const double* labels, const int32_t* labelsSize,
                                   const double* trend, int32_t n, emxArray_real_T* xOut,
                                   emxArray_real_T* yOut) ZOLTA_NOEXCEPT;

/* Like ZOLTA_dGtrend_trend, but draws the line of ZOLTA_dGagg_calc. */
ZOLTA_API void ZOLTA_dGagg_trend(const double* labels, const int32_t* labelsSize,
                                 const double* trend, int32_t n, emxArray_real_T* xOut,
                                 emxArray_real_T* yOut) ZOLTA_NOEXCEPT;

/* Like ZOLTA_dGtrend_trend, but draws the fraction denatured at zero denaturant.
 *
 * Given:    temperature         degrees Celsius
 * Returned: yOut, K/(1+K) with K = exp(-dG/RT), from 0 to 1.
 */
ZOLTA_API void ZOLTA_dGtrend_fd(const double* labels, const int32_t* labelsSize,
                                const double* trend, int32_t n, double temperature,
                                emxArray_real_T* xOut, emxArray_real_T* yOut) ZOLTA_NOEXCEPT;

/* Like ZOLTA_dGtrend_fd, but draws the share of a third population beside native and denatured.
 *
 * Returned: yOut, the share of A = exp(|dG - dG0|/RT) - 1, with dG0 at the smallest label. The
 *           other two weights are 1 and exp(-dG/RT) on a rising line, exp(dG/RT) and 1 on a falling
 *           one. 0.0 at the smallest label, and throughout where the slope is 0.0.
 */
ZOLTA_API void ZOLTA_dGtrend_fragg(const double* labels, const int32_t* labelsSize,
                                   const double* trend, int32_t n, double temperature,
                                   emxArray_real_T* xOut, emxArray_real_T* yOut) ZOLTA_NOEXCEPT;

/* Like ZOLTA_dGtrend_fragg, but draws the share of A against the denatured weight alone.
 *
 * Returned: yOut, A/(1 + A) where the slope is below 0.0, and 0.0 otherwise.
 */
ZOLTA_API void ZOLTA_dGtrend_fraggfd(const double* labels, const int32_t* labelsSize,
                                     const double* trend, int32_t n, double temperature,
                                     emxArray_real_T* xOut, emxArray_real_T* yOut) ZOLTA_NOEXCEPT;

/* Scales a row so that a reference value comes to a wanted one.
 *
 * Given:    y, ySize   n numbers; y may be null if n is 0
 *           reference  the value that the row has now
 *           value      the value that it shall have
 *           out        room for n doubles; may be null if n is 0
 *           outSize    room for a size pair, not null
 * Returned: out, y times value/reference, or y itself if reference is not above 0; outSize, 1 and
 * n.
 */
ZOLTA_API void ZOLTA_dGtrend_normalization(const double* y, const int32_t* ySize, double reference,
                                           double value, double* out,
                                           int32_t* outSize) ZOLTA_NOEXCEPT;

/* ==================== auxiliary: small fits and smoothing ==================== */

/* Fits a straight line c + s x.
 *
 * Given:    x, xSize          n abscissae, at most 1152; x may be null if n is 0
 *           y, ySize          n ordinates, read with the stride ySize[0]
 *           scale, scaleSize  n factors, read with the stride scaleSize[0]
 *           nGrid             number of grid points wanted, 0 or more
 *           fitted            room for n doubles; may be null if n is 0
 *           fittedSize        room for a size pair, not null
 *           xGrid, yGrid      records for the grid and the curve, not null
 * Returned: fitted, scale times the fit at each x; fittedSize, 1 and n; xGrid, yGrid, rows of
 *           nGrid: an even grid from the smallest to the largest x, and the fit there, unscaled.
 * Notes:    A NaN in x or y, or all x equal, spreads to every value.
 */
ZOLTA_API void ZOLTA_mfit1storder(const double* x, const int32_t* xSize, const double* y,
                                  const int32_t* ySize, const double* scale,
                                  const int32_t* scaleSize, int32_t nGrid, double* fitted,
                                  int32_t* fittedSize, emxArray_real_T* xGrid,
                                  emxArray_real_T* yGrid) ZOLTA_NOEXCEPT;

/* Like ZOLTA_mfit1storder, but fits a parabola c + b x + a x^2. */
ZOLTA_API void ZOLTA_mfit2ndorder(const double* x, const int32_t* xSize, const double* y,
                                  const int32_t* ySize, const double* scale,
                                  const int32_t* scaleSize, int32_t nGrid, double* fitted,
                                  int32_t* fittedSize, emxArray_real_T* xGrid,
                                  emxArray_real_T* yGrid) ZOLTA_NOEXCEPT;

/* Like ZOLTA_mfit1storder, but fits a line in the logarithm, c + s ln(x).
 *
 * Notes:    An x of 0 counts as a substitute, a tenth of the smallest other x or less. A negative x
 *           gives NaN. The grid runs in x, not in its logarithm.
 */
ZOLTA_API void ZOLTA_mfitlog(const double* x, const int32_t* xSize, const double* y,
                             const int32_t* ySize, const double* scale, const int32_t* scaleSize,
                             int32_t nGrid, double* fitted, int32_t* fittedSize,
                             emxArray_real_T* xGrid, emxArray_real_T* yGrid) ZOLTA_NOEXCEPT;

/* Fits the ratio b/(a + b) of two signals by a polynomial in x, for a calibration in pH.
 *
 * Given:    a, aSize   first signal, n values read with the stride aSize[0]
 *           b, bSize   second signal, n values read with the stride bSize[0]
 *           x, xSize   n abscissae, at most 384, read with the stride xSize[0]; null if n is 0
 *           out        room for five doubles, not null
 * Returned: out, the coefficients from the constant up, of the polynomial of degree 3 or 4 with the
 *           smaller sum of squared residuals; out[4] is 0.0 for the cubic, which wins a tie.
 */
ZOLTA_API void ZOLTA_pHequation(const double* a, const int32_t* aSize, const double* b,
                                const int32_t* bSize, const double* x, const int32_t* xSize,
                                double* out) ZOLTA_NOEXCEPT;

/* Smooths an emission row by a centred moving average.
 *
 * Given:    y, ySize   n signals; y may be null if n is 0
 *           w          smoothing width; 2.141787319021468 points to the unit
 *           out        room for n doubles; may be null if n is 0
 *           outSize    room for a size pair, not null
 * Returned: out, the smoothed row; outSize, 1 and n.
 * Notes:    The window is an odd number of points, 3 at least and n at most, and shrinks toward
 *           both ends. A w below 0.9337995337995338 copies the row. A NaN in y counts as missing.
 */
ZOLTA_API void ZOLTA_emission_smooth(const double* y, const int32_t* ySize, double w, double* out,
                                     int32_t* outSize) ZOLTA_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
