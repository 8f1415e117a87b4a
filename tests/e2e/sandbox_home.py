"""A sandbox product home for the scripts that run many puts on one home: the
agent's directory with its management-agent settings, one SQL Server home
(sql/MSSQL with its server program and error log) and an instance-creation
tool installed as InstallORV/vinconfg.

Home wraps one such home with the program that runs on it, natively or under
Wine, and reads back what the runs left there."""
import argparse
import os
import re
import shutil
import subprocess
import sys

MARLOX_KEY = "HKLM\\Software\\Marlox"


def prepare(home, tool, wine=False):
    """Fills `home` (a path ending in "/"); answers the SQL Server home as the
    program sees it (with backslashes; under Wine on drive Z:)."""
    for directory in ("ORVAGT6_x64/logs", "InstallORV", "sql/MSSQL/Binn", "sql/MSSQL/Log"):
        os.makedirs(os.path.join(home, directory))
    for name in ("sql/MSSQL/Binn/sqlservr.exe", "sql/MSSQL/Log/ERRORLOG"):
        with open(os.path.join(home, name), "w") as f:
            f.write("x")
    with open(os.path.join(home, "ORVAGT6_x64", "vsqmma.ini"), "w") as f:
        f.write("[Local Settings]\nCOLL_TRACE=ERROR\n")
    install_tool(home, tool, wine)
    return ("Z:" if wine else "") + home.replace("/", "\\") + "sql\\MSSQL"


def install_tool(home, tool, wine=False):
    target = os.path.join(home, "InstallORV", "vinconfg.exe" if wine else "vinconfg")
    shutil.copyfile(os.path.abspath(tool), target)
    os.chmod(target, 0o755)


def start_wine():
    """The first program of a Wine session starts the prefix's services, which
    would inherit (and hold open) the pipes of a run."""
    subprocess.run(["wine", "cmd", "/c", "exit"], stdin=subprocess.DEVNULL,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def forget_registrations(wine):
    """Under Wine the tool registers in the prefix's registry, which outlives
    the home; a test prefix has no product keys of its own."""
    if wine:
        subprocess.run(["wine", "reg", "delete", MARLOX_KEY, "/f"],
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def decode(data):
    return data.decode("utf-8", "surrogateescape").replace("\r\n", "\n")


class Home:
    def __init__(self, root, program, tool, wine):
        self.wine = wine
        self.program = os.path.abspath(program)
        self.home = os.path.join(root, "home") + "/"
        self.seen_home = ("Z:" + self.home.replace("/", "\\")) if wine else self.home
        self.sql = prepare(self.home, tool, wine)
        self.env = dict(os.environ)
        for key in ("MARLOX_KEYFILE", "SQ_XA_TRACE", "SQ_XA_TRACE_FILE", "ORVAGT6_DIR",
                    "COLL_SERVERID", "COLL_SERVICENUMBER", "SQXA_STAND_IN_MODE",
                    "SQXA_STAND_IN_EXIT", "SQXA_STAND_IN_FLOOD"):
            self.env.pop(key, None)
        self.env.update(MARLOX_HOME=self.seen_home, PORTNUMBER="1920", COMPUTERNAME="HOST1",
                        MARLOX_REGISTRY=os.path.join(self.home, "registry.reg"))

    def install_tool(self, tool):
        install_tool(self.home, tool, self.wine)

    def command(self, *args):
        return (["wine"] if self.wine else []) + [self.program] + list(args)

    def run(self, *args, stdin=b"", env=None, prefix=()):
        """Runs the program to its end: (status, stdout, stderr)."""
        result = subprocess.run(list(prefix) + self.command(*args), input=stdin,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, cwd=self.home,
                                env=env or self.env, timeout=300)
        return result.returncode, decode(result.stdout), decode(result.stderr)

    def stream(self, instance, login="sa", password="p"):
        return ("INSTANCE=%s\n[DBSETTINGS]\ndb_login=%s\ndb_password=%s\ndb_home=%s\n"
                "db_errorlog=%s\\Log\\ERRORLOG\n" % (instance, login, password, self.sql,
                                                    self.sql))

    def put(self, instance, login="sa", env=None, password="p"):
        stream = self.stream(instance, login, password)
        return self.run("-p", instance + ":h:X", stdin=stream.encode(), env=env)

    def etc(self, *names):
        return os.path.join(self.home, "ORVAGT6_x64", *names)

    def read(self, *names):
        """A file of the agent's directory, or None."""
        try:
            with open(self.etc(*names), "rb") as f:
                return decode(f.read())
        except OSError:
            return None

    def listed(self):
        """The instances the include file names, in its order, repeats kept."""
        return re.findall(r"VSQMMA_(.*?)\.ini$", self.read("vsqinc.ini") or "", re.M)

    def files_of(self, instance):
        """The instance's .ini and .bat files that exist."""
        return [name for name in ("VSQMMA_%s.ini" % instance, "MSMSQL_%s.bat" % instance)
                if os.path.exists(self.etc(name))]


class Checks:
    """Named checks, each printed as it ends: "ok", "FAIL" with its problems,
    or "skip"; finish() prints the closing "N passed, N failed"."""

    def __init__(self):
        self.passed = self.failed = self.skipped = 0

    def check(self, name, problems):
        problems = [p for p in problems if p]
        if problems:
            self.failed += 1
            print("FAIL", name)
            for problem in problems:
                print("    " + problem.rstrip().replace("\n", "\n    "))
        else:
            self.passed += 1
            print("ok  ", name)
        sys.stdout.flush()
        return not problems

    def skip(self, name, reason):
        self.skipped += 1
        print("skip", name + ":", reason)

    def finish(self):
        print("%d passed, %d failed" % (self.passed, self.failed))
        return 1 if self.failed else 0


def parse_options(*extra):
    """The options every script takes (--program, --tool, --wine) and `extra`
    ones, as (name, keyword arguments) pairs; starts Wine when asked for."""
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    parser.add_argument("--tool", required=True)
    parser.add_argument("--wine", action="store_true")
    for name, settings in extra:
        parser.add_argument(name, **settings)
    options = parser.parse_args()
    if options.wine:
        start_wine()
    return options
