"""What the end-to-end scripts share: their options, a sandbox product home
with the program run on it (natively, or under Wine with the home on drive Z:)
and the host's registry, expected texts, and the report: a line per check
("ok", "FAIL" and its problems, "skip") and a closing "N passed, N failed".

Expected texts may hold {{LINE}} (a source line number), {{TID}} (a thread
identifier), {{HOME}} (the home as the program sees it, its final separator
included), {{ANY}} (any text on one line) and {{REPEAT:<count>:<text>}}; line
ends are compared as LF."""
import argparse
import os
import re
import shutil
import subprocess
import tempfile

SQL = "sql/MSSQL10.INST1/MSSQL"
# What a home holds unless told otherwise: the agent's management-agent
# settings and SQL Server instance INST1.
BASE = {"ORVAGT6_x64/vsqmma.ini": "[Local Settings]\nCOLL_TRACE=ERROR\nMTIRA_HIST_DIR=somewhere"
                                  "\n\n[Other]\nX=1\n",
        SQL + "/Binn/sqlservr.exe": "x", SQL + "/Log/ERRORLOG": "x"}
CLEARED = ("MARLOX_KEYFILE", "SQ_XA_TRACE", "SQ_XA_TRACE_FILE", "ORVAGT6_DIR", "COLL_SERVERID",
           "COLL_SERVICENUMBER", "COLL_WRAPLINES", "COLL_NUMOUTBAK", "SQXA_STAND_IN_MODE",
           "SQXA_STAND_IN_EXIT", "SQXA_STAND_IN_FLOOD")
PLACEHOLDER = re.compile(r"(\{\{(?:LINE|TID|HOME|ANY)\}\}|\{\{REPEAT:\d+:.*?\}\})", re.S)
REPEAT = re.compile(r"\{\{REPEAT:(\d+):(.*?)\}\}", re.S)
counts = {"passed": 0, "failed": 0}


def options():
    """--tool is the companion instance-creation tool, --stand-in the test one
    (by default beside --tool); --only takes a pattern of case names."""
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True, type=os.path.abspath)
    parser.add_argument("--tool", required=True, type=os.path.abspath)
    parser.add_argument("--stand-in", type=os.path.abspath)
    for flag in ("--wine", "--keep"):
        parser.add_argument(flag, action="store_true")
    parser.add_argument("--only")
    parser.add_argument("--rounds", type=int, default=1)
    opts = parser.parse_args()
    opts.stand_in = opts.stand_in or os.path.join(
        os.path.dirname(opts.tool), "vinconfg_stand_in" + os.path.splitext(opts.tool)[1])
    if opts.wine:  # Its first program starts the prefix's services, which
        quiet("wine", "cmd", "/c", "exit")  # would hold a run's pipes open.
    return opts


def quiet(*command):
    return subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL).returncode


def decode(data):
    return data.decode("utf-8", "surrogateescape").replace("\r\n", "\n")


def read(path):
    if os.path.isfile(path):
        with open(path, "rb") as f:
            return f.read().decode("utf-8", "surrogateescape")
    return None


def tree(folder):
    """The files under `folder`, as {relative path: text}."""
    return {os.path.relpath(os.path.join(top, name), folder): read(os.path.join(top, name))
            for top, _, names in os.walk(folder) for name in names}


def check(name, problems):
    problems = [p for p in problems if p]
    counts["failed" if problems else "passed"] += 1
    print("FAIL" if problems else "ok  ", name, flush=True)
    for problem in problems:
        print("    " + problem.rstrip().replace("\n", "\n    "), flush=True)
    return not problems


def skip(name, reason):
    print("skip", name + ":", reason, flush=True)


def main(cases):
    """Runs the (name, function of the options) cases; answers the status."""
    opts = options()
    for name, case in cases:
        if not opts.only or re.search(opts.only, name):
            try:
                case(opts)
            except (OSError, RuntimeError, subprocess.SubprocessError) as error:
                check(name, ["%s: %s" % (type(error).__name__, error)])
    print("%(passed)d passed, %(failed)d failed" % counts)
    return 1 if counts["failed"] or not counts["passed"] else 0


def sandbox(opts, tool=None, files=BASE, root=None):
    tool = opts.tool if tool is None else tool
    return Home(root, opts.program, tool, opts.wine, files, opts.keep)


class Home:
    """A home under `root` (else a new temporary directory) holding `files`
    ({relative path: text}) and `tool` as InstallORV/vinconfg. Leaving it as a
    context deletes it and, under Wine, the product's and SQL Server's keys,
    of which a test prefix has none of its own."""

    def __init__(self, root, program, tool, wine, files=BASE, keep=False):
        self.root = root or tempfile.mkdtemp(prefix="sqxa_e2e_")
        self.program, self.wine, self.keep = os.path.abspath(program), wine, keep
        self.home = os.path.join(self.root, "home") + "/"
        self.seen_home = "Z:" + self.home.replace("/", "\\") if wine else self.home
        self.sql = self.seen_home + SQL.replace("/", "\\")
        os.makedirs(self.home)
        for relative, text in files.items():
            self.write(relative, text)
        if tool:
            self.install_tool(tool)
        self.env = {k: v for k, v in os.environ.items() if k not in CLEARED}
        self.env.update(MARLOX_HOME=self.seen_home, PORTNUMBER="1920", COMPUTERNAME="HOST1",
                        MARLOX_REGISTRY=self.path("registry.reg"))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for key in ("Marlox", "Microsoft\\Microsoft SQL Server", "Microsoft\\MSSQLServer"):
            if self.wine:
                quiet("wine", "reg", "delete", "HKLM\\Software\\" + key, "/f")
        for top, _, _ in os.walk(self.root):  # Modes a case took away.
            os.chmod(top, 0o755)
        if not self.keep:
            shutil.rmtree(self.root, ignore_errors=True)

    def path(self, *names):
        return os.path.join(self.home, *names)

    def etc(self, *names):
        return self.path("ORVAGT6_x64", *names)

    def substitute(self, text):
        return REPEAT.sub(lambda m: m[2] * int(m[1]), text).replace("{{HOME}}", self.seen_home)

    def write(self, relative, text):
        os.makedirs(os.path.dirname(self.path(relative)), exist_ok=True)
        with open(self.path(relative), "wb") as f:
            f.write(self.substitute(text).encode("utf-8", "surrogateescape"))

    def read(self, relative):
        text = read(self.path(relative))
        return None if text is None else text.replace("\r\n", "\n")

    def install_tool(self, tool):
        target = self.path("InstallORV", "vinconfg.exe" if self.wine else "vinconfg")
        os.makedirs(os.path.dirname(target), exist_ok=True)
        shutil.copyfile(tool, target)
        os.chmod(target, 0o755)

    def use_registry(self, source):
        """The host's registry: the home's registry file, or imported by Wine."""
        if not self.wine:
            return shutil.copyfile(source, self.path("registry.reg"))
        # Wine's reg now and then fails an import that works when repeated.
        if all(quiet("wine", "reg", "import", "Z:" + source.replace("/", "\\")) for _ in range(3)):
            raise RuntimeError("reg import failed for " + source)
        return None

    def command(self, *args):
        return (["wine"] if self.wine else []) + [self.program, *args]

    def run(self, *args, stdin="", prefix=(), **env):
        """(status, stdout, stderr) of a run, `env` added to the home's."""
        if isinstance(stdin, str):
            stdin = stdin.encode("utf-8", "surrogateescape")
        done = subprocess.run([*prefix, *self.command(*args)], input=stdin, capture_output=True,
                              cwd=self.home, env=dict(self.env, **env), timeout=300)
        return done.returncode, decode(done.stdout), decode(done.stderr)

    def stream(self, instance, login="sa", password="p", *lines):
        return "".join(line + "\n" for line in (
            "INSTANCE=" + instance, "[DBSETTINGS]", "db_login=" + login, "db_password=" + password,
            "db_home=" + self.sql, "db_errorlog=%s\\Log\\ERRORLOG" % self.sql, *lines))

    def put(self, instance, login="sa", password="p", **env):
        stream = self.stream(instance, login, password)
        return self.run("-p", instance + ":h:X", stdin=stream, **env)

    def pattern(self, text):
        out = []
        for part in PLACEHOLDER.split(text):
            repeat = REPEAT.fullmatch(part)
            out.append("(?:%s){%s}" % (re.escape(repeat[2]), repeat[1]) if repeat else
                       {"{{LINE}}": r"\d+", "{{TID}}": r"\d+", "{{ANY}}": r"[^\n]*",
                        "{{HOME}}": re.escape(self.seen_home)}.get(part, re.escape(part)))
        return re.compile("".join(out), re.S)

    def differences(self, result, status, stdout="", stderr=""):
        """How (status, stdout, stderr) differs; None takes any output."""
        problems = [] if result[0] == status else [
            "status %s, expected %d; stderr:\n%s" % (result[0], status, result[2])]
        for label, want, got in (("stdout", stdout, result[1]), ("stderr", stderr, result[2])):
            if want is not None and not self.pattern(want).fullmatch(got):
                problems.append("%s differs:\n--- expected\n%s\n--- actual\n%s"
                                % (label, want, got))
        return problems

    def expect(self, name, result, status, stdout="", stderr=""):
        return check(name, self.differences(result, status, stdout, stderr))

    def mismatches(self, files):
        """How the home's files differ from `files` ({relative path: text})."""
        got = {relative: self.read(relative) for relative in files}
        return ["file %s: %s" % (relative, got[relative]) for relative, want in files.items()
                if got[relative] is None or not self.pattern(want).fullmatch(got[relative])]

    def listed(self):
        """The instances the include file names, in its order, repeats kept."""
        return re.findall(r"VSQMMA_(.*?)\.ini$", self.read("ORVAGT6_x64/vsqinc.ini") or "", re.M)

    def whole(self, instance, whole=True):
        """A problem unless the instance is listed once with both its files
        (or, if not `whole`, wholly gone)."""
        count, files = self.listed().count(instance), [
            n for n in ("VSQMMA_%s.ini" % instance, "MSMSQL_%s.bat" % instance)
            if os.path.exists(self.etc(n))]
        if (count, len(files)) != ((1, 2) if whole else (0, 0)):
            return "%s: listed %d times, files %s" % (instance, count, files)
        return None
