#!/usr/bin/env python3
"""Runs the end-to-end scenarios, each on a home of its own: every folder
under scenarios/ and every row of TABLE. A folder may hold args (one a line),
env (NAME=VALUE lines, or -NAME taking NAME out), stdin, registry.reg (the
host's), bare (the home starts empty, not with sandbox_home.BASE), before/
(files put in the home), tool (the stand-in tool is installed, with this exit
status; it logs its calls to InstallORV/vinconfg.log) and expected/: status,
stdout and stderr (missing: empty), after/ (files the home must then hold),
unchanged (before/ is still as it was) and absent (paths, which may hold
wildcards, that must not exist). A row gives args, status, stdout and stderr,
may give stdin, env, tool and absent (None: no such file) and takes the rest
from the folder it is "like". {{HOME}} and {{REPEAT:...}} stand in any file.

Usage: run_scenarios.py --program PATH --tool PATH [--stand-in PATH] [--wine]
                        [--only PATTERN] [--keep]
"""
import glob
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sandbox_home as sh  # noqa: E402

SCENARIOS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "scenarios")
FILES = dict(args="args", env="env", stdin="stdin", tool="tool", bare="bare",
             status="expected/status", stdout="expected/stdout", stderr="expected/stderr",
             unchanged="expected/unchanged", absent="expected/absent")
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
E = "Error line({{LINE}}): "
NO_MSN = E + "Invalid format for MSN: (null).\n"
BAD_NAME = E + "Invalid agent instance name: %s\n"
BAD_MSN = E + "Invalid MSN format: %s\n" + E + "Invalid format for MSN: %s.\n"
NOT_FOUND = E + "Could not find configuration for server: %s\n"
BAD_STREAM = " " + E + "Error parsing config stream\n"
NO_LIST = E + "ERROR: NULL DbConfigList returned\n"
STREAM = ("INSTANCE=%s\n[DBSETTINGS]\ndb_login=sa\ndb_password=secret\n"
          "db_errorlog={{HOME}}sql\\MSSQL10.INST1\\MSSQL\\Log\\ERRORLOG\n"
          "db_home={{HOME}}sql\\MSSQL10.INST1\\MSSQL\n")
NOTHING_OF_INST1 = ("ORVAGT6_x64/VSQMMA_INST1.ini ORVAGT6_x64/MSMSQL_INST1.bat ORVAGT6_x64/*.tmp"
                    " ORVAGT6_x64/sq_xa.lock ORVAGT6_x64/vdbtset.ini InstallORV/vinconfg.log")
LONG_NAME = "n" * 20000 + "%s%n"


def row(args, status=0, stdout="", stderr="", **more):
    return dict(args=args, status=str(status), stdout=stdout, stderr=stderr, **more)


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
    "instance_no_colon": row(["-i", "host"], 2, stderr=BAD_MSN % ("host", "host")),
    "instance_trailing_colon": row(["-i", "host:"], 2, stderr=BAD_MSN % ("host:", "host:")),
    "remove_without_msn": row(["-r"], 2, stderr=NO_MSN),
    "put_stream_without_instance": row(["-p"], 4, stderr=BAD_STREAM, stdin="# a comment\n"),
    "put_stream_with_zero_byte": row(["-p"], 4, stderr=BAD_STREAM,
                                     stdin="INSTANCE=a\n[DBSETTINGS]\ndb_login=s\0a\n"),
    "get_unusable_instance_name": row(["-g", "a*b:host:X"], 2, stderr=BAD_NAME % "a*b"),
    "put_name_leading_blank": row(["-p", " N1:host:X"], 2, stderr=BAD_NAME % " N1",
                                  like="put_name_dot"),
    "get_not_configured": row(["-g", "OTHER:host:X"], 2, stderr=NOT_FOUND % "OTHER",
                              like="get_default_instance"),
    "get_without_home": row(["-g", "INST1:host:X"], 2, stderr=NOT_FOUND % "INST1",
                            env="MARLOX_HOME=\n", absent="ORVAGT6_x64/logs/dbcfg_INST1.log",
                            like="get_default_instance"),
    "put_section_missing": row(
        ["-p", "inst1:host:X"], 6, stderr=E + "Could not find config section to persist: "
        "DBSETTINGS\n", stdin="INSTANCE=other\n[OTHER]\ndb_login=sa\n", like="put_malformed_msn"),
    "put_msn_with_slash": row(["-p", "a/b:host:X"], 2, stderr=BAD_NAME % "a/b",
                              like="put_msn_300_bytes"),
    "put_stream_instance_backslash": row(
        ["-p"], 2, stderr=BAD_NAME % "..\\..\\x", stdin=STREAM % "..\\..\\x",
        like="put_msn_300_bytes",
        absent="InstallORV/vinconfg.log ORVAGT6_x64/sq_xa.lock ORVAGT6_x64/vdbtset.ini "
        "ORVAGT6_x64/*.tmp ORVAGT6_x64/VSQMMA_a* ORVAGT6_x64/MSMSQL_a* VSQMMA_* MSMSQL_* "
        "../VSQMMA_* ../MSMSQL_*"),
    "put_stream_repeated_instance": row(
        ["-p"], 4, stderr=BAD_STREAM, absent=NOTHING_OF_INST1, like="put_msn_300_bytes",
        stdin=STREAM % "INST1" + STREAM.replace("=sa", "=other") % "INST1"),
    "put_without_home": row(["-p", "INST1:host:X"], 101, stderr=NO_LIST, env="MARLOX_HOME=\n",
                            absent=NOTHING_OF_INST1, like="put_msn_300_bytes"),
    "put_stream_over_limit": row(
        ["-p", "INST1:host:X"], 4, tool="0", like="put_name_dot",
        stderr=E + "Configuration stream too large: more than 1048576 bytes\n" + BAD_STREAM,
        stdin=STREAM % "INST1" + "db_extparms={{REPEAT:1048576:x}}\n",
        absent="ORVAGT6_x64/sq_xa.lock ORVAGT6_x64/vsqinc.ini ORVAGT6_x64/VSQMMA_* "
        "ORVAGT6_x64/MSMSQL_* ORVAGT6_x64/*.tmp InstallORV/vinconfg.log"),
    "put_named_after_stream_instance": row(["-p"], 0, like="put_new_instance"),
    "put_tool_floods_output": row(["-p", "INST1:host:X"], 0, stdout="{{REPEAT:1048576:o}}",
                                  stderr="{{REPEAT:1048576:e}}", like="put_new_instance",
                                  env="SQXA_STAND_IN_FLOOD=1048576\n"),
    "put_tool_missing": row(
        ["-p", "INST1:host:X"], 6, tool=None, like="put_tool_fails",
        stderr=E + "Error running command: {{HOME}}InstallORV\\vinconfg -ciVSQ~{{HOME}}ORVAGT6_x64"
        "\\VSQMMA_INST1.ini~INST1\n " + E + "Unabled to run vinconfg to add instance\n"),
    "put_windows_authentication": row(
        ["-p", "INST1:host:X"], 0, tool="0", like="put_tool_fails",
        stderr="".join(E + "Bypassing requirement for db%s with win auth\n" % w
                       for w in ("_login", "_password", " login", " password")),
        stdin=(STREAM % "INST1").replace("db_login=sa\ndb_password=secret\n", "db_winauth=1\n")),
    "remove_without_home": row(["-r", "INST1:host:X"], 3, stderr=" " + NO_LIST,
                               env="MARLOX_HOME=\n", like="remove_msn_with_backslash"),
}
for suffix, name in (("dot", "."), ("dot_dot", ".."), ("leading_blank", " N1"),
                     ("trailing_blank", "N1 ")):
    TABLE["get_name_" + suffix] = row(["-g", name + ":host:X"], 2, stderr=BAD_NAME % name)


def run_scenario(name, opts):
    s = TABLE.get(name, dict(like=name))
    folder = os.path.join(SCENARIOS, s.get("like", ""))  # Rows like none read no file.
    s = {**{k: sh.read(os.path.join(folder, f)) for k, f in FILES.items()}, **s}
    before = sh.tree(os.path.join(folder, "before"))
    with sh.sandbox(opts, opts.stand_in if s["tool"] is not None else "",
                    {**({} if s["bare"] is not None else sh.BASE), **before}) as home:
        if os.path.exists(os.path.join(folder, "registry.reg")):
            home.use_registry(os.path.join(folder, "registry.reg"))
        for line in (s["env"] or "").splitlines():
            if line.startswith("-"):
                del home.env[line[1:]]
            else:
                home.env.update([home.substitute(line).split("=", 1)])
        if s["tool"] is not None:
            home.env["SQXA_STAND_IN_EXIT"] = s["tool"].strip() or "0"
        args = s["args"] if isinstance(s["args"], list) else s["args"].split("\n")[:-1]
        result = home.run(*map(home.substitute, args), stdin=home.substitute(s["stdin"] or ""))
        sh.check(name, home.differences(result, int(s["status"] or 0), s["stdout"] or "",
                                        s["stderr"] or "")
                 + home.mismatches(sh.tree(os.path.join(folder, "expected", "after")))
                 + home.mismatches(before if s["unchanged"] is not None else {})
                 + ["%s should not exist" % path for path in (s["absent"] or "").split()
                    if glob.glob(os.path.join(glob.escape(home.home), path))])


if __name__ == "__main__":
    NAMES = sorted(set(TABLE) | set(os.listdir(SCENARIOS)))
    sys.exit(sh.main([(name, lambda opts, name=name: run_scenario(name, opts)) for name in NAMES]))
