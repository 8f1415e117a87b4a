#!/usr/bin/env python3
"""Puts and removes meeting faults of their surroundings, each on a fresh
sandbox product home:

  tool_crashes         the instance-creation tool dies of an access violation
                       during a put: status 6, naming the cause; afterwards,
                       with a sound tool, another instance is put, the affected
                       one is put again, read, removed
  tool_registers_nothing
                       the tool ends well without registering: status 0, and
                       the same follow-ups succeed
  unwritable_etc       a remove run by a user who may not write the agent's
                       directory: status 6 and the instance left whole, until a
                       user who may write removes it (native only; as root the
                       remove runs as "nobody")
  lock_is_symlink      the lock file is a symbolic link: put 101, remove 3,
                       nothing changed (native only: Wine follows the link)
  oversized_stream     100 MB on standard input: status 4 at once, the program
                       reading no further and staying small (its peak memory
                       is checked natively); a stream of the limit is taken

Usage: faults.py --program PATH --tool PATH --stand-in PATH [--wine]
The tool is the companion instance-creation tool, the stand-in the test one.
Prints one line per step and a closing "N passed, N failed".
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sandbox_home  # noqa: E402

LIMIT = 1048576
AEDEBUG = "HKLM\\Software\\Microsoft\\Windows NT\\CurrentVersion\\AeDebug"


class Faults(sandbox_home.Checks):
    def __init__(self, options):
        super().__init__()
        self.options = options
        self.wine = options.wine

    def expect(self, name, actual, status, stderr=None):
        """`actual` is (status, stdout, stderr); `stderr` a pattern searched for."""
        problems = []
        if actual[0] != status:
            problems.append("status %s, expected %d; stderr:\n%s" % (actual[0], status, actual[2]))
        elif stderr is not None and not re.search(stderr, actual[2]):
            problems.append("stderr lacks /%s/:\n%s" % (stderr, actual[2]))
        return self.check(name, problems)

    def case(self, function):
        root = tempfile.mkdtemp(prefix="sqxa_faults_")
        try:
            home = sandbox_home.Home(root, self.options.program, self.options.tool, self.wine)
            function(self, home)
        finally:
            # Files a dropped-privilege run left, and modes a case took away.
            for directory, _, _ in os.walk(root):
                os.chmod(directory, 0o755)
            shutil.rmtree(root, ignore_errors=True)
            sandbox_home.forget_registrations(self.wine)


def whole(home, name):
    """What is missing of a configured instance: its include line, its files."""
    problems = []
    if name not in home.listed():
        problems.append("%s is not in the include file" % name)
    if len(home.files_of(name)) != 2:
        problems.append("%s has only %s" % (name, home.files_of(name)))
    return problems


def gone(home, name):
    problems = []
    if name in home.listed():
        problems.append("%s is still in the include file" % name)
    if home.files_of(name):
        problems.append("%s left %s" % (name, home.files_of(name)))
    return problems


def follow_ups(t, home, case, affected):
    """After a put whose tool went wrong, with a sound tool in its place."""
    home.install_tool(t.options.tool)
    t.expect(case + ": put of another instance", home.put("N2"), 0)
    t.expect(case + ": put of %s again" % affected, home.put(affected, "again"), 0)
    got = home.run("-g", affected + ":h:X")
    if t.expect(case + ": get %s" % affected, got, 0):
        t.check(case + ": the get shows the second put", [
            None if re.search(r"^db_login=again$", got[1], re.M) else "stdout:\n" + got[1]])
    t.expect(case + ": remove %s" % affected, home.run("-r", affected + ":h:X"), 0)
    t.check(case + ": %s gone" % affected, gone(home, affected))
    t.expect(case + ": get of the other instance", home.run("-g", "N2:h:X"), 0)


class WineDebugger:
    """An unhandled exception under Wine starts the debugger named in AeDebug,
    which dumps the process at length. A debugger that ends at once lets the
    process end with its exception code, as on Windows without one."""

    def __init__(self, wine):
        self.wine = wine
        self.saved = None
        if wine:
            query = subprocess.run(["wine", "reg", "query", AEDEBUG, "/v", "Debugger"],
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
            match = re.search(r"Debugger\s+REG_SZ\s+(.*?)\s*$",
                              sandbox_home.decode(query.stdout), re.M)
            self.saved = match.group(1) if match else None
            self.set("cmd /c exit")

    def set(self, command):
        subprocess.run(["wine", "reg", "add", AEDEBUG, "/v", "Debugger", "/d", command, "/f"],
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def restore(self):
        if self.wine and self.saved is not None:
            self.set(self.saved)
        elif self.wine:
            subprocess.run(["wine", "reg", "delete", AEDEBUG, "/v", "Debugger", "/f"],
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def tool_crashes(t, home):
    home.install_tool(t.options.stand_in)
    # A sanitizer build's own fault handler would turn the crash into an
    # ordinary exit status.
    asan = os.environ.get("ASAN_OPTIONS", "")
    env = dict(home.env, SQXA_STAND_IN_MODE="crash",
               ASAN_OPTIONS=(asan + ":" if asan else "") + "handle_segv=0")
    cause = r"exception 0xC0000005" if t.wine else r"signal 11 \(Segmentation fault\)"
    debugger = WineDebugger(t.wine)
    try:
        result = home.put("N1", env=env)
    finally:
        debugger.restore()
    t.expect("tool_crashes: put ends 6 naming the cause", result, 6,
             r"(?m)^Error line\(\d+\): vinconfg was ended by %s\n"
             r" Error line\(\d+\): Unabled to run vinconfg to add instance$" % cause)
    follow_ups(t, home, "tool_crashes", "N1")


def tool_registers_nothing(t, home):
    home.install_tool(t.options.stand_in)
    env = dict(home.env, SQXA_STAND_IN_MODE="noregister")
    t.expect("tool_registers_nothing: put", home.put("N1", env=env), 0)
    follow_ups(t, home, "tool_registers_nothing", "N1")


def unprivileged_prefix():
    """The command prefix that runs a program as a user without root's rights."""
    if os.geteuid() != 0:
        return []
    if shutil.which("setpriv"):
        return ["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"]
    if shutil.which("runuser"):
        return ["runuser", "-u", "nobody", "--"]
    return None


def unwritable_etc(t, home):
    name = "unwritable_etc"
    if t.wine:
        return t.skip(name, "under Wine every run has the rights of the user running Wine")
    prefix = unprivileged_prefix()
    if prefix is None:
        return t.skip(name, "no way to run a program as another user")
    if not t.expect(name + ": put", home.put("N1"), 0):
        return None
    # The other user reaches everything, may write the logs, the lock file and
    # the registry file with its directory (so that a remove that wrongly ran
    # the tool would be seen), but not the agent's directory itself.
    etc = home.etc()
    root = os.path.dirname(os.path.dirname(home.home))
    os.chmod(root, 0o755)
    os.chmod(home.home, 0o777)
    open(home.etc("sq_xa.lock"), "a").close()
    for path in (home.etc("sq_xa.lock"), os.path.join(home.home, "registry.reg")):
        os.chmod(path, 0o666)
    for directory, _, files in os.walk(home.etc("logs")):
        os.chmod(directory, 0o777)
        for file_name in files:
            os.chmod(os.path.join(directory, file_name), 0o666)
    os.chmod(etc, 0o555)
    try:
        probe = subprocess.run(prefix + ["test", "-w", etc]).returncode
    except OSError:
        probe = None
    if probe != 1:
        os.chmod(etc, 0o755)
        return t.skip(name, "the agent's directory stays writable (or the user cannot be "
                      "changed): %s" % probe)
    # The build tree may lie where the other user cannot reach (a home of
    # root's): that user runs a copy of the program from the sandbox.
    program = home.program
    home.program = os.path.join(home.home, os.path.basename(program))
    shutil.copy2(program, home.program)
    try:
        result = home.run("-r", "N1:h:X", prefix=prefix)
    finally:
        os.chmod(etc, 0o755)
        home.program = program
    t.expect(name + ": remove ends 6", result, 6)
    t.check(name + ": the instance is whole", whole(home, "N1"))
    t.expect(name + ": it is still registered", home.run("-g", "N1:h:X"), 0)
    t.expect(name + ": remove by a user who may write", home.run("-r", "N1:h:X"), 0)
    t.check(name + ": the instance is gone", gone(home, "N1"))
    return None


def lock_is_symlink(t, home):
    name = "lock_is_symlink"
    if t.wine:
        return t.skip(name, "Wine follows a symbolic link as the file it names")
    if not t.expect(name + ": put", home.put("OTHER"), 0):
        return None
    lock = home.etc("sq_xa.lock")
    if os.path.lexists(lock):
        os.remove(lock)
    with open(home.etc("elsewhere"), "w") as f:
        f.write("kept")
    os.symlink("elsewhere", lock)
    message = (r"(?m)^Error line\(\d+\): Unable to lock '%s' for exclusive use"
               % re.escape(home.seen_home + "ORVAGT6_x64\\sq_xa.lock"))
    t.expect(name + ": put ends 101", home.put("N1"), 101, message)
    t.check(name + ": nothing of the put written", [
        None if not home.files_of("N1") else "N1 has %s" % home.files_of("N1")])
    t.expect(name + ": remove ends 3", home.run("-r", "OTHER:h:X"), 3, message)
    t.check(name + ": the other instance and the link's target are whole",
            whole(home, "OTHER") + [None if home.read("elsewhere") == "kept"
                                    else "elsewhere holds %r" % home.read("elsewhere")])
    return None


def run_measured(home, feed):
    """Runs a put of N1 with `feed(pipe)` writing its standard input from a
    thread: (status, stdout, stderr), seconds, peak memory in MB (None under
    Wine), and the bytes the feed managed to write."""
    out_path, err_path = (os.path.join(home.home, "..", name) for name in ("out", "err"))
    with open(out_path, "wb") as out, open(err_path, "wb") as err:
        started = time.monotonic()
        process = subprocess.Popen(home.command("-p", "N1:h:X"), stdin=subprocess.PIPE,
                                   stdout=out, stderr=err, cwd=home.home, env=home.env)
    written = [0]

    def write():
        try:
            written[0] = feed(process.stdin)
            process.stdin.close()
        except (BrokenPipeError, OSError):
            pass

    writer = threading.Thread(target=write, daemon=True)
    writer.start()
    _, wait_status, usage = os.wait4(process.pid, 0)
    seconds = time.monotonic() - started
    process.returncode = os.waitstatus_to_exitcode(wait_status)
    writer.join(timeout=30)
    with open(out_path, "rb") as out, open(err_path, "rb") as err:
        result = (process.returncode, sandbox_home.decode(out.read()),
                  sandbox_home.decode(err.read()))
    peak = None if home.wine else usage.ru_maxrss / 1024.0
    return result, seconds, peak, written


def oversized_stream(t, home):
    name = "oversized_stream"
    message = (r"(?m)^Error line\(\d+\): Configuration stream too large: more than %d bytes\n"
               r" Error line\(\d+\): Error parsing config stream$" % LIMIT)
    head = home.stream("N1").encode()
    line = b"db_include=short\n"
    hundred_mb = 100 << 20

    # (One long value over the limit is a scenario of run_scenarios.py.)
    def short_lines(pipe):
        chunk = line * (65536 // len(line))
        sent = 0
        pipe.write(head)
        while sent < hundred_mb:
            pipe.write(chunk)
            sent += len(chunk)
        return sent

    result, seconds, peak, written = run_measured(home, short_lines)
    t.expect("%s: 100 MB of short lines ends 4" % name, result, 4, message)
    problems = gone(home, "N1")
    if seconds > 30:
        problems.append("it took %.1f s" % seconds)
    if peak is not None and peak > 64:
        problems.append("its peak memory was %.0f MB" % peak)
    if written[0] >= hundred_mb:
        problems.append("it read the whole stream")
    detail = "%.1f s" % seconds + (", %.0f MB" % peak if peak is not None else "")
    t.check("%s: refused quickly, small, nothing written (%s)" % (name, detail), problems)
    # The limit itself: a stream of exactly that many bytes is taken.
    for extra, status in ((0, 0), (1, 4)):
        body = head + b"db_extparms="
        stream = body + b"x" * (LIMIT - len(body) - 1 + extra) + b"\n"
        t.expect("%s: a stream of %d bytes ends %d" % (name, len(stream), status),
                 home.run("-p", "N1:h:X", stdin=stream), status, message if status else None)


def main():
    options = sandbox_home.parse_options(("--stand-in", dict(required=True)))
    options.tool = os.path.abspath(options.tool)
    options.stand_in = os.path.abspath(options.stand_in)

    faults = Faults(options)
    for function in (tool_crashes, tool_registers_nothing, unwritable_etc, lock_is_symlink,
                     oversized_stream):
        faults.case(function)
    return faults.finish()


if __name__ == "__main__":
    sys.exit(main())
