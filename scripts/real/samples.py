"""The objects that Debian's cross packages bring for a target: where they lie, and a choice of them as files."""

import glob
import os

import elf


def files(target):
    """The archives, single objects and shared libraries of a target, without symbolic links and linker scripts."""
    found = []
    for folder in (f"/usr/{target}/lib", f"/usr/lib/gcc-cross/{target}"):
        for path in sorted(glob.glob(folder + "/**/*", recursive=True)):
            if os.path.isfile(path) and not os.path.islink(path):
                with open(path, "rb") as file:
                    start = file.read(8)
                if start == b"!<arch>\n" or elf.is_object(start):
                    found.append(path)
    return found


def collect(target, folder, count):
    """Writes `count` members, spread over all archives, to `folder`. Gives their paths, and those of the libraries."""
    os.makedirs(folder, exist_ok=True)
    libraries, candidates = [], []
    for path in files(target):
        with open(path, "rb") as file:
            image = file.read()
        if image[:4] == b"\x7fELF":
            libraries.append(path)
        else:
            candidates += [member for member in elf.members(image) if elf.is_object(member[1])]
    objects = []
    for number in range(min(count, len(candidates))):
        name, contents = candidates[number * len(candidates) // count]
        objects.append(os.path.join(folder, f"{number:03}-{name}"))
        with open(objects[-1], "wb") as file:
            file.write(contents)
    return objects, libraries
