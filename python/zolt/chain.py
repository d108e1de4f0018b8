"""The m-value that the length of a chain lets expect.

Myers, Pace and Scholtz, Protein Science 4 (1995) 2138: the surface that unfolding exposes grows with
the number of residues, and m with that surface. For chains without crosslinks.
"""

from .caution import LIMITS


def expected_m(residues, denaturant):
    """m in cal/mol/M of a chain of that many residues; None in an unknown denaturant."""
    if denaturant not in ("urea", "GdmCl"):
        return None
    line = LIMITS.chain  # areas in Å², m in cal/mol/M
    area = line["area"] + line["area_per_residue"] * residues
    return line[denaturant]["m"] + line[denaturant]["m_per_area"] * area
