#!/usr/bin/env python3
"""Puts and removes meeting faults of their surroundings, each on a new home:
the instance-creation tool dies of an access violation during a put (status 6,
naming the cause) or ends well without registering (0), and afterwards puts, a
get and a remove work with the sound tool; a remove by a user who may not
write the agent's directory ends 6 and leaves the instance whole (native only,
as "nobody" when run as root); a symbolic link as the lock file: put 101,
remove 3, nothing changed (native only: Wine follows links); 100 MB of short
lines on standard input: status 4 at once, the program reading no further and
staying small; a stream of the limit is taken, one byte more refused.

Usage: faults.py --program PATH --tool PATH [--stand-in PATH] [--wine]
"""
import contextlib
import os
import re
import shutil
import subprocess
import sys
import threading
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sandbox_home as sh  # noqa: E402

LIMIT = 1048576
TOOL_ENDED = ("Error line({{LINE}}): vinconfg was ended by %s\n"
              " Error line({{LINE}}): Unabled to run vinconfg to add instance\n")
LOCKED = "Error line({{LINE}}): Unable to lock '{{HOME}}ORVAGT6_x64\\sq_xa.lock' for exclusive use"
TOO_LARGE = ("Error line({{LINE}}): Configuration stream too large: more than %d bytes\n"
             " Error line({{LINE}}): Error parsing config stream\n" % LIMIT)


@contextlib.contextmanager
def wine_debugger(wine):
    """An unhandled exception under Wine starts the debugger named in AeDebug,
    which dumps the process at length; one that ends at once lets the process
    end with its exception code, as on Windows without a debugger."""
    key = ("HKLM\\Software\\Microsoft\\Windows NT\\CurrentVersion\\AeDebug", "/v", "Debugger")
    saved = wine and re.search(r"REG_SZ\s+(.*?)\s*$", sh.decode(subprocess.run(
        ["wine", "reg", "query", *key], capture_output=True).stdout), re.M)
    try:
        yield wine and sh.quiet("wine", "reg", "add", *key, "/d", "cmd /c exit", "/f")
    finally:
        if wine:
            sh.quiet("wine", "reg", *(("add", *key, "/d", saved[1]) if saved else ("delete", *key)),
                     "/f")


def tool_goes_wrong(opts):
    # A sanitizer build's own fault handler would turn the crash into an
    # ordinary exit status.
    asan = ":".join(filter(None, (os.environ.get("ASAN_OPTIONS"), "handle_segv=0")))
    # Wine says so itself, from the tool's process, before the debugger starts.
    ended = ("wine: Unhandled page fault{{ANY}}\n" + TOOL_ENDED % "exception 0xC0000005"
             if opts.wine else TOOL_ENDED % "signal 11 (Segmentation fault)")
    for mode, status, stderr in (("crash", 6, ended), ("registers nothing", 0, "")):
        with sh.sandbox(opts, opts.stand_in) as home:
            with wine_debugger(opts.wine):
                result = home.put("N1", SQXA_STAND_IN_MODE=mode, ASAN_OPTIONS=asan)
            home.expect("tool_goes_wrong, %s: the put" % mode, result, status, stderr=stderr)
            home.install_tool(opts.tool)
            results = [home.put("N2"), home.put("N1", "again"), home.run("-g", "N1:h:X"),
                       home.run("-r", "N1:h:X"), home.run("-g", "N2:h:X")]
            sh.check("tool_goes_wrong, %s: puts, a get and a remove afterwards" % mode, [
                *("run %d: %s" % (i, r) for i, r in enumerate(results) if r[0] or r[2]),
                None if "\ndb_login=again\n" in results[2][1] else "get: %r" % results[2][1],
                home.whole("N1", False), home.whole("N2")])


def unwritable_etc(opts):
    # Root may write anything: the remove runs as "nobody" then.
    prefix = ["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"]
    prefix *= os.geteuid() == 0
    if opts.wine or (prefix and not shutil.which("setpriv")):
        return sh.skip("unwritable_etc", "no run without the right to write the directory here")
    with sh.sandbox(opts) as home:
        home.expect("unwritable_etc: put", home.put("N1"), 0)
        # The other user reaches everything and may write the logs, the lock
        # file and the registry file with its directory (so that a remove that
        # wrongly ran the tool would be seen), but not the agent's directory.
        open(home.etc("sq_xa.lock"), "a").close()
        os.chmod(home.root, 0o755)
        for path in (home.home, home.etc("sq_xa.lock"), home.path("registry.reg"), *(
                os.path.join(top, name) for top, dirs, names in os.walk(home.etc("logs"))
                for name in [".", *names])):
            os.chmod(path, 0o777)
        os.chmod(home.etc(), 0o555)
        if subprocess.run(prefix + ["test", "-w", home.etc()]).returncode != 1:
            return sh.skip("unwritable_etc", "the agent's directory stays writable")
        # The build tree may lie where the other user cannot reach: that user
        # runs a copy of the program from the sandbox.
        program, home.program = home.program, home.path("sq_xa")
        shutil.copy2(program, home.program)
        result = home.run("-r", "N1:h:X", prefix=prefix)
        os.chmod(home.etc(), 0o755)
        home.expect("unwritable_etc: remove ends 6", result, 6,
                    stderr="Error line({{LINE}}): Unable to generate KxxINC.INI file\n")
        sh.check("unwritable_etc: the instance is whole and registered",
                 [home.whole("N1"), *home.differences(home.run("-g", "N1:h:X"), 0, None)])
        home.expect("unwritable_etc: remove by a user who may write", home.run("-r", "N1:h:X"), 0)
        return sh.check("unwritable_etc: the instance is gone", [home.whole("N1", False)])


def lock_is_symlink(opts):
    if opts.wine:
        return sh.skip("lock_is_symlink", "Wine follows a symbolic link as the file it names")
    with sh.sandbox(opts) as home:
        home.expect("lock_is_symlink: put", home.put("OTHER"), 0)
        if os.path.lexists(home.etc("sq_xa.lock")):
            os.remove(home.etc("sq_xa.lock"))
        home.write("ORVAGT6_x64/elsewhere", "kept")
        os.symlink("elsewhere", home.etc("sq_xa.lock"))
        home.expect("lock_is_symlink: put ends 101", home.put("N1"), 101, "", LOCKED + "{{ANY}}\n")
        home.expect("lock_is_symlink: remove ends 3", home.run("-r", "OTHER:h:X"), 3, "",
                    LOCKED + "{{ANY}}\n")
        return sh.check("lock_is_symlink: nothing changed", [
            home.whole("N1", False), home.whole("OTHER"), *home.mismatches(
                {"ORVAGT6_x64/elsewhere": "kept"})])


def oversized_stream(opts):
    with sh.sandbox(opts) as home:
        head = home.stream("N1").encode()
        chunk, hundred_mb, sent = b"db_include=short\n" * 4000, 100 << 20, [0]
        started = time.monotonic()
        with open(home.path("out"), "wb") as out, open(home.path("err"), "wb") as err:
            process = subprocess.Popen(home.command("-p", "N1:h:X"), stdin=subprocess.PIPE,
                                       stdout=out, stderr=err, cwd=home.home, env=home.env)

        def feed():
            with contextlib.suppress(OSError):
                process.stdin.write(head)
                while sent[0] < hundred_mb:
                    sent[0] += process.stdin.write(chunk)
                process.stdin.close()

        writer = threading.Thread(target=feed, daemon=True)
        writer.start()
        _, wait_status, usage = os.wait4(process.pid, 0)
        seconds, peak = time.monotonic() - started, None if opts.wine else usage.ru_maxrss >> 10
        writer.join(timeout=30)
        result = (os.waitstatus_to_exitcode(wait_status), home.read("out"), home.read("err"))
        sh.check("oversized_stream: 100 MB of short lines refused at once (%.1f s, %s MB)"
                 % (seconds, peak), [*home.differences(result, 4, "", TOO_LARGE),
                                     home.whole("N1", False), seconds > 30 and "too slow",
                                     (peak or 0) > 64 and "too big",
                                     sent[0] >= hundred_mb and "it read the whole stream"])
        # The limit itself: a stream of exactly that many bytes is taken.
        for extra, status in ((0, 0), (1, 4)):
            body = head + b"db_extparms="
            stream = body + b"x" * (LIMIT - len(body) - 1 + extra) + b"\n"
            result = home.run("-p", "N1:h:X", stdin=stream)
            sh.check("oversized_stream: %d bytes end %d" % (len(stream), status), [
                *home.differences(result, status, None, TOO_LARGE if status else None),
                home.whole("N1")])


if __name__ == "__main__":
    sys.exit(sh.main([(f.__name__, f) for f in (tool_goes_wrong, unwritable_etc, lock_is_symlink,
                                                 oversized_stream)]))
