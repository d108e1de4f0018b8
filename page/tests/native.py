"""The native libraries, called with the same readings as the page's."""

import ctypes
import os
import struct
import sys
from pathlib import Path

import numpy as np
import pytest

TOP = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "page"))
from make_records import layouts  # noqa: E402

# The records without pointers lie alike on every machine.
LAYOUTS = {name: (size, fields) for name, size, fields in layouts(["ZOLTI_Fit", "ZOLTI_Intervals", "ZOLTI_Global", "ZOLTI_Comparison"])}
ENGINE = Path(os.environ.get("ZOLT_LIBRARY", TOP / "build" / "release" / "libZOLTFittingEngine.so"))


class Curve(ctypes.Structure):
    _fields_ = [("x", ctypes.c_void_p), ("y", ctypes.c_void_p), ("sd", ctypes.c_void_p),
                ("n", ctypes.c_int32), ("reserved", ctypes.c_int32), ("temperature", ctypes.c_double)]  # fmt: skip


def library():
    ctypes.CDLL(str(ENGINE), mode=ctypes.RTLD_GLOBAL)
    return ctypes.CDLL(str(ENGINE.with_name("libZOLTInference.so")))


def room(record, count=1):
    return ctypes.create_string_buffer(LAYOUTS[record][0] * count)


def unpack(record, buffer, index=0):
    size, fields = LAYOUTS[record]
    values = {}
    for name, kind, shape, offset in fields:
        count = int(np.prod(shape))
        found = struct.unpack_from(f"<{count}{'d' if kind == 'double' else 'i'}", buffer, index * size + offset)
        values[name] = np.reshape(found, shape).tolist() if shape else found[0]
    return values


def curves(list_of_readings):
    """The records of (x, y, temperature), and what must stay alive while they are used."""
    kept, records = [], (Curve * len(list_of_readings))()
    for record, (x, y, temperature) in zip(records, list_of_readings):
        x, y = np.array(x, float), np.array(y, float)
        kept += [x, y]
        record.x, record.y, record.n, record.temperature = x.ctypes.data, y.ctypes.data, x.size, temperature
    return records, kept


def decide(x, y, temperature):
    """Fit and profile intervals of one curve, with the usual options."""
    inference = library()
    records, kept = curves([(x, y, temperature)])
    fit, intervals = room("ZOLTI_Fit"), room("ZOLTI_Intervals")
    evidence = ctypes.create_string_buffer(inference.ZOLTI_size(3))
    inference.ZOLTI_decide(records, 4, None, evidence, fit, None, None)
    inference.ZOLTI_intervals(records, None, fit, 0, ctypes.c_double(0.95), 0, ctypes.c_uint64(0), intervals, None)
    del kept
    return unpack("ZOLTI_Fit", fit), unpack("ZOLTI_Intervals", intervals)


def compare(readings, reference):
    inference = library()
    records, kept = curves(readings)
    whole, fits, rows = room("ZOLTI_Global"), room("ZOLTI_Fit", len(readings)), room("ZOLTI_Comparison", len(readings))
    inference.ZOLTI_compare(records, len(readings), None, reference, ctypes.c_double(0.95), whole, fits, rows)
    del kept
    return unpack("ZOLTI_Global", whole), [unpack("ZOLTI_Comparison", rows, i) for i in range(len(readings))]


def close(ours, theirs):
    """Within 1e-9 of one another, relatively; what is 0, -1 or infinite is that here and there."""
    assert ours == pytest.approx(theirs, rel=1e-9, abs=1e-12)
