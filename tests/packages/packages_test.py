"""The Debian packages: what is in them, and that they can be installed, used and removed. The first argument names what
is done: "build", "root" (an empty root, with the libraries of this system) or "fresh_root" (a root that has nothing but
a fresh system; it is fetched over the network)."""

import glob
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

VALUES = dict(os.environ)
BUILD_DIR = VALUES["CAMAPI_BINARY_DIR"]
FOLDER = os.path.join(BUILD_DIR, "packages")
SKIPPED = 77
RUN_S = 800  # longest time of one command, generous for machines that have other work

LIBRARIES = os.path.join("usr", VALUES["CAMAPI_LIBDIR"])  # "usr/lib/x86_64-linux-gnu" where the build is for /usr

LIBRARY, DEVELOPMENT, TOOLS = "libcamapi-onvif0.1", "libcamapi-onvif-dev", "camapi-tools"
# Of each package: what it depends on besides the C and C++ runtime, and some of its files.
EXPECTED = {
    LIBRARY: (["libxml2", "libcurl4"], [f"{LIBRARIES}/libcamapi-onvif.so.0.1", f"{LIBRARIES}/libcamapi-platform.so.0.1"]),
    DEVELOPMENT: ([LIBRARY, "libxml2-dev"],
                  ["usr/include/camapi-onvif/onvif/camapi-onvif.h", f"{LIBRARIES}/libcamapi-onvif.so",
                   f"{LIBRARIES}/libcamapi-onvif.a", f"{LIBRARIES}/cmake/camapi-onvif/camapi-onvif-config.cmake",
                   f"{LIBRARIES}/pkgconfig/camapi-onvif.pc"]),
    TOOLS: ([LIBRARY, "libxml2", "libmicrohttpd12", "libcairo2"],
            ["usr/bin/camctl", "usr/bin/simcam", "usr/share/man/man1/camctl.1.gz", "usr/share/man/man1/simcam.1.gz",
             "usr/share/bash-completion/completions/camctl", "usr/share/bash-completion/completions/simcam"]),
}


# Of a folder, a file and a link.
MODES = {"d": ("rwxr-xr-x",), "-": ("rw-r--r--", "rwxr-xr-x"), "l": ("rwxrwxrwx",)}


def run(*command, **changes):
    """Runs a command to its end; returns what it printed, and ends the test where it fails."""
    done = subprocess.run(command, env={**VALUES, **changes}, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=RUN_S, check=False, cwd=BUILD_DIR)
    require(done.returncode == 0, f"{shlex.join(command)}: status {done.returncode}\n{done.stdout}")
    return done.stdout


def require(holds, what):
    if not holds:
        sys.exit(what)


def skip(reason):
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)


def skip_without(*programs):
    missing = [program for program in programs if not shutil.which(program)]
    if missing:
        skip(f"not installed: {', '.join(missing)}")


def package(name):
    if not os.path.isdir(FOLDER):
        skip("the packages could not be built")
    found = glob.glob(os.path.join(FOLDER, f"{name}_*.deb"))
    require(len(found) == 1, f"packages named {name}: {found}")
    return found[0]


def check(name):
    depends, files = EXPECTED[name]
    path = package(name)
    said = re.split(r",\s*", run("dpkg-deb", "--field", path, "Depends").strip())
    for other in depends:
        found = any(re.match(re.escape(other) + r"(t64)?( |$)", word) for word in said)
        require(found, f"{name} depends on {said}, not {other}")
    listed = [line.split() for line in run("dpkg-deb", "--contents", path).splitlines()]
    strange = [line for line in listed if line[0][1:] not in MODES[line[0][0]]]
    require(not strange, f"{name} has strange permissions: {strange}")
    there = [line[5] for line in listed]
    documents = (f"usr/share/doc/{name}/{file}" for file in ("copyright", "changelog.gz", "changelog.Debian.gz"))
    for file in [*files, *documents]:
        require(f"./{file}" in there, f"{name} lacks {file}: {there}")
    text = run("dpkg-deb", "--field", path, "Description").splitlines()
    require(len(text[0]) <= 80 and len(text) >= 3, f"description of {name}: {text}")


def refuse_without_tools():
    """Without what finds the dependencies there would be packages that have none."""
    script = os.path.join(BUILD_DIR, "FinishPackage.cmake")
    done = subprocess.run([VALUES["CAMAPI_CMAKE"], "-DCMAKE_IGNORE_PATH=/usr/bin;/bin", "-P", script], capture_output=True,
                          text=True, timeout=RUN_S, check=False, cwd=BUILD_DIR)
    require(done.returncode != 0 and "install dpkg-dev and file" in done.stderr, f"without the tools: {done.stderr}")


def build():
    skip_without("dpkg-deb", "dpkg-shlibdeps", "file", "gzip")
    shutil.rmtree(FOLDER, ignore_errors=True)
    os.umask(0o077)  # of whoever builds the packages; nothing of it is in them
    run(VALUES["CAMAPI_CPACK"], "-G", "DEB", "-B", FOLDER)
    refuse_without_tools()
    for name in EXPECTED:
        check(name)
    control = "".join(run("dpkg-deb", "--info", package(LIBRARY), part) for part in ("triggers", "shlibs"))
    require("activate-noawait ldconfig" in control and f"libcamapi-onvif 0.1 {LIBRARY} (>= " in control, control)
    require("postinst" not in run("dpkg-deb", "--info", package(LIBRARY)), "the trigger needs no script")


def files_below(folder):
    paths = (os.path.join(place, name) for place, _, names in os.walk(folder) for name in names)
    return sorted(os.path.relpath(path, folder) for path in paths)


def dpkg(root, *arguments):
    as_root = [] if os.geteuid() == 0 else ["fakeroot"]
    # dpkg wants ldconfig, which is not on the path of ordinary users.
    return run(*as_root, "dpkg", f"--root={root}", "--force-not-root", "--force-depends", "--log=/dev/null", *arguments,
               PATH=VALUES["PATH"] + ":/usr/sbin:/sbin")


def root():
    skip_without("dpkg", "readelf", *([] if os.geteuid() == 0 else ["fakeroot"]))
    with tempfile.TemporaryDirectory(prefix="camapi-root-") as folder:
        for name in ("info", "updates", "triggers"):
            os.makedirs(os.path.join(folder, "var/lib/dpkg", name))
        open(os.path.join(folder, "var/lib/dpkg/status"), "w", encoding="utf-8").close()
        dpkg(folder, "--install", *(package(name) for name in EXPECTED))
        use(folder)
        dpkg(folder, "--purge", *reversed(EXPECTED))
        left = [path for path in files_below(folder) if not path.startswith("var/lib/dpkg/")]
        require(not left, f"left behind: {left}")


def use(folder):
    """Runs the programs below an installed root with its library, which they must not find by themselves."""
    libraries = os.path.join(folder, LIBRARIES)
    for program, option, word in (("camctl", "--version", "camctl "), ("simcam", "--list", "ptz-dome ")):
        path = os.path.join(folder, "usr/bin", program)
        said = run(path, option, LD_LIBRARY_PATH=libraries)
        require(word in said, f"{program} {option} says {said!r}")
        require("RUNPATH" not in run("readelf", "-d", path), f"{program} looks for its library by itself")
    loaded = run("ldd", os.path.join(folder, "usr/bin/camctl"), LD_LIBRARY_PATH=libraries)
    require(f"{libraries}/libcamapi-onvif.so.0.1" in loaded, loaded)


def fresh_root():
    skip_without("mmdebstrap")
    packages = [package(name) for name in EXPECTED]
    installed = " ".join(f"/tmp/{os.path.basename(path)}" for path in packages)
    names = " ".join(EXPECTED)
    hooks = [f"copy-in {shlex.join(packages)} /tmp",
             f'chroot "$1" apt-get install -y --no-install-recommends {installed}',
             'chroot "$1" camctl --version', 'chroot "$1" simcam --list',
             f'chroot "$1" apt-get purge -y {names}',
             'test -z "$(find "$1/usr" -name "*camapi*" -o -name "camctl*" -o -name "simcam*")"']
    said = run("mmdebstrap", "--variant=apt", "--format=null", *(f"--customize-hook={hook}" for hook in hooks),
               VALUES["CAMAPI_FRESH_SUITE"], "/dev/null")
    require("camctl " in said and "ptz-dome " in said, said)


STEPS = {"build": build, "root": root, "fresh_root": fresh_root}

if __name__ == "__main__":
    STEPS[sys.argv[1]]()
