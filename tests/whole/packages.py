#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The Debian packages: made by cpack, installed in a root folder that has the C and C++ libraries and nothing else,
used there, and removed. Usage: packages.py BUILD SHARED_LIBRARY COMPILER C_COMPILER GENERATOR. Exits with 77 where nobody
is root or dpkg is missing."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

from checks import check, finish

BUILD, SHARED = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
COMPILER, C_COMPILER, GENERATOR = sys.argv[3:6]
TOP = pathlib.Path(__file__).resolve().parents[2]
# What the packages may depend on, and what is everywhere: a shell and ldconfig for the scripts of cpack.
SYSTEM = ("libc6", "libstdc++6", "libgcc-s1", "gcc-12-base", "dash", "libc-bin")
PROGRAMS = ("/bin/sh", "/bin/dash", "/sbin/ldconfig")
EXAMPLES = ("invoice.xml", "invoice-tampered.xml")


def run(*command, **settings):
    return subprocess.run([str(part) for part in command], capture_output=True, text=True, check=False, **settings)


def must(*command, **settings):
    done = run(*command, **settings)
    if done.returncode != 0:
        check(" ".join(str(part) for part in command)[-200:], False, (done.stdout + done.stderr)[-800:])
        finish()
    return done.stdout


def make_packages(tree):
    """With what is built: the trees differ in nothing but how files are laid down. Newer than the rules that would make
    them, these are not made again."""
    must("cmake", "-G", GENERATOR, "-S", TOP, "-B", tree, f"-DCMAKE_CXX_COMPILER={COMPILER}", "-DVANTREL_PACKAGES=ON",
         "-DBUILD_SHARED_LIBS=ON", "-DCMAKE_INSTALL_PREFIX=/usr")
    for file in (BUILD / "xmldsig", *BUILD.glob("xmldsig.*"), *SHARED.resolve().parent.glob("libvantrel.so*")):
        shutil.copy2(file, tree / file.name, follow_symlinks=False)
    must("cpack", "--config", tree / "CPackConfig.cmake", cwd=tree)
    return {path.name.split("_")[0]: path for path in (tree / "packages").glob("*.deb")}


def copy_into(root, name):
    """A file of this system, links as they are."""
    source, target = pathlib.Path(name), pathlib.Path(root, name.lstrip("/"))
    target.parent.mkdir(parents=True, exist_ok=True)
    if (source.is_file() or source.is_symlink()) and not target.exists():
        shutil.copy2(source, target, follow_symlinks=False)


def make_root(root):
    """A system that knows of its few packages; dpkg checks dependencies against them."""
    for folder in ("usr/bin", "usr/lib", "usr/lib64", "usr/sbin", "var/lib/dpkg/info", "var/lib/dpkg/updates"):
        (root / folder).mkdir(parents=True)
    for link in ("bin", "lib", "lib64", "sbin"):
        (root / link).symlink_to(f"usr/{link}")
    entries = []
    for package in SYSTEM:
        entries.append(must("dpkg-query", "-s", package))
        (root / f"var/lib/dpkg/info/{package}.list").touch()
        for name in must("dpkg-query", "-L", package).splitlines():
            if ".so" in name or name in PROGRAMS:
                copy_into(root, name)
    (root / "var/lib/dpkg/status").write_text("\n".join(entries))
    shutil.copytree(TOP / "examples", root / "examples")
    must("chroot", root, "/sbin/ldconfig")


def files_of(root):
    return {path for path in root.rglob("*") if "var/lib/dpkg" not in str(path)}


def check_contents(packages):
    wanted = {"libvantrel0": ("libvantrel.so.0", "copyright"),
              "libvantrel-dev": ("include/vantrel/vantrel.h", "libvantrel.so", "vantrelConfig.cmake", "vantrel.pc"),
              "xmldsig": ("bin/xmldsig", "man1/xmldsig.1", "bash-completion/completions/xmldsig",
                          "vendor-completions/_xmldsig", "vendor_completions.d/xmldsig.fish")}
    check("three packages", set(packages) == set(wanted), packages)
    for name, files in wanted.items():
        listed = [line.split(" -> ")[0] for line in must("dpkg-deb", "-c", packages[name]).splitlines()]
        for file in files:
            check(f"{name} has {file}", any(line.endswith("/" + file) for line in listed), listed)
        fields = must("dpkg-deb", "-f", packages[name])
        depends = "libvantrel0 (=" if name.endswith("-dev") else "libc6 (>="
        check(f"{name} depends on {depends}", depends in fields, fields)
    strangers = [line for line in must("dpkg-deb", "-c", packages["xmldsig"]).splitlines() if "vantrel" in line.split()[-1]]
    check("the tool's package holds the tool alone", not strangers, strangers)


def check_programs(root, folder):
    """Built with what libvantrel-dev has laid down, run inside."""
    [pc] = root.rglob("vantrel.pc")
    environment = {**os.environ, "PKG_CONFIG_PATH": str(pc.parent)}
    flags = must("pkg-config", "--cflags", "--libs", "vantrel", env=environment).split()
    must(C_COMPILER, "-std=c11", TOP / "tests/consumer/verify.c", *flags, "-o", root / "by-pkg-config")
    must("cmake", "-G", GENERATOR, "-S", TOP / "tests/consumer", "-B", folder, f"-DCMAKE_PREFIX_PATH={root}/usr",
         f"-DCMAKE_CXX_COMPILER={COMPILER}")
    must("cmake", "--build", folder, "--target", "verify_c")
    shutil.copy(folder / "verify_c", root / "by-find-package")
    for program in ("by-pkg-config", "by-find-package"):
        # The path to the build's own copy of the library does not exist inside.
        codes = [run("chroot", root, f"/{program}", f"/examples/{name}").returncode for name in EXAMPLES]
        check(program, codes == [0, 1], codes)
        (root / program).unlink()


needed = ("dpkg-query", "dpkg-shlibdeps", "file", "readelf", "cpack", "pkg-config")
if os.geteuid() != 0 or not all(map(shutil.which, needed)) or run("dpkg-query", "-s", *SYSTEM).returncode != 0:
    print(f"skipped: this is for root on a Debian system with {', '.join(needed)}")
    sys.exit(77)
with tempfile.TemporaryDirectory() as place:
    packages = make_packages(pathlib.Path(place, "tree"))
    check_contents(packages)
    root = pathlib.Path(place, "root")
    make_root(root)
    before = files_of(root)
    refused = run("dpkg", f"--root={root}", "-i", packages["libvantrel-dev"])
    check("the headers do not come without the library", refused.returncode != 0 and "libvantrel0" in refused.stderr)
    must("dpkg", f"--root={root}", "--force-depends", "-P", "libvantrel-dev")
    must("dpkg", f"--root={root}", "-i", *packages.values())
    codes = [run("chroot", root, "/usr/bin/xmldsig", "verify", f"/examples/{name}").returncode for name in EXAMPLES]
    check("the tool runs", codes == [0, 1], codes)
    check_programs(root, pathlib.Path(place, "consumer"))
    must("dpkg", f"--root={root}", "-P", "xmldsig", "libvantrel-dev", "libvantrel0")
    left = files_of(root) ^ before
    check("nothing is left after removal", not left, sorted(left))
finish()
