"""Makes mutations of source files, runs the tests on each and lists those that pass them all."""

import argparse
import collections
import multiprocessing
import pathlib
import random
import re
import subprocess

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
TIMEOUT = 600  # seconds for a test program; a mutation that hangs is noticed

Mutation = collections.namedtuple("Mutation", "file line kind before after")


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


def choose(file, count, generator):
    """At most count mutations, of as many kinds as there are."""
    by_kind = collections.defaultdict(list)
    for mutation in mutations_of(file):
        by_kind[mutation.kind].append(mutation)
    queues = list(by_kind.values())
    generator.shuffle(queues)
    for queue in queues:
        generator.shuffle(queue)
    chosen = [queue.pop() for _ in range(max(map(len, queues), default=0))
              for queue in queues if queue]
    return sorted(chosen[:count] if count else chosen, key=lambda mutation: mutation.line)


def family_first(programs, file):
    parts = pathlib.Path(file).parts
    own = [p for p in programs if p.rpartition("_")[2] in parts]
    return own + [p for p in programs if p not in own]


class Tree:
    """A copy of the sources with a build of its own."""

    def __init__(self, index):
        self.root = pathlib.Path(f"build/mutate/{index}").resolve()
        self.root.mkdir(parents=True, exist_ok=True)
        subprocess.run("git ls-files -z -co --exclude-standard | tar -c --null -T - | "
                       f"tar -x -C '{self.root}'", shell=True, check=True)
        run = ["cmake", "-S", self.root, "-B", self.root / "build", "-G", "Ninja",
               "-DCMAKE_BUILD_TYPE=Release", "-DMORVIK_BUILD_TOOLS=OFF"]
        subprocess.run(run, check=True, stdout=subprocess.DEVNULL)
        listed = subprocess.run(["ninja", "-C", self.root / "build", "-t", "targets", "all"],
                                check=True, capture_output=True, text=True).stdout
        self.programs = sorted(set(re.findall(r"^tests/\w+/(morvik_test_\w+):", listed, re.M)) -
                               {"morvik_test_large"})
        self.paths = dict(re.findall(r"^tests/(?=\w+/(morvik_test_\w+):)(\w+/)", listed, re.M))
        if not self.build():
            raise SystemExit("the tests do not build")

    def build(self):
        return subprocess.run(["cmake", "--build", self.root / "build", "--target",
                               *self.programs], capture_output=True).returncode == 0

    def passes(self, program):
        path = self.root / "build" / "tests" / self.paths[program] / program
        try:
            return subprocess.run([path, "--gtest_fail_fast", "--gtest_brief=1"], cwd=self.root,
                                  timeout=TIMEOUT, capture_output=True).returncode == 0
        except subprocess.TimeoutExpired:
            return False

    def verdict(self, mutation):
        path = self.root / mutation.file
        original = path.read_text()
        lines = original.splitlines(keepends=True)
        lines[mutation.line] = mutation.after + "\n"
        path.write_text("".join(lines))
        try:
            if not self.build():
                return "does not compile"
            for program in family_first(self.programs, mutation.file):
                if not self.passes(program):
                    return "noticed by " + program
            return "SURVIVES"
        finally:
            path.write_text(original)


def start_worker(next_index):
    global tree
    with next_index.get_lock():
        index = next_index.value
        next_index.value += 1
    tree = Tree(index)


def judge(mutation):
    return mutation, tree.verdict(mutation)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--mutations", type=int)
    parser.add_argument("--seed", type=int)
    parser.add_argument("--jobs", type=int)
    parser.add_argument("files", nargs="+")
    given = parser.parse_args()
    generator = random.Random(given.seed)
    mutations = [m for file in given.files for m in choose(file, given.mutations, generator)]
    unchanged = Tree(0)
    if not all(unchanged.passes(program) for program in unchanged.programs):
        raise SystemExit("a test fails without any mutation")
    counts = collections.defaultdict(collections.Counter)
    survivors = []
    next_index = multiprocessing.Value("i", 0)
    with multiprocessing.Pool(given.jobs, start_worker, (next_index,)) as pool:
        for mutation, verdict in pool.imap_unordered(judge, mutations):
            where = f"{mutation.file}:{mutation.line + 1}"
            print(f"{where}: {mutation.kind}: {mutation.after.strip()}: {verdict}", flush=True)
            counts[mutation.file][verdict.split()[0]] += 1
            if verdict == "SURVIVES":
                survivors.append((where, mutation))
    print("\n| file | mutations | noticed | survivors |\n|---|---:|---:|---:|")
    for file, count in sorted(counts.items()):
        compiled = sum(count.values()) - count["does"]
        print(f"| {file} | {compiled} | {count['noticed']} | {count['SURVIVES']} |")
    for where, mutation in sorted(survivors, key=lambda survivor: survivor[0]):
        print(f"\n{where}\n  - {mutation.before.strip()}\n  + {mutation.after.strip()}")


if __name__ == "__main__":
    main()
