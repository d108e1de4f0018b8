"""Puts the engine's shared library into the package, so that an installed zolt finds it, and the page."""

import os
import shutil
import subprocess
from pathlib import Path

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

TOP = Path(__file__).resolve().parent.parent
NAME = "libZOLTFittingEngine.so"


def shared_library(scratch):
    """The library of ZOLT_LIBRARY or of the build tree, or one that cmake makes now."""
    chosen = os.environ.get("ZOLT_LIBRARY")
    built = Path(chosen) if chosen else TOP / "build" / "release" / NAME
    if not built.is_file():
        if not shutil.which("cmake"):
            raise SystemExit(f"{built} is missing and cmake is not installed: install cmake first.")
        subprocess.run(
            ["cmake", "-S", TOP, "-B", scratch, "-DCMAKE_BUILD_TYPE=Release", "-DBUILD_TESTING=OFF",
             "-DZOLT_BUILD_BENCH=OFF"],
            check=True,
        )
        subprocess.run(["cmake", "--build", scratch, "--target", "ZOLTFittingEngine"], check=True)
        built = next(Path(scratch).rglob(NAME))
    return built


class BuildWithLibrary(build_py):
    def run(self):
        super().run()
        target = Path(self.build_lib) / "zolt" / "lib"
        target.mkdir(parents=True, exist_ok=True)
        scratch = Path(self.build_lib).resolve().parent / "engine"
        shutil.copyfile(shared_library(scratch), target / NAME)
        page = TOP / "out" / "zolt.html"
        if page.is_file():  # made by script/page
            target = target.parent / "page"
            target.mkdir(exist_ok=True)
            shutil.copyfile(page, target / page.name)


class PlatformDistribution(Distribution):
    """A wheel with a shared library in it belongs to one platform."""

    def has_ext_modules(self):
        return True


setup(
    version=(TOP / "VERSION").read_text().strip(),
    cmdclass={"build_py": BuildWithLibrary},
    distclass=PlatformDistribution,
)
