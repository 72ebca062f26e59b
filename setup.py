"""Builds the extension kvdata._kvdata with the project's CMake build and puts it, with the
two libraries it links, into the package (the extension finds them beside itself)."""

import os
import pathlib
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

SOURCE = pathlib.Path(__file__).parent.resolve()


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        build = pathlib.Path(self.build_temp).resolve() / "cmake"
        package = pathlib.Path(self.get_ext_fullpath(ext.name)).resolve().parent
        package.mkdir(parents=True, exist_ok=True)
        off = ["TESTS", "TOOLS", "BENCHMARKS", "FUZZERS"]
        subprocess.run(["cmake", "-S", str(SOURCE), "-B", str(build), "-DCMAKE_BUILD_TYPE=Release",
                        "-DKV_DATA_BUILD_PYTHON=ON", f"-DPython3_EXECUTABLE={sys.executable}"]
                       + [f"-DKV_DATA_BUILD_{name}=OFF" for name in off], check=True)
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", str(os.cpu_count() or 1))
        subprocess.run(["cmake", "--build", str(build), "--target", "kvdata_python", "-j", jobs], check=True)
        built = build / "python" / "kvdata"
        for module in built.glob("_kvdata*.so"):
            self.copy_file(str(module), str(package / module.name))
        # The libraries under their run-time names (libKv_Data.so.0), which the extension asks for.
        for library in ("libKv_Data.so", "libKv_Relay.so"):
            found = next(build.rglob(library), None)
            if found is None:
                raise RuntimeError(f"the build made no {library}")
            real = found.resolve()
            soname = real.name.split(".so")[0] + ".so." + real.name.split(".so.")[1].split(".")[0]
            self.copy_file(str(real), str(package / soname))


# setuptools' own build folders away from CMake's build/ (pip builds in the checkout).
(SOURCE / "build-python").mkdir(exist_ok=True)

setup(
    options={"build": {"build_base": "build-python"}, "egg_info": {"egg_base": "build-python"}},
    packages=["kvdata"],
    package_dir={"kvdata": "python/kvdata"},
    package_data={"kvdata": ["*.pyi", "py.typed"]},
    ext_modules=[Extension("kvdata._kvdata", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
    zip_safe=False,
)
