"""Puts the two shared libraries into the package, so that an installed zolt finds them, and the page."""

import os
import shutil
import subprocess
from pathlib import Path

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

TOP = Path(__file__).resolve().parent.parent
# The inference library names the engine by its version, and both lie in one folder.
ENGINE, INFERENCE = "ZOLTFittingEngine", "ZOLTInference"


def build_folder(scratch):
    """The folder with the libraries: that of ZOLT_LIBRARY, the build tree, or what cmake makes now."""
    chosen = os.environ.get("ZOLT_LIBRARY")
    folder = Path(chosen).parent if chosen else TOP / "build" / "release"
    if not all((folder / f"lib{stem}.so").is_file() for stem in (ENGINE, INFERENCE)):
        if not shutil.which("cmake"):
            raise SystemExit(f"{folder} lacks the libraries and cmake is not installed: install cmake first.")
        subprocess.run(
            ["cmake", "-S", TOP, "-B", scratch, "-DCMAKE_BUILD_TYPE=Release", "-DBUILD_TESTING=OFF",
             "-DZOLT_BUILD_BENCH=OFF"],
            check=True,
        )
        subprocess.run(["cmake", "--build", scratch, "--target", ENGINE, INFERENCE], check=True)
        folder = next(Path(scratch).rglob(f"lib{INFERENCE}.so")).parent
    return folder


class BuildWithLibrary(build_py):
    def run(self):
        super().run()
        target = Path(self.build_lib) / "zolt" / "lib"
        target.mkdir(parents=True, exist_ok=True)
        folder = build_folder(Path(self.build_lib).resolve().parent / "libraries")
        major = (TOP / "VERSION").read_text().split(".")[0]
        shutil.copyfile(folder / f"lib{INFERENCE}.so", target / f"lib{INFERENCE}.so")
        # By the name that the inference library asks for, since a wheel holds no links.
        shutil.copyfile(folder / f"lib{ENGINE}.so", target / f"lib{ENGINE}.so.{major}")
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
