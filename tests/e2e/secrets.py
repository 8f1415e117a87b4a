#!/usr/bin/env python3
"""Where a database password may go, each case on a fresh sandbox home:

  nowhere_else       a put and a get with tracing at its most detailed: the
                     clear password stands only in the instance's .ini and
                     .bat files and its registration, never in the output, the
                     log, the trace or any other file; a clear password of
                     hexadecimal digits comes back enciphered like any other
  owner_only         the log, the trace, the lock file and the key file are
                     readable by their owner alone (native only)
  broken_key_files   a key file that is truncated, empty, not hexadecimal, a
                     directory, readable by others or a dangling link: the get
                     ends with 6, names the key file and prints no stream
  links_not_followed a symbolic link in place of the log or the trace: the run
                     says so and writes nothing through it (native only: Wine
                     follows links)

Usage: secrets.py --program PATH --tool PATH [--wine]
Prints one line per check and a closing "N passed, N failed".
"""
import os
import re
import shutil
import stat
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sandbox_home  # noqa: E402

SECRET = "Zq7-s3cret&%x"
HEX_SECRET = "1234567890"
LONG_SECRET = "L0ng" + "-x7" * 1332  # 4,000 bytes: longer than any line buffer
KEY_FORM = r"^db_password=\{AES256:keyfile:a\}[A-Za-z0-9+/=]+$"


def status_is(result, expected, what):
    if result[0] != expected:
        return "%s: status %s, expected %d; stderr:\n%s" % (what, result[0], expected, result[2])
    return None


def holders(home, secret):
    """The files under the home that hold `secret`, relative to it."""
    found = []
    for folder, _, files in os.walk(home.home):
        for name in files:
            path = os.path.join(folder, name)
            if os.path.islink(path):
                continue
            with open(path, "rb") as f:
                if secret.encode() in f.read():
                    found.append(os.path.relpath(path, home.home))
    return sorted(found)


def nowhere_else(t, home):
    env = dict(home.env, SQ_XA_TRACE="all")
    results = [home.put("N1", env=env, password=SECRET), home.put("N2", env=env, password=HEX_SECRET),
               home.run("-g", "N1:h:X", env=env), home.run("-g", "N2:h:X", env=env),
               home.put("N3", env=env, password=LONG_SECRET), home.run("-g", "N3:h:X", env=env)]
    problems = [status_is(r, 0, "run %d" % i) for i, r in enumerate(results)]
    for secret, instance in ((SECRET, "N1"), (HEX_SECRET, "N2"), (LONG_SECRET[-40:], "N3")):
        allowed = ["ORVAGT6_x64/MSMSQL_%s.bat" % instance, "ORVAGT6_x64/VSQMMA_%s.ini" % instance,
                   "registry.reg"]
        extra = [path for path in holders(home, secret) if path not in allowed]
        problems.append("%s stands in %s" % (instance, extra) if extra else None)
        problems += ["the output of run %d holds %s's password" % (i, instance)
                     for i, r in enumerate(results) if secret in r[1] or secret in r[2]]
    for i in (2, 3, 5):
        if not re.search(KEY_FORM, results[i][1], re.M):
            problems.append("get %d gives no enciphered password:\n%s" % (i, results[i][1]))
        if results[i][2]:
            problems.append("get %d says: %s" % (i, results[i][2]))
    problems.append(None if os.path.exists(home.etc("logs", "sq_xa.trc")) else "no trace written")
    t.check("nowhere_else", problems)


def owner_only(t, home):
    env = dict(home.env, SQ_XA_TRACE="all")
    results = [home.put("N1", env=env, password=SECRET), home.run("-g", "N1:h:X", env=env)]
    problems = [status_is(r, 0, "run %d" % i) for i, r in enumerate(results)]
    for path in (home.etc("logs", "dbcfg_N1.log"), home.etc("logs", "sq_xa.trc"),
                 home.etc("sq_xa.lock"), os.path.join(home.home, "keyfiles", "default.key")):
        mode = stat.S_IMODE(os.stat(path).st_mode) if os.path.exists(path) else None
        if mode != 0o600:
            problems.append("%s: mode %s" % (os.path.relpath(path, home.home),
                                              oct(mode) if mode is not None else "missing"))
    t.check("owner_only", problems)


def broken_key_files(t, home, wine):
    problems = [status_is(home.put("N1", password=SECRET), 0, "put")]
    keyfiles = os.path.join(home.home, "keyfiles")
    key = os.path.join(keyfiles, "default.key")
    problems.append(status_is(home.run("-g", "N1:h:X"), 0, "get with a sound key file"))
    with open(key) as f:
        sound = f.read()

    def write(text, mode=0o600):
        with open(key, "w") as f:
            f.write(text)
        os.chmod(key, mode)

    cases = [("truncated", lambda: write(sound[:32])), ("empty", lambda: write("")),
             ("not hexadecimal", lambda: write("g" * 64 + "\n")),
             ("a directory", lambda: os.mkdir(key)),
             ("readable by others", lambda: write(sound, 0o644))]
    if not wine:
        cases.append(("a dangling link", lambda: os.symlink(os.path.join(keyfiles, "gone"), key)))
    for name, make in cases:
        if os.path.isdir(key) and not os.path.islink(key):
            os.rmdir(key)
        elif os.path.lexists(key):
            os.remove(key)
        make()
        result = home.run("-g", "N1:h:X")
        if result[0] != 6 or result[1] or "Unable to use the key file" not in result[2] \
                or "default.key" not in result[2]:
            problems.append("%s: status %s, stdout %r, stderr %r" % (name, *result))
        if SECRET in result[1] + result[2]:
            problems.append("%s: the password was printed" % name)
    t.check("broken_key_files", problems)


def links_not_followed(t, home):
    target = os.path.join(home.home, "target.txt")
    open(target, "w").close()
    os.symlink(target, home.etc("logs", "dbcfg_N1.log"))
    os.symlink(target, home.etc("logs", "sq_xa.trc"))
    result = home.put("N1", env=dict(home.env, SQ_XA_TRACE="all"), password=SECRET)
    problems = [status_is(result, 0, "put")]
    for what in ("The log", "The trace file"):
        if not re.search(what + r" .* is a symbolic link", result[2]):
            problems.append("not said of %s: %r" % (what.lower(), result[2]))
    problems.append("written through a link" if os.path.getsize(target) else None)
    t.check("links_not_followed", problems)


def main():
    options = sandbox_home.parse_options()
    t = sandbox_home.Checks()
    cases = [lambda home: nowhere_else(t, home),
             lambda home: broken_key_files(t, home, options.wine)]
    if not options.wine:
        cases += [lambda home: owner_only(t, home), lambda home: links_not_followed(t, home)]
    for case in cases:
        root = tempfile.mkdtemp(prefix="sqxa_secrets_")
        try:
            case(sandbox_home.Home(root, options.program, options.tool, options.wine))
        finally:
            shutil.rmtree(root, ignore_errors=True)
            sandbox_home.forget_registrations(options.wine)
    return t.finish()


if __name__ == "__main__":
    sys.exit(main())
