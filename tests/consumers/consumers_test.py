"""Projects that use the library are built and run: against an installation, by CMake and by pkg-config, with the source
tree as a part of theirs, and with another framework below the driver. The first argument names what is done."""

import glob
import os
import re
import shlex
import shutil
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
VALUES = dict(os.environ)
SOURCE_DIR, BUILD_DIR = VALUES["CAMAPI_SOURCE_DIR"], VALUES["CAMAPI_BINARY_DIR"]
WORK = os.path.join(BUILD_DIR, "consumers")
ROOT = os.path.join(WORK, "root")  # of the installation
CMAKE, CXX = VALUES["CAMAPI_CMAKE"], VALUES["CAMAPI_CXX"]
# Each library as one file for the compiler, as a project may have it that takes the tree in. It saves most of the time;
# that the files are built one by one is seen in the build itself.
AS_ONE = ("-DCMAKE_UNITY_BUILD=ON", "-DCMAKE_UNITY_BUILD_BATCH_SIZE=0")
SAYS = "TestConn of a closed port: 4\n"
RUN_S = 800  # longest time of one build, generous for machines that have other work


def run(*command, **variables):
    """Runs a command to its end; returns what it printed, and ends the test where it fails."""
    done = subprocess.run(command, env={**VALUES, **variables}, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=RUN_S, check=False)
    if done.returncode != 0:
        sys.exit(f"{shlex.join(command)}: status {done.returncode}\n{done.stdout}")
    return done.stdout


def require(holds, what):
    if not holds:
        sys.exit(what)


def fresh(name):
    """An empty folder of the build tree."""
    folder = os.path.join(WORK, name)
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    return folder


def configure(source, folder, *options):
    options = [f"-DCMAKE_CXX_COMPILER={CXX}", f"-DCMAKE_CXX_COMPILER_LAUNCHER={VALUES['CAMAPI_CXX_LAUNCHER']}",
               "-DCMAKE_CXX_FLAGS=-O0", f"-DCAMAPI_SOURCE_DIR={SOURCE_DIR}", "-Wno-dev", *options]
    return run(CMAKE, "-S", source, "-B", folder, "-G", VALUES["CAMAPI_GENERATOR"], *options)


def build(folder, *targets):
    run(CMAKE, "--build", folder, "--parallel", "2", *(["--target", *targets] if targets else []))


def installed(pattern):
    """Paths below the installation, relative to it."""
    found = glob.glob(os.path.join(ROOT, pattern), recursive=True)
    return sorted(os.path.relpath(path, ROOT) for path in found)


def install():
    fresh("root")
    for component in ("library", "development"):
        run(CMAKE, "--install", BUILD_DIR, "--prefix", ROOT, "--component", component)
    for pattern in ("**/libcamapi-onvif.so.0.1", "**/libcamapi-platform.so.0.1", "**/LICENSE", "**/docs/behaviour.md",
                    "include/camapi-onvif/onvif/camapi-onvif.h", "include/camapi-onvif/platform/cameraapi.h"):
        require(len(installed(pattern)) == 1, f"{pattern}: installed are {installed(pattern)}")
    require(not installed("bin/*"), "programs are a component of their own")
    # Whatever an installed header includes is installed as well.
    every = os.path.join(WORK, "every-header.cpp")
    with open(every, "w", encoding="utf-8") as file:
        file.writelines(f'#include "{path}"\n' for path in installed("include/**/*.h"))
    run(CXX, "-std=c++17", "-fsyntax-only", f"-I{ROOT}", every, *shlex.split(pkg_config(ROOT, "--cflags")))


def build_by_cmake(name, prefix):
    """Builds and runs the programs of find_package/ against the installation at the prefix."""
    folder = fresh(name)
    configure(os.path.join(HERE, "find_package"), folder, f"-DCMAKE_PREFIX_PATH={prefix}")
    build(folder)
    for program in ("consumer", "consumer-static"):
        said = run(os.path.join(folder, program))
        require(said == SAYS, f"{program} says {said!r}")


def find_package():
    # A moved installation must be found where it is.
    moved = os.path.join(fresh("moved"), "root")
    shutil.copytree(ROOT, moved, symlinks=True)
    build_by_cmake("find_package", moved)


def pkg_config(prefix, *arguments):
    found = glob.glob(os.path.join(prefix, "**/camapi-onvif.pc"), recursive=True)
    require(len(found) == 1, f"below {prefix} are {found}")
    return run("pkg-config", *arguments, "camapi-onvif", PKG_CONFIG_PATH=os.path.dirname(found[0]))


def build_by_pkg_config(name, prefix):
    """Builds and runs a program by the compiler alone; returns the folder of the libraries."""
    program = os.path.join(fresh(name), "consumer")
    [libraries] = shlex.split(pkg_config(prefix, "--variable=libdir"))
    run(CXX, "-std=c++17", os.path.join(HERE, "main.cpp"), "-o", program,
        *shlex.split(pkg_config(prefix, "--cflags", "--libs")), f"-Wl,-rpath,{libraries}")
    said = run(program)
    require(said == SAYS, f"the program says {said!r}")
    return os.path.realpath(libraries)


def by_pkg_config():
    build_by_pkg_config("pkg_config", ROOT)
    version = pkg_config(ROOT, "--modversion").strip()
    require(re.fullmatch(r"\d+\.\d+\.\d+", version), f"the version is {version!r}")


def subdirectory():
    folder = fresh("subdirectory")
    source = os.path.join(HERE, "subdirectory")
    configure(source, folder, "-DCMAKE_INSTALL_PREFIX=/usr", *AS_ONE)
    build(folder, "consumer", "camapi-onvif-static")
    said = run(os.path.join(folder, "consumer"))
    require(said == SAYS, f"the program says {said!r}")
    with open(os.path.join(folder, "camapi/cmake_install.cmake"), encoding="utf-8") as script:
        require("camapi-onvif-config" not in script.read(), "the library installs itself without being asked")
    # It does where it is asked to: as a part of a system, below /usr, where Debian has a folder for each architecture.
    configure(source, folder, "-DCAMAPI_INSTALL=ON")
    build(folder, "consumer", "camapi-onvif-static")
    run(CMAKE, "--install", os.path.join(folder, "camapi"), DESTDIR=os.path.join(folder, "system"))
    prefix = os.path.join(folder, "system/usr")
    libraries = build_by_pkg_config("system_pkg_config", prefix)
    if os.path.exists("/etc/debian_version"):
        architecture = run(CXX, "-print-multiarch").strip()
        expected = os.path.realpath(os.path.join(prefix, "lib", architecture))
        require(libraries == expected, f"the libraries are in {libraries}, not in {expected}")
    build_by_cmake("system_find_package", prefix)
    documents = sorted(os.listdir(os.path.join(prefix, "share/doc")))
    require(documents == ["camapi-onvif"], f"the documents are in {documents}")


def foreign():
    folder = fresh("foreign")
    configure(os.path.join(HERE, "foreign"), folder, *AS_ONE)
    build(folder, "consumer", "camapi-onvif-static")
    said = run(os.path.join(folder, "consumer"))
    require(said == "the foreign framework posts to /onvif/media\n" + SAYS, f"the program says {said!r}")
    root = os.path.join(folder, "root")
    run(CMAKE, "--install", os.path.join(folder, "camapi"), "--prefix", root)
    names = [name for _, _, files in os.walk(root) for name in files]
    require("camapi-onvif.h" in names and "libcamapi-onvif.a" in names, f"installed are {names}")
    require("cameraapi.h" not in names and "camapi-onvif-config.cmake" not in names, f"installed are {names}")


def alone():
    """The tree itself with another framework; and what is said where that is none."""
    folder = fresh("alone")
    configure(SOURCE_DIR, folder, f"-DCAMAPI_PLATFORM_DIR={HERE}/foreign/framework")
    targets = run(CMAKE, "--build", folder, "--target", "help")
    require("camapi-onvif" in targets, targets)
    require("camctl" not in targets and "loading-test" not in targets, "another framework need not serve the tools")
    done = subprocess.run([CMAKE, "-S", SOURCE_DIR, "-B", fresh("none"), f"-DCAMAPI_PLATFORM_DIR={WORK}"],
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=RUN_S, check=False)
    require(done.returncode != 0 and "Name a folder that defines the target" in done.stdout, done.stdout)


STEPS = {"install": install, "find_package": find_package, "pkg_config": by_pkg_config, "subdirectory": subdirectory,
         "foreign": foreign, "alone": alone}

if __name__ == "__main__":
    STEPS[sys.argv[1]]()
