"""Builds the zemtra package with the project's own CMake, offline:

    python3 -m venv --system-site-packages venv
    venv/bin/pip install --no-build-isolation ./python

The extension module and the libraries it loads (libZemtraBatch.so.0,
libkarvo_core.so.0, libkarvo_formats.so.0) go into the package folder, found there through
$ORIGIN.
CMAKE_BUILD_PARALLEL_LEVEL and CMAKE_CXX_COMPILER_LAUNCHER (ccache) are
honoured as CMake honours them.
"""

import os
import re
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent


def project_version():
    text = (ROOT / "CMakeLists.txt").read_text()
    return re.search(r"project\(Zemtra VERSION ([0-9.]+)", text).group(1)


class CMakeExtension(Extension):
    def __init__(self, name):
        super().__init__(name, sources=[])


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        build = Path(self.build_temp).resolve() / "cmake"
        package_root = Path(self.get_ext_fullpath(ext.name)).resolve().parent.parent
        configure = [
            "cmake", "-S", str(ROOT), "-B", str(build),
            "-DCMAKE_BUILD_TYPE=Release",
            "-DZEMTRA_BUILD_TESTS=OFF",
            "-DZEMTRA_PYTHON=ON",
            "-DZEMTRA_PYTHON_BUNDLE=ON",
            f"-DPython3_EXECUTABLE={sys.executable}",
        ]
        subprocess.run(configure, check=True)
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", str(os.cpu_count() or 1))
        subprocess.run(["cmake", "--build", str(build), "--target", "zemtra_python_module", "-j", jobs], check=True)
        subprocess.run(["cmake", "--install", str(build), "--component", "python", "--prefix", str(package_root)],
                       check=True)


setup(
    name="zemtra",
    version=project_version(),
    description="Re-align a column range of a protein multiple alignment (the zemtra engine, in-process)",
    packages=["zemtra"],
    package_data={"zemtra": ["_zemtra.pyi", "py.typed"]},
    ext_modules=[CMakeExtension("zemtra._zemtra")],
    cmdclass={"build_ext": CMakeBuild},
    python_requires=">=3.9",
    zip_safe=False,
)
