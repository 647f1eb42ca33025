"""Usage: rewrites.py AMBIELF FOLDER TARGET...

Copies, strips and flips 300 objects and all shared libraries of each target, and compares what came out, section by
section, with what went in. Prints a line of figures for each command and target, and every difference.
"""

import collections
import multiprocessing
import os
import re
import subprocess
import sys

import elf
import samples

AMBIELF, FOLDER = sys.argv[1:3]
DEBUG = (".debug", ".zdebug", ".line", ".stab", ".gdb_index", ".gnu.debuglto_", ".gnu.linkonce.wi.")


def run(*command):
    """What went wrong, as text; nothing if nothing did."""
    try:
        done = subprocess.run(command, capture_output=True, timeout=60, check=False)
    except subprocess.TimeoutExpired:
        return "takes more than a minute"
    if done.returncode == 1:
        why = done.stderr.decode(errors="replace").strip().removeprefix(f"ambielf: {command[-2]}: ")
        return "refused: " + re.sub(r"section \d+ \([^)]*\)", "section N", why)
    return f"exit code {done.returncode}" if done.returncode else ""


def load(path):
    with open(path, "rb") as file:
        return elf.Object(file.read())


def is_debug(section):
    name = section.name
    for prefix in (".rela", ".rel"):
        if section.type in (elf.SHT_REL, elf.SHT_RELA) and name.startswith(prefix + "."):
            name = name[len(prefix) :]
    return name.startswith(DEBUG) and not section.flags & elf.SHF_ALLOC


def differences(before, after, dropped=lambda section: False, byte_order_too=True):
    """Compares all sections but the dropped ones; what is loaded stays in its place, too."""
    kept = [s for s in before.sections if not dropped(s)]
    if [s.name for s in kept] != [s.name for s in after.sections]:
        gone = collections.Counter(s.name for s in kept)
        there = collections.Counter(s.name for s in after.sections)
        yield f"other sections: {list((gone - there).elements())} lost, {list((there - gone).elements())} too many"
        return
    if before.segments != after.segments or (before.segments and before.phoff != after.phoff):
        yield "program headers changed or moved"
    smaller = len(kept) < len(before.sections)
    for old, new in zip(kept, after.sections):
        if smaller and old.type == elf.SHT_STRTAB and not old.flags & elf.SHF_ALLOC:
            continue
        if smaller and old.type == elf.SHT_SYMTAB:
            yield from lost_symbols(before.symbols(old), after.symbols(new))
            continue
        if before.described(old) != after.described(new):
            yield f"{old.name}: header was {before.described(old)}, is {after.described(new)}"
        if before.segments and old.flags & elf.SHF_ALLOC and old.offset != new.offset:
            yield f"{old.name}: moved in the file"
        if (byte_order_too or before.records(old) is not old.contents) and before.records(old) != after.records(new):
            yield f"{old.name}: other contents"


def lost_symbols(before, after):
    lost = collections.Counter(before) - collections.Counter(after)
    lost = [s for s in lost if s[3] & 15 in (1, 2) and s[5] != 0]  # functions and objects
    if lost:
        yield f".symtab: lost {lost[:3]}"
    if collections.Counter(after) - collections.Counter(before):
        yield ".symtab: new symbols"


def header_changes(before, after):
    """All but e_shoff, e_shnum and e_shstrndx stay."""
    if before.header[:5] + before.header[6:11] != after.header[:5] + after.header[6:11]:
        yield f"ELF header: was {before.header}, is {after.header}"
    if before.image[6:16] != after.image[6:16]:
        yield "e_ident changed"


def size_limit(before, path):
    program = before.type in (2, 3)
    return os.path.getsize(path) + (0 if program else 64 * len(before.sections))


def copy(path, out, before):
    """A copy says the same, and is not much larger."""
    if failure := run(AMBIELF, "copy", path, out):
        return [failure]
    after = load(out)
    found = [*header_changes(before, after), *differences(before, after)]
    if before.header[12] != after.header[12]:
        found.append("e_shstrndx changed")
    if len(after.image) > size_limit(before, path):
        found.append(f"{len(after.image) - len(before.image)} bytes larger")
    return found


def strip_debug(path, out, before):
    """The debug sections go, and with them those that objcopy drops; functions and objects stay."""
    if failure := run(AMBIELF, "strip", "-g", path, out):
        return [failure]
    after = load(out)
    found = [*header_changes(before, after), *differences(before, after, is_debug)]
    if len(after.image) > len(before.image):
        found.append(f"{len(after.image) - len(before.image)} bytes larger than the input")
    return found


def strip(path, out, before):
    """No symbols but those of the dynamic linker are left, in a file that is smaller yet.

    Relocations and groups can't do without symbols, so relocatable objects are refused.
    """
    if failure := run(AMBIELF, "strip", path, out):
        return [failure]
    after = load(out)

    def dropped(section):
        static = section.type == elf.SHT_SYMTAB
        names = section.name == ".strtab" and not section.flags & elf.SHF_ALLOC
        return is_debug(section) or static or names

    found = [*header_changes(before, after), *differences(before, after, dropped)]
    limit = len(before.image)
    if os.path.exists(out[: -len("strip")] + "strip_debug"):
        limit = os.path.getsize(out[: -len("strip")] + "strip_debug")
    if len(after.image) > limit:
        found.append(f"{len(after.image) - limit} bytes larger than without debug sections")
    return found


def flip(path, out, before):
    """The other order says the same in all record sections; the way back gives the contents that were there."""
    if failure := run(AMBIELF, "flip", path, out) or run(AMBIELF, "flip", out, out + ".back"):
        return [failure]
    after, back = load(out), load(out + ".back")
    found = [*header_changes(before, after), *differences(before, after, byte_order_too=False)]
    found += ["and back: " + text for text in differences(before, back)]
    if before.image[5] + after.image[5] != 3:
        found.append("the byte order is the same")
    return found


COMMANDS = {"copy": copy, "strip -g": strip_debug, "strip": strip, "flip": flip}


NEEDS_SYMBOLS = "refused: can't do without its symbol table: section N needs section N; -g keeps it"


def check(task):
    path, out = task
    before, found = load(path), {}
    for name, command in COMMANDS.items():
        try:
            found[name] = command(path, f"{out}.{command.__name__}", before)
        except Exception as fault:  # pylint: disable=broad-except
            found[name] = [f"what came out can't be read: {fault!r}"]
    return path, found


def check_target(pool, target):
    folder = os.path.join(FOLDER, target)
    objects, libraries = samples.collect(target, os.path.join(folder, "in"), 300)
    os.makedirs(os.path.join(folder, "out"), exist_ok=True)
    tasks = [(path, os.path.join(folder, "out", f"{i:03}")) for i, path in enumerate(objects + libraries)]
    same, refused, different = (collections.Counter() for _ in range(3))
    for path, found in pool.imap(check, tasks, chunksize=8):
        for command, texts in found.items():
            if not texts:
                same[command] += 1
            elif texts[0].startswith("refused: "):
                refused[command, texts[0]] += 1
            else:
                different[command] += 1
                for text in texts[:3]:
                    print(f"{path}: {command}: {text}")
    for command in COMMANDS:
        print(f"{target}: {command}: {same[command]} of {len(tasks)} right, {different[command]} different")
        for (name, why), count in refused.items():
            if name == command:
                print(f"  {count} {why}")
    return sum(different.values()) + sum(n for (_, why), n in refused.items() if why != NEEDS_SYMBOLS)


if __name__ == "__main__":
    with multiprocessing.Pool() as workers:
        sys.exit(1 if sum([check_target(workers, target) for target in sys.argv[3:]]) else 0)
