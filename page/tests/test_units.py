"""The page's modules by themselves: tests in TypeScript, a file an area, run by node."""

import os
import subprocess
from pathlib import Path

import pytest

HERE = Path(__file__).parent
MODULE = HERE.parents[1] / "build" / "page" / "zolt.wasm"
FILES = sorted((HERE / "units").glob("*.test.ts"))


@pytest.mark.parametrize("file", FILES, ids=lambda file: file.name.removesuffix(".test.ts"))
def test_unit(file, tmp_path):
    bundle = tmp_path / "unit.mjs"
    command = ["esbuild", file, "--bundle", "--format=esm", "--platform=node", "--log-level=warning",
               '--define:ZOLT_VERSION="1.2.3"', '--define:ZOLT_MODULE_HASH="0123456789abcdef"', f"--outfile={bundle}"]  # fmt: skip
    subprocess.run(command, cwd=HERE.parent, check=True)
    ran = subprocess.run(["node", "--test", bundle], capture_output=True, text=True, timeout=60, env={**os.environ, "ZOLT_WASM": str(MODULE)})
    assert ran.returncode == 0, ran.stdout
