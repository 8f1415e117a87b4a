#!/usr/bin/env python3
"""The whole life of agent instances on a sandbox product home, with the real
companion instance-creation tool (vinconfg) registering them, so that every
get reads back what the put before it registered:

  put INST1 -> get -> put INST1 (changed settings, fed the get's own stream)
  -> get -> put INST2 -> remove INST1 -> get INST1 (2) -> get INST2
  -> INST2's registry key deleted by hand -> get INST2 (2)
  -> put INST2 (registers it again, same service number) -> get INST2 -> remove INST2
  -> remove of the default instance that was never configured

The host is the sample one of the demonstration (scripts/sample-host.reg: SQL
Server 2008 with MSSQLSERVER and INST1). Every step checks the exit status,
standard output and standard error; some check files and registry values too.

Usage: instance_life.py --program PATH --tool PATH [--wine] [--keep]
Prints one line per step and a closing "N passed, N failed".
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
SAMPLE_HOST = os.path.join(HERE, "..", "..", "scripts", "sample-host.reg")
sys.path.insert(0, HERE)
import sandbox_home  # noqa: E402
from run_scenarios import Registry, Sandbox, normalise, windows_path  # noqa: E402


class Life(sandbox_home.Checks):
    def __init__(self, options, root):
        super().__init__()
        self.options = options
        self.wine = options.wine
        self.sandbox = Sandbox(root, self.wine)
        self.home = self.sandbox.home
        sql_root = os.path.join(root, "sql")
        for instance in ("MSSQL10.MSSQLSERVER", "MSSQL10.INST1"):
            for directory in ("Binn", "Log"):
                os.makedirs(os.path.join(sql_root, instance, "MSSQL", directory))
            for name in ("Binn/sqlservr.exe", "Log/ERRORLOG"):
                with open(os.path.join(sql_root, instance, "MSSQL", name), "w") as f:
                    f.write("x")
        os.makedirs(os.path.join(self.home, "ORVAGT6_x64", "logs"))
        with open(os.path.join(self.home, "ORVAGT6_x64", "vsqmma.ini"), "w") as f:
            f.write("[Local Settings]\nCOLL_TRACE=ERROR\nKDC_DEBUG=N\n")
        os.makedirs(os.path.join(self.home, "InstallORV"))
        tool = os.path.join(self.home, "InstallORV", "vinconfg.exe" if self.wine else "vinconfg")
        shutil.copyfile(options.tool, tool)
        os.chmod(tool, 0o755)

        # The SQL Server paths as the program sees them (backslashes both ways).
        seen_root = windows_path(sql_root) if self.wine else sql_root.replace("/", "\\")
        self.sql = seen_root + "\\MSSQL10.INST1\\MSSQL"
        host_dir = os.path.join(root, "host")
        os.makedirs(host_dir)
        with open(SAMPLE_HOST) as f:
            text = f.read().replace("@SANDBOX@\\\\sql", seen_root.replace("\\", "\\\\"))
        with open(os.path.join(host_dir, "registry.reg"), "w") as f:
            f.write(text)
        self.env = dict(os.environ)
        for key in ("MARLOX_REGISTRY", "MARLOX_KEYFILE", "SQ_XA_TRACE", "SQ_XA_TRACE_FILE",
                    "ORVAGT6_DIR", "COLL_SERVERID", "COLL_SERVICENUMBER"):
            self.env.pop(key, None)
        self.env.update(MARLOX_HOME=self.sandbox.seen_home, PORTNUMBER="1920",
                        COMPUTERNAME="LIFEHOST")
        self.registry = Registry(os.path.join(host_dir, "registry.reg"), self.sandbox, self.env)

    def run(self, *args, stdin=""):
        command = (["wine", self.options.program] if self.wine else [self.options.program])
        result = subprocess.run(command + list(args), input=stdin.encode(), cwd=self.home,
                                env=self.env, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                timeout=120)
        return result.returncode, normalise(result.stdout), normalise(result.stderr)

    def step(self, name, args, status, stdout="", stderr="", stdin=""):
        """Runs sq_xa; stdout and stderr are regular expressions matched whole."""
        actual = self.run(*args, stdin=stdin)
        problems = []
        if actual[0] != status:
            problems.append("status %d, expected %d" % (actual[0], status))
        for label, want, got in (("stdout", stdout, actual[1]), ("stderr", stderr, actual[2])):
            if not re.fullmatch(want, got, re.S):
                problems.append("%s differs:\n--- expected (pattern)\n%s\n--- actual\n%s"
                                % (label, want, got))
        self.check(name, problems)
        return actual[1]

    def holds(self, name, condition, detail):
        self.check(name, [] if condition else [detail])

    def read(self, relative):
        path = os.path.join(self.home, relative)
        if not os.path.exists(path):
            return None
        with open(path, "rb") as f:
            return normalise(f.read())

    def registry_values(self, instance):
        """The Environment values of an instance, as the registry holds them."""
        key = "Software\\Marlox\\VSQ\\610\\%s\\Environment" % instance
        if self.wine:
            result = subprocess.run(["wine", "reg", "query", "HKLM\\" + key],
                                    stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
            values = {}
            for line in normalise(result.stdout).splitlines():
                match = re.match(r"\s+(\S+)\s+REG_SZ\s*(.*)$", line)
                if match:
                    values[match.group(1)] = match.group(2)
            return values if result.returncode == 0 else None
        text = self.read("registry.reg") or ""
        section = re.search(r"^\[HKEY_LOCAL_MACHINE\\%s\]\n(.*?)(?:\n\n|\Z)" % re.escape(key),
                            text, re.M | re.S | re.I)
        if section is None:
            return None
        return {m.group(1): m.group(2).replace("\\\\", "\\")
                for m in re.finditer(r'^"([^"]*)"="(.*)"$', section.group(1), re.M)}

    def delete_key_by_hand(self, instance):
        key = "Software\\Marlox\\VSQ\\610\\" + instance
        if self.wine:
            subprocess.run(["wine", "reg", "delete", "HKLM\\" + key, "/f"],
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        else:  # what an administrator's .reg file would say
            with open(os.path.join(self.home, "registry.reg"), "a") as f:
                f.write("\r\n[-HKEY_LOCAL_MACHINE\\%s]\r\n" % key)


def stream(instance, sql, *lines):
    return "INSTANCE=%s\n[DBSETTINGS]\n%s\n" % (instance, "\n".join(
        ("db_login=sa", "db_password=secret", "db_home=" + sql,
         "db_errorlog=" + sql + "\\Log\\ERRORLOG") + lines))


def got(instance, sql, **changed):
    """The pattern of a get's stream for a SQL Server instance."""
    entries = [("db_login", "sa"), ("db_password", None), ("db_ver", "10.0.1600.22"),
               ("db_home", sql), ("db_errorlog", sql + "\\Log\\ERRORLOG"),
               ("db_winauth", "0"), ("db_lldbconn", "0"), ("db_extparms", ""),
               ("db_include", ""), ("db_tbld_daily", "0"), ("db_tbld_weekly", "0"),
               ("db_tbld_monthly", "0"), ("db_tbld_coll_stime_hour", "0"),
               ("db_tbld_coll_stime_minute", "0"), ("db_tns", "")]
    entries = [(name, changed.get(name, value)) for name, value in entries]
    entries.append(("db_extparms", changed.get("db_extparms", "")))
    pattern = re.escape("INSTANCE=%s\n[DBSETTINGS]\n" % instance)
    for name, value in entries:
        pattern += re.escape(name + "=") + (
            re.escape("{AES256:keyfile:a}") + r"[A-Za-z0-9+/=]+" if value is None
            else re.escape(value)) + "\n"
    return pattern


def live(life):
    sql = life.sql
    etc = life.sandbox.seen_home + "ORVAGT6_x64"
    msn1, msn2 = "INST1:LIFEHOST:MSS", "INST2:LIFEHOST:MSS"

    life.step("get before any put", ["-g", msn1], 2,
              stderr=r"Error line\(\d+\): Could not find configuration for server: INST1\n")
    life.step("put INST1", ["-p", msn1], 0, stdin=stream(
        "INST1", sql, "db_lldbconn=1", "db_extparms=-E", "db_include=payroll", "db_tbld_daily=1",
        "db_tbld_weekly=2", "db_tbld_monthly=3", "db_tbld_coll_stime_hour=4",
        "db_tbld_coll_stime_minute=5"))
    values = life.registry_values("INST1") or {}
    life.holds("the tool registered INST1 with its placeholders resolved",
               values.get("COLL_SERVERID") == "INST1" and values.get("COLL_SERVICENUMBER") == "0"
               # Wine sets COMPUTERNAME itself: compare with what the utility took.
               and values.get("COLL_HOSTNAME") == values.get("COLL_CLUSTERSERVER") != ""
               and values.get("COLL_CTL_HOME") == etc
               and values.get("MTIRA_HIST_DIR") == etc + "\\logs\\History\\VSQ\\INST1"
               and values.get("KDC_FAMILIES") == "@Protocol@"
               and values.get("COLL_TRACE") == "ERROR",
               "registry values: %r" % values)
    first = life.step("get gives back every property", ["-g", msn1], 0, stdout=got(
        "INST1", sql, db_lldbconn="1", db_extparms="-E", db_include="payroll",
        db_tbld_daily="1", db_tbld_weekly="2", db_tbld_monthly="3",
        db_tbld_coll_stime_hour="4", db_tbld_coll_stime_minute="5"))

    # The get's own stream, with two settings changed, is a valid put; a number
    # with a letter after it is no number, and stored as 0.
    changed = first.replace("db_tbld_daily=1", "db_tbld_daily=1st").replace(
        "db_include=payroll", "db_include=ledger")
    life.step("put INST1 again with the get's stream changed", ["-p", msn1], 0, stdin=changed)
    password = re.search(r"db_password=(.*)\n", first)
    life.step("get shows the changes and the same password", ["-g", msn1], 0, stdout=got(
        "INST1", sql, db_lldbconn="1", db_extparms="-E", db_include="ledger",
        db_tbld_weekly="2", db_tbld_monthly="3", db_tbld_coll_stime_hour="4",
        db_tbld_coll_stime_minute="5", db_password=password.group(1) if password else "?"))

    # The version is detected for the stream's own instance name, which names
    # no server here: the second instance has none.
    life.step("put a second instance", ["-p", msn2], 0,
              stdin=stream("OTHER", sql, "db_winauth=1"))
    include = life.read("ORVAGT6_x64/vsqinc.ini") or ""
    life.holds("the include file lists both instances",
               include.count("Add=") == 2 and "VSQMMA_INST1.ini" in include
               and "VSQMMA_INST2.ini" in include, include)
    ini1 = life.read("ORVAGT6_x64/VSQMMA_INST1.ini") or ""
    ini2 = life.read("ORVAGT6_x64/VSQMMA_INST2.ini") or ""
    life.holds("each instance has a service number of its own",
               "COLL_SERVICENUMBER=0\n" in ini1 and "COLL_SERVICENUMBER=1\n" in ini2,
               "service numbers: %r / %r" % (re.findall(r"COLL_SERVICENUMBER=.*", ini1),
                                             re.findall(r"COLL_SERVICENUMBER=.*", ini2)))

    life.step("remove INST1", ["-r", msn1], 0)
    life.holds("INST1's files and registration are gone",
               life.read("ORVAGT6_x64/VSQMMA_INST1.ini") is None
               and life.read("ORVAGT6_x64/MSMSQL_INST1.bat") is None
               and life.registry_values("INST1") is None
               and "INST1" not in (life.read("ORVAGT6_x64/vsqinc.ini") or ""),
               "left behind after the remove")
    life.step("get after the remove", ["-g", msn1], 2,
              stderr=r"Error line\(\d+\): Could not find configuration for server: INST1\n")
    life.step("the second instance is untouched", ["-g", msn2], 0,
              stdout=got("INST2", sql, db_ver="", db_winauth="1"))

    life.delete_key_by_hand("INST2")
    # Its include line still names its file: the scan names the record after
    # that file, so the instance can still be put and removed; a get has no
    # settings to give until a put registers it again.
    life.step("get of an instance whose key was deleted by hand", ["-g", msn2], 2,
              stderr=r"Error line\(\d+\): Could not find configuration for server: INST2\n")
    life.step("put of an instance whose key was deleted by hand", ["-p", msn2], 0,
              stdin=stream("INST2", sql))
    life.holds("it keeps its service number",
               "COLL_SERVICENUMBER=1\n" in (life.read("ORVAGT6_x64/VSQMMA_INST2.ini") or ""),
               "service number changed")
    life.step("and get finds it", ["-g", msn2], 0, stdout=got("INST2", sql, db_ver=""))
    life.step("remove INST2", ["-r", msn2], 0)
    life.holds("no instance is left", (life.read("ORVAGT6_x64/vsqinc.ini") or "").count("Add=")
               == 0 and life.registry_values("INST2") is None, "instances remain")
    life.step("remove of the default instance that was never configured", ["-r", "LIFEHOST:MSS"],
              2, stderr=r"Error line\(\d+\): Could not find configuration for server: \n")
    # The default instance is registered under an empty name.
    life.step("put of the default instance", ["-p", "LIFEHOST:MSS"], 0, stdin=stream("", sql))
    life.step("get of the default instance", ["-g", "LIFEHOST:MSS"], 0,
              stdout=r"INSTANCE=\n\[DBSETTINGS\]\ndb_login=sa\n.*")
    life.step("remove of the default instance", ["-r", "LIFEHOST:MSS"], 0)


def main():
    options = sandbox_home.parse_options(("--keep", dict(action="store_true")))
    options.program = os.path.abspath(options.program)
    options.tool = os.path.abspath(options.tool)
    root = tempfile.mkdtemp(prefix="sqxa_life_")
    life = None
    try:
        life = Life(options, root)
        live(life)
    finally:
        if life is not None:
            life.registry.remove()
        if not options.keep:
            shutil.rmtree(root, ignore_errors=True)
    return life.finish() if life.passed else 1


if __name__ == "__main__":
    sys.exit(main())
