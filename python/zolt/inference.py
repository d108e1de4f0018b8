"""The inference library as functions on numpy rows: records in and out, no statistics.

The structures below are those of `zolt_inference.h`, field by field; what the fields mean is told
there. Energies are in cal/mol, concentrations in M, temperatures in °C.
"""

import ctypes
from ctypes import POINTER, byref, c_char_p, c_double, c_int32, c_uint64, c_void_p
from dataclasses import dataclass, field
from functools import lru_cache

import numpy as np

from ._library import open_library

FITTED, NO_TRANSITION, UNDETERMINED, NOT_CONVERGED = range(4)
TOO_FEW_READINGS, TOO_MANY_READINGS, TOO_FEW_CONCENTRATIONS = 4, 5, 6
METHODS = {"profile": 0, "linear": 1, "bootstrap": 2}
SHARES = {"m": 1, "dG": 2}
KINDS = {"line": 0, "flat": 1}
_GIVEN = 2
MODELS = ("line", "parabola", "exponential", "two states", "three states", "four states")
OUTCOMES = (
    "taken", "not tried", "too few readings", "no need", "no sound fit", "gain no more than noise",
    "hangs on one reading", "a weight too small", "midpoints not apart", "a transition incomplete",
    "a curve without a transition serves as well",
)  # fmt: skip
# Bits of `bounds`, per transition, and what they say.
M_LEAST, M_MOST, CM_LEAST, CM_MOST, WEIGHT_EDGE, OUTSIDE = 1, 2, 4, 8, 16, 32
# What a status is called in a word or two.
WORDS = ("fitted", "no transition", "not determined", "no fit", "too few points", "too many points",
         "too few points", "no transition", *8 * ["bad input"])  # fmt: skip
SENTENCE_LENGTH = 240
MOST_TRANSITIONS = 3
_PARAMETERS = 12


def _row(kind, length):
    return kind * length


def _doubles(*names, shape=None):
    kind = c_double
    for length in reversed(shape or ()):
        kind = kind * length
    return [(name, kind) for name in names]


def _integers(*names):
    return [(name, c_int32) for name in names]


class CurveRecord(ctypes.Structure):
    _fields_ = [
        *((name, c_void_p) for name in ("x", "y", "sd")),
        *_integers("n", "reserved"),
        *_doubles("temperature"),
    ]


class OptionsRecord(ctypes.Structure):
    _fields_ = [
        *_integers("size", "native_kind", "denatured_kind", "sd_known", "without_engine", "reserved"),
        *_doubles("baseline", shape=(4,)),
        *_doubles("dG", "Cm", "m", shape=(3,)),
        *_doubles("least_m", "most_m", "margin"),
    ]


class FitRecord(ctypes.Structure):
    _fields_ = [
        *_integers("status", "transitions", "readings", "missing", "concentrations", "free_parameters",
                   "rank", "bounds", "iterations", "starts", "agreeing", "sd_known"),
        *_doubles("RT", "x_first", "x_last", "y_span"),
        *_doubles("baseline", shape=(4,)),
        *_doubles("dG", "Cm", "m", "weight", shape=(3,)),
        *_doubles("baseline_se", shape=(4,)),
        *_doubles("dG_se", "Cm_se", "m_se", "weight_se", shape=(3,)),
        *_doubles("baseline_hc3", shape=(4,)),
        *_doubles("dG_hc3", "Cm_hc3", "m_hc3", "weight_hc3", "dG_m_correlation", shape=(3,)),
        *_doubles("sse", "degrees", "residual_sd", "r_squared", "durbin_watson", "condition", "aicc",
                  "pure_sse", "pure_degrees", "lack_F", "lack_p"),
        *_doubles("covariance", "covariance_hc3", shape=(_PARAMETERS, _PARAMETERS)),
        *_doubles("engine", shape=(24,)),
    ]  # fmt: skip


class EvidenceRow(ctypes.Structure):
    _fields_ = [
        *_integers("model", "states", "tried", "sound", "engine_code", "outcome", "parameters", "against"),
        *_doubles("sse", "residual_sd", "durbin_watson", "aicc", "aicc_difference", "F", "p", "p_without",
                  "x_without", "least_weight", "apart"),
    ]  # fmt: skip


class EvidenceRecord(ctypes.Structure):
    _fields_ = [*_integers("status", "states", "readings", "reserved"), ("row", EvidenceRow * 6)]


class IntervalsRecord(ctypes.Structure):
    _fields_ = [
        *_integers("status", "transitions", "method", "rounds_used"),
        *_doubles("level"),
        *_doubles("dG", "Cm", "m", shape=(3, 2)),
    ]


class GlobalRecord(ctypes.Structure):
    _fields_ = [
        *_integers("status", "share", "transitions", "curves", "free_parameters", "iterations"),
        *_doubles("shared", "shared_se", shape=(3,)),
        *_doubles("shared_interval", shape=(3, 2)),
        *_doubles("chi_squared", "degrees", "free_chi_squared", "free_degrees", "F", "p"),
    ]


class DifferenceRecord(ctypes.Structure):
    _fields_ = [
        *_integers("status", "reserved"),
        *_doubles("dCm", "dCm_se", shape=(3,)),
        *_doubles("dCm_interval", shape=(3, 2)),
        *_doubles("ddG", "ddG_se", shape=(3,)),
        *_doubles("ddG_interval", shape=(3, 2)),
    ]


class ComparisonRecord(ctypes.Structure):
    _fields_ = [
        *_integers("status", "reserved"),
        *(
            entry
            for name, error in (("dCm", "dCm"), ("shared_ddG", "shared"), ("mean_m_ddG", "mean_m"),
                                ("plain_ddG", "plain"))
            for entry in (*_doubles(name, error + "_se"), *_doubles(error + "_interval", shape=(2,)))
        ),
    ]  # fmt: skip


# The ways of a comparison: name in tables, fields of the record, and what the way is called.
WAYS = {
    "shared_m": ("shared_ddG", "shared_se", "shared_interval", "global fit, one m"),
    "mean_m": ("mean_m_ddG", "mean_m_se", "mean_m_interval", "mean m times difference of Cm"),
    "plain": ("plain_ddG", "plain_se", "plain_interval", "plain difference of dG"),
}

RECORDS = (CurveRecord, OptionsRecord, FitRecord, EvidenceRecord, IntervalsRecord, GlobalRecord,
           DifferenceRecord, ComparisonRecord)  # fmt: skip

_rows = POINTER(c_double)
_ARGUMENTS = {
    "ZOLTI_options": [POINTER(OptionsRecord)],
    "ZOLTI_size": [c_int32],
    "ZOLTI_sentence": [c_int32],
    "ZOLTI_fit": [POINTER(CurveRecord), c_int32, POINTER(OptionsRecord), POINTER(FitRecord), c_void_p,
                  c_void_p],
    "ZOLTI_decide": [POINTER(CurveRecord), c_int32, POINTER(OptionsRecord), POINTER(EvidenceRecord),
                     POINTER(FitRecord), c_void_p, c_void_p],
    "ZOLTI_evidence_sentence": [POINTER(EvidenceRecord), c_char_p, c_int32],
    "ZOLTI_intervals": [POINTER(CurveRecord), POINTER(OptionsRecord), POINTER(FitRecord), c_int32, c_double,
                        c_int32, c_uint64, POINTER(IntervalsRecord), c_void_p],
    "ZOLTI_draw": [POINTER(FitRecord), c_void_p, c_int32, c_double, c_void_p],
    "ZOLTI_fit_global": [c_void_p, c_int32, c_int32, c_int32, POINTER(OptionsRecord), c_int32, c_double,
                         POINTER(GlobalRecord), c_void_p, c_void_p, c_void_p],
    "ZOLTI_compare": [c_void_p, c_int32, POINTER(OptionsRecord), c_int32, c_double, POINTER(GlobalRecord),
                      c_void_p, c_void_p],
}  # fmt: skip


def library_path():
    """Where the library was loaded from."""
    return _library()._name


@lru_cache(maxsize=1)
def _library():
    handle, path = open_library("ZOLTInference", "ZOLT_INFERENCE_LIBRARY")
    missing = [name for name in _ARGUMENTS if not hasattr(handle, name)]
    if missing:
        raise ImportError(f"{path} lacks {missing[0]}: it belongs to another release, rebuild it.")
    for name, arguments in _ARGUMENTS.items():
        getattr(handle, name).argtypes = arguments
    handle.ZOLTI_options.restype = None
    handle.ZOLTI_sentence.restype = c_char_p
    sizes = [handle.ZOLTI_size(i) for i in range(len(RECORDS))]
    if sizes != [ctypes.sizeof(record) for record in RECORDS]:
        raise ImportError(f"{path} lays out its records differently: it belongs to another release.")
    return handle


def sentence(status):
    """What a status means, in one English sentence."""
    return _library().ZOLTI_sentence(status).decode()


@dataclass(frozen=True)
class Options:
    """Choices of a fit, see `zolt_inference.h`.

    `native` and `denatured` are "line", "flat" or (intercept, slope). `dG` (cal/mol), `Cm` (M) and
    `m` (cal/mol/M) hold values: one number, or one a transition with None where it is fitted.
    """

    native: object = "line"
    denatured: object = "line"
    dG: object = None
    Cm: object = None
    m: object = None
    sd_known: bool = False
    engine: bool = True
    margin: float = 0.1

    def record(self):
        record = OptionsRecord()
        _library().ZOLTI_options(byref(record))
        for place, side in enumerate(("native", "denatured")):
            kind = getattr(self, side)
            if isinstance(kind, str):
                if kind not in KINDS:
                    raise ValueError(f"the {side} baseline is 'line', 'flat' or two numbers, not {kind!r}")
                setattr(record, side + "_kind", KINDS[kind])
            else:
                setattr(record, side + "_kind", _GIVEN)
                record.baseline[2 * place], record.baseline[2 * place + 1] = (float(v) for v in kind)
        for name in ("dG", "Cm", "m"):
            held = getattr(self, name)
            for i, value in enumerate(() if held is None else np.atleast_1d(np.array(held, dtype=object))):
                if i < 3 and value is not None:
                    getattr(record, name)[i] = float(value)
        record.sd_known, record.without_engine, record.margin = self.sd_known, not self.engine, self.margin
        return record


@dataclass(frozen=True)
class Readings:
    """A curve as the library takes it; rows of equal length, `sd` may be None."""

    x: np.ndarray
    y: np.ndarray
    sd: np.ndarray = None
    temperature: float = 25.0

    def __post_init__(self):
        for name in ("x", "y", "sd"):
            values = getattr(self, name)
            if values is not None:
                row = np.require(values, np.float64, ("C", "A")).reshape(-1)
                object.__setattr__(self, name, row)
                if row.size != self.x.size:
                    raise ValueError(f"x has {self.x.size} values and {name} has {row.size}")

    def record(self):
        sd = None if self.sd is None else self.sd.ctypes.data
        return CurveRecord(self.x.ctypes.data, self.y.ctypes.data, sd, self.x.size, 0, self.temperature)


@dataclass(frozen=True)
class Answer:
    """A fit record with its residuals and leverages, and the evidence if a number was decided on."""

    record: FitRecord = field(repr=False)
    residuals: np.ndarray = field(repr=False)
    leverage: np.ndarray = field(repr=False)
    evidence: EvidenceRecord = field(default=None, repr=False)

    @property
    def status(self):
        return self.record.status

    def values(self, name):
        """A field by transition or by baseline parameter; NaN where there is no such number."""
        row = np.array(getattr(self.record, name))
        if not name.startswith("baseline"):
            row = row[: self.record.transitions]
        return np.where(row == -1.0, np.nan, row) if name.endswith(("_se", "_hc3")) else row


def fit(readings, transitions, options=Options()):
    """Least squares with that many transitions."""
    record, residuals, leverage = FitRecord(), np.empty(readings.x.size), np.empty(readings.x.size)
    _library().ZOLTI_fit(byref(readings.record()), transitions, byref(options.record()), byref(record),
                         residuals.ctypes.data, leverage.ctypes.data)  # fmt: skip
    return Answer(record, residuals, leverage)


def decide(readings, options=Options(), most_states=4):
    """The number of states that the readings show, and its fit."""
    record, evidence = FitRecord(), EvidenceRecord()
    residuals, leverage = np.empty(readings.x.size), np.empty(readings.x.size)
    _library().ZOLTI_decide(byref(readings.record()), most_states, byref(options.record()), byref(evidence),
                            byref(record), residuals.ctypes.data, leverage.ctypes.data)  # fmt: skip
    return Answer(record, residuals, leverage, evidence)


def evidence_sentence(evidence):
    buffer = ctypes.create_string_buffer(SENTENCE_LENGTH)
    _library().ZOLTI_evidence_sentence(byref(evidence), buffer, SENTENCE_LENGTH)
    return buffer.value.decode()


def intervals(readings, answer, options=Options(), method="profile", level=0.95, rounds=1000, seed=0):
    """The record of intervals and, of the bootstrap, the draws: rounds by (dG, Cm, m) by three."""
    if method not in METHODS:
        raise ValueError(f"method is one of {', '.join(METHODS)}, not {method!r}")
    record = IntervalsRecord()
    draws = np.empty((rounds, 3, 3)) if method == "bootstrap" else None
    _library().ZOLTI_intervals(
        byref(readings.record()), byref(options.record()), byref(answer.record), METHODS[method], level,
        rounds, seed, byref(record), None if draws is None else draws.ctypes.data,
    )  # fmt: skip
    return record, draws


DRAWN = ("signal", "native", "denatured", "fraction", "derivative", "band", "free_energy")


def draw(answer, x, level=0.95):
    """The fitted curve at x, by the names of `DRAWN`; see ZOLTI_draw."""
    x = np.require(x, np.float64, ("C", "A")).reshape(-1)
    rows = np.full((len(DRAWN), x.size), np.nan)
    _library().ZOLTI_draw(byref(answer.record), x.ctypes.data, x.size, level, rows.ctypes.data)
    rows[5][rows[5] < 0] = np.nan
    return dict(zip(DRAWN, rows))


def _many(curves, record):
    return (CurveRecord * len(curves))(*(c.record() for c in curves)), (record * len(curves))()


def fit_global(curves, share="m", transitions=1, options=Options(), reference=0, level=0.95):
    """The global record, and the fits, intervals and differences of all curves."""
    if share not in SHARES:
        raise ValueError(f"share is 'm' or 'dG', not {share!r}")
    rows, fits = _many(curves, FitRecord)
    spans, differences = (IntervalsRecord * len(curves))(), (DifferenceRecord * len(curves))()
    record = GlobalRecord()
    _library().ZOLTI_fit_global(rows, len(curves), transitions, SHARES[share], byref(options.record()),
                                reference, level, byref(record), fits, spans, differences)  # fmt: skip
    return record, list(fits), list(spans), list(differences)


def compare(curves, options=Options(), reference=0, level=0.95):
    """The global record, the fits and the three ways of ddG for all curves."""
    rows, fits = _many(curves, FitRecord)
    comparisons = (ComparisonRecord * len(curves))()
    record = GlobalRecord()
    _library().ZOLTI_compare(rows, len(curves), byref(options.record()), reference, level, byref(record),
                             fits, comparisons)  # fmt: skip
    return record, list(fits), list(comparisons)
