"""The page's modules by themselves: tests in TypeScript, a file an area, run by node."""

import os
import subprocess
from pathlib import Path

HERE = Path(__file__).parent
MODULE = HERE.parents[1] / "build" / "page" / "zolt.wasm"


def test_units(tmp_path):
    bundle = tmp_path / "units.mjs"
    areas = "".join(f'import "./{file.name}";' for file in sorted((HERE / "units").glob("*.test.ts")))
    command = ["esbuild", "--bundle", "--format=esm", "--platform=node", "--log-level=warning", "--loader=ts",
               '--define:ZOLT_VERSION="1.2.3"', '--define:ZOLT_MODULE_HASH="0123456789abcdef"', f"--outfile={bundle}"]  # fmt: skip
    subprocess.run(command, input=areas, text=True, cwd=HERE / "units", check=True)
    environment = {**os.environ, "ZOLT_WASM": str(MODULE), "ZOLT_SHOWN": str(HERE / "units" / "shown.txt")}
    ran = subprocess.run(["node", bundle], capture_output=True, text=True, timeout=60, env=environment)
    failed = [part for part in ran.stdout.split("# Subtest: ")[1:] if "\nnot ok" in part]
    assert ran.returncode == 0, "\n".join(failed) or ran.stdout + ran.stderr
    assert ran.stdout.count("\nok ") > 150
