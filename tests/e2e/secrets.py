#!/usr/bin/env python3
"""Where a database password may stand, and values that must stay values,
each case on a new home: with tracing at its most detailed, a password (also
of hexadecimal digits, or longer than any line buffer) stands only in its
instance's .ini and .bat files and registration, never in the output, the log,
the trace or any other file, and a get gives it enciphered; the log, trace,
lock and key files are their owner's alone (native only); a broken key file
ends a get with 6, saying why; links in place of the log and the trace are
reported, not followed (native only). The Windows build also runs each put's
.bat file, without its START lines, with cmd in a home whose name holds
"(x86)", "&" and "%": every COLL_ variable holds the login, password or
directory as given, however full of cmd's syntax.

Usage: secrets.py --program PATH --tool PATH [--wine]
"""
import os
import re
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sandbox_home as sh  # noqa: E402

SECRET = "Zq7-s3cret&%x"
HEX_SECRET = "1234567890"
LONG_SECRET = "L0ng" + "-x7" * 1332  # 4,000 bytes
ENCIPHERED = "{AES256:keyfile:a}{{ANY}}"
TRACE = dict(SQ_XA_TRACE="all")
# (login, password): each of & | < > ^ % ( ) " and blanks, quotes that open
# and close, a percent sign between quotes, a quote left open, empty values.
BAT_VALUES = [("a&b|c>d^e%PATH%(f)", "<in> & out | sort"), ("^^ ^ & ^&", "100% %% %USERNAME%"),
              ("pa\"ss&wo\"rd&x", "\"%PATH%\" & \"(x86)\""), ("\"open (x86) & | < >", "end\""),
              (" lead and trail  ", ""), ("", "(((&)))")]


def nowhere_else(opts):
    with sh.sandbox(opts) as home:
        for name, secret in (("N1", SECRET), ("N2", HEX_SECRET), ("N3", LONG_SECRET)):
            put, get = home.put(name, "sa", secret, **TRACE), home.run("-g", name + ":h:X", **TRACE)
            tail = secret[-40:]
            extra = {path for path, text in sh.tree(home.home).items() if tail in text}
            extra -= {"registry.reg", "ORVAGT6_x64/VSQMMA_%s.ini" % name,
                      "ORVAGT6_x64/MSMSQL_%s.bat" % name}
            sh.check("nowhere_else: the password of " + name, [
                *home.differences(put, 0), *home.differences(get, 0, None),
                None if re.search("^db_password=%s$" % home.pattern(ENCIPHERED).pattern, get[1],
                                  re.M) else "get: " + get[1],
                tail in put[1] + get[1] and "printed", extra and "%s hold it" % sorted(extra),
                None if os.path.exists(home.etc("logs", "sq_xa.trc")) else "no trace written"])
        modes = {path: os.path.exists(home.path(path)) and oct(os.stat(home.path(path)).st_mode)
                 for path in ("ORVAGT6_x64/logs/dbcfg_N1.log", "ORVAGT6_x64/logs/sq_xa.trc",
                              "ORVAGT6_x64/sq_xa.lock", "keyfiles/default.key")}
        if not opts.wine:  # Windows has no such modes.
            sh.check("owner_only", ["%s: mode %s" % mode for mode in modes.items()
                                    if mode[1] != "0o100600"])


def broken_key_files(opts):
    with sh.sandbox(opts) as home:
        key = home.path("keyfiles", "default.key")
        sh.check("broken_key_files: put and get with a sound key file", [
            *home.differences(home.put("N1", "sa", SECRET), 0),
            *home.differences(home.run("-g", "N1:h:X"), 0, None)])
        sound, short = sh.read(key), "it does not hold a key of 64 hexadecimal digits"

        def key_file(text, mode=0o600):
            home.write("keyfiles/default.key", text)
            os.chmod(key, mode)

        for name, make, code, reason in [
                ("truncated", lambda: key_file(sound[:32]), 6, short),
                ("empty", lambda: key_file(""), 6, short),
                ("not hexadecimal", lambda: key_file("g" * 64), 6, short),
                ("a directory", lambda: os.mkdir(key), 4, "it cannot be read"),
                ("readable by others", lambda: key_file(sound, 0o644), 11,
                 "other users may read or write it"),
                ("a dangling link", lambda: os.symlink(key + ".gone", key), 3,
                 "it does not exist")][:6 - opts.wine]:
            (os.rmdir if os.path.isdir(key) and not os.path.islink(key) else os.remove)(key)
            make()
            home.expect("broken_key_files: a key file " + name, home.run("-g", "N1:h:X"), 6, "",
                        "({{TID}})CRY_Encrypt failed with error [%d]\nError line({{LINE}}): Unable "
                        "to use the key file {{HOME}}keyfiles\\default.key: %s\n" % (code, reason))


def links_not_followed(opts):
    if opts.wine:
        return sh.skip("links_not_followed", "Wine follows a symbolic link as the file it names")
    with sh.sandbox(opts) as home:
        home.write("target.txt", "")
        os.makedirs(home.etc("logs"))
        for name in ("dbcfg_N1.log", "sq_xa.trc"):
            os.symlink(home.path("target.txt"), home.etc("logs", name))
        result = home.put("N1", "sa", SECRET, **TRACE)
        return sh.check("links_not_followed", [
            *home.differences(result, 0, "", None), *home.mismatches({"target.txt": ""}),
            *("not said of %s: %r" % (what, result[2]) for what in ("The log", "The trace file")
              if not re.search(what + r" .* is a symbolic link", result[2]))])


def bat_values(opts):
    if not opts.wine:
        return sh.skip("bat_values", "the Windows build's test")
    with tempfile.TemporaryDirectory(prefix="sqxa_bat_run_") as workdir, sh.sandbox(
            opts, root=tempfile.mkdtemp(prefix="sqxa_bat (x86) & 100%_")) as home:
        etc = home.seen_home + "ORVAGT6_x64"
        for login, password in BAT_VALUES:
            status, _, err = home.put("INST1", login, password)
            lines = [line for line in (home.read("ORVAGT6_x64/MSMSQL_INST1.bat") or "").split("\n")
                     if not line.upper().startswith("START ")]
            with open(os.path.join(workdir, "values.bat"), "wb") as f:
                f.write(("@echo off\r\n%s\r\nset COLL_\r\n" % "\r\n".join(lines))
                        .encode("utf-8", "surrogateescape"))
            # The plain working directory keeps the home's name off cmd's own
            # command line.
            out = sh.decode(subprocess.run(["wine", "cmd", "/c", "values.bat"], cwd=workdir,
                                           stdin=subprocess.DEVNULL, capture_output=True,
                                           timeout=120).stdout)
            got = dict(re.findall(r"^(COLL_\w+)=(.*)$", out, re.M))
            want = dict(COLL_LOGON=login, COLL_PASSWORD=password, COLL_SERVERID="INST1",
                        COLL_ERRORLOG=home.sql + "\\Log\\ERRORLOG", COLL_DBHOME=home.sql,
                        COLL_BINPATH=etc, COLL_CTL_HOME=etc, COLL_HOME=etc + "\\logs")
            # cmd lists only variables that are set: an empty value is absent.
            wrong = ["%s=%r, not %r" % (k, got.get(k, ""), v) for k, v in want.items()
                     if got.get(k, "") != v]
            sh.check("bat_values: login %r, password %r" % (login, password), [status and (
                "put ended %s: %s" % (status, err)), *wrong, wrong and "cmd said:\n" + out])


if __name__ == "__main__":
    sys.exit(sh.main([(f.__name__, f) for f in (nowhere_else, broken_key_files,
                                                 links_not_followed, bat_values)]))
