#!/usr/bin/env python3
"""Times the utility as its callers see it: whole processes, with hyperfine.

Builds a sandbox product home holding a sample host's registry and N configured
instances (default 49), then times, each against a bare process start
(/bin/true) timed just before it: a get, a put of an existing instance, a put of a
new instance, a remove, and -i; and, on a registry file of about 50 MB, a
whole-process lookup of one key (regdump). Prints one table of medians and
their ratio to the bare start.

Usage: whole_process.py --bin build/native/bin [--instances 49] [--runs 20]
                        [--rounds 3] [--smoke] [--keep] [--wine]
"""
import argparse
import json
import os
import shlex
import shutil
import statistics
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "e2e"))
import sandbox_home  # noqa: E402

HIVE_BYTES = 50 << 20


def sample_registry(home, root, wine):
    """The sample host of the demonstration, its paths in the sandbox: the
    home's registry file, or imported into Wine's registry."""
    with open(os.path.join(HERE, "..", "scripts", "sample-host.reg")) as f:
        text = f.read()
    seen = ("Z:" if wine else "") + root + "/"
    path = os.path.join(root, "sample-host.reg")
    with open(path, "w") as f:
        f.write(text.replace("@SANDBOX@", seen.replace("/", "\\\\")))
    home.use_registry(path)


def large_hive(path):
    """A registry file shaped like an export of HKLM\\SOFTWARE, about 50 MB;
    answers a key near its end."""
    deep = ""
    written = 0
    with open(path, "w", newline="\r\n") as f:
        f.write("Windows Registry Editor Version 5.00\n\n")
        vendor = 0
        while written < HIVE_BYTES:
            chunk = ["[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vendor%04d]\n\"Name\"=\"Vendor %d\"\n\n"
                     % (vendor, vendor)]
            for product in range(12):
                base = "SOFTWARE\\Vendor%04d\\Product%02d" % (vendor, product)
                chunk.append("[HKEY_LOCAL_MACHINE\\%s]\n\"InstallDir\"=\"C:\\\\Program Files"
                             "\\\\Vendor%d\\\\Product%d\"\n\"Installed\"=dword:00000001\n"
                             "\"Signature\"=hex:%s\n\"Version\"=\"%d.0.%d\"\n\n"
                             % (base, vendor, product,
                                ",".join("%02x" % ((vendor + i * 7) & 0xFF) for i in range(24)),
                                product, vendor))
                for component in range(16):
                    deep = "%s\\Components\\{%08X-0000-4000-8000-%012d}" % (
                        base, vendor * 1000 + product * 16 + component, component)
                    chunk.append("[HKEY_LOCAL_MACHINE\\%s]\n@=\"component %d\"\n"
                                 "\"Size\"=hex(b):00,10,00,00,00,00,00,00\n"
                                 "\"Shared\"=dword:%08x\n\n" % (deep, component, component))
            text = "".join(chunk)
            f.write(text)
            written += len(text) + text.count("\n")
            vendor += 1
    return deep


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", default="build/native/bin")
    parser.add_argument("--instances", type=int, default=49)
    parser.add_argument("--runs", type=int, default=20)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--smoke", action="store_true", help="3 runs, no large hive")
    parser.add_argument("--keep", action="store_true", help="keep the sandbox and print its path")
    parser.add_argument("--wine", action="store_true",
                        help="the Windows build (--bin build/windows/bin) under Wine, in a "
                             "prefix of its own; no large hive (Wine keeps its own registry)")
    options = parser.parse_args()
    if shutil.which("hyperfine") is None:
        sys.exit("whole_process.py: hyperfine is missing (scripts/install-deps --bench)")
    bin_dir = os.path.abspath(options.bin)
    runs = 3 if options.smoke else options.runs
    if options.smoke:
        options.rounds = 1

    exe = ".exe" if options.wine else ""
    if options.wine:
        os.environ.setdefault("WINEPREFIX", os.path.join(bin_dir, "..", "bench-wineprefix"))
        os.environ.setdefault("WINEDEBUG", "-all")
        os.environ.setdefault("WINEDLLOVERRIDES", "mscoree,mshtml=")
        # The prefix's services started before any timing, and one server for
        # the whole run.
        sandbox_home.quiet("wine", "cmd", "/c", "exit")
        subprocess.run(["wineserver", "-p"], check=False)

    root = tempfile.mkdtemp(prefix="sqxa_bench_")
    home = sandbox_home.Home(root, os.path.join(bin_dir, "sq_xa" + exe),
                             os.path.join(bin_dir, "vinconfg" + exe), options.wine,
                             keep=options.keep)
    try:
        sample_registry(home, root, options.wine)
        for i in range(options.instances):
            status, _, err = home.put("INST%02d" % i)
            if status != 0:
                sys.exit("put INST%02d failed (%d): %s" % (i, status, err))

        program = " ".join(shlex.quote(word) for word in home.command())
        stream_file = os.path.join(root, "stream.txt")
        with open(stream_file, "w") as f:
            f.write(home.stream("INST07"))
        new_stream = os.path.join(root, "new.txt")
        with open(new_stream, "w") as f:
            f.write(home.stream("NEWONE"))
        put_new = "%s -p NEWONE:h:X < %s" % (program, shlex.quote(new_stream))
        remove_new = "%s -r NEWONE:h:X" % program
        # Commands without redirections run without a shell (-N); the others
        # through one, whose own start hyperfine measures and subtracts.
        cases = [
            ("bare process start", "/bin/true", None, {}) if not options.wine else
            ("bare process start (regdump --version)", "wine %s --version"
             % shlex.quote(os.path.join(bin_dir, "regdump.exe")), None, {}),
            ("get", "%s -g INST07:h:X" % program, None, {}),
            ("put, existing instance", "%s -p INST07:h:X < %s >/dev/null"
             % (program, shlex.quote(stream_file)), None, {}),
            ("put, new instance", put_new + " >/dev/null", remove_new, {}),
            ("remove", remove_new + " >/dev/null", put_new, {}),
            ("instance name (-i)", "%s -i INST07:h:X" % program, None, {}),
        ]
        if not options.smoke and not options.wine:
            hive = os.path.join(root, "large.reg")
            deep = large_hive(hive)
            cases.append(("50 MB registry: one key (regdump)", "%s %s"
                          % (os.path.join(bin_dir, "regdump"), shlex.quote(deep)), None,
                          {"MARLOX_REGISTRY": hive}))

        # What setting up wrote is on disk before any timing, so that the
        # kernel's writing it back does not fall into the runs.
        os.sync()

        def median_ms(label, command, prepare, extra_env):
            export = os.path.join(root, "result.json")
            args = ["hyperfine", "--style", "none", "--runs", str(runs), "--warmup", "2",
                    "--export-json", export, "--command-name=" + label]
            if prepare:
                # Each run of a put of a new instance is preceded by its removal
                # and each remove by its put, outside the timed part.
                args += ["--prepare", prepare + " >/dev/null 2>&1 || true"]
            elif "<" not in command and ">" not in command:
                args.append("-N")
            args.append(command)
            done = subprocess.run(args, cwd=home.home, env=dict(home.env, **extra_env),
                                  stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
            if done.returncode != 0:
                sys.exit("%s: %s" % (label, done.stderr.decode(errors="replace")))
            with open(export) as f:
                return json.load(f)["results"][0]["median"] * 1000

        # A shared machine's speed drifts over a run: each operation is timed
        # right after a bare start of its own, in several rounds, and the
        # medians of the times and of the ratios are shown.
        bare_case, cases = cases[0], cases[1:]
        times = {label: [] for label, _, _, _ in [bare_case] + cases}
        ratios = {label: [] for label, _, _, _ in cases}
        for _ in range(options.rounds):
            for case in cases:
                bare = max(median_ms(*bare_case), 0.001)
                median = median_ms(*case)
                times[bare_case[0]].append(bare)
                times[case[0]].append(median)
                ratios[case[0]].append(median / bare)
        print("%d configured instances; %d rounds of %d runs each; medians of wall time"
              % (options.instances, options.rounds, runs))
        print("| operation | median | ratio to a bare process start |")
        print("|---|---|---|")
        print("| %s | %.1f ms | 1.0 |" % (bare_case[0], statistics.median(times[bare_case[0]])))
        for label, _, _, _ in cases:
            print("| %s | %.1f ms | %.1f |" % (label, statistics.median(times[label]),
                                              statistics.median(ratios[label])))
    finally:
        home.__exit__(None, None, None)
        if options.keep:
            print("sandbox kept:", root)
        if options.wine:
            subprocess.run(["wineserver", "-k"], check=False)


if __name__ == "__main__":
    main()
