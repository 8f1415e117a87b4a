#!/usr/bin/env python3
"""Runs the end-to-end scenarios against the real program.

Each folder under scenarios/ is one scenario, and so is each row of TABLE
below: a row gives args, status, stdout and stderr (and may give stdin, env,
tool and absent; None for "no such file"), and takes every other file from
the folder it is "like", if any. A folder holds:

  args             the arguments, one a line (an empty line is an empty argument)
  env              optional NAME=VALUE lines added to the environment, and -NAME
                   lines taking NAME out of it (PORTNUMBER=1920 is there by
                   default, as the agent framework sets it)
  stdin            optional standard input
  registry.reg     optional registry of the host (a registry file natively; imported
                   with "reg import" under Wine and removed afterwards)
  bare             optional: the home starts empty, not with DEFAULT_HOME
  before/          optional files copied into the sandbox product home first
                   ({{HOME}} in them is replaced)
  tool             optional: the stand-in instance-creation tool is installed as
                   InstallORV\vinconfg, and this file's first line is its exit
                   status; it logs its calls to InstallORV/vinconfg.log
  expected/status  the exit status
  expected/stdout, expected/stderr
                   the expected output (missing: must be empty)
  expected/after/  optional files that must exist in the home afterwards, with
                   these contents
  expected/unchanged
                   optional: every file of before/ is still there as it was
  expected/absent  optional paths (relative to the home) that must not exist;
                   a path may hold glob wildcards (ORVAGT6_x64/*.tmp)

Expected texts may hold {{LINE}} (a source line number), {{TID}} (a thread
identifier), {{HOME}} (the product home as the program sees it, with its final
separator) and {{ANY}} (any text on one line). Line ends are compared as LF.
Every placeholder in env and stdin is replaced too. {{REPEAT:<count>:<text>}}
stands for <text> written <count> times, in every file above (a megabyte of
input or output without a megabyte file).

Usage: run_scenarios.py --program PATH --tool PATH [--wine] [--only NAME] [--keep]
Prints one line per scenario and a closing "N passed, N failed".
"""
import argparse
import glob
import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
SCENARIOS = os.path.join(HERE, "scenarios")

USAGE = """Usage (where MSN is the Managed System Name):
  -p <MSN>  #Sets the config for the given instance. <MSN> can be left blank
            #for a single instance agent, or when creating a new agent instance
  -g <MSN>  #Gets the config for the given instance. <MSN> can be empty for
            #single instance or default instance.
  -r <MSN>  #Removes the configuration for the given agent instance
  -i <MSN>  #Returns the agent's instance name from the given MSN. This can be
            #used to start/stop agent instances. Agents that do not support
            #multiple instances return nothing.
"""
# What every home holds unless the scenario has a "bare" file: SQL Server
# instance INST1 and the agent's management-agent settings.
DEFAULT_HOME = {
    "sql/MSSQL10.INST1/MSSQL/Binn/sqlservr.exe": "x",
    "sql/MSSQL10.INST1/MSSQL/Log/ERRORLOG": "x",
    "ORVAGT6_x64/vsqmma.ini": "[Local Settings]\nCOLL_TRACE=ERROR\nMTIRA_HIST_DIR=somewhere\n\n"
                              "[Other]\nX=1\n",
}
NO_MSN = "Error line({{LINE}}): Invalid format for MSN: (null).\n"
BAD_STREAM = " Error line({{LINE}}): Error parsing config stream\n"
STREAM = ("INSTANCE=%s\n[DBSETTINGS]\ndb_login=sa\ndb_password=secret\n"
          "db_errorlog={{HOME}}sql\\MSSQL10.INST1\\MSSQL\\Log\\ERRORLOG\n"
          "db_home={{HOME}}sql\\MSSQL10.INST1\\MSSQL\n")


def bad_name(name):
    return "Error line({{LINE}}): Invalid agent instance name: %s\n" % name


def bad_msn(msn):
    return ("Error line({{LINE}}): Invalid MSN format: %s\n"
            "Error line({{LINE}}): Invalid format for MSN: %s.\n" % (msn, msn))


def not_found(name):
    return "Error line({{LINE}}): Could not find configuration for server: %s\n" % name


def lines(*items):
    return "".join(item + "\n" for item in items)


NO_LIST = "Error line({{LINE}}): ERROR: NULL DbConfigList returned\n"
NOTHING_OF_INST1 = lines("ORVAGT6_x64/VSQMMA_INST1.ini", "ORVAGT6_x64/MSMSQL_INST1.bat",
                         "InstallORV/vinconfg.log", "ORVAGT6_x64/*.tmp", "ORVAGT6_x64/sq_xa.lock",
                         "ORVAGT6_x64/vdbtset.ini")


def row(args, status=0, stdout="", stderr="", **more):
    return dict(args=args, status=status, stdout=stdout, stderr=stderr, **more)


LONG_NAME = "n" * 20000 + "%s%n"
# Runs that need no files, or those of the scenario they are "like".
TABLE = {
    "cmdline_no_arguments": row([], 1, stderr=USAGE),
    "cmdline_four_arguments": row(["-g", "a:b:c", "x", "y"], 1, stderr=USAGE),
    "cmdline_three_letter_switch": row(["-gx", "inst1:host:X"], 1, stderr=USAGE),
    "cmdline_unknown_switch": row(["-x"], stderr="Unknown switch: -x.\n"),
    "cmdline_first_character_ignored": row(["xi", "inst1:host:X"], stdout="inst1\n"),
    "cmdline_get_empty_msn": row(["-g", ""]),
    "cmdline_get_without_msn": row(["-g"]),
    "instance_named": row(["-i", "inst1:host:X"], stdout="inst1\n"),
    "instance_default_one_colon": row(["-i", "host:X"], stdout="\n"),
    "instance_default_leading_colon": row(["-i", ":host:X"], stdout="\n"),
    "instance_many_colons": row(["-i", "a:b:c:d"], stdout="a\n"),
    "instance_percent_signs": row(["-i", "a%n%s:host:X"], stdout="a%n%s\n"),
    "instance_long_name": row(["-i", LONG_NAME + ":host:X"], stdout=LONG_NAME + "\n"),
    "instance_absent": row(["-i"], 2, stderr=NO_MSN),
    "instance_empty_argument": row(["-i", ""], 2, stderr=NO_MSN),
    "instance_no_colon": row(["-i", "host"], 2, stderr=bad_msn("host")),
    "instance_trailing_colon": row(["-i", "host:"], 2, stderr=bad_msn("host:")),
    "remove_without_msn": row(["-r"], 2, stderr=NO_MSN),
    "put_stream_without_instance": row(["-p"], 4, stderr=BAD_STREAM,
                                       stdin="# nothing but a comment\n"),
    "put_stream_with_zero_byte": row(["-p"], 4, stderr=BAD_STREAM,
                                     stdin="INSTANCE=a\n[DBSETTINGS]\ndb_login=s\0a\n"),
    "get_unusable_instance_name": row(["-g", "a*b:host:X"], 2, stderr=bad_name("a*b")),
    "put_name_leading_blank": row(["-p", " N1:host:X"], 2, stderr=bad_name(" N1"),
                                  like="put_name_dot"),
    "put_name_dot_dot": row(["-p"], 2, stderr=bad_name(".."), stdin=STREAM % "..",
                            like="put_name_dot"),
    "put_name_trailing_blank": row(["-p"], 2, stderr=bad_name("N1 "), stdin=STREAM % "N1 ",
                                   like="put_name_dot"),
    "remove_name_trailing_blank": row(["-r", "N1 :host:X"], 2, stderr=bad_name("N1 "),
                                      like="remove_name_leading_blank"),
    "get_not_configured": row(["-g", "OTHER:host:X"], 2, stderr=not_found("OTHER"),
                              like="get_default_instance"),
    "get_without_home": row(["-g", "INST1:host:X"], 2, stderr=not_found("INST1"),
                            env="MARLOX_HOME=\n", absent="ORVAGT6_x64/logs/dbcfg_INST1.log\n",
                            like="get_default_instance"),
    "put_section_missing": row(
        ["-p", "inst1:host:X"], 6, like="put_malformed_msn",
        stderr="Error line({{LINE}}): Could not find config section to persist: DBSETTINGS\n",
        stdin="INSTANCE=other\n[OTHER]\ndb_login=sa\n"),
    "put_msn_with_slash": row(["-p", "a/b:host:X"], 2, stderr=bad_name("a/b"),
                              like="put_msn_300_bytes"),
    "put_stream_instance_backslash": row(
        ["-p"], 2, stderr=bad_name("..\\..\\x"), stdin=STREAM % "..\\..\\x",
        like="put_msn_300_bytes",
        absent=lines("InstallORV/vinconfg.log", "ORVAGT6_x64/sq_xa.lock",
                     "ORVAGT6_x64/vdbtset.ini", "ORVAGT6_x64/VSQMMA_a*", "ORVAGT6_x64/MSMSQL_a*",
                     "ORVAGT6_x64/*.tmp", "VSQMMA_*", "MSMSQL_*", "../VSQMMA_*", "../MSMSQL_*")),
    "put_stream_repeated_instance": row(
        ["-p"], 4, stderr=BAD_STREAM, absent=NOTHING_OF_INST1, like="put_msn_300_bytes",
        stdin=STREAM % "INST1" + STREAM.replace("=sa", "=other") % "INST1"),
    "put_without_home": row(["-p", "INST1:host:X"], 101, stderr=NO_LIST, env="MARLOX_HOME=\n",
                            absent=NOTHING_OF_INST1, like="put_msn_300_bytes"),
    "put_stream_over_limit": row(
        ["-p", "INST1:host:X"], 4, tool="0\n", like="put_name_dot",
        stderr="Error line({{LINE}}): Configuration stream too large: more than 1048576 bytes\n"
        + BAD_STREAM,
        stdin=STREAM % "INST1" + "db_extparms={{REPEAT:1048576:x}}\n",
        absent=lines("ORVAGT6_x64/sq_xa.lock", "ORVAGT6_x64/vsqinc.ini", "ORVAGT6_x64/VSQMMA_*",
                     "ORVAGT6_x64/MSMSQL_*", "ORVAGT6_x64/*.tmp", "InstallORV/vinconfg.log")),
    "put_named_after_stream_instance": row(["-p"], 0, like="put_new_instance"),
    "put_tool_floods_output": row(["-p", "INST1:host:X"], 0, stdout="{{REPEAT:1048576:o}}",
                                  stderr="{{REPEAT:1048576:e}}", like="put_new_instance",
                                  env="SQXA_STAND_IN_FLOOD=1048576\n"),
    "put_tool_missing": row(
        ["-p", "INST1:host:X"], 6, tool=None, like="put_tool_fails",
        stderr="Error line({{LINE}}): Error running command: {{HOME}}InstallORV\\vinconfg "
        "-ciVSQ~{{HOME}}ORVAGT6_x64\\VSQMMA_INST1.ini~INST1\n"
        " Error line({{LINE}}): Unabled to run vinconfg to add instance\n"),
    "put_windows_authentication": row(
        ["-p", "INST1:host:X"], 0, tool="0\n", like="put_tool_fails",
        stderr="".join("Error line({{LINE}}): Bypassing requirement for db%s with win auth\n" % w
                       for w in ("_login", "_password", " login", " password")),
        stdin=(STREAM % "INST1").replace("db_login=sa\ndb_password=secret\n", "db_winauth=1\n")),
    "remove_without_home": row(["-r", "INST1:host:X"], 3, stderr=" " + NO_LIST,
                               env="MARLOX_HOME=\n", like="remove_msn_with_backslash"),
}
NAMES = (("dot", "."), ("dot_dot", ".."), ("leading_blank", " N1"), ("trailing_blank", "N1 "))
for suffix, name in NAMES:
    TABLE["get_name_" + suffix] = row(["-g", name + ":host:X"], 2, stderr=bad_name(name))
for suffix, name in NAMES[:2]:
    TABLE["remove_name_" + suffix] = row(["-r", name + ":host:X"], 2, stderr=bad_name(name))


def read(path, default=None):
    if not os.path.exists(path):
        return default
    with open(path, "rb") as f:
        return f.read().decode("utf-8", "surrogateescape")


class Scenario:
    """A folder of scenarios/, or a row of TABLE over the folder it is like."""

    def __init__(self, name):
        self.row = TABLE.get(name, {})
        like = self.row.get("like") if self.row else name
        self.dir = os.path.join(SCENARIOS, like) if like else None

    def path(self, relative):
        return os.path.join(self.dir, relative) if self.dir else ""

    def text(self, relative, default=None):
        key = {"args": "args", "stdin": "stdin", "env": "env", "tool": "tool",
               "expected/status": "status", "expected/stdout": "stdout",
               "expected/stderr": "stderr", "expected/absent": "absent"}.get(relative)
        if key in self.row:
            value = self.row[key]
            if value is None:
                return default
            if key == "args":
                return "".join(a + "\n" for a in value)
            return str(value)
        return read(self.path(relative), default)


def windows_path(path):
    return "Z:" + path.replace("/", "\\")


class Sandbox:
    def __init__(self, root, wine):
        self.wine = wine
        self.home = os.path.join(root, "home") + "/"
        os.makedirs(self.home)
        # The product home as the program sees it.
        self.seen_home = windows_path(self.home) if wine else self.home

    def substitute(self, text):
        text = REPEAT.sub(lambda m: m.group(2) * int(m.group(1)), text)
        return text.replace("{{HOME}}", self.seen_home)


REPEAT = re.compile(r"\{\{REPEAT:(\d+):(.*?)\}\}", re.S)


def expected_pattern(text, sandbox):
    parts = re.split(r"(\{\{(?:LINE|TID|HOME|ANY)\}\}|\{\{REPEAT:\d+:.*?\}\})", text, flags=re.S)
    out = []
    for part in parts:
        repeat = REPEAT.fullmatch(part)
        if repeat:
            out.append("(?:%s){%s}" % (re.escape(repeat.group(2)), repeat.group(1)))
        elif part in ("{{LINE}}", "{{TID}}"):
            out.append(r"\d+")
        elif part == "{{HOME}}":
            out.append(re.escape(sandbox.seen_home))
        elif part == "{{ANY}}":
            out.append(r"[^\n]*")
        else:
            out.append(re.escape(part))
    return re.compile("".join(out), re.S)


def normalise(data):
    return data.decode("utf-8", "surrogateescape").replace("\r\n", "\n")


def reg_keys(reg_text):
    keys = []
    for line in reg_text.splitlines():
        line = line.strip().lstrip("\ufeff")
        if line.startswith("[") and line.endswith("]") and not line.startswith("[-"):
            keys.append(line[1:-1])
    return keys


def wine_reg(*args):
    return subprocess.run(["wine", "reg", *args], stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL).returncode


class Registry:
    """The host registry of a scenario, put in place and taken away again."""

    def __init__(self, source, sandbox, env):
        self.created = []
        self.wine = sandbox.wine
        if sandbox.wine:
            if os.path.exists(source):
                # Afterwards the topmost keys that Wine did not have before are
                # removed, with everything below them.
                created = set()
                for key in reg_keys(read(source)):
                    parts = key.split("\\")
                    for depth in range(2, len(parts) + 1):
                        prefix = "\\".join(parts[:depth])
                        if any(prefix == c or prefix.startswith(c + "\\") for c in created):
                            break
                        if wine_reg("query", prefix) != 0:
                            created.add(prefix)
                            break
                self.created = sorted(created)
                # Wine's reg tool now and then fails an import that succeeds
                # when repeated.
                if all(wine_reg("import", windows_path(source)) != 0 for _ in range(3)):
                    raise RuntimeError("reg import failed for " + source)
        else:
            target = os.path.join(sandbox.home, "registry.reg")
            if os.path.exists(source):
                shutil.copyfile(source, target)
            env["MARLOX_REGISTRY"] = target

    def remove(self):
        for key in sorted(self.created, key=len, reverse=True):
            wine_reg("delete", key, "/f")
        if self.wine:
            # What the instance-creation tool registered; a test prefix has no
            # product keys of its own.
            wine_reg("delete", "HKLM\\Software\\Marlox", "/f")


def compare_tree(expected_dir, home, sandbox, problems):
    for root, _, files in os.walk(expected_dir):
        for name in files:
            expected_file = os.path.join(root, name)
            relative = os.path.relpath(expected_file, expected_dir)
            actual_file = os.path.join(home, relative)
            if not os.path.exists(actual_file):
                problems.append("missing file " + relative)
                continue
            with open(actual_file, "rb") as f:
                actual = normalise(f.read())
            if not expected_pattern(read(expected_file), sandbox).fullmatch(actual):
                problems.append("file %s differs:\n%s" % (relative, actual))


def run_scenario(name, program, tool, wine, keep):
    scenario = Scenario(name)
    root = tempfile.mkdtemp(prefix="sqxa_e2e_")
    sandbox = Sandbox(root, wine)
    problems = []
    registry = None
    try:
        if scenario.text("bare") is None:
            for relative, text in DEFAULT_HOME.items():
                os.makedirs(os.path.dirname(os.path.join(sandbox.home, relative)), exist_ok=True)
                with open(os.path.join(sandbox.home, relative), "w") as f:
                    f.write(text)
        before = scenario.path("before")
        if os.path.isdir(before):
            shutil.copytree(before, sandbox.home, dirs_exist_ok=True)
            for folder, _, files in os.walk(sandbox.home):
                for name in files:
                    path = os.path.join(folder, name)
                    text = read(path)
                    if "{{" in text:
                        with open(path, "wb") as f:
                            f.write(sandbox.substitute(text).encode("utf-8", "surrogateescape"))

        env = dict(os.environ)
        for key in ("MARLOX_HOME", "MARLOX_REGISTRY", "MARLOX_KEYFILE", "SQ_XA_TRACE",
                    "SQ_XA_TRACE_FILE", "ORVAGT6_DIR", "PORTNUMBER", "COLL_SERVERID",
                    "COLL_SERVICENUMBER", "COLL_WRAPLINES", "COLL_NUMOUTBAK"):
            env.pop(key, None)
        env["MARLOX_HOME"] = sandbox.seen_home
        env["PORTNUMBER"] = "1920"
        for line in (scenario.text("env", "") or "").splitlines():
            if line.startswith("-"):
                env.pop(line[1:], None)
            elif "=" in line:
                key, value = line.split("=", 1)
                env[key] = sandbox.substitute(value)
        registry = Registry(scenario.path("registry.reg"), sandbox, env)
        tool_status = scenario.text("tool")
        if tool_status is not None:
            os.makedirs(os.path.join(sandbox.home, "InstallORV"), exist_ok=True)
            target = os.path.join(sandbox.home, "InstallORV",
                                  "vinconfg.exe" if wine else "vinconfg")
            shutil.copyfile(tool, target)
            os.chmod(target, 0o755)
            env["SQXA_STAND_IN_EXIT"] = tool_status.strip() or "0"

        args = scenario.text("args", "")
        argv = [sandbox.substitute(a) for a in args.split("\n")]
        if argv and argv[-1] == "":
            argv.pop()  # the file's final newline
        stdin = sandbox.substitute(scenario.text("stdin", ""))
        command = (["wine", program] if wine else [program]) + argv
        result = subprocess.run(command, input=stdin.encode("utf-8", "surrogateescape"),
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                cwd=sandbox.home, env=env, timeout=120)

        status = int(scenario.text("expected/status", "0").strip())
        if result.returncode != status:
            problems.append("status %d, expected %d" % (result.returncode, status))
        for stream, data in (("stdout", result.stdout), ("stderr", result.stderr)):
            actual = normalise(data)
            want = scenario.text("expected/" + stream, "")
            if not expected_pattern(want, sandbox).fullmatch(actual):
                problems.append("%s differs:\n--- expected\n%s--- actual\n%s" % (stream, want, actual))
        after = scenario.path("expected/after")
        if os.path.isdir(after):
            compare_tree(after, sandbox.home, sandbox, problems)
        if scenario.text("expected/unchanged") is not None and os.path.isdir(before):
            compare_tree(before, sandbox.home, sandbox, problems)
        for line in (scenario.text("expected/absent", "") or "").splitlines():
            if line.strip() and glob.glob(os.path.join(glob.escape(sandbox.home), line.strip())):
                problems.append("file %s should not exist" % line.strip())
    except (RuntimeError, subprocess.TimeoutExpired, OSError) as error:
        problems.append(str(error))
    finally:
        if registry is not None:
            registry.remove()
        if not keep:
            shutil.rmtree(root, ignore_errors=True)
    return problems


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    parser.add_argument("--tool", required=True)
    parser.add_argument("--wine", action="store_true")
    parser.add_argument("--only")
    parser.add_argument("--keep", action="store_true")
    options = parser.parse_args()

    if options.wine:
        # The first program of a Wine session starts the prefix's background
        # services, which would inherit (and hold open) a scenario's pipes.
        subprocess.run(["wine", "cmd", "/c", "exit"], stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    names = sorted(set(TABLE) | {n for n in os.listdir(SCENARIOS)
                                 if os.path.isdir(os.path.join(SCENARIOS, n))})
    if options.only:
        names = [n for n in names if re.search(options.only, n)]
    passed = failed = 0
    for name in names:
        problems = run_scenario(name, os.path.abspath(options.program), os.path.abspath(options.tool),
                                options.wine, options.keep)
        if problems:
            failed += 1
            print("FAIL", name)
            for problem in problems:
                print("    " + problem.replace("\n", "\n    "))
        else:
            passed += 1
            print("ok  ", name)
    print("%d passed, %d failed" % (passed, failed))
    return 1 if failed or not names else 0


if __name__ == "__main__":
    sys.exit(main())
