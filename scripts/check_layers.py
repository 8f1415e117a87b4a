#!/usr/bin/env python3
"""Checks that each library of src/ includes only headers of libraries below it.

Each folder of src/ is one library. A library may include its own headers and
those of the libraries it links, directly or through them, as the
target_link_libraries lines of src/*/CMakeLists.txt say. An include of any
other library's header (a quoted or angled "<folder>/..." path naming another
folder of src/) is reported with its file and line, and the check fails.

    scripts/check_layers.py [SRC_DIR]     (default: the src/ beside scripts/)
"""

import pathlib
import re
import sys

SOURCE_SUFFIXES = {".c", ".cc", ".cpp", ".h", ".hpp", ".inc"}
TARGET_COMMAND = re.compile(r"\badd_(?:library|executable)\s*\(\s*([\w.:-]+)", re.IGNORECASE)
LINK_COMMAND = re.compile(r"\btarget_link_libraries\s*\(([^)]*)\)", re.IGNORECASE)
INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^/">]+)/[^">]*[">]')


def strip_comments(cmake_text):
    return "\n".join(line.split("#", 1)[0] for line in cmake_text.splitlines())


def read_links(src):
    """The folders each folder links directly, by the targets their lists define."""
    lists = {}
    for cmake_list in sorted(src.glob("*/CMakeLists.txt")):
        lists[cmake_list.parent.name] = strip_comments(cmake_list.read_text(encoding="utf-8"))
    folder_of = {}
    for folder, text in lists.items():
        for target in TARGET_COMMAND.findall(text):
            folder_of[target] = folder
    links = {folder: set() for folder in lists}
    for folder, text in lists.items():
        for arguments in LINK_COMMAND.findall(text):
            words = arguments.split()
            if not words or folder_of.get(words[0]) != folder:
                continue
            for word in words[1:]:
                linked = folder_of.get(word)
                if linked is not None and linked != folder:
                    links[folder].add(linked)
    return links


def below(links):
    """Every folder each folder reaches through its links."""
    reach = {}
    for folder in links:
        seen, pending = set(), list(links[folder])
        while pending:
            other = pending.pop()
            if other not in seen:
                seen.add(other)
                pending.extend(links[other])
        reach[folder] = seen
    return reach


def main(argv):
    src = pathlib.Path(argv[1]) if len(argv) > 1 else pathlib.Path(__file__).resolve().parents[1] / "src"
    links = read_links(src)
    if not links:
        print(f"check_layers: no library lists under {src}", file=sys.stderr)
        return 2
    reach = below(links)
    failures = []
    for folder in sorted(reach):
        if folder in reach[folder]:
            failures.append(f"src/{folder}/CMakeLists.txt: {folder} links itself through a cycle")
    for folder in sorted(links):
        for path in sorted((src / folder).rglob("*")):
            if path.suffix not in SOURCE_SUFFIXES or not path.is_file():
                continue
            lines = path.read_text(encoding="utf-8", errors="replace").splitlines()
            for number, line in enumerate(lines, 1):
                match = INCLUDE.match(line)
                if match is None:
                    continue
                included = match.group(1)
                if included == folder or included not in links or included in reach[folder]:
                    continue
                allowed = ", ".join(sorted(reach[folder])) or "nothing"
                failures.append(
                    f"{path.relative_to(src.parent)}:{number}: {folder} includes a header of "
                    f"{included}, which is not below it (it may include: {allowed})")
    for failure in failures:
        print(failure)
    if failures:
        print(f"check_layers: {len(failures)} violation(s)")
        return 1
    print(f"check_layers: {len(links)} libraries, every include is of a library below")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
