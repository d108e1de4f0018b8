"""Puts the two shared libraries into the package, so that an installed zolt finds them, and the page."""

import os
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py
from setuptools.command.sdist import sdist
from wheel.bdist_wheel import bdist_wheel

HERE = Path(__file__).resolve().parent
# A source distribution carries the sources of the libraries with it.
TOP = HERE / "engine" if (HERE / "engine").is_dir() else HERE.parent
TAKEN_ALONG = (
    "CMakeLists.txt", "VERSION", "LICENSE", "README.md", "cmake", "include", "src", "out/zolt.html"
)  # fmt: skip
# The inference library names the engine by the number of its interface; both lie in one folder.
ENGINE, INFERENCE, INTERFACE = "ZOLTFittingEngine", "ZOLTInference", 1
# The system that the wheel is for, where the libraries were cross compiled: manylinux_2_27_aarch64, ...
PLATFORM = os.environ.get("ZOLT_WHEEL_PLATFORM")
SUFFIX = ".dll" if (PLATFORM or sys.platform).startswith("win") else ".so"


def build_folder(scratch):
    """The folder with the libraries: that of ZOLT_LIBRARY, the build tree, or what cmake makes now."""
    chosen = os.environ.get("ZOLT_LIBRARY")
    folder = Path(chosen).parent if chosen else TOP / "build" / "release"
    if not all((folder / f"lib{stem}{SUFFIX}").is_file() for stem in (ENGINE, INFERENCE)):
        if not shutil.which("cmake"):
            raise SystemExit(f"{folder} lacks the libraries and cmake is not installed: install cmake first.")
        subprocess.run(
            ["cmake", "-S", TOP, "-B", scratch, "-DCMAKE_BUILD_TYPE=Release", "-DBUILD_TESTING=OFF",
             "-DZOLT_BUILD_BENCH=OFF"],
            check=True,
        )
        subprocess.run(["cmake", "--build", scratch, "--target", ENGINE, INFERENCE], check=True)
        folder = next(Path(scratch).rglob(f"lib{INFERENCE}{SUFFIX}")).parent
    return folder


class BuildWithLibrary(build_py):
    def run(self):
        super().run()
        target = Path(self.build_lib) / "zolt" / "lib"
        target.mkdir(parents=True, exist_ok=True)
        folder = build_folder(Path(self.build_lib).resolve().parent / "libraries")
        # By the names that programs ask for, since a wheel holds no links.
        number = f".{INTERFACE}" if SUFFIX == ".so" else ""
        for stem in (ENGINE, INFERENCE):
            shutil.copyfile(folder / f"lib{stem}{SUFFIX}", target / f"lib{stem}{SUFFIX}{number}")
        page = TOP / "out" / "zolt.html"
        if page.is_file():  # made by script/page
            target = target.parent / "page"
            target.mkdir(exist_ok=True)
            shutil.copyfile(page, target / page.name)


class SourcesWithLibrary(sdist):
    def make_release_tree(self, folder, files):
        super().make_release_tree(folder, files)
        for name in TAKEN_ALONG:
            source, target = TOP / name, Path(folder) / "engine" / name
            if source.is_dir():
                shutil.copytree(source, target)
            elif source.is_file():
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(source, target)


class PlatformWheel(bdist_wheel):
    """The libraries belong to one platform; the Python that calls them, to any version."""

    def get_tag(self):
        return "py3", "none", PLATFORM or super().get_tag()[2]


class PlatformDistribution(Distribution):
    def has_ext_modules(self):
        return True


setup(
    version=(TOP / "VERSION").read_text().strip(),
    cmdclass={"build_py": BuildWithLibrary, "sdist": SourcesWithLibrary, "bdist_wheel": PlatformWheel},
    distclass=PlatformDistribution,
)
