"""The rows of a run as they come, in a file beside the results, from which a run can be resumed.

The file has a line of JSON per curve: a key, the row, the warnings. The key is that of readings, settings
and libraries, so that a row is taken over for nothing else. What is finished stays in it when the run is
stopped, and the file is removed when the results are written.
"""

import hashlib
import json
import os
from pathlib import Path


from . import _library, inference
from ._version import __version__
from .batch import column_place, frame_of
from .caution import Caution
from .writing import CannotWrite, finite, harmless, reason

try:
    import fcntl
except ImportError:  # a system without such locks
    fcntl = None

_CHUNK = 5000  # rows that are in memory at once
FITTED = ("fitted", "midpoint fitted")


class KeptRows:
    """The rows of curves in their order, and `said`, the warnings of each.

    With `path` rows are kept in the file beside it. Otherwise the first `most` are in memory and the
    others only counted. `trouble` is a sentence once the file cannot be written any more: rows then stay
    in memory.
    """

    def __init__(self, count, path=None, most=None):
        self._rows, self.said = [None] * count, [()] * count
        self.done = self.fitted = 0
        self.trouble, self.path, self._file, self._end, self._most = "", None, None, 0, most
        self._shapes, self._alike = {}, {}
        if path is not None and (not Path(path).exists() or Path(path).is_file()):
            path = Path(os.path.realpath(path))
            self.path = path.with_name(f"{path.name}.partial")
            self._most = None
            self._open()

    def _open(self):
        try:
            self._file = open(self.path, "a+b", buffering=0)
            while not self._locked():  # another run has just removed it
                self._file.close()
                self._file = open(self.path, "a+b", buffering=0)
        except OSError as fault:
            return self._give_up(fault)
        self._end = self._file.seek(0, os.SEEK_END)
        if self._end:
            self._write(b"\n")  # the last line of a run that was killed may have no end

    def _locked(self):
        """True once the file at the path is ours alone; CannotWrite where another run has it."""
        if fcntl is None:
            return True
        try:
            fcntl.flock(self._file, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            self._file.close()
            raise CannotWrite(
                f"--out {self.path.with_suffix('')}: another run is writing it; wait for it, "
                "or name another file."
            ) from None
        except OSError:  # a file system without locks
            return True
        return self.path.exists() and os.path.samestat(os.fstat(self._file.fileno()), self.path.stat())

    def take_over(self, keys):
        """Take the rows of an earlier run whose keys are among these; the number of them."""
        places = {key: i for i, key in enumerate(keys)}
        with open(self.path, "rb") as file:
            at = 0
            for line in file:
                try:
                    key, row, said = json.loads(line)
                    i = places.pop(key, None)
                except (ValueError, TypeError):
                    i = None  # cut off, or of something else
                if i is not None:
                    self._count(i, row, [Caution(*entry) for entry in said])
                    self._rows[i] = at
                at += len(line)
        return self.done

    def is_done(self, i):
        return self._rows[i] is not None

    def add(self, i, key, row, said):
        """Keep the row of curve i; a failure that another run may not have is not taken over."""
        self._count(i, row, said)
        if self._file is not None and not self.trouble:
            key = key if row["status"] != "error" else ""
            line = json.dumps([key, row, [(c.code, c.sentence, c.advice) for c in said]], default=_plain)
            at = self._end
            if self._write(line.encode() + b"\n"):
                self._rows[i] = at
                return
        self._rows[i] = row if self._most is None or i < self._most else ()

    def _count(self, i, row, said):
        self.done += 1
        self.fitted += row["status"] in FITTED
        self.said[i] = tuple(self._alike.setdefault(caution, caution) for caution in said)
        shape = tuple(row)
        self._shapes[shape] = min(i, self._shapes.get(shape, i))

    def _write(self, data):
        try:
            view = memoryview(data)
            while view:
                view = view[self._file.write(view) :]
        except OSError as fault:
            self._give_up(fault)
            return False
        self._end += len(data)
        return True

    def _give_up(self, fault):
        why = f"not written, {reason(fault)}"
        self.trouble = f"{self.path}: {why}; the run goes on, but could not be resumed."

    def head(self, most):
        """The table of the first rows."""
        return self._frame(range(min(most, len(self._rows))))

    def write_csv(self, path):
        """Write all rows, a part at a time; texts that begin as formulas stay texts."""
        for start in range(0, max(len(self._rows), 1), _CHUNK):
            frame = self._frame(range(start, min(start + _CHUNK, len(self._rows))))
            harmless(finite(frame)).to_csv(path, mode="a" if start else "w", header=not start, index=False)

    def _frame(self, places):
        names = dict.fromkeys(name for shape in sorted(self._shapes, key=self._shapes.get) for name in shape)
        rows = [self._rows[i] for i in places]
        if any(isinstance(row, int) for row in rows):
            with open(os.dup(self._file.fileno()), "rb") as file:
                rows = [self._read(file, row) if isinstance(row, int) else row for row in rows]
        return frame_of(rows).reindex(columns=sorted(names, key=column_place))

    @staticmethod
    def _read(file, at):
        file.seek(at)
        return json.loads(file.readline())[1]

    def close(self, written=False):
        """Let go of the file; once its rows are `written` elsewhere it is not needed any more."""
        if self._file is None:
            return
        if written:
            self.path.unlink(missing_ok=True)
        self._file.close()


def keys_of(curves, settings, units):
    """A key per curve: the hash of all that its row follows from."""
    libraries = [hashlib.sha256(Path(path).read_bytes()).hexdigest() if Path(path).is_file() else str(path)
                 for path in (_library.library().path, inference.library_path())]  # fmt: skip
    common = repr((__version__, libraries, units, sorted(settings.to_plain().items()))).encode()
    for curve in curves:
        details = sorted(curve.details.items(), key=str)
        told = (
            curve.name, curve.temperature, curve.label, curve.replicate, details, curve.denaturant,
            curve.notes,
        )  # fmt: skip
        whole = hashlib.sha256(common + repr(told).encode())
        for values in (curve.x, curve.y, curve.sd, curve.n, curve.part):
            kind = "" if values is None else f"{values.dtype}{values.shape}"
            whole.update(kind.encode() + (b"-" if values is None else values.tobytes()))
        yield whole.hexdigest()


def _plain(value):
    """A value of numpy as a plain one."""
    return value.item() if hasattr(value, "item") else str(value)
