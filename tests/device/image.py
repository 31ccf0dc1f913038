"""A thin Mach-O file as the tests see it: its bytes read here, what dyld binds and moves as llvm-objdump
lists it, and no code of the build's."""
import collections
import functools
import struct
import subprocess

Section = collections.namedtuple(
    'Section', 'segment name address size offset align relocations relocation_count flags reserved')
Binding = collections.namedtuple('Binding', 'address library name lazy weak')  # weak is not listed of lazy ones
Symbol = collections.namedtuple('Symbol', 'name type section description value')


class Image:
    def __init__(self, path):
        self.path = path
        with open(path, 'rb') as file:
            self.data = file.read()
        magic, = struct.unpack_from('<I', self.data)
        assert magic in (0xfeedface, 0xfeedfacf), f'{path} is no thin Mach-O file'
        self.wide = magic == 0xfeedfacf
        self.pointer_size = 8 if self.wide else 4
        self.commands = {}  # kind -> offsets
        self.sections = []
        self.symbols = []
        at = 32 if self.wide else 28
        for _ in range(self.word(16)):
            kind, size = struct.unpack_from('<II', self.data, at)
            self.commands.setdefault(kind, []).append(at)
            at += size
        for at in self.commands.get(0x19 if self.wide else 0x1, ()):
            self._read_sections(at)
        for at in self.commands.get(0x2, ()):
            self._read_symbols(*struct.unpack_from('<III', self.data, at + 8))

    def _read_sections(self, at):
        first, form, step = (72, '<QQIIIIII', 80) if self.wide else (56, '<IIIIIIII', 68)
        for i in range(self.word(at + first - 8)):
            here = at + first + i * step
            name, segment = (field.rstrip(b'\0').decode() for field in struct.unpack_from('16s16s', self.data, here))
            address, size, offset, align, *rest = struct.unpack_from(form, self.data, here + 32)
            self.sections.append(Section(segment, name, address, size, offset, 1 << align, *rest))

    def _read_symbols(self, table, count, strings):
        for i in range(count):
            name, *rest = struct.unpack_from('<IBBHQ' if self.wide else '<IBBHI', self.data,
                                             table + i * (16 if self.wide else 12))
            self.symbols.append(Symbol(self._text(strings + name), *rest))

    def _text(self, at):
        return self.data[at:self.data.index(b'\0', at)].decode('latin-1')

    def word(self, at):
        return struct.unpack_from('<I', self.data, at)[0]

    def section(self, name):
        return next((section for section in self.sections if section.name == name), None)

    def section_at(self, address):
        return next((section for section in self.sections
                     if section.address <= address < section.address + section.size), None)

    def read(self, address, size):
        section = self.section_at(address)
        assert section, f'{self.path}: nothing is at {address:#x}'
        if section.flags & 0xff == 1:
            return bytes(size)  # zero-filled
        at = section.offset + address - section.address
        return self.data[at:at + size]

    def pointer(self, address):
        return int.from_bytes(self.read(address, self.pointer_size), 'little')

    def pointers(self, section):
        """The addresses of the pointers that a section consists of."""
        return range(section.address, section.address + section.size, self.pointer_size) if section else ()

    def string(self, address):
        section = self.section_at(address)
        assert section, f'{self.path}: no string is at {address:#x}'
        return self._text(section.offset + address - section.address)

    @functools.cached_property
    def bindings(self):
        """What dyld puts into the image, at once or when it is first called."""
        found = []
        for option, library_field in (('--bind', 5), ('--lazy-bind', 3)):
            for line in self._listing(option):
                fields = line.split()
                weak = fields[-1] == '(weak_import)'
                found.append(Binding(int(fields[2], 16), fields[library_field], fields[-2 if weak else -1],
                                     option == '--lazy-bind', weak))
        return found

    @functools.cached_property
    def bound(self):
        """Address -> name of what dyld puts there."""
        return {binding.address: binding.name for binding in self.bindings}

    @functools.cached_property
    def moved(self):
        """Addresses of the pointers that move with the image."""
        return {int(line.split()[2], 16) for line in self._listing('--rebase')}

    def _listing(self, option):
        text = subprocess.run(['llvm-objdump-19', '--macho', option, self.path], check=True, capture_output=True,
                              text=True).stdout
        return [line for line in text.splitlines() if line.startswith('__') and ' 0x' in line]

    @functools.cached_property
    def names(self):
        """Address -> names of the symbols that are defined there."""
        found = {}
        for symbol in self.symbols:
            if symbol.type & 0xe == 0xe and not symbol.type & 0xe0:
                found.setdefault(symbol.value, []).append(symbol.name)
        return found
