"""What has to be changed in objects for 32-bit ARM so that LLVM 13's Mach-O linker takes them; each
patch says which of its faults it cures. What a patch does not expect raises macho.Malformed."""
import struct

import macho

S_NON_LAZY_SYMBOL_POINTERS = 0x6
INDIRECT_SYMBOL_LOCAL = 0x80000000
INDIRECT_SYMBOL_ABSOLUTE = 0x40000000
SCATTERED = 0x80000000
EXTERNAL = 1 << 27
FOUR_BYTES = 2 << 25
ARM_RELOC_VANILLA = 0
ARM_THUMB_RELOC_BR22 = 6

# Sections that the linker crashes on, and by which names they pass; patch_image gives them back theirs.
RENAMED = {'__objc_imageinfo': '__veltro_imginfo', '__objc_catlist': '__veltro_cats'}


def rename_sections(obj):
    """The linker has no place in its output for two sections: it takes those of unknown names."""
    for section in obj.sections():
        if section.name in RENAMED:
            struct.pack_into('16s', obj.data, section.at, RENAMED[section.name].encode())


def relocate_symbol_pointers(obj):
    """The linker leaves the slots of __nl_symbol_ptr zero and unbound, since nothing but the table of indirect
    symbols says what they point to: every slot gets a relocation. The section keeps its type, without which
    all its slots become one."""
    indirect = obj.word(obj.command(macho.LC_DYSYMTAB) + 56)
    for section in obj.sections():
        if section.type != S_NON_LAZY_SYMBOL_POINTERS:
            continue
        if section.relocation_count:
            raise macho.Malformed(f'{section.name} has relocations already')
        added = bytearray()
        for slot in range(section.size // 4):
            symbol = obj.word(indirect + 4 * (section.reserved + slot))
            if symbol & (INDIRECT_SYMBOL_LOCAL | INDIRECT_SYMBOL_ABSOLUTE):
                raise macho.Malformed(f'{section.name} points to a local symbol')
            added += struct.pack('<II', 4 * slot, symbol | FOUR_BYTES | EXTERNAL)
        obj.data[section.offset:section.offset + section.size] = bytes(section.size)
        obj.data += bytes(-len(obj.data) % 4)
        obj.put(section.at + 48, len(obj.data), len(added) // 8)
        obj.data += added


def clear_thumb_addends(obj):
    """A pointer to an external Thumb function has the Thumb bit in its addend, and the linker adds another
    one: the pointer would lead into the middle of an instruction."""
    symbols = list(obj.symbols())
    for section in obj.sections():
        for _, place, target in relocations(obj, section):
            if place & SCATTERED or not target & EXTERNAL or target >> 28 != ARM_RELOC_VANILLA:
                continue
            at = section.offset + place
            if named_by(target, symbols).thumb:
                if obj.word(at) > 1:
                    raise macho.Malformed(f'a pointer to a Thumb function with the addend {obj.word(at):#x}')
                obj.put(at, 0)


def order_private_symbols(obj):
    """The linker lists private external symbols with the local ones, and yet takes the numbers that
    relocations name symbols by for places in its lists: a class's protocols become other classes. Where the
    private ones come first among the external ones, both orders are the same."""
    table = obj.word(obj.command(macho.LC_SYMTAB) + 8)
    dynamic = obj.command(macho.LC_DYSYMTAB)
    local, local_count, first, count = obj.unpack('IIII', dynamic + 8)
    if (local, local_count) != (0, first):
        raise macho.Malformed('local symbols are not in front of the external ones')
    symbols = list(obj.symbols())[first:first + count]
    ordered = sorted(symbols, key=lambda symbol: not symbol.type & macho.N_PEXT)
    number = {symbol.at: first + i for i, symbol in enumerate(ordered)}
    renumbered = {first + i: number[symbol.at] for i, symbol in enumerate(symbols)}
    start, end = table + 12 * first, table + 12 * (first + count)
    obj.data[start:end] = b''.join(bytes(obj.data[symbol.at:symbol.at + 12]) for symbol in ordered)
    for section in obj.sections():
        for at, place, target in relocations(obj, section):
            if not place & SCATTERED and target & EXTERNAL:
                symbol = target & 0xffffff
                obj.put(at + 4, target & 0xff000000 | renumbered.get(symbol, symbol))
    indirect, indirect_count = obj.unpack('II', dynamic + 56)
    for at in range(indirect, indirect + 4 * indirect_count, 4):
        obj.put(at, renumbered.get(obj.word(at), obj.word(at)))


def relocations(obj, section):
    """(where it is, its two words) of a section's relocations."""
    for at in range(section.relocations, section.relocations + 8 * section.relocation_count, 8):
        yield at, *obj.unpack('II', at)


def named_by(target, symbols):
    """The symbol that an external relocation names."""
    number = target & 0xffffff
    if number >= len(symbols):
        raise macho.Malformed(f'a relocation names symbol {number} of {len(symbols)}')
    return symbols[number]


class Expectations:
    """What an image has to hold for the patches of patch_image, by its objects as they were before any
    patch."""

    def __init__(self):
        self.renamed = set()  # sections that carry other names
        self.image_info = []  # of every object that has some
        self.weak = set()  # symbols that may be missing
        self.tail_calls = set()  # imported functions that are jumped to
        self.function_sizes = {}  # by name; None where several have it
        self._undefined, self._defined = set(), set()

    @property
    def imported(self):
        return self._undefined - self._defined

    def take(self, obj):
        symbols = list(obj.symbols())
        self._undefined |= {symbol.name for symbol in symbols if symbol.undefined}
        self._defined |= {symbol.name for symbol in symbols if not symbol.undefined}
        self.weak |= {symbol.name for symbol in symbols
                      if symbol.undefined and symbol.description & macho.N_WEAK_REF}
        for number, section in enumerate(obj.sections(), 1):
            functions = sorted((symbol.value, symbol.name) for symbol in symbols
                               if symbol.thumb and symbol.section == number)
            ends = [value for value, _ in functions[1:]] + [section.address + section.size]
            for (value, name), end in zip(functions, ends):
                self.function_sizes[name] = None if name in self.function_sizes else end - value
            if section.name in RENAMED:
                self.renamed.add(section.name)
            if section.name == '__objc_imageinfo':
                self.image_info.append(bytes(obj.content(section)))
            for _, place, target in relocations(obj, section):
                if place & SCATTERED or not target & EXTERNAL or target >> 28 != ARM_THUMB_RELOC_BR22:
                    continue
                # The second halves of "b.w" and "bl" differ in this bit.
                jump = not obj.unpack('H', section.offset + place + 2)[0] & 0x4000
                symbol = named_by(target, symbols)
                if jump and symbol.undefined:
                    self.tail_calls.add(symbol.name)
