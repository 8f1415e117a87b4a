#!/usr/bin/env python3
"""Checks the packages cpack made in DIR: each holds the three programs and
the documentation, and on Windows each program carries the project's version
in its version resource.

Usage: check_release.py DIR VERSION
"""
import glob
import os
import subprocess
import sys
import tarfile
import zipfile

PROGRAMS = ("sq_xa", "vinconfg", "regdump")
DOCS = ("README.md", "user-guide.md")


def names_and_data(package):
    if package.endswith(".zip"):
        with zipfile.ZipFile(package) as archive:
            return {name: archive.read(name) for name in archive.namelist()
                    if not name.endswith("/")}
    if package.endswith(".tar.gz"):
        with tarfile.open(package) as archive:
            return {member.name: archive.extractfile(member).read()
                    for member in archive.getmembers() if member.isfile()}
    listing = subprocess.run(["dpkg-deb", "-c", package], check=True, capture_output=True,
                             text=True).stdout
    return {line.split()[-1]: b"" for line in listing.splitlines()
            if not line.startswith("d")}


def main():
    directory, version = sys.argv[1], sys.argv[2]
    packages = sorted(glob.glob(os.path.join(directory, "*.zip")) +
                      glob.glob(os.path.join(directory, "*.tar.gz")) +
                      glob.glob(os.path.join(directory, "*.deb")))
    problems = [] if packages else ["no package in " + directory]
    for package in packages:
        files = names_and_data(package)
        print(os.path.basename(package) + ":", ", ".join(sorted(os.path.basename(n) for n in files)))
        windows = package.endswith(".zip")
        for program in PROGRAMS:
            wanted = "/bin/" + program + (".exe" if windows else "")
            found = [name for name in files if name.endswith(wanted)]
            if not found:
                problems.append("%s: no %s" % (package, wanted))
            elif windows and version.encode("utf-16-le") not in files[found[0]]:
                problems.append("%s: %s has no version resource %s" % (package, wanted, version))
        for doc in DOCS:
            if not any(name.endswith("/" + doc) for name in files):
                problems.append("%s: no %s" % (package, doc))
    for problem in problems:
        print("FAIL", problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
