# SPDX-License-Identifier: MIT
"""Packaging: everything is in pyproject.toml; this only puts the built library into the package.

The library copied is QMATH_LIBRARY if set, else the source checkout's build/default/libqmath.so.
Without either the package installs alone and finds the library at run time (see README.md).
"""

import os
import shutil
import sys

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

HERE = os.path.dirname(os.path.abspath(__file__))
NAME = "qmath.dll" if sys.platform == "win32" else "libqmath.so"


def built_library():
    for path in (os.environ.get("QMATH_LIBRARY"), os.path.join(HERE, os.pardir, "build", "default", NAME)):
        if path and os.path.isfile(path):
            return os.path.realpath(path)
    return None


LIBRARY = built_library()


class BuildWithLibrary(build_py):
    def run(self):
        super().run()
        if LIBRARY is not None:
            target = os.path.join(self.build_lib, "qmath", NAME + ("" if sys.platform == "win32" else ".3"))
            self.announce(f"bundling {LIBRARY} as {target}", level=2)
            shutil.copyfile(LIBRARY, target)


class MaybeBinary(Distribution):
    def has_ext_modules(self):  # a bundled library makes the wheel specific to this platform
        return LIBRARY is not None


setup(cmdclass={"build_py": BuildWithLibrary}, distclass=MaybeBinary)
