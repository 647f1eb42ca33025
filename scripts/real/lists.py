"""Usage: lists.py AMBIELF TARGET...

Lists every archive, object and shared library of each target, and compares the section headers, program headers,
symbols, relocations and dynamic entries with readelf's, the symbols with nm's and the sizes with size's. Prints a
line of figures for each target, and the first differences of each file.
"""

import collections
import itertools
import multiprocessing
import re
import subprocess
import sys

import samples

AMBIELF = sys.argv[1]

# How the lines of records begin, in the listings of both.
KINDS = {
    "section": re.compile(r"\s*\[ *\d+\]"),
    "segment": re.compile(r"  \S+\s+0x[0-9a-f]{6} 0x"),
    "symbol": re.compile(r"\s*\d+: [0-9a-f]{8}"),
    "relocation": re.compile(r"[0-9a-f]{8}  [0-9a-f]{8}"),
    "dynamic tag": re.compile(r" 0x[0-9a-f]{8} \("),
}
VERSION = re.compile(r"@{1,2}[\w.]+( \(\d+\))?")


def run(*command):
    done = subprocess.run(command, capture_output=True, timeout=300, check=False)
    return done.returncode, done.stdout.decode("latin-1"), done.stderr.decode("latin-1")


def records(text):
    """The lines of records in a listing, by kind, with single spaces."""
    found = {kind: [] for kind in KINDS}
    for line in text.splitlines():
        for kind, pattern in KINDS.items():
            if pattern.match(line):
                found[kind].append(" ".join(line.split()))
                break
    return found


def same(mine, other):
    """Whether two lines say the same. Versions of symbols are not shown, and some values have no words."""
    if mine == other or mine == VERSION.sub("", other):
        return True
    function = re.fullmatch(r"(\S+ \S+ \S+) (\S+)\(\) \2", other)  # an indirect function, without its value
    if function:
        return re.sub(r" \S+( \S+)$", r"\1", mine) == VERSION.sub("", " ".join(function.groups()))
    one, two = mine.split(), other.split()
    if len(one) == 3 and one[:2] == two[:2] and one[1].startswith("(MIPS_"):
        return not two[2].isdigit() or int(one[2], 16) == int(two[2])
    return False


def compare(kind, ours, theirs, found, figures):
    figures[kind] += len(theirs)
    for mine, other in itertools.zip_longest(ours, theirs, fillvalue="nothing"):
        if not same(mine, other):
            found.append(f"{kind}: {mine!r} instead of {other!r}")


def check(path):
    """The differences of a file, and how many records of each kind it has."""
    found, figures = [], collections.Counter(file=1)
    code, listing, errors = run(AMBIELF, "list", "-S", "-l", "-s", "-r", "-d", path)
    if code or errors:
        found.append(f"list: exit code {code}, {errors[:200]!r}")
    ours, theirs = records(listing), records(run("readelf", "-WSlsrd", path)[1])
    for kind in KINDS:
        compare(kind, ours[kind], theirs[kind], found, figures)

    code, ours, errors = run(AMBIELF, "symbols", path)
    if code or errors:
        found.append(f"symbols: exit code {code}, {errors[:200]!r}")
    theirs = re.sub(r"[\x01-\x09\x0b-\x1f]", lambda c: "^" + chr(ord(c[0]) + 64), run("nm", path)[1])
    ours, theirs = (sorted(s for s in text.splitlines() if s and not s.endswith(":")) for text in (ours, theirs))
    compare("nm symbol", ours, theirs, found, figures)

    code, ours, errors = run(AMBIELF, "size", path)
    if code or errors:
        found.append(f"size: exit code {code}, {errors[:200]!r}")
    compare("size", ours.splitlines()[1:], run("size", path)[1].splitlines()[1:], found, figures)
    return path, found, figures


def check_target(pool, target):
    figures, different = collections.Counter(), 0
    for path, found, counts in pool.imap(check, samples.files(target), chunksize=4):
        figures += counts
        different += bool(found)
        for text in found[:5]:
            print(f"{path}: {text}")
    counted = ", ".join(f"{count} {kind}s" for kind, count in figures.items())
    print(f"{target}: {counted}; {different} files different", flush=True)
    return different


if __name__ == "__main__":
    with multiprocessing.Pool() as workers:
        sys.exit(1 if sum([check_target(workers, target) for target in sys.argv[2:]]) else 0)
