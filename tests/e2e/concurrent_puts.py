#!/usr/bin/env python3
"""Twenty puts of distinct instances started at once on one sandbox home must
leave all twenty in the include file, each with a service number of its own,
and registered, so that a get finds each.

Usage: concurrent_puts.py --program PATH --tool PATH [--wine] [--count N]
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sandbox_home  # noqa: E402


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    parser.add_argument("--tool", required=True)
    parser.add_argument("--wine", action="store_true")
    parser.add_argument("--count", type=int, default=20)
    options = parser.parse_args()

    if options.wine:
        # The first program of a Wine session starts the prefix's services,
        # which would inherit (and hold open) the pipes of a put.
        subprocess.run(["wine", "cmd", "/c", "exit"], stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    root = tempfile.mkdtemp(prefix="sqxa_concurrent_")
    try:
        home = os.path.join(root, "home") + "/"
        seen_home = ("Z:" + home.replace("/", "\\")) if options.wine else home
        sql_seen = sandbox_home.prepare(home, options.tool, options.wine)
        env = dict(os.environ, MARLOX_HOME=seen_home, PORTNUMBER="1920", COMPUTERNAME="HOST1",
                   MARLOX_REGISTRY=os.path.join(home, "registry.reg"))
        runs = []
        for i in range(options.count):
            stream = ("INSTANCE=I%02d\n[DBSETTINGS]\ndb_login=sa\ndb_password=p\n"
                      "db_home=%s\ndb_errorlog=%s\\Log\\ERRORLOG\n" % (i, sql_seen, sql_seen))
            command = (["wine"] if options.wine else []) + [os.path.abspath(options.program), "-p",
                                                             "I%02d:h:X" % i]
            run = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, env=env, cwd=home)
            runs.append((run, stream))
        failed = 0
        for run, stream in runs:
            out, err = run.communicate(stream.encode(), timeout=300)
            if run.returncode != 0:
                failed += 1
                print("a put failed with %d: %s" % (run.returncode, err.decode(errors="replace")))

        with open(os.path.join(home, "ORVAGT6_x64", "vsqinc.ini"), errors="replace") as f:
            listed = sorted(set(re.findall(r"VSQMMA_(I\d\d)\.ini", f.read())))
        numbers = []
        for name in listed:
            with open(os.path.join(home, "ORVAGT6_x64", "VSQMMA_%s.ini" % name)) as f:
                numbers += re.findall(r"^\[VMAMSSQLAgent(\d+)\]", f.read(), re.M)
        problems = []
        if len(listed) != options.count:
            problems.append("the include file lists %d instances" % len(listed))
        if len(set(numbers)) != options.count:
            problems.append("service numbers are not distinct: %s" % sorted(numbers))
        # Every instance was registered: the tool's concurrent registry writes
        # kept each other's keys, so a get finds each one.
        for i in range(options.count):
            command = (["wine"] if options.wine else []) + [os.path.abspath(options.program), "-g",
                                                             "I%02d:h:X" % i]
            got = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                 stderr=subprocess.PIPE, env=env, cwd=home, timeout=120)
            if got.returncode != 0:
                problems.append("get I%02d: %d %s" % (i, got.returncode,
                                                     got.stderr.decode(errors="replace")))
        for problem in problems:
            print(problem)
        ok = not problems and not failed
        print("%d passed, %d failed" % (1 if ok else 0, 0 if ok else 1))
        return 0 if ok else 1
    finally:
        shutil.rmtree(root, ignore_errors=True)
        if options.wine:  # what the tool registered
            subprocess.run(["wine", "reg", "delete", "HKLM\\Software\\Marlox", "/f"],
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


if __name__ == "__main__":
    sys.exit(main())
