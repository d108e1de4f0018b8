"""The page's modules by themselves: tests in TypeScript, a file an area, run by node."""

import os
import subprocess
from pathlib import Path

import pytest

HERE = Path(__file__).parent
MODULE = HERE.parents[1] / "build" / "page" / "zolt.wasm"
AREAS = [file.name.removesuffix(".ts") for file in sorted((HERE / "units").glob("*.test.ts"))]


@pytest.fixture(scope="session")
def bundles(tmp_path_factory):
    folder = tmp_path_factory.mktemp("units")
    command = ["esbuild", *(f"tests/units/{area}.ts" for area in AREAS), "--bundle", "--format=esm", "--platform=node",
               "--log-level=warning", '--define:ZOLT_VERSION="1.2.3"', '--define:ZOLT_MODULE_HASH="0123456789abcdef"',
               f"--outdir={folder}", "--out-extension:.js=.mjs"]  # fmt: skip
    subprocess.run(command, cwd=HERE.parent, check=True)
    return folder


@pytest.mark.parametrize("area", AREAS, ids=lambda area: area.removesuffix(".test"))
def test_unit(area, bundles):
    environment = {**os.environ, "ZOLT_WASM": str(MODULE)}
    ran = subprocess.run(["node", bundles / f"{area}.mjs"], capture_output=True, text=True, timeout=60, env=environment)
    assert ran.returncode == 0, ran.stdout
