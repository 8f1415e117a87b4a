#!/usr/bin/env python3
"""Runs that truly overlap on one home, the companion tool registering what
they put: 20 configured instances removed while 20 new ones are put and one
instance is put 10 times, each with a login of its own. Every process starts
before any is waited for, its stream in a file written beforehand. Each must
end with 0; then every instance put is listed once, has its files and a get
(run side by side too) finds it with the login of its .ini and .bat files,
one put's, not a mix; every one removed is gone and a get answers 2; the
service numbers are distinct.

Usage: overlapping_runs.py --program PATH --tool PATH [--wine] [--rounds N]
"""
import os
import re
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sandbox_home as sh  # noqa: E402


def run_all(home, runs):
    """Starts (switch, instance, login) runs all at once, then waits for each:
    [(switch, instance, login, status, stdout, stderr)]."""
    started = []
    for number, (switch, instance, login) in enumerate(runs):
        files = [home.path("%d.%s" % (number, end)) for end in ("in", "out", "err")]
        with open(files[0], "w") as f:
            f.write(home.stream(instance, login) if switch == "-p" else "")
        with open(files[0], "rb") as stdin, open(files[1], "wb") as out, \
                open(files[2], "wb") as err:
            started.append((files, subprocess.Popen(home.command(switch, instance + ":h:X"),
                            stdin=stdin, stdout=out, stderr=err, cwd=home.home, env=home.env)))
    deadline = time.monotonic() + (900 if home.wine else 300)
    results = []
    for (switch, instance, login), (files, process) in zip(runs, started):
        try:
            status = process.wait(timeout=max(1, deadline - time.monotonic()))
        except subprocess.TimeoutExpired:
            process.kill()
            status = "timeout %s" % process.wait()
        results.append((switch, instance, login, status, *map(home.read, files[1:])))
    return results


def setting(text, pattern):
    match = re.search(pattern, text or "", re.M)
    return match[1] if match else None


def overlap(opts):
    for round_number in range(1, opts.rounds + 1):
        with sh.sandbox(opts) as home:
            one_round(home, "overlap, round %d" % round_number)


def one_round(home, name):
    failed = [result for result in (home.put("R%02d" % i) for i in range(20)) if result[0]]
    if failed:
        return sh.check(name, ["setting up: %s" % failed])
    runs = []
    for i in range(20):  # Interleaved, so that each kind waits for the others.
        runs += [("-r", "R%02d" % i, None), ("-p", "P%02d" % i, "L%02d" % i)]
        runs += [("-p", "SAME", "u%02d" % i)] if i % 2 else []
    problems, puts = [], {}
    for switch, instance, login, status, _, err in run_all(home, runs):
        problems.append("%s %s: %s %s" % (switch, instance, status, err) if status else None)
        puts.setdefault(instance, set()).add(login)
    listed = home.listed()
    numbers = [setting(home.read("ORVAGT6_x64/VSQMMA_%s.ini" % n), r"^\[VMAMSSQLAgent(\d+)\]")
               for n in listed]
    problems.append(None if len(set(numbers)) == len(numbers) else "numbers %s" % numbers)
    for _, instance, _, status, out, err in run_all(home, [("-g", n, None) for n in sorted(puts)]):
        removed = instance.startswith("R")
        problems += [home.whole(instance, not removed), None if status == (2 if removed else 0)
                     else "get %s: %s %s" % (instance, status, err)]
        logins = {setting(out, r"^db_login=(.*)$"), *(setting(home.read(
            "ORVAGT6_x64/%s_%s.%s" % (kind, instance, end)), r"^(?:SET )?COLL_LOGON=(.*)$")
            for kind, end in (("VSQMMA", "ini"), ("MSMSQL", "bat")))}
        if not removed and (len(logins) != 1 or not logins <= puts[instance]):
            problems.append("%s: logins of get, .ini and .bat: %s" % (instance, logins))
    return sh.check(name, problems)


if __name__ == "__main__":
    sys.exit(sh.main([("overlap", overlap)]))
