"""Mutants: one-line mistakes in the sources that the tests must notice.

usage: mutants.py draw SEED COUNT [EXCLUDED-FOLDER...] > TABLE
       mutants.py copy TREE
       mutants.py run TREE [FOLDER|NUMBER|NUMBER-NUMBER...]

All are run in the root of the source tree.

A table has one mutant after the other, with an empty line between:

    12 support/file_io.cpp
    -the line as it stands
    +the line with the mistake
    # for a mutant that survives: why no test can notice it, or why none needs to

A mutant is found by its file and its line, wherever that stands. draw chooses lines by the seed
alone: nothing is known then of what the tests notice. run applies the mutants in TREE, a configured
copy of the tree, one at a time, and builds and runs the tests of the folder.
"""
import concurrent.futures
import json
import pathlib
import random
import re
import shlex
import shutil
import subprocess
import sys
import time

TABLES = ("tests/mutants/drawn.txt", "tests/mutants/by_hand.txt")
BUILD = "build/gcc-debug"
COMPILERS = 4  # at a time
TEST_TIMEOUT = 60  # seconds, for each test


class Mutant:
    def __init__(self, number, file, line, mistake, reasons):
        self.number = number
        self.file = file
        self.line = line
        self.mistake = mistake
        self.reasons = reasons

    def folder(self):
        return str(pathlib.PurePath(self.file).parent)

    def is_in(self, folder):
        return self.folder() == folder or self.folder().startswith(folder + "/")

    def text(self):
        lines = [f"{self.number} {self.file}", "-" + self.line, "+" + self.mistake]
        return "\n".join(lines + ["# " + reason for reason in self.reasons]) + "\n"


def read_table(path):
    mutants = []
    for block in re.split(r"\n\n+", path.read_text().strip()):
        lines = [line for line in block.split("\n") if line]
        if all(line.startswith("#") for line in lines):
            continue
        head, old, new, *reasons = lines
        number, file = head.split(" ", 1)
        if old[0] != "-" or new[0] != "+" or any(not r.startswith("# ") for r in reasons):
            sys.exit(f"mutants: mutant {number} of {path} is no head, '-', '+' and '#' lines")
        mutants.append(Mutant(int(number), file, old[1:], new[1:], [r[2:] for r in reasons]))
    return mutants


# --- Drawing ---

COMPARISONS = {" < ": " <= ", " <= ": " < ", " > ": " >= ", " >= ": " > ", " == ": " != ",
               " != ": " == ", " && ": " || ", " || ": " && ", " + ": " - ", " - ": " + ",
               "++": "--", "true": "false", "false": "true", " += ": " -= "}
STATEMENT = re.compile(r"^\s+(?!return\b|using\b|break;|continue;|throw\b|delete\b|case\b|default\b"
                       r"|const\b|static\b|auto\b|else\b|struct\b|friend\b|virtual\b|extern\b"
                       r"|typedef\b|namespace\b|template\b|goto\b)"
                       r"((::)?[\w.:>*()\[\]-]+(\(.*\)| [-+|&]?= .+)|\+\+[\w.]+|[\w.]+\+\+);$")
CONDITION = re.compile(r"^(\s*(?:\} else )?(?:if|while) \()(?!const |auto )([^;]*)(\) \{)$")
RETURN = re.compile(r"^(\s+return )(\w[^;]*)(;)$")
NUMBER = re.compile(r"(?<![\w.\"'%x])(\d+)(?![\w.\"'])")


def code_lines(path):
    """The lines that may be changed: code that stands once in its file."""
    lines = path.read_text().split("\n")
    for line in lines:
        bare = line.strip()
        if (len(bare) > 3 and lines.count(line) == 1 and not bare.startswith(("//", "#", "*", "/*"))
                and "FWBASE_" not in line and "static_assert" not in line and '"' not in line):
            yield line


def mistakes(line):
    """What may be made of a line, a kind of mistake each."""
    code = line.split("  // ")[0]
    found = []
    if STATEMENT.match(code) and code.count("(") == code.count(")"):
        found.append(re.match(r"\s*", line).group() + ";")
    if condition := CONDITION.match(code):
        found.append(f"{condition[1]}!({condition[2]}){condition[3]}")
    for operator, other in COMPARISONS.items():
        if operator in code and "operator" not in code and "<<" not in code and "&&)" not in code:
            found.append(line.replace(operator, other, 1))
    if "(" in code or "=" in code or "return" in code:
        found += [line[:n.start()] + str(int(n[1]) + 1) + line[n.end():]
                  for n in NUMBER.finditer(code)]
    return found


def sources(excluded):
    names = subprocess.run(["git", "ls-files", "fwbase/*.cpp", "fwbase/*.h", "utility/*.cpp",
                            "utility/*.h", "support/*.cpp", "support/*.h", "tools/*.cpp",
                            "tools/*.h"],
                           capture_output=True, check=True, text=True).stdout.split()
    return [n for n in names if not any(n.startswith(e + "/") for e in excluded)]


def compiles(commands, mutant):
    """Whether the source with the mistake is still C++: the compiler needs no test."""
    path = pathlib.Path(mutant.file)
    command = commands.get(mutant.file)
    if command is None:
        return False
    text = path.read_text().replace(mutant.line + "\n", mutant.mistake + "\n", 1)
    check = ["-w", "-fsyntax-only", "-x", "c++", "-"]
    return subprocess.run(command + check, input=text.encode(), capture_output=True,
                          check=False).returncode == 0


def compile_commands():
    """Of each source: its compiler and what it needs to be read; headers are tried alone."""
    commands = {}
    root = pathlib.Path.cwd()
    for entry in json.loads((root / BUILD / "compile_commands.json").read_text()):
        words = [w for w in shlex.split(entry["command"]) if not w.endswith("ccache")]
        kept = [w for i, w in enumerate(words) if i == 0 or w.startswith(("-I", "-D", "-std"))
                or words[i - 1] == "-isystem" or w == "-isystem"]
        path = pathlib.Path(entry["file"])
        if path.is_relative_to(root):
            name = str(path.relative_to(root))
            kept.append(f"-iquote{path.parent}")
            commands.setdefault(name, kept)
    return commands


def draw(seed, count, excluded):
    chosen = random.Random(seed)
    lines = [(file, line) for file in sources(excluded) for line in code_lines(pathlib.Path(file))]
    chosen.shuffle(lines)
    commands = compile_commands()
    for file in {file for file, line in lines} - set(commands):  # headers: as a source beside them
        folder = pathlib.PurePath(file).parent
        beside = [other for other in commands if pathlib.PurePath(other).parent == folder]
        if beside:
            commands[file] = commands[sorted(beside)[0]]
    before = pathlib.Path(TABLES[0])
    reasons = {(m.file, m.line, m.mistake): m.reasons
               for m in (read_table(before) if before.exists() else [])}
    candidates = [Mutant(0, file, line, chosen.choice(found), [])
                  for file, line in lines if (found := mistakes(line))]
    drawn = []
    with concurrent.futures.ThreadPoolExecutor(COMPILERS) as compilers:
        while candidates and len(drawn) < count:
            some, candidates = candidates[:COMPILERS], candidates[COMPILERS:]
            good = compilers.map(lambda mutant: compiles(commands, mutant), some)
            drawn += [mutant for mutant, is_good in zip(some, good) if is_good]
            print(f"{min(len(drawn), count)}/{count}", file=sys.stderr)
    del drawn[count:]
    drawn.sort(key=lambda m: m.file)
    for number, mutant in enumerate(drawn, 1):
        mutant.number = number
        mutant.reasons = reasons.get((mutant.file, mutant.line, mutant.mistake), [])
    again = f"./dev mutants --draw {seed}" + "".join(" " + e for e in excluded)
    print(f"# Drawn by: {again}\n")
    print("\n".join(m.text() for m in drawn), end="")


# --- Running ---

def tests_of(folder):
    """The targets that have the tests of a folder of sources, and the labels that these have."""
    if folder.startswith("utility"):
        return ["fwbase_tests"], "^utility(/.*)?$"
    if folder in ("fwbase", "fwbase/runlog") or folder.startswith("fwbase/include"):
        label = "fwbase/runlog" if folder == "fwbase/runlog" else "fwbase"
        return ["fwbase_tests", "tests/host/all"], f"^({label}|host)$"
    if folder.startswith("fwbase") or folder == "support":
        return ["fwbase_tests"], f"^{folder}$"
    while not pathlib.Path("tests", folder).is_dir():
        folder = str(pathlib.PurePath(folder).parent)
    return [f"tests/{folder}/all"], f"^{folder}(/.*)?$"


def copy(tree):
    """Writes what differs only. Times are those of the copy, or the build would not notice that a
    line with a mistake has been put right again."""
    names = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                           capture_output=True, check=True, text=True).stdout.split("\0")
    for source in (pathlib.Path(name) for name in names if name):
        target = tree / source
        if source.is_file() and not (target.is_file()
                                     and target.read_bytes() == source.read_bytes()):
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(source.read_bytes())
            shutil.copymode(source, target)


class Tree:
    def __init__(self, tree):
        self.tree = tree

    def build(self, targets):
        return subprocess.run(["cmake", "--build", str(self.tree / BUILD), "--target", *targets],
                              capture_output=True, check=False, text=True)

    def test(self, label):
        return subprocess.run(["ctest", "--test-dir", str(self.tree / BUILD), "-L", label,
                               "--no-tests=error", "--stop-on-failure", "--timeout",
                               str(TEST_TIMEOUT), "--parallel", "2"],
                              capture_output=True, check=False, text=True)

    def run(self, mutant):
        """How the mutant ended: by the name of a test that failed, "compiler" or ""."""
        targets, label = tests_of(mutant.folder())
        path = self.tree / mutant.file
        text = path.read_text()
        path.write_text(text.replace(mutant.line + "\n", mutant.mistake + "\n"))
        try:
            if self.build(targets).returncode != 0:
                return "compiler"
            result = self.test(label)
        finally:
            path.write_text(text)
        failed = re.findall(r"^\t *\d+ - (\S+)", result.stdout, re.M)
        return "" if result.returncode == 0 else (failed[0] if failed else "ctest")


def require_lines(mutants):
    wrong = []
    for m in mutants:
        path = pathlib.Path(m.file)
        found = path.read_text().split("\n").count(m.line) if path.exists() else None
        if found != 1:
            what = "no such file" if found is None else f"the line stands there {found} times"
            wrong.append(f"mutants: {m.number} {m.file}: {what}: {m.line.strip()}")
    if wrong:
        sys.exit("\n".join(wrong))


def select(mutants, wanted):
    if not wanted:
        return mutants
    chosen = set()
    for want in wanted:
        if numbers := re.fullmatch(r"(\d+)(?:-(\d+))?", want):
            first, last = int(numbers[1]), int(numbers[2] or numbers[1])
            found = {m.number for m in mutants if first <= m.number <= last}
        else:
            found = {m.number for m in mutants if m.is_in(want.rstrip("/"))}
        if not found:
            sys.exit(f"mutants: there is none in '{want}'")
        chosen |= found
    return [m for m in mutants if m.number in chosen]


def require_sound_tests(tree, mutants):
    """What fails without a mistake would notice every one."""
    for targets, label in {m.folder(): tests_of(m.folder()) for m in mutants}.values():
        print(f"building and testing {label} without a mistake", flush=True)
        built = tree.build(targets)
        if built.returncode != 0:
            sys.exit(f"mutants: the build fails without a mistake:\n{built.stdout[-4000:]}")
        tested = tree.test(label)
        if tested.returncode != 0:
            sys.exit(f"mutants: tests fail without a mistake:\n{tested.stdout[-4000:]}")


def run(tree, wanted):
    mutants = [m for table in TABLES for m in read_table(pathlib.Path(table))]
    mutants = select(mutants, wanted)
    require_lines(mutants)
    tree = Tree(tree)
    require_sound_tests(tree, mutants)
    survivors = []
    for done, mutant in enumerate(mutants, 1):
        begun = time.monotonic()
        noticed_by = tree.run(mutant)
        took = f"{time.monotonic() - begun:.0f} s"
        print(f"[{done}/{len(mutants)}, {took}] {mutant.number} {mutant.file}: "
              + (f"noticed by {noticed_by}" if noticed_by else "SURVIVED"), flush=True)
        if noticed_by and mutant.reasons:
            print("  its table says why it survives: take that back")
        if not noticed_by:
            survivors.append(mutant)
            print(f"  -{mutant.line}\n  +{mutant.mistake}")
            for reason in mutant.reasons or ["no reason given"]:
                print(f"  # {reason}", flush=True)
    noticed = len(mutants) - len(survivors)
    unexplained = sum(not m.reasons for m in survivors)
    print(f"{noticed} of {len(mutants)} noticed ({100 * noticed / len(mutants):.1f} %), "
          f"{unexplained} of {len(survivors)} survivors without a reason")
    return 1 if unexplained else 0


def main():
    command, *arguments = sys.argv[1:]
    if command == "draw":
        draw(int(arguments[0]), int(arguments[1]), arguments[2:])
    elif command == "copy":
        copy(pathlib.Path(arguments[0]))
    else:
        sys.exit(run(pathlib.Path(arguments[0]), arguments[1:]))


main()
