"""The shared library behind the package: where it is found and how its exports are called.

`EXPORTS` is the one description of the interface. A kind names what a caller passes:

========  =====================================================================
array     float64 row, handed over as pointer and size pair
flags     int32 row, handed over as pointer and size pair
block     float64 storage without a size pair
record    array record, see `Record`
int       32-bit integer
double    floating-point number
========  =====================================================================
"""

import ctypes
import os
import sys
from ctypes import c_bool, c_double, c_int32, c_void_p
from ctypes.util import find_library
from functools import lru_cache
from pathlib import Path

import numpy as np

# The number of the interface, which the names of both libraries carry where the system has such names.
INTERFACE = 1
_SUFFIXES = {"win32": ".dll", "darwin": ".dylib"}

MOST_POINTS = 384
RESULT_LENGTH = 24

_analysis = "array array double block"
_baselines = "array array block double block"
_curve = "array block int record record"
_primary = "int record record array int double record record"
_masked_primary = "int record record array flags int double record"
_calculation = "array record flags int record record record record block"
_line = "array block int record record"
_fraction = "array block int double record record"
_m_value = "array array array int array record record"

EXPORTS = {
    "ZOLTA_emxCreateWrapper_real_T": "address int int",
    "ZOLTA_emxCreateWrapper_int32_T": "address int int",
    "ZOLTA_2state": _analysis,
    "ZOLTA_2state_chalf": _analysis,
    "ZOLTA_2state_user_set_baselines": _baselines,
    "ZOLTA_3state": _analysis,
    "ZOLTA_3state_chalf": _analysis,
    "ZOLTA_3state_user_set_baselines": _baselines,
    "ZOLTA_4state": _analysis,
    "ZOLTA_4state_chalf": _analysis,
    "ZOLTA_4state_user_set_baselines": _baselines,
    "ZOLTA_ChemDenatFluorescenceFitCurve": _curve,
    "ZOLTA_ChemDenatFDFitCurve": _curve,
    "ZOLTA_ChemDenatFirstDerivativeFitCurve": _curve,
    "ZOLTA_ChemDenatModelPicker": "array",
    "ZOLTA_ChemDenatKillSpikes": "array flags",
    "ZOLTA_ChemDenatOutlierRemoval": "array array block flags",
    "ZOLTA_dGtrend_primaryFit": _primary,
    "ZOLTA_dGagg_primaryFit": _primary,
    "ZOLTA_dGtrend_user_primaryFit": _masked_primary,
    "ZOLTA_dGagg_user_primaryFit": _masked_primary,
    "ZOLTA_dGtrend_calc": _calculation,
    "ZOLTA_dGagg_calc": _calculation,
    "ZOLTA_dGtrend_trend": _line,
    "ZOLTA_dGagg_trend": _line,
    "ZOLTA_dGtrend_fd": _fraction,
    "ZOLTA_dGtrend_fragg": _fraction,
    "ZOLTA_dGtrend_fraggfd": _fraction,
    "ZOLTA_dGtrend_normalization": "array double double array",
    "ZOLTA_mfit1storder": _m_value,
    "ZOLTA_mfit2ndorder": _m_value,
    "ZOLTA_mfitlog": _m_value,
    "ZOLTA_pHequation": "array array array block",
    "ZOLTA_emission_smooth": "array double array",
}


class RecordLayout(ctypes.Structure):
    """The array record as it lies in memory; one layout serves every element kind."""

    _fields_ = [
        ("data", c_void_p),
        ("size", ctypes.POINTER(c_int32)),
        ("allocatedSize", c_int32),
        ("numDimensions", c_int32),
        ("canFreeData", c_bool),
    ]


_RecordPointer = ctypes.POINTER(RecordLayout)
_ARGTYPES = {
    "array": [c_void_p, c_void_p],
    "flags": [c_void_p, c_void_p],
    "block": [c_void_p],
    "address": [c_void_p],
    "record": [_RecordPointer],
    "int": [c_int32],
    "double": [c_double],
}
_RESTYPES = {
    "ZOLTA_emxCreateWrapper_real_T": _RecordPointer,
    "ZOLTA_emxCreateWrapper_int32_T": _RecordPointer,
    "ZOLTA_ChemDenatModelPicker": c_int32,
}
_ELEMENTS = {"array": np.dtype(np.float64), "block": np.dtype(np.float64), "flags": np.dtype(np.int32)}
_Pair = c_int32 * 2


def file_name(stem):
    """The name of a shared library on this system, without its number."""
    return f"lib{stem}{_SUFFIXES.get(sys.platform, '.so')}"


def candidates(name):
    """The places where a library may lie, in the order in which they are tried."""
    here = Path(__file__).resolve().parent
    yield from sorted((here / "lib").glob(name + "*"))
    build = here.parents[1] / "build"
    for tree in ("release", "ci", "clang-release", "debug", "."):
        yield build / tree / name


def open_library(stem, variable):
    """The library lib`stem`.so and its path; the environment `variable` goes before all places.

    A library that belongs to the one named by ZOLT_LIBRARY lies beside it.
    """
    name = file_name(stem)
    chosen = os.environ.get(variable)
    engine = os.environ.get("ZOLT_LIBRARY")
    if not chosen and engine and stem != "ZOLTFittingEngine":
        beside = Path(engine).with_name(name)
        chosen = str(beside) if beside.is_file() else None
    if chosen:
        try:
            return ctypes.CDLL(chosen), chosen
        except OSError as fault:
            raise ImportError(f"{variable} names {chosen}, which cannot be loaded: {fault}") from None
    for path in candidates(name):
        if path.is_file():
            return ctypes.CDLL(str(path)), str(path)
    for found in (f"{name}.{INTERFACE}", find_library(stem) or name):
        try:
            return ctypes.CDLL(found), found
        except OSError:
            pass
    raise ImportError(
        f"{name} was not found: build it with 'cmake --preset release && cmake --build "
        f"--preset release' at the top of the source tree, or set {variable} to its path."
    )


class Library:
    """The loaded library; `call` turns Python arguments into C ones by the table of exports."""

    def __init__(self):
        handle, self.path = open_library("ZOLTFittingEngine", "ZOLT_LIBRARY")
        missing = [name for name in EXPORTS if not hasattr(handle, name)]
        if missing:
            raise ImportError(
                f"{self.path} lacks {len(missing)} of {len(EXPORTS)} exports, {missing[0]} among "
                "them: it belongs to another release, rebuild it."
            )
        self._functions = {}
        for name, kinds in EXPORTS.items():
            function = getattr(handle, name)
            kinds = kinds.split()
            function.argtypes = [argument for kind in kinds for argument in _ARGTYPES[kind]]
            function.restype = _RESTYPES.get(name)
            self._functions[name] = function, kinds
        # Records are released by the C library that the engine took them from.
        self._free = ctypes.CDLL("msvcrt" if sys.platform == "win32" else None).free
        self._free.argtypes = [c_void_p]
        self._free.restype = None

    def call(self, name, *arguments):
        function, kinds = self._functions[name]
        plain = []
        for kind, value in zip(kinds, arguments, strict=True):
            if kind in _ELEMENTS:
                if value.dtype != _ELEMENTS[kind] or not value.flags.c_contiguous:
                    raise TypeError(f"{name} takes contiguous {_ELEMENTS[kind]} storage")
                plain.append(value.ctypes.data)
                if kind != "block":
                    plain.append(_Pair(1, value.size))
            elif kind == "record":
                plain.append(value.pointer)
            else:
                plain.append(value)
        return function(*plain)

    def free(self, address):
        self._free(address)


@lru_cache(maxsize=1)
def library():
    """The library, loaded on first use."""
    return Library()


class Record:
    """An array record over a row of this process, as a context.

    The record grows by itself when a callee needs more room, and then owns its elements: they are
    read back with `values` before the context ends, which releases everything the record holds.
    """

    _makers = {
        np.dtype(np.float64): "ZOLTA_emxCreateWrapper_real_T",
        np.dtype(np.int32): "ZOLTA_emxCreateWrapper_int32_T",
    }

    def __init__(self, row):
        self._row = np.ascontiguousarray(row).reshape(-1)
        self._maker = self._makers[self._row.dtype]

    @classmethod
    def empty(cls, dtype=np.float64):
        return cls(np.empty(0, dtype))

    def __enter__(self):
        self.pointer = library().call(self._maker, self._row.ctypes.data, 1, self._row.size)
        return self

    def values(self):
        record = self.pointer.contents
        count = int(np.prod([record.size[i] for i in range(record.numDimensions)]))
        if count <= 0 or not record.data:
            return np.empty(0, self._row.dtype)
        block = (ctypes.c_char * (count * self._row.itemsize)).from_address(record.data)
        return np.frombuffer(block, self._row.dtype).copy()

    def __exit__(self, *_):
        record = self.pointer.contents
        if record.canFreeData and record.data:
            library().free(record.data)
        library().free(ctypes.cast(record.size, c_void_p))
        library().free(ctypes.cast(self.pointer, c_void_p))
