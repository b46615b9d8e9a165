#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Changes the library one small piece at a time and sees whether a test fails.

run.py FOLDER [--count N] [--seed S] [--jobs J] [--only SUBSTRING] [--guards FILE]

Copies the tree to FOLDER, picks N places evenly over Source/{engine,units,color,iccfile,tiff,support}, and for each
builds the suites that look at it and runs them until one fails. Prints a line a mutant, then the share of killed
mutants. The lines stand in FOLDER/mutants.txt as well, where the next run with the same FOLDER looks up what was judged
already. A mutant that does not compile is not counted. With --guards the mutants are those of a list, see
tests/mutation/guards.txt, and the suite of broken files looks at them as well.
"""
import argparse
import concurrent.futures
import filecmp
import hashlib
import os
import pathlib
import queue
import re
import shutil
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDERS = ("engine", "units", "color", "iccfile", "tiff", "support")
SUITES = {
    "engine": ["unit_engine", "integration", "abi", "hostile"],
    "units": ["unit_units", "integration", "unit_engine"],
    "color": ["unit_color", "unit_units", "integration"],
    "iccfile": ["unit_iccfile", "unit_engine", "integration", "hostile_alloc", "hostile"],
    "tiff": ["unit_tiff", "integration", "unit_engine", "hostile_io", "hostile_alloc", "hostile"],
    "support": ["unit_support"],
}
PLACES = {"hostile": "hostile/", "hostile_io": "hostile/", "hostile_alloc": "hostile/"}
# An array of one more entry is the same array: its declared size is no place for a mutant.
ARRAY = re.compile(r"^\s*(?:alignas\(\d+\) )?(?:(?:const|static|constexpr|inline|mutable|unsigned) )*[\w:]+\*?(?: const)? \w+((?:\[\w+\])+)(?= ?[;={])")
# By folder.
GUARD_SUITES = {
    "engine": ["hostile", "unit_engine", "hostile_alloc"],
    "iccfile": ["unit_iccfile", "hostile"],
    "tiff": ["unit_tiff", "hostile", "hostile_io"],
    "units": ["unit_units", "unit_engine", "hostile"],
    "color": ["unit_color", "hostile"],
    "support": ["hostile", "unit_support"],
    "base": ["unit_units", "unit_iccfile", "unit_tiff", "unit_engine", "hostile"],
}
# A step past an array is seen, as the sanitizers of `make test-all` see it.
RUNTIME = "-fsanitize=bounds -fno-sanitize-recover=bounds"
FLAGS = f"-O1 -D_GLIBCXX_ASSERTIONS {RUNTIME}"
# What is found, and what takes its place.
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


def last_digit(match):
    text = match.group(0)
    return text[:-1] + str((int(text[-1]) + 1) % 10)


def sites(path):
    """Every mutant of a file: (line number, changed line, what was done)."""
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
        for path in sorted((ROOT / "Source" / folder).rglob("*.*")):
            mutants += [(path.relative_to(ROOT), *site) for site in sites(path)]
    return mutants


def listed_guards(path):
    """The mutants of a list: a guard and what takes its place."""
    mutants = []
    for line in path.read_text().splitlines():
        if not line or line.startswith("#"):
            continue
        place, change = line.split(" | ", 1)
        old, new = change.split(" ==>", 1)
        name, _, nth = place.partition(":")
        lines = (ROOT / name).read_text().splitlines()
        places = [number for number, text in enumerate(lines) if old in text]
        if len(places) < int(nth or 1) or (not nth and len(places) != 1) or lines[places[int(nth or 1) - 1]].count(old) != 1:
            raise SystemExit(f"{place}: not there, or not once: {old}")
        number = places[int(nth or 1) - 1]
        mutants.append((pathlib.Path(name), number, lines[number].replace(old, new.strip()), f"{old} ==>{new}"))
    return mutants


def copy_changed(source, target):
    """As a new file, so that what an earlier run built from a mutant of it is built again."""
    if not os.path.exists(target) or not filecmp.cmp(source, target, shallow=False):
        shutil.copyfile(source, target)
        shutil.copymode(source, target)


class Worker:
    """One copy of the tree, built once and then a piece at a time."""

    def __init__(self, folder):
        self.tree = folder
        shutil.copytree(ROOT, folder, ignore=shutil.ignore_patterns("build", ".git"), dirs_exist_ok=True,
                        copy_function=copy_changed)
        launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
        self.environment = dict(os.environ, CCACHE_BASEDIR=str(folder), CCACHE_NOHASHDIR="1")
        self.run("cmake", "--preset", "release", "-DHUEWEAVE_WERROR=OFF",
                 f"-DCMAKE_CXX_FLAGS_RELEASE={FLAGS}", f"-DCMAKE_SHARED_LINKER_FLAGS={RUNTIME}",
                 f"-DCMAKE_EXE_LINKER_FLAGS={RUNTIME}", *launcher)
        for suite in sorted(set(sum(SUITES.values(), []))):
            self.run("ninja", "-C", "build/release", suite, timeout=3600)
            if self.suite_fails(suite):
                raise SystemExit(f"{folder}: {suite} fails as it is and can judge nothing")

    def run(self, *command, timeout=600):
        try:
            return subprocess.run(command, cwd=self.tree, env=self.environment, capture_output=True,
                                  timeout=timeout).returncode
        except subprocess.TimeoutExpired:
            return -1

    def suite_fails(self, suite):
        program = f"build/release/tests/{PLACES.get(suite, '')}{suite}"
        return self.run(program, "--gtest_fail_fast", "--gtest_brief=1", timeout=300) != 0

    def verdict(self, relative, number, changed):
        path = self.tree / relative
        original = path.read_text()
        lines = original.splitlines()
        lines[number] = changed
        path.write_text("\n".join(lines) + "\n")
        try:
            for suite in SUITES[relative.parts[1]]:
                if self.run("ninja", "-C", "build/release", "-j1", suite) != 0:
                    return "does not compile"
                if self.suite_fails(suite):
                    return f"killed by {suite}"
            return "SURVIVED"
        finally:
            path.write_text(original)


def drawn(mutants, seed):
    """In an order that follows from each mutant and the seed alone: a change elsewhere leaves the draw as it is."""
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
    arguments = parser.parse_args()

    mutants = [m for m in (listed_guards(arguments.guards) if arguments.guards else all_mutants())
               if arguments.only in str(m[0])]
    if arguments.guards:
        SUITES.clear()
        SUITES.update(GUARD_SUITES)
    else:
        mutants = drawn(mutants, arguments.seed)[: arguments.count]
    idle = queue.Queue()
    for job in range(arguments.jobs):
        idle.put(Worker(arguments.folder.resolve() / f"worker-{job}"))
    verdicts = {}
    judged = arguments.folder / "mutants.txt"
    if judged.exists():
        for line in judged.read_text().splitlines():
            verdicts[line[25:]] = line[:25].split()[0]
    report = open(judged, "a")

    def judge(mutant):
        worker = idle.get()
        relative, number, changed, _ = mutant
        try:
            verdict = worker.verdict(relative, number, changed)
        finally:
            idle.put(worker)
        return f"{verdict:24} {described(mutant)}", verdict.split()[0]

    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        waiting = [pool.submit(judge, mutant) for mutant in mutants if described(mutant) not in verdicts]
        for done in concurrent.futures.as_completed(waiting):
            line, word = done.result()
            print(line, flush=True)
            report.write(line + "\n")
            report.flush()
            verdicts[line[25:]] = word
    words = [verdicts[described(mutant)] for mutant in mutants]
    killed, survived = words.count("killed"), words.count("SURVIVED")
    print(f"{killed} killed, {survived} survived of {killed + survived}: {100 * killed / max(killed + survived, 1):.1f} %")


if __name__ == "__main__":
    main()
