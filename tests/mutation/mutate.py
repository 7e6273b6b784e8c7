#!/usr/bin/env python3
"""Changes the component, one small change at a time, and looks whether the unit tests notice."""
import argparse
import collections
import concurrent.futures
import contextlib
import dataclasses
import fnmatch
import hashlib
import json
import os
import pathlib
import queue
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import tomllib
import typing

import rules

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
BUILD = ROOT / "build" / "release"
SOURCES = ROOT / "src"
EQUIVALENT = pathlib.Path(__file__).with_name("equivalent.toml")

@dataclasses.dataclass(frozen=True)
class Stage:
    """Tests that a mutant meets; it goes on to the next stage when they pass."""
    program: str
    filter: str
    files: tuple[str, ...] = ("*",)  # whose mutants these tests can notice

    def is_for(self, file):
        return any(fnmatch.fnmatch(file, pattern) for pattern in self.files)


UNIT = "twupdate_unit_tests"
# Tests of the tests' own tools and of the host say nothing of the component.
NOT_LINKED = {"batching_utility_test", "catalogue_test", "layouts_test", "test_support_test"}
LARGE_TEXTS = "OrderDetailsTags.*:EmbedCodes.TenMegabytes*"
SITE_CONTENT = ("src/migrations/site_content/[!i]*",)  # all but interruptions.cpp
STAGES = (
    Stage(UNIT, f"-ShippedData.*:{LARGE_TEXTS}"),
    Stage(UNIT, LARGE_TEXTS, ("src/coredb/cart_fields.cpp", "src/dbutil/replace_all.*",
                              "src/migrations/site_content/embed_codes.*")),
    # What reads a server's own tables.
    Stage("twupdate_interruption_tests", "*", (
        "src/component/interruption.cpp", "src/coredb/create_core_db.cpp",
        "src/dbutil/inspection.*", "src/dbutil/interrupted_conversion.*",
        "src/migrations/*interruptions.*")),
    # What becomes of the rows of a site: the effect of every step first.
    Stage("twupdate_site_content_tests", "SiteContentSteps.Each*:SiteContentRoad.The*",
          SITE_CONTENT),
    Stage("twupdate_site_content_tests",
          "-SiteContentSteps.*:SiteContentRoad.The*:*.TenMegabytes*", SITE_CONTENT),
)
# These headers make nothing but declarations of the table, and most sources include them.
DECLARATIONS = {("src/component/twupdate/update.h", "src/component/twupdate/ladders.def"),
                ("src/migrations/interruptions.h", "src/component/twupdate/ladders.def")}

KILLED, SURVIVED, EQUIVALENT_ONE, REFUSED = "killed", "survived", "equivalent", "does not compile"


@dataclasses.dataclass(frozen=True)
class Case:
    file: str
    mutant: rules.Mutant


def sources():
    return sorted(str(path.relative_to(ROOT)) for ending in ("cpp", "h", "def")
                  for path in SOURCES.rglob(f"*.{ending}"))


def all_cases():
    return [Case(file, mutant) for file in sources()
            for mutant in rules.find_mutants((ROOT / file).read_text(), file.endswith(".def"))]


def sample(cases, count, seed):
    """A change elsewhere in the tree does not change which of the others are taken."""
    seen = collections.Counter()

    def place(case):
        key = (case.file, case.mutant.rule, case.mutant.before, case.mutant.after)
        seen[key] += 1
        return hashlib.sha256(repr((seed, key, seen[key])).encode()).hexdigest()

    return sorted(cases, key=place)[:count]


# --- the list of equivalent mutants ----------------------------------------------------------------


class Equivalents:
    """The entries of equivalent.toml: what each says, and the mutants that it speaks of."""

    def __init__(self, cases):
        self.entries = tomllib.loads(EQUIVALENT.read_text()).get("equivalent", [])
        self.faults = []
        self.by_case = {}
        self.outcomes = collections.defaultdict(collections.Counter)
        for number, entry in enumerate(self.entries):
            missing = {"file", "rule", "reason"} - entry.keys()
            strange = entry.keys() - {"file", "rule", "line", "becomes", "reason"}
            if missing or strange:
                self.faults.append(f"entry {number + 1} has no {sorted(missing)}"
                                   if missing else f"entry {number + 1} has {sorted(strange)}")
                continue
            found = [case for case in cases if self.speaks_of(entry, case)]
            if not found:
                self.faults.append(f"no mutant is like this: {self.shown(entry)}")
            for case in found:
                self.by_case[case] = number

    @staticmethod
    def shown(entry):
        return " | ".join(entry[key] for key in ("file", "rule", "line", "becomes") if key in entry)

    @staticmethod
    def speaks_of(entry, case):
        def is_text(key, text):
            wanted = entry.get(key)
            return wanted is None or re.fullmatch(
                ".*".join(map(re.escape, wanted.split("…"))), text) is not None

        mutant = case.mutant
        return (entry["file"] == case.file and entry["rule"] == mutant.rule
                and is_text("line", mutant.before) and is_text("becomes", mutant.after))

    def count(self, case, outcome):
        if case in self.by_case:
            self.outcomes[self.by_case[case]][outcome] += 1

    def disproved(self):
        """Entries all of whose mutants were run and killed."""
        of = collections.Counter(self.by_case.values())
        return [self.shown(self.entries[number]) for number, outcomes in self.outcomes.items()
                if outcomes[KILLED] + outcomes[REFUSED] == of[number]]


# --- building and running ------------------------------------------------------------------------


def compile_flags():
    """How the component is compiled, without optimisation and without warnings."""
    commands = json.loads((BUILD / "compile_commands.json").read_text())
    words = next(shlex.split(entry["command"]) for entry in commands
                 if pathlib.Path(entry["file"]).is_relative_to(SOURCES))
    compiler = next(i for i, word in enumerate(words) if re.search(r"(\+\+|cc|clang)[-\d.]*$", word)
                    and not word.endswith("ccache"))
    words = words[compiler:]
    kept = [word for word in words[:words.index("-o")]
            if not re.match(r"-(W|O|g)", word)]
    return kept + ["-O0", "-Werror=return-type"]  # a forgotten return does not compile


def link_words(program):
    listed = subprocess.run(["ninja", "-C", BUILD, "-t", "commands", "-s", f"bin/{program}"],
                            check=True, capture_output=True, text=True).stdout
    words = shlex.split(listed.strip().splitlines()[-1])
    first = words.index("&&") + 1
    return words[first:words.index("&&", first)]


class Program:
    """A program of tests whose parts were copied, so that a build does not disturb."""

    def __init__(self, name, folder):
        self.name = name
        self.folder = folder / name
        words = link_words(name)
        at = words.index("-o")
        del words[at:at + 2]
        self.words = []
        for word in words:
            if pathlib.Path(word).stem.partition(".")[0] in NOT_LINKED:
                continue
            part = BUILD / word
            if not word.startswith(("-", "/")) and part.is_file():
                (self.folder / word).parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(part, self.folder / word)
            self.words.append(word)
        if shutil.which("ld.gold"):
            self.words.append("-fuse-ld=gold")  # takes half the time

    def link(self, objects, output):
        # What the objects define is not taken from the library that follows.
        subprocess.run([self.words[0], *objects, *self.words[1:], "-o", output],
                       cwd=self.folder, check=True, capture_output=True)


INCLUDE = re.compile(r'^#include "([^"]+)"', re.MULTILINE)


def sources_that_include(header):
    """The sources of the component that must be compiled again after a change of this file."""
    texts = {file: (ROOT / file).read_text() for file in sources()}

    def included(file):
        for name in INCLUDE.findall(texts[file]):
            for folder in ("src/", "src/component/"):
                if folder + name in texts and (file, folder + name) not in DECLARATIONS:
                    yield folder + name

    reached = {header}
    while True:
        more = {file for file in texts if file not in reached and reached & set(included(file))}
        if not more:
            return sorted(file for file in reached if file.endswith(".cpp"))
        reached |= more


class Limit(typing.NamedTuple):
    """What the tests of one mutant may take, in seconds; a mutant may be an endless loop."""
    cpu: int  # of the program, not of its server
    wall: int


def children_cpu():
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return used.ru_utime + used.ru_stime


class Worker:
    """A copy of the sources in which one mutant after the other is tried."""

    def __init__(self, folder, bench):
        self.folder = folder
        self.bench = bench
        shutil.copytree(SOURCES, folder / "src")
        (folder / "tmp").mkdir()
        self.flags = [word.replace(f"{SOURCES}/", f"{folder}/src/").replace(
            f"-I{SOURCES}", f"-I{folder}/src") for word in bench.flags]

    def compile(self, file, name):
        output = self.folder / f"{name}.o"
        done = subprocess.run([*self.flags, "-include", self.bench.prefix, "-o", output, "-c",
                               self.folder / file], capture_output=True, check=False)
        return output if done.returncode == 0 else None

    def run(self, stage, executable, limit):
        """True when the tests pass."""
        tmp = self.folder / "tmp"
        limits = ["prlimit", f"--cpu={limit.cpu}", "--core=0"]
        if stage.program == UNIT:
            limits.append(f"--as={2 << 30}")
        process = subprocess.Popen(
            [*limits, executable, "--gtest_brief=1", "--gtest_fail_fast",
             f"--gtest_filter={stage.filter}"], cwd=tmp,
            env={**os.environ, "TMPDIR": str(tmp)}, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        try:
            return process.wait(timeout=limit.wall) == 0
        except subprocess.TimeoutExpired:
            return False
        finally:
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            shutil.rmtree(f"/dev/shm/twupdate-test-{process.pid}", ignore_errors=True)
            shutil.rmtree(tmp, ignore_errors=True)
            tmp.mkdir(exist_ok=True)

    def outcome(self, case):
        changed = self.folder / case.file
        text = changed.read_text()
        changed.write_text(case.mutant.apply(text))
        try:
            files = [case.file] if case.file.endswith(".cpp") else self.bench.users[case.file]
            objects = []
            for number, file in enumerate(files):
                compiled = self.compile(file, number)
                if not compiled:
                    return REFUSED
                objects.append(compiled)
            linked = {}
            for stage in self.bench.stages:
                if stage.is_for(case.file):
                    if stage.program not in linked:
                        linked[stage.program] = self.link(stage.program, objects)
                    executable = linked[stage.program]
                    if not executable or not self.run(stage, executable,
                                                      self.bench.limits[stage]):
                        return KILLED
            return SURVIVED
        finally:
            changed.write_text(text)

    def link(self, name, objects):
        executable = self.folder / name
        try:
            self.bench.programs[name].link(objects, executable)
        except subprocess.CalledProcessError:
            return None  # something that others use is no longer defined
        return executable


class Bench:
    """What all workers share."""

    def __init__(self, folder, cases, jobs):
        self.flags = compile_flags()
        self.stages = [stage for stage in STAGES if any(stage.is_for(case.file) for case in cases)]
        self.programs = {name: Program(name, folder)
                         for name in {stage.program for stage in self.stages}}
        headers = {case.file for case in cases if not case.file.endswith(".cpp")}
        self.users = {header: sources_that_include(header) for header in headers}
        self.prefix = folder / "standard.h"
        self.make_prefix()
        self.limits = {}
        self.workers = queue.Queue()
        for number in range(jobs):
            worker = folder / f"worker{number}"
            worker.mkdir()
            self.workers.put(Worker(worker, self))
        self.measure()

    def make_prefix(self):
        """The standard headers, compiled once: most of the time that a source takes."""
        used = set()
        for file in sources():
            used |= set(re.findall(r"^#include (<[^>]+>)", (ROOT / file).read_text(), re.MULTILINE))
        self.prefix.write_text("".join(f"#include {name}\n" for name in sorted(used)))
        subprocess.run([*self.flags, "-x", "c++-header", "-o", f"{self.prefix}.gch", self.prefix],
                       check=True)

    def measure(self):
        """Runs the tests on the component as it is: they must pass, and a mutant may take a
        multiple of their time."""
        worker = self.workers.get()
        for stage in self.stages:
            executable = worker.link(stage.program, [])
            used, began = children_cpu(), time.monotonic()
            if not worker.run(stage, executable, Limit(cpu=600, wall=1200)):
                sys.exit(f"{stage.program} fails without any change")
            # A busy machine may take several times as long as just now.
            self.limits[stage] = Limit(cpu=5 + int(5 * (children_cpu() - used)),
                                       wall=30 + int(5 * (time.monotonic() - began)))
        self.workers.put(worker)

    def outcome(self, case):
        worker = self.workers.get()
        try:
            return worker.outcome(case)
        finally:
            self.workers.put(worker)


# --- the report ----------------------------------------------------------------------------------


def show(case, outcome):
    mutant = case.mutant
    print(f"{case.file}:{mutant.line}: {outcome}: {mutant.rule}\n"
          f"    - {mutant.before}\n    + {mutant.after}", flush=True)


def print_table(title, key, tried, order):
    columns = (KILLED, SURVIVED, EQUIVALENT_ONE, REFUSED)
    counts = collections.Counter((key(case), outcome) for case, outcome in tried)
    rows = [name for name in order if any(counts[name, column] for column in columns)]
    print(f"\n{title:34}" + "".join(f"{column:>18}" for column in columns))
    for name in rows:
        print(f"{name:34}" + "".join(f"{counts[name, column]:18,}" for column in columns))
    print(f"{'together':34}" + "".join(
        f"{sum(counts[name, column] for name in rows):18,}" for column in columns))


def parse(words):
    parser = argparse.ArgumentParser(prog="./dev mutate", description=__doc__)
    parser.add_argument("--sample", type=int, metavar="N", help="try N of the mutants")
    parser.add_argument("--seed", type=int, default=1, metavar="S",
                        help="another number chooses another sample (default 1)")
    parser.add_argument("--file", action="append", metavar="GLOB",
                        help="files of src/ to change, e.g. 'src/dbutil/*'; may be repeated")
    parser.add_argument("--rule", action="append", choices=rules.RULES,
                        help="changes to make; may be repeated")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), metavar="N",
                        help="mutants at a time (default: one for each processor)")
    return parser.parse_args(words)


def main():
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    options = parse(sys.argv[1:])
    everything = all_cases()
    equivalents = Equivalents(everything)
    for fault in equivalents.faults:
        print(f"{EQUIVALENT.relative_to(ROOT)}: {fault}")
    if equivalents.faults:
        return 1
    cases = [case for case in everything
             if (not options.rule or case.mutant.rule in options.rule) and
             (not options.file or any(fnmatch.fnmatch(case.file, glob) for glob in options.file))]
    if not cases:
        print("no mutant of such files and rules")
        return 2
    if options.sample:
        cases = sample(cases, options.sample, options.seed)
    print(f"{len(cases):,} of {len(everything):,} mutants", flush=True)

    started = time.monotonic()
    tried = []
    with tempfile.TemporaryDirectory(prefix="twupdate-mutation.") as folder:
        bench = Bench(pathlib.Path(folder), cases, options.jobs)
        begun, used = time.monotonic(), children_cpu()
        with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
            try:
                for case, outcome in zip(cases, pool.map(bench.outcome, cases)):
                    equivalents.count(case, outcome)
                    if outcome == SURVIVED and case in equivalents.by_case:
                        outcome = EQUIVALENT_ONE
                    tried.append((case, outcome))
                    if outcome == SURVIVED:
                        show(case, outcome)
                    if len(tried) % 50 == 0:
                        print(f"{len(tried):,} tried", file=sys.stderr, flush=True)
            except KeyboardInterrupt:
                pool.shutdown(cancel_futures=True)
                print("interrupted: the figures are of what was tried", flush=True)
        ended, used = time.monotonic(), children_cpu() - used

    print_table("by rule", lambda case: case.mutant.rule, tried, rules.RULES)
    folders = sorted({str(pathlib.Path(file).parent) for file in sources()})
    print_table("by folder", lambda case: str(pathlib.Path(case.file).parent), tried, folders)
    print_reasons(equivalents, tried)
    print(f"\n{len(tried):,} of {len(cases):,} tried in {ended - started:.0f} s, "
          f"{(ended - begun) / max(len(tried), 1):.2f} s each with {options.jobs} at a time, "
          f"{used / max(len(tried), 1):.2f} s of a processor")
    disproved = equivalents.disproved()
    for entry in disproved:
        print(f"listed as equivalent, but a test notices it: {entry}")
    survived = any(outcome == SURVIVED for _, outcome in tried)
    return 1 if survived or disproved or len(tried) < len(cases) else 0


def print_reasons(equivalents, tried):
    numbers = collections.Counter(equivalents.by_case[case] for case, outcome in tried
                                  if outcome == EQUIVALENT_ONE)
    if numbers:
        print("\nequivalent")
    for number, count in sorted(numbers.items()):
        entry = equivalents.entries[number]
        print(f"{count:6} {Equivalents.shown(entry)}\n       {entry['reason']}")


if __name__ == "__main__":
    sys.exit(main())
