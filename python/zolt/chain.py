"""The m-value that the length of a chain lets expect.

Myers, Pace and Scholtz, Protein Science 4 (1995) 2138: the surface that unfolding exposes grows with
the number of residues, and m with that surface. For chains without crosslinks.
"""

_AREA_FIRST, _AREA_PER_RESIDUE = -907.0, 93.0  # Å²
_M_OF_AREA = {"urea": (374.0, 0.11), "GdmCl": (859.0, 0.22)}  # cal/mol/M, cal/mol/M/Å²


def expected_m(residues, denaturant):
    """m in cal/mol/M of a chain of that many residues; None in an unknown denaturant."""
    if denaturant not in _M_OF_AREA:
        return None
    first, per_area = _M_OF_AREA[denaturant]
    return first + per_area * (_AREA_FIRST + _AREA_PER_RESIDUE * residues)
