#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Mutation testing: changes one small piece of the library or the command at a time and checks that a test fails.

    run.py FOLDER [--count N] [--seed S] [--jobs J] [--only SUBSTRING] [--guards FILE] [--every] [--suites NAME,...]

Copies the tree to FOLDER, draws N mutants of Source, colour and apps/hueweave, or of the files there whose path
contains SUBSTRING, and for each builds the suites of its folder and runs them until one fails. Prints one line per
mutant and the percentage of killed mutants. The lines are also written to FOLDER/mutants.txt; the next run with the same
FOLDER does not judge these mutants again. Mutants that do not compile are not counted. A suite that takes a minute
longer than without the mutant kills it; the line then says "too slow", because a busy machine has the same effect. With
--guards, the mutants are those of a list, see tests/meta/mutation/guards.txt and tool_guards.txt, and the suite of
broken files judges the library as well. --suites runs the suites NAME,... for all mutants.

With --every, all suites run to their end, and FOLDER/kills.txt names every test that notices a mutant, from which
cover.py chooses the tests that are enough.
"""
import argparse
import concurrent.futures
import filecmp
import hashlib
import json
import os
import pathlib
import queue
import re
import shutil
import signal
import subprocess
import time

ROOT = pathlib.Path(__file__).resolve().parents[3]
FOLDERS = ("Source/engine", "Source/units", "Source/color", "Source/iccfile", "Source/tiff", "Source/support",
           "colour", "apps/hueweave")
# The suite of the command takes a minute on one processor. So the tests most specific to a file (FIRST) run first, then
# the seeds and findings of the fuzz targets, and then all tests.
COMMAND = ["command:first", "fuzz_tiff_structure", "fuzz_photoshop", "fuzz_deflate", "fuzz_record", "fuzz_arguments",
           "fuzz_convert_profile", "fuzz_convert_tiff", "fuzz_convert_png", "fuzz_convert_jpeg", "fuzz_report",
           "command"]
FIRST = "tests/meta/mutation/first_tests.txt"
# By folder, or by file for files outside these folders.
SUITES = {
    "engine": ["unit_engine", "pipeline", "abi", "hostile"],
    "units": ["unit_units", "pipeline", "unit_engine"],
    "color": ["unit_color", "unit_units", "pipeline"],
    "iccfile": ["unit_iccfile", "unit_engine", "pipeline", "hostile_alloc", "hostile"],
    "tiff": ["unit_tiff", "pipeline", "unit_engine", "hostile_io", "hostile_alloc", "hostile"],
    "support": ["unit_support"],
    "colour": ["colour", *COMMAND],
    "hueweave": COMMAND,
}
PLACES = {"hostile": "hostile/", "hostile_io": "hostile/", "hostile_alloc": "hostile/", "command": "command/"}
# A declared array size is not mutated: one more element makes no observable difference.
ARRAY = re.compile(r"^\s*(?:alignas\(\d+\) )?(?:(?:const|static|constexpr|inline|mutable|unsigned) )*[\w:]+\*?(?: const)? \w+((?:\[\w+\])+)(?= ?[;={])")
# By folder.
GUARD_SUITES = {
    "engine": ["hostile", "unit_engine", "pipeline", "hostile_alloc"],
    "iccfile": ["unit_iccfile", "hostile"],
    "tiff": ["unit_tiff", "hostile", "hostile_io"],
    "units": ["unit_units", "unit_engine", "hostile"],
    "color": ["unit_color", "hostile"],
    "support": ["hostile", "unit_support"],
    "base": ["unit_base", "unit_units", "unit_iccfile", "unit_tiff", "unit_engine", "hostile"],
    "colour": ["colour", *COMMAND],
    "hueweave": COMMAND,
}
# Access past the end of an array is detected, as by the sanitizers of `make test-all`, and ends the process; this needs
# no runtime library, which would have to work inside the command's sandbox.
FLAGS = "-O1 -D_GLIBCXX_ASSERTIONS -fsanitize=bounds -fsanitize-undefined-trap-on-error"
# A mutant may do anything with the paths in its tests, such as /dev/null as an output. So everything that the superuser
# runs has a read-only view of the machine, except its own tree ($1) and temporary files; where that is not possible, no
# suite passes and nothing is judged.
READ_ONLY = ("unshare", "--mount", "sh", "-ec",
             'mount --bind /tmp /tmp; mount --bind "$1" "$1"; mount --rbind /dev /dev; mount -o remount,bind,ro /dev; '
             'mount -o remount,bind,ro /; cd "$1"; shift; exec "$@"', "sh")
BUILD_SECONDS = 3600
MOST_ENDS = 12  # ends of a program; after these the remaining tests are skipped
MORE_SECONDS = 60  # in addition to the time of the suite without a mutant; a longer run hangs
TOO_LONG = -1000  # instead of an exit status
# The pieces of a guard's text: literals, names, white space, and every other character by itself.
TOKEN = re.compile(r'"(?:[^"\\]|\\.)*"|\'(?:[^\'\\]|\\.)*\'|\d[\w.\']*|[A-Za-z_]\w*|\s+|.')
NAME = re.compile(r"[A-Za-z_]\w*")
KEYWORDS = set("auto bool break case char const constexpr continue else false for if int nullptr return sizeof "
               "static_cast std true unsigned void while".split())
# Patterns and their replacements.
SWAPS = [
    (r"(?<=[\w\)\]] )<(?= [\w\(\-])", "<="), (r"(?<= )<=(?= )", "<"),
    (r"(?<=[\w\)\]] )>(?= [\w\(\-])", ">="), (r"(?<= )>=(?= )", ">"),
    (r"==", "!="), (r"!=", "=="), (r"&&", "||"), (r"\|\|", "&&"),
    (r" \+ 0\.5\b", ""), (r" \+ 128\.0\b", ""), (r" \+ 1\b", " - 1"), (r" - 1\b", " + 1"),
    (r"\b65535\b", "65536"), (r"\b65536\b", "65535"), (r"\b65280\b", "65535"), (r"\b32768\b", "32767"),
    (r"\b4095\b", "4096"), (r"\b4096\b", "4095"), (r"\b255\b", "256"), (r"\b256\b", "255"),
    (r"<< 8\b", "<< 7"), (r">> 8\b", ">> 7"), (r">> 12\b", ">> 11"), (r"<< 16\b", "<< 15"),
    (r" \* (?=[\w\(])", " / "), (r" / (?=[\w\(])", " * "), (r" \+ (?=[a-zA-Z\(])", " - "), (r" - (?=[a-zA-Z\(])", " + "),
    (r"\bmin\b", "max"), (r"\bmax\b", "min"), (r"\+= ", "-= "),
]


def piece_of(path):
    """The key of a source file in SUITES and GUARD_SUITES."""
    return path.parts[0] if path.parts[0] == "colour" else path.parts[1]


def listed_first_tests():
    """The tests of the command that run first, as filters in their order, by file without its ending or by folder."""
    lines = (ROOT / FIRST).read_text().splitlines()
    pairs = (line.split(": ") for line in lines if line and not line.startswith("#"))
    return {pathlib.Path(place): tests.split() for place, tests in pairs}


def last_digit(match):
    text = match.group(0)
    return text[:-1] + str((int(text[-1]) + 1) % 10)


def sites(path):
    """All mutants of a file: (line number, changed line, description)."""
    found = []
    for number, line in enumerate(path.read_text().splitlines()):
        code = line.split("//")[0]
        if not code.strip() or code.lstrip().startswith(("#", "template", "static_assert", "using ", "namespace")):
            continue
        array = ARRAY.match(code)
        if array:
            code = code[: array.start(1)] + " " * len(array.group(1)) + code[array.end(1):]
        for pattern, replacement in SWAPS:
            for match in re.finditer(pattern, code):
                found.append((number, line[: match.start()] + replacement + line[match.end():],
                              f"{match.group(0).strip()} -> {replacement.strip() or 'nothing'}"))
        for match in re.finditer(r"(?<![\w.'\"])\d+\.\d+\b", code):
            changed = last_digit(match)
            found.append((number, line[: match.start()] + changed + line[match.end():], f"{match.group(0)} -> {changed}"))
        for match in re.finditer(r"(?<=case )\d+|(?<=return )\d+(?=;)|(?<=\[)\d+(?=\])|(?<=, )\d+(?=[,)}])|(?<=\{)\d+(?=[,}])", code):
            changed = str(int(match.group(0)) + 1)
            found.append((number, line[: match.start()] + changed + line[match.end():], f"{match.group(0)} -> {changed}"))
    return found


def all_mutants():
    mutants = []
    for folder in FOLDERS:
        for path in sorted(path for path in (ROOT / folder).rglob("*.*") if path.suffix in (".cpp", ".h")):
            mutants += [(path.relative_to(ROOT), *site) for site in sites(path)]
    return mutants


def pattern_of(text):
    """A pattern for a piece of C++ whatever its names are, and the names. One name matches one name throughout."""
    names, pattern = [], ""
    for token in TOKEN.findall(text):
        if token.isspace():
            pattern += r"\s+"
        elif not NAME.fullmatch(token) or token in KEYWORDS:
            pattern += re.escape(token)
        elif token in names:
            pattern += rf"\b(?P=n{names.index(token)})\b"
        else:
            pattern += rf"\b(?P<n{len(names)}>[A-Za-z_]\w*)\b"
            names.append(token)
    return re.compile(pattern), names


def guard_place(lines, old, nth):
    """Where a guard is: (line number, match, its names as they are now by their listed form), or None.

    Of the matching places those with the fewest renamed names count, at most half of the names. One must be left, or
    with `nth` that many.
    """
    pattern, names = pattern_of(old)
    places = []
    for number, line in enumerate(lines):
        for match in pattern.finditer(line):
            now = {name: match[f"n{index}"] for index, name in enumerate(names)}
            places.append((sum(name != other for name, other in now.items()), number, match, now))
    fewest = min((place[0] for place in places), default=len(names))
    best = [place[1:] for place in places if place[0] == fewest and 2 * fewest <= len(names)]
    if len(best) < (nth or 1) or (not nth and len(best) != 1):
        return None
    return best[(nth or 1) - 1]


def listed_guards(path):
    """The mutants of a list of guards. A guard keeps its place when names in the source change."""
    mutants, missing = [], []
    for line in path.read_text().splitlines():
        if not line or line.startswith("#"):
            continue
        place, change = line.split(" | ", 1)
        old, new = change.split(" ==>", 1)
        name, _, nth = place.partition(":")
        lines = (ROOT / name).read_text().splitlines()
        found = guard_place(lines, old, int(nth or 0))
        if found is None:
            missing.append(f"{path.name}: {place}: not there, or not once: {old}")
            continue
        number, match, now = found
        renamed = "".join(now.get(token, token) for token in TOKEN.findall(new.strip()))
        text = match.string
        mutants.append((pathlib.Path(name), number, text[: match.start()] + renamed + text[match.end():],
                        f"{old} ==>{new}"))
    if missing:
        raise SystemExit("\n".join(missing))
    return mutants


def copy_changed(source, target):
    """Copies a changed file as a new one, so that ninja rebuilds what an earlier run built from a mutant."""
    if not os.path.exists(target) or not filecmp.cmp(source, target, shallow=False):
        shutil.copyfile(source, target)
        shutil.copymode(source, target)


class Worker:
    """A copy of the tree, built once and then again for each mutant."""

    def __init__(self, folder, suites):
        self.tree = folder
        self.first_tests = listed_first_tests()
        shutil.copytree(ROOT, folder, ignore=shutil.ignore_patterns("build", ".git"), dirs_exist_ok=True,
                        copy_function=copy_changed)
        launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
        self.environment = dict(os.environ, CCACHE_BASEDIR=str(folder), CCACHE_NOHASHDIR="1",
                                CCACHE_SLOPPINESS="pch_defines,time_macros")
        self.run("cmake", "--preset", "release", "-DHUEWEAVE_WERROR=OFF", f"-DCMAKE_CXX_FLAGS_RELEASE={FLAGS}",
                 *launcher)
        if any(suite.startswith("fuzz_") for suite in suites):
            self.build("fuzz_seeds")
            self.run("build/release/tests/fuzz/fuzz_seeds", "build/release/tests/fuzz/seeds")
        self.limits = {}
        for suite in suites:
            if self.build(suite) != 0:
                raise SystemExit(f"{folder}: {suite} cannot be built")
            start = time.monotonic()
            if self.suite_status(suite):
                raise SystemExit(f"{folder}: {suite} fails without a mutant")
            self.limits[suite] = time.monotonic() - start + MORE_SECONDS

    def run(self, *command, seconds=BUILD_SECONDS, output=subprocess.DEVNULL):
        """Returns the exit status. Kills what is still running then, or after this time."""
        process = subprocess.Popen(command, cwd=self.tree, env=self.environment, stdin=subprocess.DEVNULL,
                                   stdout=output, stderr=subprocess.DEVNULL, start_new_session=True)
        try:
            return process.wait(seconds)
        except subprocess.TimeoutExpired:
            return TOO_LONG
        finally:
            try:
                os.killpg(process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            process.wait()

    def build(self, suite):
        return self.run("ninja", "-C", "build/release", "-j1", suite.removesuffix(":first"))

    def suite_status(self, suite, path=pathlib.Path("apps/hueweave/main.cpp")):
        filters = ["*"]
        if suite.endswith(":first"):
            filters = next(self.first_tests[p] for p in (path.with_suffix(""), *path.parents) if p in self.first_tests)
        options = ["--gtest_fail_fast", "--gtest_brief=1"]
        tried = (self.program_status(suite, *options, f"--gtest_filter={tests}") for tests in filters)
        return next((status for status in tried if status != 0), 0)

    def program_status(self, suite, *options, output=subprocess.DEVNULL):
        name = suite.removesuffix(":first")
        if name.startswith("fuzz_"):
            target = name.removeprefix("fuzz_")
            command = [f"build/release/tests/fuzz/{name}", f"build/release/tests/fuzz/seeds/{target}",
                       f"tests/fuzz/findings/{target}"]
        else:
            command = [f"build/release/tests/{PLACES.get(name, '')}{name}", *options]
        if os.geteuid() == 0:
            command = [*READ_ONLY, str(self.tree), *command]
        return self.run(*command, seconds=self.limits.get(suite, BUILD_SECONDS), output=output)

    def killers(self, suite):
        """All tests of a suite that fail. A test during which the program ends is left out of the next try."""
        found = set()
        for _ in range(MOST_ENDS):
            left = "*" + (f"-{':'.join(sorted(found))}" if found else "")
            with open(self.tree / "build" / "tests.txt", "w+") as log:
                if not self.program_status(suite, f"--gtest_filter={left}", output=log):
                    break
                log.seek(0)
                lines = log.read().splitlines()
            running, failed = None, set()
            for line in lines:
                begin = re.match(r"\[ RUN      \] (\S+)", line)
                end = re.match(r"\[  (     OK|FAILED ) \] ([^\s,]+)", line)
                if begin:
                    running = begin.group(1)
                elif end and end.group(2) == running:
                    failed |= {running} if end.group(1) == "FAILED " else set()
                    running = None
            found |= failed
            if running is None:
                break
            found.add(running)
        return {f"{suite} {test}" for test in found}

    def verdict(self, relative, number, changed, every=False):
        path = self.tree / relative
        original = path.read_text()
        lines = original.splitlines()
        lines[number] = changed
        path.write_text("\n".join(lines) + "\n")
        try:
            if every:
                suites = [suite for suite in SUITES[piece_of(relative)] if not suite.endswith(":first")]
                if any(self.build(suite) != 0 for suite in suites):
                    return "does not compile"
                found = sorted(test for suite in suites for test in self.killers(suite))
                return "killed by " + "|".join(found) if found else "SURVIVED"
            for suite in SUITES[piece_of(relative)]:
                if self.build(suite) != 0:
                    return "does not compile"
                status = self.suite_status(suite, relative)
                if status != 0:
                    return f"killed by {suite}" + (" (too slow)" if status == TOO_LONG else "")
            return "SURVIVED"
        finally:
            path.write_text(original)


def drawn(mutants, seed):
    """Sorts mutants by a hash of each one and the seed, so that changes elsewhere do not change the draw."""
    return sorted(mutants, key=lambda m: hashlib.sha256(f"{seed} {m[0]} {m[2].strip()} {m[3]}".encode()).digest())


def described(mutant):
    relative, number, changed, what = mutant
    return f"{relative}:{number + 1}: {what}    {changed.strip()}"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--count", type=int, default=300)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--only", default="")
    parser.add_argument("--guards", type=pathlib.Path)
    parser.add_argument("--every", action="store_true")
    parser.add_argument("--suites", default="")
    arguments = parser.parse_args()

    mutants = [m for m in (listed_guards(arguments.guards) if arguments.guards else all_mutants())
               if arguments.only in str(m[0])]
    if arguments.guards:
        SUITES.clear()
        SUITES.update(GUARD_SUITES)
    else:
        mutants = drawn(mutants, arguments.seed)[: arguments.count]
    if arguments.suites:
        SUITES.update(dict.fromkeys(SUITES, arguments.suites.split(",")))
    suites = sorted({suite for mutant in mutants for suite in SUITES[piece_of(mutant[0])]})
    idle = queue.Queue()
    for job in range(arguments.jobs):
        idle.put(Worker(arguments.folder.resolve() / f"worker-{job}", suites))
    verdicts = {}
    judged = arguments.folder / ("kills.txt" if arguments.every else "mutants.txt")
    if judged.exists():
        for line in judged.read_text().splitlines():
            verdict, mutant = line.split("\t", 1)
            verdicts[mutant] = verdict.split()[0]
    report = open(judged, "a")

    def judge(mutant):
        worker = idle.get()
        relative, number, changed, _ = mutant
        try:
            verdict = worker.verdict(relative, number, changed, arguments.every)
        finally:
            idle.put(worker)
        return verdict, described(mutant)

    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        waiting = [pool.submit(judge, mutant) for mutant in mutants if described(mutant) not in verdicts]
        for done in concurrent.futures.as_completed(waiting):
            verdict, mutant = done.result()
            print(f"{verdict[:120]:30} {mutant}", flush=True)
            report.write(f"{verdict}\t{mutant}\n")
            report.flush()
            verdicts[mutant] = verdict.split()[0]
    words = [verdicts[described(mutant)] for mutant in mutants]
    killed, survived = words.count("killed"), words.count("SURVIVED")
    print(f"{killed} killed, {survived} survived of {killed + survived}: {100 * killed / max(killed + survived, 1):.1f} %")


if __name__ == "__main__":
    main()
