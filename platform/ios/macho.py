"""Thin Mach-O files, 32 or 64 bits wide, as the steps behind the compiler need them: load commands,
sections, symbols and the opcodes that dyld is driven by. What is no such file raises Malformed."""
import dataclasses
import struct

LC_SEGMENT = 0x1
LC_SYMTAB = 0x2
LC_DYSYMTAB = 0xb
LC_LOAD_DYLIB = 0xc
LC_ID_DYLIB = 0xd
LC_SEGMENT_64 = 0x19
LC_UUID = 0x1b
LC_CODE_SIGNATURE = 0x1d
LC_LOAD_WEAK_DYLIB = 0x80000018
LC_DYLD_INFO_ONLY = 0x80000022

N_EXT = 0x01
N_TYPE = 0x0e
N_UNDF = 0x00
N_PEXT = 0x10
N_STAB = 0xe0
N_ARM_THUMB_DEF = 0x0008  # of n_desc where a symbol is defined
N_WEAK_REF = 0x0040  # of n_desc where it is not

SECTION_TYPE = 0xff
S_ZEROFILL = 0x1


class Malformed(Exception):
    """A file that is not what it has to be; the text says in which way."""


@dataclasses.dataclass
class Segment:
    name: str
    at: int  # where its load command is
    address: int
    offset: int
    size: int  # in the file


@dataclasses.dataclass
class Section:
    segment: str
    name: str
    at: int  # where its header is
    address: int
    size: int
    offset: int
    relocations: int
    relocation_count: int
    flags: int
    reserved: int  # for pointers and stubs, their first entry in the table of indirect symbols

    @property
    def type(self):
        return self.flags & SECTION_TYPE


@dataclasses.dataclass
class Symbol:
    name: str
    at: int  # where its entry is
    type: int
    section: int
    description: int
    value: int

    @property
    def undefined(self):
        return not self.type & N_STAB and self.type & N_TYPE == N_UNDF

    @property
    def thumb(self):
        return not self.undefined and bool(self.description & N_ARM_THUMB_DEF)


class MachO:
    """A file's bytes, which may be changed in place; everything else is read from them anew."""

    def __init__(self, data):
        self.data = bytearray(data)
        magic = self.word(0) if len(data) >= 32 else 0
        if magic not in (0xfeedface, 0xfeedfacf):
            raise Malformed('not a thin Mach-O file')
        self.wide = magic == 0xfeedfacf
        self.header_size = 32 if self.wide else 28

    def word(self, at):
        return self.unpack('I', at)[0]

    def put(self, at, *words):
        struct.pack_into(f'<{len(words)}I', self.data, at, *words)

    def unpack(self, form, at):
        try:
            return struct.unpack_from('<' + form, self.data, at)
        except struct.error:
            raise Malformed(f'ends before offset {at:#x}') from None

    def text(self, at, size=None):
        """The bytes up to a zero, within `size` bytes where that is given."""
        limit = len(self.data) if size is None else at + size
        end = self.data.find(b'\0', at, limit)
        return self.data[at:limit if end < 0 else end].decode('latin-1')

    @property
    def commands_end(self):
        return self.header_size + self.word(20)

    def commands(self, *kinds):
        """(kind, offset) of the load commands of these kinds, or of all."""
        at = self.header_size
        for _ in range(self.word(16)):
            kind, size = self.unpack('II', at)
            if size < 8 or at + size > self.commands_end:
                raise Malformed('load commands of wrong sizes')
            if not kinds or kind in kinds:
                yield kind, at
            at += size

    def command(self, kind):
        found = [at for _, at in self.commands(kind)]
        if len(found) != 1:
            raise Malformed(f'{len(found)} load commands of kind {kind:#x}')
        return found[0]

    def segments(self):
        for kind, at in self.commands(LC_SEGMENT, LC_SEGMENT_64):
            address, _, offset, size = self.unpack('QQQQ' if kind == LC_SEGMENT_64 else 'IIII', at + 24)
            yield Segment(self.text(at + 8, 16), at, address, offset, size)

    def sections(self):
        for kind, at in self.commands(LC_SEGMENT, LC_SEGMENT_64):
            wide = kind == LC_SEGMENT_64
            count, at = self.word(at + (64 if wide else 48)), at + (72 if wide else 56)
            for _ in range(count):
                address, size, offset, _, relocations, number, flags, reserved = self.unpack(
                    'QQIIIIII' if wide else 'IIIIIIII', at + 32)
                yield Section(self.text(at + 16, 16), self.text(at, 16), at, address, size, offset, relocations,
                              number, flags, reserved)
                at += 80 if wide else 68

    def content(self, section):
        return self.data[section.offset:section.offset + section.size]

    def symbols(self):
        table, count, strings = self.unpack('III', self.command(LC_SYMTAB) + 8)
        for i in range(count):
            at = table + i * (16 if self.wide else 12)
            name, kind, section, description, value = self.unpack('IBBHQ' if self.wide else 'IBBHI', at)
            yield Symbol(self.text(strings + name), at, kind, section, description, value)

    def libraries(self):
        """(install name, offset of the load command), in the order that ordinals count."""
        for _, at in self.commands(LC_LOAD_DYLIB, LC_LOAD_WEAK_DYLIB):
            start = self.word(at + 8)
            yield self.text(at + start, self.word(at + 4) - start), at

    def remove_command(self, at):
        size, end = self.word(at + 4), self.commands_end
        self.data[at:end] = self.data[at + size:end] + bytes(size)
        self.put(16, self.word(16) - 1, self.word(20) - size)

    def append_command(self, command):
        end = self.commands_end
        first = min(section.offset for section in self.sections()
                    if section.offset and section.type != S_ZEROFILL)
        if end + len(command) > first:
            raise Malformed('no space for another load command')
        self.data[end:end + len(command)] = command
        self.put(16, self.word(16) + 1, self.word(20) + len(command))


def leb(data, at):
    """An unsigned number of seven bits a byte, and where it ends."""
    value = shift = 0
    while True:
        if at >= len(data):
            raise Malformed('ends within a number')
        byte = data[at]
        at += 1
        value |= (byte & 0x7f) << shift
        shift += 7
        if not byte & 0x80:
            return value, at
