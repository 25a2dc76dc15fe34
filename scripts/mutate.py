"""Makes mutations of source files, runs the tests that reach them and lists those that pass."""

import argparse
import collections
import hashlib
import json
import os
import pathlib
import random
import re
import resource
import subprocess
import time

# Kind, what is looked for in a line of code, what takes its place. Operators stand between spaces
# since the sources are formatted.
SWAPS = [
    ("comparison", r" (<|<=|>|>=|==|!=) ",
     {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}),
    ("condition", r" (&&|\|\|) ", {"&&": "||", "||": "&&"}),
    ("sign", r" (\+|-|\+=|-=) ", {"+": "-", "-": "+", "+=": "-=", "-=": "+="}),
]
CONSTANT = re.compile(r"(?<![\w.])(\d+)(?=(\.\d+)?[UuFfLl]*\b)(?!\w*[xX])")
OFFSET = re.compile(r" [+-] 1(?![\w.])")
STATEMENT = re.compile(r"^\s+((?!return\b|using\b|const\b|static\b|constexpr\b|auto\b|throw\b)"
                       r"(\+\+|--)?[\w:\]\[.*>()-]+( [-+*/|&^<>]*= .*|\(.*\)|\+\+|--)?|continue|break);$")
WORK = pathlib.Path("build/mutate")
# One instruction set, the best of this machine: kernels compile in two seconds instead of ten.
FLAGS = "-O1 -DNDEBUG -march=native -DHWY_COMPILE_ONLY_STATIC"

SHORT = 5  # seconds; longer tests are run on what the others let pass, in the end
MEMORY = 12 << 30  # bytes of a test's address space: a mutation may ask for anything

Mutation = collections.namedtuple("Mutation", "file line kind before after")
# `lines` has those with code that a test program saw, `reached` those that the test ran.
Reach = collections.namedtuple("Reach", "program test seconds lines reached")


def code_lines(path):
    """Numbers and texts of lines that are code; assertions and preprocessor lines are left out."""
    for number, line in enumerate(path.read_text().splitlines()):
        code = line.split("//")[0].rstrip()
        if code.strip() and not re.match(r"\s*(#|\*|/\*|static_assert|assert)", code):
            yield number, code


def mutations_of(file):
    for number, code in code_lines(pathlib.Path(file)):
        def changed(match, text, group=1):
            return code[:match.start(group)] + text + code[match.end(group):]
        for kind, pattern, swaps in SWAPS:
            for match in re.finditer(pattern, code):
                yield Mutation(file, number, kind, code, changed(match, swaps[match[1]]))
        for match in CONSTANT.finditer(code):
            yield Mutation(file, number, "constant", code, changed(match, str(int(match[1]) + 1)))
        for match in OFFSET.finditer(code):
            yield Mutation(file, number, "offset", code, changed(match, "", 0))
        if STATEMENT.match(code) and code.count("(") == code.count(")"):
            indent = code[:len(code) - len(code.lstrip())]
            yield Mutation(file, number, "statement", code, indent + ";")


def mixed(mutations, generator):
    """All of them, kinds taking turns."""
    by_kind = collections.defaultdict(list)
    for mutation in mutations:
        by_kind[mutation.kind].append(mutation)
    queues = list(by_kind.values())
    generator.shuffle(queues)
    for queue in queues:
        generator.shuffle(queue)
    return [queue.pop() for _ in range(max(map(len, queues), default=0)) for queue in queues if queue]


def choose(files, count, generator):
    """About count mutations in all, as many of a file as it has its share of code, at least one."""
    possible = {file: mixed(mutations_of(file), generator) for file in files}
    total = sum(map(len, possible.values()))
    for file, mutations in possible.items():
        share = max(1, round(count * len(mutations) / total)) if count else len(mutations)
        yield from sorted(mutations[:share], key=lambda mutation: mutation.line)


class Tree:
    """A copy of the sources with a build of its own."""

    def __init__(self, name, flags=""):
        self.root = (WORK / name).resolve()
        self.build_folder = self.root / "build"
        self.copy_sources()
        subprocess.run(
            ["cmake", "-S", self.root, "-B", self.build_folder, "-G", "Ninja",
             "-DCMAKE_BUILD_TYPE=None", "-DMORVIK_BUILD_TOOLS=OFF", "-DMORVIK_BUILD_EXAMPLES=OFF",
             "-DCMAKE_C_COMPILER=clang-19", "-DCMAKE_CXX_COMPILER=clang++-19",
             f"-DCMAKE_CXX_FLAGS={FLAGS} {flags}"],
            check=True, stdout=subprocess.DEVNULL)
        listed = subprocess.run(["ninja", "-C", self.build_folder, "-t", "targets", "all"],
                                check=True, capture_output=True, text=True).stdout
        self.programs = {name: self.build_folder / path for path, name in re.findall(
            r"^(tests/[\w/]+/(morvik_test_\w+)):", listed, re.M) if name != "morvik_test_large"}
        if not self.build(*self.programs):
            raise SystemExit("the tests do not build")

    def copy_sources(self):
        """Only what differs, so that what an interrupted run left is compiled again."""
        listed = subprocess.run(["git", "ls-files", "-z", "-co", "--exclude-standard"], check=True,
                                capture_output=True, text=True).stdout
        for name in filter(None, listed.split("\0")):
            source, copy = pathlib.Path(name), self.root / name
            if source.is_file() and not (copy.exists() and
                                         copy.read_bytes() == source.read_bytes()):
                copy.parent.mkdir(parents=True, exist_ok=True)
                copy.write_bytes(source.read_bytes())

    def build(self, *targets):
        names = [os.path.relpath(target, self.build_folder) if isinstance(target, pathlib.Path)
                 else target for target in targets]
        command = ["ninja", "-C", self.build_folder, "-j", os.environ.get("JOBS", "1"), *names]
        return subprocess.run(command, capture_output=True).returncode == 0

    def passes(self, program, test, limit=600, **environment):
        try:
            return subprocess.run(
                [self.programs[program], f"--gtest_filter={test}", "--gtest_fail_fast",
                 "--gtest_brief=1"], cwd=self.root, timeout=limit, capture_output=True,
                env=os.environ | environment, preexec_fn=lambda: resource.setrlimit(
                    resource.RLIMIT_AS, (MEMORY, MEMORY))).returncode == 0
        except subprocess.TimeoutExpired:
            return False


def tests_of(program):
    listed = subprocess.run([program, "--gtest_list_tests"], check=True, capture_output=True,
                            text=True).stdout
    suite = ""
    for line in listed.splitlines():
        name = line.split("#")[0].rstrip()
        if name.endswith("."):
            suite = name.strip()
        elif name.startswith("  "):
            yield suite + name.strip()


def lines_reached(tree, program, raw):
    """Of each source, lines with code and those that ran, from a raw profile."""
    merged = raw.with_suffix(".profdata")
    subprocess.run(["llvm-profdata-19", "merge", "-sparse", raw, "-o", merged], check=True)
    export = subprocess.run(
        ["llvm-cov-19", "export", "-format=lcov", f"-instr-profile={merged}",
         tree.programs[program], "-sources", tree.root / "src"],
        check=True, capture_output=True, text=True).stdout
    lines, reached = collections.defaultdict(set), collections.defaultdict(set)
    for line in export.splitlines():
        if line.startswith("SF:"):
            file = "src/" + line.partition("/src/")[2]
        elif line.startswith("DA:"):
            number, count = map(int, line[3:].split(",")[:2])
            lines[file].add(number - 1)
            if count:
                reached[file].add(number - 1)
    return lines, reached


def measure_reach():
    tree = Tree("coverage", "-fprofile-instr-generate -fcoverage-mapping")
    raw = WORK.resolve() / "test.profraw"
    for program, path in tree.programs.items():
        for test in tests_of(path):
            started = time.monotonic()
            if not tree.passes(program, test, LLVM_PROFILE_FILE=str(raw)):
                raise SystemExit(f"{test} fails without any mutation")
            seconds = time.monotonic() - started
            yield Reach(program, test, seconds, *lines_reached(tree, program, raw))


def hash_of(*files):
    return hashlib.sha256(b"".join(pathlib.Path(name).read_bytes() for name in files)).hexdigest()[:12]


def state_of(*folders):
    """A hash of all files in them."""
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", *folders], check=True,
                            capture_output=True, text=True)
    return hash_of(*listed.stdout.splitlines())


def reach_of_tests():
    """Measured anew when a source or a test has changed."""
    kept = WORK / f"reach-{state_of('src', 'tests', 'reference', 'include')}.json"
    if not kept.exists():
        WORK.mkdir(parents=True, exist_ok=True)
        measured = [reach._replace(lines={f: list(n) for f, n in reach.lines.items()},
                                   reached={f: list(n) for f, n in reach.reached.items()})
                    for reach in measure_reach()]
        kept.write_text(json.dumps(measured))
    return sorted((Reach(*reach) for reach in json.loads(kept.read_text())),
                  key=lambda reach: reach.seconds)


def tests_that_reach(mutation, reaches):
    """The shortest first. Constants outside of functions are not counted: there it is all tests that
    use the file."""
    counted = any(mutation.line in reach.lines.get(mutation.file, ()) for reach in reaches)
    known = any(mutation.file in reach.lines for reach in reaches)
    for reach in reaches:
        if counted:
            if mutation.line in reach.reached.get(mutation.file, ()):
                yield reach
        elif not known or reach.reached.get(mutation.file):
            yield reach


class Judge:
    def __init__(self):
        self.reaches = reach_of_tests()
        self.tree = Tree("mutants")
        for program in self.tree.programs:
            if not self.tree.passes(program, "*"):
                raise SystemExit(f"{program} fails without any mutation")

    def object_of(self, file):
        return self.tree.build_folder / f"CMakeFiles/morvik_objects.dir/{file}.o"

    def verdict(self, mutation, are_short):
        """Leaves source and object with their old times: nothing is compiled again. The programs
        are linked again for the next mutation, whose object is newer. Headers get a new time."""
        source = self.tree.root / mutation.file
        kept = [source]
        if mutation.file.endswith(".cpp"):
            self.tree.build(self.object_of(mutation.file))
            kept.append(self.object_of(mutation.file))
        before = [(path, path.read_bytes(), path.stat().st_mtime_ns) for path in kept]
        lines = source.read_text().splitlines(keepends=True)
        lines[mutation.line] = mutation.after + "\n"
        source.write_text("".join(lines))
        try:
            return self.verdict_on_changed(mutation, before[1][1] if len(before) > 1 else None,
                                           are_short)
        finally:
            for path, content, modified in before:
                path.write_bytes(content)
                if len(before) > 1:
                    os.utime(path, ns=(modified, modified))

    def verdict_on_changed(self, mutation, compiled, are_short):
        if compiled is not None:
            if not self.tree.build(self.object_of(mutation.file)):
                return "does not compile"
            if self.object_of(mutation.file).read_bytes() == compiled:
                return "same code"
        built, reached = set(), False
        for reach in tests_that_reach(mutation, self.reaches):
            reached = True
            if (reach.seconds < SHORT) != are_short:
                continue
            if reach.program not in built and not self.tree.build(reach.program):
                return "does not compile"
            built.add(reach.program)
            if not self.tree.passes(reach.program, reach.test, 10 * reach.seconds + 10):
                return "noticed by " + reach.test
        return "SURVIVES" if reached else "SURVIVES, not reached"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--mutations", type=int)
    parser.add_argument("--seed", type=int)
    parser.add_argument("--log", type=pathlib.Path, default=WORK / "verdicts.jsonl")
    parser.add_argument("files", nargs="+")
    given = parser.parse_args()
    generator = random.Random(given.seed)
    mutations = list(choose(given.files, given.mutations, generator))
    generator.shuffle(mutations)
    # A change of a header compiles many sources anew: these come last.
    mutations.sort(key=lambda mutation: mutation.file.endswith(".h"))
    judge = Judge()
    log = Log(given.log)
    for are_short in (True, False):
        for mutation in mutations:
            if log.is_open(mutation, are_short):
                verdict = judge.verdict(mutation, are_short)
                log.add(mutation, are_short, verdict)
                print(f"{time.strftime('%T')} {where(mutation)}: {mutation.kind}: "
                      f"{mutation.after.strip()}: {verdict}", flush=True)
    report({mutation: log.verdicts[log.key(mutation)] for mutation in mutations})


class Log:
    """Verdicts, kept so that an interrupted run goes on where it was; when a file or a test has
    changed, they do not count."""

    def __init__(self, path):
        self.path = path
        self.tests = state_of("tests", "reference")
        self.verdicts, self.rounds = {}, {}
        if path.exists():
            for line in path.read_text().splitlines():
                key, is_short, verdict = json.loads(line)
                self.keep(tuple(key), is_short, verdict)

    def keep(self, key, is_short, verdict):
        self.verdicts[key], self.rounds[key] = verdict, is_short

    def key(self, mutation):
        return (self.tests, hash_of(mutation.file), *mutation)

    def is_open(self, mutation, are_short):
        key = self.key(mutation)
        return key not in self.verdicts or (
            self.verdicts[key] == "SURVIVES" and self.rounds[key] and not are_short)

    def add(self, mutation, are_short, verdict):
        self.keep(self.key(mutation), are_short, verdict)
        with self.path.open("a") as file:
            file.write(json.dumps([self.key(mutation), are_short, verdict]) + "\n")


def where(mutation):
    return f"{mutation.file}:{mutation.line + 1}"


def report(verdicts):
    counts = collections.defaultdict(collections.Counter)
    for mutation, verdict in verdicts.items():
        counts[mutation.file][verdict.split()[0].rstrip(",")] += 1
    print("\n| file | mutations | noticed | survivors |\n|---|---:|---:|---:|")
    for file, count in sorted(counts.items()):
        compiled = sum(count.values()) - count["does"] - count["same"]
        print(f"| {file} | {compiled} | {count['noticed']} | {count['SURVIVES']} |")
    for mutation, verdict in sorted(verdicts.items()):
        if verdict.startswith("SURVIVES"):
            print(f"\n{where(mutation)} {verdict}\n  - {mutation.before.strip()}\n"
                  f"  + {mutation.after.strip()}")


if __name__ == "__main__":
    main()
