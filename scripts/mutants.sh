#!/usr/bin/env bash
# A mutation run: how many small faults planted in the product code the tests catch.
#
#   scripts/mutants.sh [--sample N] [--seed S] [--jobs J] [--rev REV] [--list] [--matrix]
#
# A fixed, seeded sample of N single-site mutations of the product code (never of tests):
# comparison and arithmetic operators swapped, integer constants moved by one, a condition
# negated, a statement dropped, a boolean return flipped, && and || swapped. Each mutant is
# applied to a copy of the tree under build/mutants/ (the working tree is never touched), built
# incrementally and judged by the test executables kit_tests, mcp_tests and protocol_tests (the
# stress suite is left out): killed when a test fails, the build fails or a test executable runs
# past its limit; survived when everything passes. The same seed and sample give the same
# mutants as long as the product code is the same, so two runs compare test suites.
# --jobs J judges J mutants at a time, each in a copy of its own (a mutant that hangs waits out
# its limit mostly asleep); the verdicts do not depend on it. --rev REV judges the tree of that
# commit instead of the working tree as it is (to measure an earlier suite). --list prints the
# sample without running it. --matrix runs every test executable to its end for each mutant and
# names, after each verdict, the tests that failed, then lists the tests that alone catch some
# mutant: what a trim of the tests must keep (slower, since a killed mutant no longer stops at
# its first failing executable). The last lines give the surviving mutants and the kill rate;
# the whole report is also written to build/mutants/report-SEED-N-TIME.txt.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
sample=150 seed=1 jobs=1 list=0 rev= matrix=0
usage() { echo "usage: scripts/mutants.sh [--sample N] [--seed S] [--jobs J] [--rev REV] [--list] [--matrix]"; }
while (($#)); do
    case "$1" in
        --sample) sample=${2:?--sample needs a number}; shift 2 ;;
        --seed) seed=${2:?--seed needs a number}; shift 2 ;;
        --jobs) jobs=${2:?--jobs needs a number}; shift 2 ;;
        --rev) rev=${2:?--rev needs a commit}; shift 2 ;;
        --list) list=1; shift ;;
        --matrix) matrix=1; shift ;;
        -h | --help) usage; exit 0 ;;
        *) echo "scripts/mutants.sh: unknown option '$1'" >&2; usage >&2; exit 1 ;;
    esac
done
[[ $sample =~ ^[0-9]+$ && $seed =~ ^[0-9]+$ && $jobs =~ ^[1-9][0-9]*$ ]] || { usage >&2; exit 1; }

work=$root/build/mutants
trees=()
if ((!list)); then
    EXTRA_PACKAGES=python3 scripts/setup.sh --packages-only debug
    for ((j = 0; j < jobs; ++j)); do
        tree=$work/tree
        ((j == 0)) || tree+=$j
        trees+=("$tree")
        # The tree as it is now (or at REV), staged, then only what differs copied over, so
        # that the build of an earlier run is reused and sees what changed.
        stage=$work/stage
        rm -rf "$stage" && mkdir -p "$stage" "$tree"
        if [[ -n $rev ]]; then
            git archive "$rev" | tar -xf - -C "$stage"
        else
            git ls-files -z --cached --others --exclude-standard | tar --null -T - -cf - | tar -xf - -C "$stage"
        fi
        (cd "$stage" && find . -type f -print0) | while IFS= read -r -d '' f; do
            cmp -s "$stage/$f" "$tree/$f" || { mkdir -p "$(dirname "$tree/$f")" && cp "$stage/$f" "$tree/$f"; }
        done
        (cd "$tree" && find . -path ./build -prune -o -type f -print0) | while IFS= read -r -d '' f; do
            [[ -e $stage/$f ]] || rm "$tree/$f"
        done
        rm -rf "$stage"
        echo "building the copy in $tree/build…" >&2
        cmake -S "$tree" -B "$tree/build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 \
            -DZELMOR_WERROR=OFF -DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=gold >"$work/configure.log" 2>&1 ||
            { cat "$work/configure.log" >&2; exit 1; }
        cmake --build "$tree/build" --target kit_tests mcp_tests protocol_tests >"$work/build.log" 2>&1 ||
            { tail -n 30 "$work/build.log" >&2; exit 1; }
    done
fi

exec python3 - "$root" "$sample" "$seed" "$list" "$matrix" "${trees[@]}" <<'PYTHON'
import collections, os, platform, queue, random, re, signal, subprocess, sys, time
from concurrent.futures import ThreadPoolExecutor

root, sample, seed = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
list_only, matrix, trees = sys.argv[4] == "1", sys.argv[5] == "1", sys.argv[6:]
# Sources of the other system are not built here: their mutants could never be killed.
other_system = "-linux.cpp" if platform.system() == "Darwin" else "-macos.cpp"
product = ("ZelmorMarkdownKit/", "ZelmorMCP/", "platform/", "tools/zelmor-kit/")
tests = ["kit_tests", "mcp_tests", "protocol_tests"]
test_limit = 60  # seconds per test executable; far above a passing run's

def masked(line):
    """The line with string and character literals blanked and any comment cut, same length,
    so that operators are looked for in code only."""
    out, i, n = [], 0, len(line)
    while i < n:
        c = line[i]
        if line.startswith("//", i):
            break
        if line.startswith('R"(', i):
            end = line.find(')"', i + 3)
            if end < 0:
                return None  # a raw string that goes on past the line
            out.append("R" + " " * (end + 1 - i) + '"')
            i = end + 2
            continue
        if c in "\"'":
            j = i + 1
            while j < n and line[j] != c:
                j += 2 if line[j] == "\\" else 1
            out.append(" " * (min(j, n - 1) + 1 - i))
            i = j + 1
            continue
        out.append(c)
        i += 1
    return "".join(out).ljust(len(line))

swaps = {" == ": " != ", " != ": " == ", " < ": " <= ", " <= ": " < ", " > ": " >= ", " >= ": " > ",
         " && ": " || ", " || ": " && ", " + ": " - ", " - ": " + ", " * ": " / ", " / ": " * "}
operator = re.compile("|".join(re.escape(k) for k in swaps))
number = re.compile(r"(?<![\w.])(\d+)(?![\w.'])")
condition = re.compile(r"\b(if|while) \(")
statement = re.compile(r"^(\s*)(?!return\b|co_return\b|throw\b|delete\b)[A-Za-z_][\w:.\->\[\]]*"
                       r"(\(.*\)|\s*(=|\+=|-=|\|=|&=)\s.*|\+\+|--);$")
flips = {"return true;": "return false;", "return false;": "return true;"}

def sites_in(path):
    found = []
    lines = open(os.path.join(root, path), encoding="utf-8").read().split("\n")
    in_raw = False
    for number_, line in enumerate(lines, 1):
        if in_raw:
            in_raw = ')"' not in line
            continue
        stripped = line.strip()
        if stripped.startswith(("#", "//", "///", "static_assert", "template")):
            continue
        code = masked(line)
        if code is None:
            in_raw = True
            continue
        for m in operator.finditer(code):
            found.append((path, number_, m.start(), m.group(), swaps[m.group()]))
        for m in number.finditer(code):
            value = int(m.group(1))
            found.append((path, number_, m.start(), m.group(1), str(value + 1)))
            if value > 0:
                found.append((path, number_, m.start(), m.group(1), str(value - 1)))
        for m in condition.finditer(code):
            depth, j = 0, m.end() - 1
            while j < len(code):
                depth += {"(": 1, ")": -1}.get(code[j], 0)
                if depth == 0:
                    break
                j += 1
            if j < len(code):
                inner = line[m.end():j]
                found.append((path, number_, m.end() - 1, "(" + inner + ")", "(!(" + inner + "))"))
        m = statement.match(code.rstrip())
        if m and "{" not in code:
            found.append((path, number_, len(m.group(1)), line.strip(), ";"))
        for old, new in flips.items():
            at = code.find(old)
            if at >= 0:
                found.append((path, number_, at, old, new))
        if stripped in ("continue;", "break;"):
            found.append((path, number_, line.index(stripped), stripped, ";"))
    return found

files = sorted(os.path.relpath(os.path.join(d, f), root)
               for top in product for d, _, names in os.walk(os.path.join(root, top))
               for f in names if f.endswith(".cpp") and not f.endswith(other_system))
sites = sorted(s for path in files for s in sites_in(path))
picked = sorted(random.Random(seed).sample(range(len(sites)), min(sample, len(sites))))
mutants = [sites[i] for i in picked]
print(f"{len(sites)} mutation sites in {len(files)} files; seed {seed}, sample {len(mutants)}", flush=True)

def describe(m):
    path, line, _, old, new = m
    return f"{path}:{line}  {old.strip()!r} -> {new.strip()!r}"

if list_only:
    for m in mutants:
        print(describe(m))
    sys.exit(0)

free = queue.Queue()
for tree in trees:
    free.put(tree)

def judge(m):
    """Applies one mutant to a free copy, builds and tests it there, and restores the copy."""
    path, line, column, old, new = m
    tree = free.get()
    build = os.path.join(tree, "build")
    target = os.path.join(tree, path)
    original = open(target, encoding="utf-8").read()
    lines = original.split("\n")
    text = lines[line - 1]
    assert text[column:column + len(old)] == old, describe(m)
    lines[line - 1] = text[:column] + new + text[column + len(old):]
    t0 = time.time()
    verdict, failed = None, set()
    try:
        open(target, "w", encoding="utf-8").write("\n".join(lines))
        if subprocess.run(["cmake", "--build", build, "--target", *tests],
                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode != 0:
            verdict = "killed (build)"
        else:
            for test in tests:
                output = os.path.join(build, "test-output.txt")
                out = open(output, "w") if matrix else subprocess.DEVNULL
                # In a session of its own, so that the servers a hung test started go with it.
                run = subprocess.Popen([os.path.join(build, "tests", test), "--gtest_brief=1"],
                                       stdout=out, stderr=subprocess.DEVNULL,
                                       cwd=os.path.join(build, "tests"), start_new_session=True)
                try:
                    status = run.wait(timeout=test_limit)
                except subprocess.TimeoutExpired:
                    status = None
                try:
                    os.killpg(run.pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass
                run.wait()
                if matrix:
                    out.close()
                    # gtest names each failed test on a line of its own ("[  FAILED  ] Suite.Name").
                    for row in open(output, errors="replace"):
                        found = re.match(r"\[  FAILED  \] ([^\s,]+\.[^\s,]+)", row)
                        if found:
                            failed.add(found.group(1))
                    if status is None:
                        failed.add(f"{test} past its limit")
                if status == 0:
                    continue
                verdict = verdict or (f"killed (limit, {test})" if status is None else f"killed ({test})")
                if not matrix:
                    break
    finally:
        open(target, "w", encoding="utf-8").write(original)
        free.put(tree)
    return verdict or "survived", failed, time.time() - t0

report, survivors, killed, alone = [], [], 0, collections.Counter()
started = time.time()
with ThreadPoolExecutor(max_workers=len(trees)) as pool:
    for k, (m, (verdict, failed, seconds)) in enumerate(zip(mutants, pool.map(judge, mutants)), 1):
        if verdict == "survived":
            survivors.append(m)
        else:
            killed += 1
        if len(failed) == 1:
            alone.update(failed)
        entry = f"[{k}/{len(mutants)}] {verdict:28} {describe(m)}  {seconds:.0f} s"
        if matrix and failed:
            entry += "\n    failed: " + " ".join(sorted(failed))
        report.append(entry)
        print(entry, flush=True)

# Leave the copies built as the tree is, for the next run.
for tree in trees:
    subprocess.run(["cmake", "--build", os.path.join(tree, "build"), "--target", *tests], stdout=subprocess.DEVNULL)
minutes = (time.time() - started) / 60
summary = [f"survivors ({len(survivors)}):"] + ["  " + describe(m) for m in survivors]
if matrix:
    summary += ["tests that alone catch a mutant (how many):"] + [f"  {n}  {t}" for t, n in alone.most_common()]
summary += [
    f"kill rate {killed}/{len(mutants)} = {100.0 * killed / max(len(mutants), 1):.1f}% "
    f"(seed {seed}, sample {len(mutants)}, {minutes:.0f} min)"]
print("\n".join(summary))
stamp = time.strftime("%Y%m%d-%H%M%S")
with open(os.path.join(root, "build", "mutants", f"report-{seed}-{len(mutants)}-{stamp}.txt"), "w") as out:
    out.write("\n".join(report + summary) + "\n")
PYTHON
