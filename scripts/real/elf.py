"""A reader of 32-bit ELF objects and ar archives for the comparers: plain, slow, and independent of the library."""

import struct

SHF_ALLOC, SHF_INFO_LINK = 2, 0x40
SHT_SYMTAB, SHT_STRTAB, SHT_RELA, SHT_NOBITS, SHT_REL, SHT_DYNSYM, SHT_GROUP = 2, 3, 4, 8, 9, 11, 17
HEADER = "HHIIIIIHHHHHH"
SECTION = ("name", "type", "flags", "addr", "offset", "size", "link", "info", "addralign", "entsize")


class Section:
    """The fields of a section header under their names, `name` as text, and `contents`."""


class Object:
    """`header` (the fields behind e_ident), `sections` and `segments` (tuples) of an object."""

    def __init__(self, image):
        self.image = image
        self.order = {1: "<", 2: ">"}[image[5]]
        self.header = struct.unpack_from(self.order + HEADER, image, 16)
        (self.type, self.machine, _, _, self.phoff, self.shoff, _, _, _, phnum, _, shnum, shstrndx) = self.header
        self.segments = [self.unpack("8I", self.phoff + 32 * i) for i in range(phnum)]
        self.sections = [self.section(i) for i in range(shnum)]
        names = self.sections[shstrndx].contents if shnum else b""
        for section in self.sections:
            section.name = string(names, section.name)

    def unpack(self, form, offset):
        return struct.unpack_from(self.order + form, self.image, offset)

    def section(self, index):
        section = Section()
        vars(section).update(zip(SECTION, self.unpack("10I", self.shoff + 40 * index)))
        section.index = index
        held = 0 if section.type in (0, SHT_NOBITS) else section.size
        section.contents = self.image[section.offset : section.offset + held]
        return section

    def name_of(self, index):
        return self.sections[index].name if 0 < index < len(self.sections) else index

    def symbols(self, table):
        """A list of name, value, size, info, other, and the name of the section or its special number."""
        strings = self.sections[table.link].contents
        records = struct.iter_unpack(self.order + "IIIBBH", whole(table.contents, 16))
        return [(string(strings, n), *rest, self.name_of(shndx)) for n, *rest, shndx in records]

    def records(self, section):
        """What a section of records says, in words that do not depend on byte order and numbering; else its bytes."""
        link = self.sections[section.link] if section.link < len(self.sections) else None
        if section.type in (SHT_SYMTAB, SHT_DYNSYM):
            return self.symbols(section)
        if section.type in (SHT_RELA, SHT_REL):
            symbols = self.symbols(link) if link and link.type in (SHT_SYMTAB, SHT_DYNSYM) else []
            form = "IIi" if section.type == SHT_RELA else "II"
            return [
                (offset, info & 0xFF, symbols[info >> 8] if symbols else info >> 8, *addend)
                for offset, info, *addend in struct.iter_unpack(self.order + form, section.contents)
            ]
        if section.type == SHT_GROUP:
            flags, *group = self.unpack(f"{section.size // 4}I", section.offset)
            return [flags, self.symbols(link)[section.info][0]] + [self.name_of(i) for i in group]
        return section.contents

    def described(self, section):
        """A section's header with names for indexes; without the place in the file, and the sizes of symbol tables."""
        info, size = section.info, section.size
        if section.type in (SHT_RELA, SHT_REL) or section.flags & SHF_INFO_LINK:
            info = self.name_of(info)
        elif section.type in (SHT_SYMTAB, SHT_GROUP):
            info, size = None, None
        fixed = (section.name, section.type, section.flags, section.addr, section.addralign, section.entsize)
        return (*fixed, size, self.name_of(section.link), info)


def whole(contents, size):
    return contents[: len(contents) // size * size]


def string(table, offset):
    return table[offset : table.index(b"\0", offset)].decode("latin-1")


def is_object(image):
    return image[:5] == b"\x7fELF\x01"


def members(image):
    """Name and contents of each member of an archive that GNU ar wrote."""
    at, long_names = 8, b""
    while at < len(image):
        name, size = image[at : at + 16].rstrip(), int(image[at + 48 : at + 58])
        contents = image[at + 60 : at + 60 + size]
        at += 60 + size + size % 2
        if name == b"//":
            long_names = contents
        elif name != b"/":
            if name[:1] == b"/":
                name = long_names[int(name[1:]) :].split(b"\n", 1)[0]
            yield name.rstrip(b"/").decode(), contents
