#!/usr/bin/env python3
"""Times a put on a product home that already holds many configured instances.

Prepares a sandbox home with N instances (default 49) put one after another
with the companion instance-creation tool, then times further puts: a new
instance (the 50th) put and removed again, and an update of an existing one.
Prints the median and the fastest wall time of each.

Usage: put_timing.py --program build/native/bin/sq_xa --tool build/native/bin/vinconfg
                     [--instances 49] [--runs 15] [--keep]
"""
import argparse
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))
import sandbox_home  # noqa: E402


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    parser.add_argument("--tool", required=True)
    parser.add_argument("--instances", type=int, default=49)
    parser.add_argument("--runs", type=int, default=15)
    parser.add_argument("--keep", action="store_true", help="keep the home and print its path")
    options = parser.parse_args()
    options.program = os.path.abspath(options.program)

    root = tempfile.mkdtemp(prefix="sqxa_put_timing_")
    try:
        home = os.path.join(root, "home") + "/"
        sql = sandbox_home.prepare(home, options.tool)
        env = dict(os.environ, MARLOX_HOME=home, PORTNUMBER="1920", COMPUTERNAME="HOST")

        def put(instance):
            stream = ("INSTANCE=%s\n[DBSETTINGS]\ndb_login=sa\ndb_password=secret\n"
                      "db_home=%s\ndb_errorlog=%s\\Log\\ERRORLOG\n" % (instance, sql, sql))
            start = time.perf_counter()
            result = subprocess.run([options.program, "-p", instance + ":HOST:MSS"],
                                    input=stream.encode(), env=env, cwd=home,
                                    stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            elapsed = time.perf_counter() - start
            if result.returncode != 0:
                sys.exit("put %s failed (%d): %s" % (instance, result.returncode, result.stderr))
            return elapsed

        def remove(instance):
            subprocess.run([options.program, "-r", instance + ":HOST:MSS"], env=env, cwd=home,
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)

        for i in range(options.instances):
            put("INST%02d" % i)
        new, update = [], []
        for _ in range(options.runs):
            new.append(put("NEWONE"))
            remove("NEWONE")
            update.append(put("INST07"))
        for label, times in (("a new instance", new), ("an existing instance", update)):
            print("put of %s on a home with %d instances: median %.1f ms, fastest %.1f ms"
                  % (label, options.instances, statistics.median(times) * 1000,
                     min(times) * 1000))
    finally:
        if options.keep:
            print("home kept:", root)
        else:
            shutil.rmtree(root, ignore_errors=True)


if __name__ == "__main__":
    main()
