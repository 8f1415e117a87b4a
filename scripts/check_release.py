#!/usr/bin/env python3
"""Checks the packages cpack and the package_debug target made in DIR: each
package holds the three programs, stripped and linked to their debug files,
the documentation and the notice with the licence texts of its platform; on
Windows each program carries the project's version in its version resource;
the debug archive of each platform holds a .debug file per program.

Usage: check_release.py DIR VERSION
"""
import glob
import io
import os
import subprocess
import sys
import tarfile
import zipfile

PROGRAMS = ("sq_xa", "vinconfg", "regdump")
DOCS = ("README.md", "user-guide.md", "NOTICE")
# Texts the notice must hold: the project's own statement, then the licences
# of what each platform's programs link statically.
NOTICE_TEXTS = {
    "common": (b"has no licence of its own yet", b"GCC RUNTIME LIBRARY EXCEPTION",
               b"GNU GENERAL PUBLIC LICENSE", b"Version 3, 29 June 2007"),
    "windows": (b"Upstream-Name: mingw-w64", b"winpthreads"),
    "linux": (b"Upstream-Name: OpenSSL", b"Apache License", b"Version 2.0, January 2004"),
}


def tar_files(archive):
    return {member.name: archive.extractfile(member).read()
            for member in archive.getmembers() if member.isfile()}


def names_and_data(package):
    if package.endswith(".zip"):
        with zipfile.ZipFile(package) as archive:
            return {name: archive.read(name) for name in archive.namelist()
                    if not name.endswith("/")}
    if package.endswith(".tar.gz"):
        with tarfile.open(package) as archive:
            return tar_files(archive)
    data = subprocess.run(["dpkg-deb", "--fsys-tarfile", package], check=True,
                          capture_output=True).stdout
    with tarfile.open(fileobj=io.BytesIO(data)) as archive:
        return tar_files(archive)


def find(files, suffix):
    return [name for name in files if name.endswith(suffix)]


def check_package(package, files, windows, version):
    problems = []
    for program in PROGRAMS:
        name = program + (".exe" if windows else "")
        found = find(files, "/bin/" + name)
        if not found:
            problems.append("no /bin/" + name)
            continue
        data = files[found[0]]
        if windows and version.encode("utf-16-le") not in data:
            problems.append("%s has no version resource %s" % (name, version))
        if b".debug_info" in data:
            problems.append("%s is not stripped" % name)
        if (name + ".debug\0").encode() not in data:
            problems.append("%s has no debug link to %s.debug" % (name, name))
    for doc in DOCS:
        if not find(files, "/" + doc):
            problems.append("no " + doc)
    notice = b"".join(files[name] for name in find(files, "/NOTICE"))
    for text in NOTICE_TEXTS["common"] + NOTICE_TEXTS["windows" if windows else "linux"]:
        if notice and text not in notice:
            problems.append("the NOTICE lacks %r" % text.decode())
    return problems


def check_debug_archive(files, windows):
    problems = []
    for program in PROGRAMS:
        name = program + (".exe" if windows else "") + ".debug"
        found = find(files, "/bin/" + name)
        if not found:
            problems.append("no /bin/" + name)
        elif b".debug_info" not in files[found[0]]:
            problems.append(name + " holds no debug information")
    return problems


def main():
    directory, version = sys.argv[1], sys.argv[2]
    packages = sorted(glob.glob(os.path.join(directory, "*.zip")) +
                      glob.glob(os.path.join(directory, "*.tar.gz")) +
                      glob.glob(os.path.join(directory, "*.deb")))
    problems = [] if packages else ["no package in " + directory]
    debug_archives = {}
    for package in packages:
        files = names_and_data(package)
        print(os.path.basename(package) + ":", ", ".join(sorted(os.path.basename(n) for n in files)))
        windows = package.endswith(".zip")
        if package.endswith(("-debug.zip", "-debug.tar.gz")):
            debug_archives[windows] = package
            found = check_debug_archive(files, windows)
        else:
            debug_archives.setdefault(windows, None)
            found = check_package(package, files, windows, version)
        problems += ["%s: %s" % (package, problem) for problem in found]
    for windows, archive in debug_archives.items():
        if archive is None:
            problems.append("%s: no debug archive for %s" %
                            (directory, "Windows" if windows else "Linux"))
    for problem in problems:
        print("FAIL", problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
