"""Usage: twins.py AMBIELF FOLDER TARGET...

Objects with debug information of each version: compiles the sources of tests/data and of this folder for each
target, flips them, and compares what readelf says of both, debug sections decoded. Where a target's compiler knows
both byte orders, the flipped object is also compared with what the compiler itself writes in that order, section by
section. Prints a line of figures for each target, and every difference.
"""

import itertools
import os
import re
import struct
import subprocess
import sys

import elf

AMBIELF, FOLDER = sys.argv[1:3]
HERE = os.path.dirname(os.path.abspath(__file__))
DATA = os.path.join(HERE, "..", "..", "tests", "data")
SOURCES = [os.path.join(*path) for path in ((DATA, "debug.c"), (HERE, "program.c"), (DATA, "debug.cpp"), (HERE, "program.cpp"))]
TYPES = "-fdebug-types-section"  # gcc writes the signatures of types, which are numbers, as bytes in both orders
FLAGS = ["-gdwarf-2 -O0", "-gdwarf-3 -O1", "-gdwarf-4 -O2", f"-gdwarf-4 -O1 {TYPES}", "-gdwarf-5 -O2 -gpubnames"]
OTHER_ORDER = {"mips-linux-gnu": "-EL", "mipsel-linux-gnu": "-EB", "arm-linux-gnueabihf": "-mbig-endian"}
DUMP = "-WSsrdnVA --debug-dump=rawline,info,abbrev,aranges,frames,loc,macro,pubnames,pubtypes,Ranges,str,str-offsets,addr"


def run(*command):
    return subprocess.run(command, capture_output=True, timeout=120, check=False, encoding="latin-1")


def dump(path):
    """What readelf says, but for the file's name and the places of sections in it."""
    text = run("readelf", *DUMP.replace("Ranges", "ranges").split(), path).stdout
    text = re.sub(r"byte block: [0-9a-f ]+\t", "block ", text)  # its bytes are decoded behind it
    text = re.sub(r"Augmentation data: .*", "", text)  # raw bytes of pointers
    text = re.sub(r"(?m)^(  \[ *\d+\] .*? [0-9a-f]{8}) [0-9a-f]{6} ", r"\1 ", text)
    return re.sub(r"(at )?offset 0x[0-9a-f]+", "offset", text).replace(path, "FILE").splitlines()


def compare_dumps(path, flipped):
    for old, new in itertools.zip_longest(dump(path), dump(flipped), fillvalue="nothing"):
        if old != new:
            yield f"readelf says {new.strip()!r} instead of {old.strip()!r}"


def is_code_or_data(section):
    loaded = section.type in (1, 0x70000001) and section.flags & elf.SHF_ALLOC  # PROGBITS, ARM_EXIDX
    return loaded and section.name != ".eh_frame"


def load(path):
    with open(path, "rb") as file:
        return elf.Object(file.read())


def are_twins(ours, theirs):
    """Whether the compiler made the same instructions and kinds of debug entries; some code depends on the order."""

    def instructions(binary, order):
        code = [s.contents for s in binary.sections if s.flags & 4]  # SHF_EXECINSTR
        return [struct.unpack(f"{order}{len(words) // 4}I", elf.whole(words, 4)) for words in code]

    # What is flipped has the instructions of the order that it came from.
    abbreviations = [[s.contents for s in binary.sections if s.name == ".debug_abbrev"] for binary in (ours, theirs)]
    same_code = instructions(ours, "<>"[ours.order == "<"]) == instructions(theirs, theirs.order)
    return same_code and abbreviations[0] == abbreviations[1]


def compare_twins(ours, theirs):
    """All sections but code and data, which stay bytes."""
    if [s.name for s in ours.sections] != [s.name for s in theirs.sections]:
        yield "the twin has other sections"
        return
    for mine, other in zip(ours.sections, theirs.sections):
        if ours.described(mine) != theirs.described(other):
            yield f"{mine.name}: {ours.described(mine)} instead of {theirs.described(other)}"
        elif not is_code_or_data(mine) and mine.contents != other.contents:
            at = next((i for i, (a, b) in enumerate(zip(mine.contents, other.contents)) if a != b), "the end")
            yield f"{mine.name}: differs from the twin's from byte {at} on"


def check_target(target):
    folder = os.path.join(FOLDER, target, "twins")
    os.makedirs(folder, exist_ok=True)
    different, flips, twins = 0, 0, 0
    for source, flags in itertools.product(SOURCES, FLAGS):
        name = os.path.join(folder, f"{os.path.basename(source)}{flags.replace(' ', '')}.o")
        compiler = f"{target}-{'g++' if source.endswith('pp') else 'gcc'}"
        command = [compiler, *(["-marm"] if target.startswith("arm") else []), *flags.split(), "-w", "-ffunction-sections", "-gno-record-gcc-switches", "-c", source, "-o"]
        built = run(*command, name)
        if built.returncode:
            print(f"{target}: {name} is not tried: {built.stderr.strip()[:200]}")
            continue
        flipped = run(AMBIELF, "flip", name, name + ".flipped")
        found = [flipped.stderr.strip()] if flipped.returncode else list(compare_dumps(name, name + ".flipped"))
        flips += 1
        if target in OTHER_ORDER and TYPES not in flags and run(*command, name + ".twin", OTHER_ORDER[target]).returncode == 0:
            ours, theirs = load(name + ".flipped"), load(name + ".twin")
            if are_twins(ours, theirs):
                found += compare_twins(ours, theirs)
                twins += 1
        different += bool(found)
        for text in found[:4]:
            print(f"{target}: {os.path.basename(source)} {flags}: {text}")
    print(f"{target}: {flips} debug objects flipped, {twins} of them compared with twins, {different} different", flush=True)
    return different


if __name__ == "__main__":
    sys.exit(1 if sum([check_target(target) for target in sys.argv[3:]]) else 0)
