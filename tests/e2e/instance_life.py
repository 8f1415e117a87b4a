#!/usr/bin/env python3
"""The life of agent instances on a home of the sample host of the
demonstration (scripts/sample-host.reg), with the companion tool registering
them, so that every get reads back what the put before it registered: put,
get, put of the get's own stream changed, get; a second instance; remove, get;
a registry key deleted by hand, get, put (same service number), get, remove;
remove, put, get and remove of the default instance.

Usage: instance_life.py --program PATH --tool PATH [--wine] [--keep]
"""
import os
import re
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
import sandbox_home as sh  # noqa: E402

SQL = "{{HOME}}sql\\MSSQL10.INST1\\MSSQL"
PUT = dict(db_lldbconn="1", db_extparms="-E", db_include="payroll", db_tbld_daily="1",
           db_tbld_weekly="2", db_tbld_monthly="3", db_tbld_coll_stime_hour="4",
           db_tbld_coll_stime_minute="5")
NOT_FOUND = "Error line({{LINE}}): Could not find configuration for server: %s\n"


GET = dict(db_login="sa", db_password="{AES256:keyfile:a}{{ANY}}", db_ver="10.0.1600.22",
           db_home=SQL, db_errorlog=SQL + "\\Log\\ERRORLOG", db_winauth="0", db_lldbconn="0",
           db_extparms="", db_include="", db_tbld_daily="0", db_tbld_weekly="0",
           db_tbld_monthly="0", db_tbld_coll_stime_hour="0", db_tbld_coll_stime_minute="0",
           db_tns="")


def got(instance, **changed):
    """A get's stream for a SQL Server instance."""
    entries = {**GET, **changed}
    return "".join(line + "\n" for line in ["INSTANCE=" + instance, "[DBSETTINGS]", *(
        "%s=%s" % entry for entry in entries.items()), "db_extparms=" + entries["db_extparms"]])


def registered(home, instance):
    """The Environment values the registry holds for an instance, as the
    utility's registry layer reads them (regdump, beside the program), or None."""
    key = "Software\\Marlox\\VSQ\\610\\%s\\Environment" % instance
    regdump = os.path.join(os.path.dirname(home.program), "regdump" + (".exe" * home.wine))
    done = subprocess.run(["wine"] * home.wine + [regdump, key], capture_output=True, env=home.env)
    values = re.findall(r"^  (\S+) \(REG_SZ\) = (.*)$", sh.decode(done.stdout), re.M)
    return dict(values) if done.returncode == 0 else None


def life(opts):
    with sh.sandbox(opts) as home:
        with open(os.path.join(HERE, "..", "..", "scripts", "sample-host.reg")) as f:
            sample = f.read().replace("@SANDBOX@\\\\", home.seen_home.replace("\\", "\\\\"))
        home.write("host.reg", sample)
        home.use_registry(home.path("host.reg"))
        etc = home.seen_home + "ORVAGT6_x64"
        msn1, msn2 = "INST1:LIFEHOST:MSS", "INST2:LIFEHOST:MSS"

        def step(name, args, status=0, stdin="", stdout="", stderr=""):
            result = home.run(*args, stdin=stdin)
            home.expect(name, result, status, stdout, stderr)
            return result[1]

        def numbers(*instances):
            return [re.findall(r"^COLL_SERVICENUMBER=(.*)$", home.read(
                "ORVAGT6_x64/VSQMMA_%s.ini" % name) or "", re.M) for name in instances]

        step("put INST1", ["-p", msn1], stdin=home.stream(
            "INST1", "sa", "secret", *("%s=%s" % entry for entry in PUT.items())))
        values = registered(home, "INST1") or {}
        # Wine sets COMPUTERNAME itself: the host name is compared with what the
        # utility took.
        want = dict(COLL_SERVERID="INST1", COLL_SERVICENUMBER="0", COLL_CTL_HOME=etc,
                    MTIRA_HIST_DIR=etc + "\\logs\\History\\VSQ\\INST1", KDC_FAMILIES="@Protocol@",
                    COLL_TRACE="ERROR", COLL_HOSTNAME=values.get("COLL_CLUSTERSERVER") or "?")
        sh.check("the tool registered INST1 with its placeholders resolved",
                 ["%s=%r" % (k, values.get(k)) for k in want if values.get(k) != want[k]])
        first = step("get gives back every property", ["-g", msn1], stdout=got("INST1", **PUT))
        # The get's own stream, with two settings changed, is a valid put; a
        # number with a letter after it is no number, and stored as 0.
        step("put INST1 again with the get's stream changed", ["-p", msn1], stdin=first.replace(
            "db_tbld_daily=1", "db_tbld_daily=1st").replace("payroll", "ledger"))
        password = re.search(r"db_password=(.*)\n", first)
        step("get shows the changes and the same password", ["-g", msn1], stdout=got(
            "INST1", **dict(PUT, db_include="ledger", db_tbld_daily="0",
                            db_password=password[1] if password else "?")))
        # The version is detected for the stream's own instance name, which
        # names no server here: the second instance has none.
        step("put a second instance", ["-p", msn2], stdin=home.stream(
            "OTHER", "sa", "secret", "db_winauth=1"))
        state = (home.listed(), numbers("INST1", "INST2"))
        sh.check("each instance is listed, with a service number of its own",
                 [state != (["INST1", "INST2"], [["0"], ["1"]]) and "listed, numbers: %s" % state])
        step("remove INST1", ["-r", msn1])
        sh.check("INST1's files and registration are gone", [
            home.whole("INST1", False), registered(home, "INST1") and "still registered"])
        step("get after the remove", ["-g", msn1], 2, stderr=NOT_FOUND % "INST1")
        step("the second instance is untouched", ["-g", msn2],
             stdout=got("INST2", db_ver="", db_winauth="1"))

        # Its include line still names its file: the scan names the record
        # after that file, so the instance can still be put and removed; a get
        # has no settings to give until a put registers it again.
        if home.wine:
            sh.quiet("wine", "reg", "delete", "HKLM\\Software\\Marlox\\VSQ\\610\\INST2", "/f")
        else:  # What an administrator's .reg file would say.
            with open(home.path("registry.reg"), "a") as f:
                f.write("\r\n[-HKEY_LOCAL_MACHINE\\Software\\Marlox\\VSQ\\610\\INST2]\r\n")
        step("get of an instance whose key was deleted by hand", ["-g", msn2], 2,
             stderr=NOT_FOUND % "INST2")
        step("put of it registers it again", ["-p", msn2], stdin=home.stream("INST2"))
        sh.check("it keeps its service number", [numbers("INST2") != [["1"]] and numbers("INST2")])
        step("and get finds it", ["-g", msn2], stdout=got("INST2", db_ver=""))
        step("remove INST2", ["-r", msn2])
        sh.check("no instance is left", [home.listed() and "listed %s" % home.listed(),
                                          registered(home, "INST2") and "INST2 registered"])
        # The default instance is registered under an empty name.
        step("remove of the default instance that was never configured", ["-r", "LIFEHOST:MSS"], 2,
             stderr=NOT_FOUND % "")
        step("put of the default instance", ["-p", "LIFEHOST:MSS"], stdin=home.stream(""))
        step("get of the default instance", ["-g", "LIFEHOST:MSS"], stdout=got("", db_ver=""))
        step("remove of the default instance", ["-r", "LIFEHOST:MSS"])


if __name__ == "__main__":
    sys.exit(sh.main([("life", life)]))
