#!/usr/bin/env python3
"""Runs the end-to-end scenarios against the real program.

Each folder under scenarios/ is one scenario:

  args             the arguments, one a line (an empty line is an empty argument)
  env              optional NAME=VALUE lines added to the environment, and -NAME
                   lines taking NAME out of it (PORTNUMBER=1920 is there by
                   default, as the agent framework sets it)
  stdin            optional standard input
  registry.reg     optional registry of the host (a registry file natively; imported
                   with "reg import" under Wine and removed afterwards)
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


def read(path, default=None):
    if not os.path.exists(path):
        return default
    with open(path, "rb") as f:
        return f.read().decode("utf-8", "surrogateescape")


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

    def __init__(self, scenario_dir, sandbox, env):
        self.created = []
        self.wine = sandbox.wine
        source = os.path.join(scenario_dir, "registry.reg")
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
    scenario_dir = os.path.join(SCENARIOS, name)
    root = tempfile.mkdtemp(prefix="sqxa_e2e_")
    sandbox = Sandbox(root, wine)
    problems = []
    registry = None
    try:
        before = os.path.join(scenario_dir, "before")
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
        for line in (read(os.path.join(scenario_dir, "env"), "") or "").splitlines():
            if line.startswith("-"):
                env.pop(line[1:], None)
            elif "=" in line:
                key, value = line.split("=", 1)
                env[key] = sandbox.substitute(value)
        registry = Registry(scenario_dir, sandbox, env)
        tool_status = read(os.path.join(scenario_dir, "tool"))
        if tool_status is not None:
            os.makedirs(os.path.join(sandbox.home, "InstallORV"), exist_ok=True)
            target = os.path.join(sandbox.home, "InstallORV",
                                  "vinconfg.exe" if wine else "vinconfg")
            shutil.copyfile(tool, target)
            os.chmod(target, 0o755)
            env["SQXA_STAND_IN_EXIT"] = tool_status.strip() or "0"

        args = read(os.path.join(scenario_dir, "args"), "")
        argv = [sandbox.substitute(a) for a in args.split("\n")]
        if argv and argv[-1] == "":
            argv.pop()  # the file's final newline
        stdin = sandbox.substitute(read(os.path.join(scenario_dir, "stdin"), ""))
        command = (["wine", program] if wine else [program]) + argv
        result = subprocess.run(command, input=stdin.encode("utf-8", "surrogateescape"),
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                cwd=sandbox.home, env=env, timeout=120)

        expected = os.path.join(scenario_dir, "expected")
        status = int(read(os.path.join(expected, "status"), "0").strip())
        if result.returncode != status:
            problems.append("status %d, expected %d" % (result.returncode, status))
        for stream, data in (("stdout", result.stdout), ("stderr", result.stderr)):
            actual = normalise(data)
            want = read(os.path.join(expected, stream), "")
            if not expected_pattern(want, sandbox).fullmatch(actual):
                problems.append("%s differs:\n--- expected\n%s--- actual\n%s" % (stream, want, actual))
        after = os.path.join(expected, "after")
        if os.path.isdir(after):
            compare_tree(after, sandbox.home, sandbox, problems)
        for line in (read(os.path.join(expected, "absent"), "") or "").splitlines():
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
    names = sorted(n for n in os.listdir(SCENARIOS) if os.path.isdir(os.path.join(SCENARIOS, n)))
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
