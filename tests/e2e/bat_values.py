#!/usr/bin/env python3
"""Values that cmd.exe would read as its own syntax, put into an instance and
read back by running its start-up .bat file with cmd.

The sandbox home lies in a directory whose name holds "(x86)", "&" and "%",
so every directory the .bat file sets holds them too. For each login and
password of the table: a put of INST1, then its MSMSQL_INST1.bat without its
START lines, followed by "set COLL_", run by cmd; the COLL_ variables it
prints must equal the login, the password and the directories as given.

Usage: bat_values.py --program PATH --tool PATH [--wine]
Without --wine the program runs natively and its .bat file still goes to
Wine's cmd. Prints one line per case and a closing "N passed, N failed".
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sandbox_home  # noqa: E402

# (login, password): each of & | < > ^ % ( ) " and blanks, quotes that open
# and close, a percent sign between quotes, a quote left open, empty values.
VALUES = [
    ("a&b|c>d^e%PATH%(f)", "<in> & out | sort"),
    ("^^ ^ & ^&", "100% %% %USERNAME%"),
    ("pa\"ss&wo\"rd&x", "\"%PATH%\" & \"(x86)\""),
    ("\"open (x86) & | < >", "end\""),
    (" lead and trail  ", ""),
    ("", "(((&)))"),
]


def cmd_variables(bat_text, workdir):
    """Runs the .bat file without its START lines, then "set COLL_", with
    Wine's cmd: the COLL_ variables it printed."""
    lines = [line for line in bat_text.split("\n") if not line.upper().startswith("START ")]
    path = os.path.join(workdir, "values.bat")
    with open(path, "wb") as f:
        f.write(("@echo off\r\n" + "\r\n".join(lines) + "\r\nset COLL_\r\n")
                .encode("utf-8", "surrogateescape"))
    # The plain working directory keeps the home's special name off cmd's
    # own command line.
    result = subprocess.run(["wine", "cmd", "/c", "values.bat"], cwd=workdir,
                            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE, timeout=120)
    out = sandbox_home.decode(result.stdout)
    return dict(re.findall(r"^(COLL_\w+)=(.*)$", out, re.M)), out


def main():
    if shutil.which("wine") is None:
        print("skip: no wine to run cmd")
        return 0
    options = sandbox_home.parse_options()
    sandbox_home.start_wine()
    checks = sandbox_home.Checks()
    root = tempfile.mkdtemp(prefix="sqxa_bat (x86) & 100%_")
    workdir = tempfile.mkdtemp(prefix="sqxa_bat_run_")
    try:
        home = sandbox_home.Home(root, options.program, options.tool, options.wine)
        etc = home.seen_home + "ORVAGT6_x64"
        for login, password in VALUES:
            status, _, err = home.put("INST1", login, password=password)
            problems = [] if status == 0 else ["put ended %s: %s" % (status, err)]
            if not problems:
                got, out = cmd_variables(home.read("MSMSQL_INST1.bat"), workdir)
                expected = {
                    "COLL_LOGON": login, "COLL_PASSWORD": password,
                    "COLL_ERRORLOG": home.sql + "\\Log\\ERRORLOG", "COLL_DBHOME": home.sql,
                    "COLL_BINPATH": etc, "COLL_CTL_HOME": etc, "COLL_HOME": etc + "\\logs",
                    "COLL_SERVERID": "INST1"}
                # cmd lists only variables that are set: an empty value is absent.
                problems = ["%s=%r, expected %r" % (key, got.get(key, ""), value)
                            for key, value in expected.items() if got.get(key, "") != value]
                if problems:
                    problems.append("cmd printed:\n" + out)
            checks.check("login %r, password %r" % (login, password), problems)
    finally:
        shutil.rmtree(root, ignore_errors=True)
        shutil.rmtree(workdir, ignore_errors=True)
        sandbox_home.forget_registrations(options.wine)
    status = checks.finish()
    return status if checks.passed else 1


if __name__ == "__main__":
    sys.exit(main())
