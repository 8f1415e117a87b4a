#!/usr/bin/env python3
"""Puts and removes that truly overlap on one sandbox product home, with the
companion instance-creation tool registering what they put. Every process of
a case is started before any is waited for, each reading its stream from a
file written beforehand, so that they all contend for the agent's directory
at once.

  new_puts        40 puts of new instances at once
  puts_removes    20 configured instances removed while 20 new ones are put
  one_instance    20 puts of one instance, each with a login of its own

Each case starts on a fresh home. Every run must end with status 0; then every
instance put is listed once in the include file, has its .ini and .bat files,
and a get finds it with the login its .ini and .bat files hold (one put's
settings, not a mix of two); every instance removed has no files, no include
line, and a get answers 2; the service numbers are distinct.

Usage: overlapping_runs.py --program PATH --tool PATH [--wine] [--rounds N]
Prints one line per case and round and a closing "N passed, N failed".
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sandbox_home  # noqa: E402


class Run:
    """One process of a case, started at once and waited for later."""

    def __init__(self, home, root, kind, instance, login=None):
        self.kind, self.instance, self.login = kind, instance, login
        self.label = "%s_%s%s" % (kind, instance, "_" + login if login else "")
        self.out = os.path.join(root, self.label + ".out")
        self.err = os.path.join(root, self.label + ".err")
        stdin = subprocess.DEVNULL
        if kind == "put":
            path = os.path.join(root, self.label + ".in")
            with open(path, "wb") as f:
                f.write(home.stream(instance, login).encode())
            stdin = open(path, "rb")
        switch = {"put": "-p", "remove": "-r", "get": "-g"}[kind]
        with open(self.out, "wb") as out, open(self.err, "wb") as err:
            self.process = subprocess.Popen(home.command(switch, instance + ":h:X"), stdin=stdin,
                                            stdout=out, stderr=err, cwd=home.home, env=home.env)
        if stdin is not subprocess.DEVNULL:
            stdin.close()
        self.status = None

    def wait(self, deadline):
        try:
            self.status = self.process.wait(timeout=max(1, deadline - time.monotonic()))
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            self.status = "timeout"

    def text(self, which):
        with open(self.out if which == "out" else self.err, "rb") as f:
            return sandbox_home.decode(f.read())


def run_all(runs, wine):
    deadline = time.monotonic() + (900 if wine else 300)
    for run in runs:
        run.wait(deadline)
    return runs


def setting(text, pattern):
    match = re.search(pattern, text or "", re.M)
    return match.group(1) if match else None


def check(home, root, runs):
    """What the runs that reported success must have left behind."""
    problems = []
    puts, removed = {}, set()
    for run in runs:
        if run.status != 0:
            problems.append("%s ended with %s: %s" % (run.label, run.status, run.text("err")))
        elif run.kind == "put":
            puts.setdefault(run.instance, set()).add(run.login)
        else:
            removed.add(run.instance)
    listed = home.listed()
    if len(listed) != len(set(listed)):
        problems.append("the include file names an instance more than once: %s" % listed)
    if set(puts) - set(listed):
        problems.append("the include file lacks %s" % sorted(set(puts) - set(listed)))
    if removed & set(listed):
        problems.append("the include file still lists %s" % sorted(removed & set(listed)))
    numbers = [setting(home.read("VSQMMA_%s.ini" % name), r"^\[VMAMSSQLAgent(\d+)\]")
               for name in set(listed)]
    if len(set(numbers)) != len(numbers):
        problems.append("service numbers are not distinct: %s" % sorted(map(str, numbers)))

    # The gets read only, so they too run side by side.
    gets = run_all([Run(home, root, "get", name) for name in sorted(puts) + sorted(removed)],
                   home.wine)
    for get in gets:
        name = get.instance
        if name in removed:
            if get.status != 2:
                problems.append("get of removed %s: %s" % (name, get.status))
            if home.files_of(name):
                problems.append("removed %s left %s" % (name, home.files_of(name)))
            continue
        if get.status != 0:
            problems.append("get %s: %s %s" % (name, get.status, get.text("err")))
        if len(home.files_of(name)) != 2:
            problems.append("%s has only %s" % (name, home.files_of(name)))
        logins = (setting(get.text("out"), r"^db_login=(.*)$"),
                  setting(home.read("VSQMMA_%s.ini" % name), r"^COLL_LOGON=(.*)$"),
                  setting(home.read("MSMSQL_%s.bat" % name), r"^SET COLL_LOGON=(.*)$"))
        if len(set(logins)) != 1 or logins[0] not in puts[name]:
            problems.append("%s: logins of get, .ini and .bat: %s" % (name, logins))
    return problems


def new_puts(home, root):
    return check(home, root, run_all(
        [Run(home, root, "put", "A%02d" % i, "L%02d" % i) for i in range(40)], home.wine))


def puts_removes(home, root):
    for i in range(20):
        status, _, err = home.put("R%02d" % i)
        if status != 0:
            return ["setting up R%02d: %d %s" % (i, status, err)]
    runs = []
    for i in range(20):  # interleaved, so that both kinds wait for each other
        runs.append(Run(home, root, "remove", "R%02d" % i))
        runs.append(Run(home, root, "put", "P%02d" % i, "L%02d" % i))
    return check(home, root, run_all(runs, home.wine))


def one_instance(home, root):
    return check(home, root, run_all(
        [Run(home, root, "put", "SAME", "u%02d" % i) for i in range(20)], home.wine))


def main():
    options = sandbox_home.parse_options(("--rounds", dict(type=int, default=1)))
    checks = sandbox_home.Checks()
    for round_number in range(1, options.rounds + 1):
        for case in (new_puts, puts_removes, one_instance):
            root = tempfile.mkdtemp(prefix="sqxa_overlap_")
            started = time.monotonic()
            try:
                home = sandbox_home.Home(root, options.program, options.tool, options.wine)
                problems = case(home, root)
            finally:
                shutil.rmtree(root, ignore_errors=True)
                sandbox_home.forget_registrations(options.wine)
            label = "%s (round %d, %.1f s)" % (case.__name__, round_number,
                                               time.monotonic() - started)
            checks.check(label, problems)
    return checks.finish()


if __name__ == "__main__":
    sys.exit(main())
