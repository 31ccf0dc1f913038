"""Objects for 32-bit ARM, and what their relocations say: every reference from one place to another, with
the instructions or the word that carries it."""
import collections
import struct

import image

# `places` are the addresses of the instructions or of the word; `target` is an address of the object, or the
# name of what another file holds. A reference that is a distance leads that far behind `base`, and by `bias`
# further.
Reference = collections.namedtuple('Reference', 'kind places target base bias')

VANILLA, SECTION_DIFFERENCE, LOCAL_SECTION_DIFFERENCE = 0, 2, 3
THUMB_BRANCH, HALF_DIFFERENCE = 6, 9
PAIRED = (SECTION_DIFFERENCE, LOCAL_SECTION_DIFFERENCE, HALF_DIFFERENCE)


def immediate(instruction):
    """The 16 bits that a Thumb movw or movt carries."""
    first, second = struct.unpack('<HH', instruction)
    assert first & 0xfb70 in (0xf240, 0xf2c0), f'{first:x} {second:x} is neither movw nor movt'
    return (first & 0xf) << 12 | (first >> 10 & 1) << 11 | (second >> 12 & 7) << 8 | second & 0xff


def branch(instruction):
    """Name and distance of a Thumb b.w, bl or blx; the latter counts from an address of whole words."""
    first, second = struct.unpack('<HH', instruction)
    assert first & 0xf800 == 0xf000, f'{first:x} {second:x} is no branch'
    name = {0xd000: 'bl', 0xc000: 'blx', 0x9000: 'b.w'}[second & 0xd000]
    sign = first >> 10 & 1
    high, low = (1 - (second >> bit & 1 ^ sign) for bit in (13, 11))
    distance = sign << 24 | high << 23 | low << 22 | (first & 0x3ff) << 12 | (second & 0x7ff) << 1
    return name, distance - (sign << 25)


class Object(image.Image):
    def __init__(self, path):
        super().__init__(path)
        self.references = {}  # section -> its references
        for section in self.sections:
            self.references[section] = list(self._references(section))

    def _relocations(self, section):
        """(type, address in the section, length, external, value, the pair's two words) of each."""
        at = iter(range(section.relocations, section.relocations + 8 * section.relocation_count, 8))
        for here in at:
            first, second = struct.unpack_from('<II', self.data, here)
            if first >> 31:  # scattered
                kind, address, length, external, value = first >> 24 & 0xf, first & 0xffffff, first >> 28 & 3, 0, second
            else:
                kind, address, length, external, value = (second >> 28, first, second >> 25 & 3, second >> 27 & 1,
                                                          second & 0xffffff)
            pair = struct.unpack_from('<II', self.data, next(at)) if kind in PAIRED else None
            yield kind, section.address + address, length, external, value, pair

    def _references(self, section):
        halves = {}
        for kind, address, length, external, value, pair in self._relocations(section):
            if kind == VANILLA and length == 2:
                yield Reference('pointer', (address,), self._target(external, value, self.pointer(address)), 0, 0)
            elif kind == THUMB_BRANCH:
                _, distance = branch(self.read(address, 4))
                yield Reference('branch', (address,), self._target(external, value, address + 4 + distance), 0, 0)
            elif kind in (SECTION_DIFFERENCE, LOCAL_SECTION_DIFFERENCE) and length == 2:
                bias = value - pair[1] - struct.unpack('<i', self.read(address, 4))[0]
                yield Reference('distance', (address,), value, pair[1], bias)
            elif kind == HALF_DIFFERENCE and length & 2:
                # One relocation a half, each with the other's bits in its pair.
                half, other = immediate(self.read(address, 4)), pair[0] & 0xffff
                distance = half << 16 | other if length & 1 else other << 16 | half
                target = (distance + pair[1] + 4) & 0xffffffff
                found = halves.setdefault((target, pair[1]), {})
                found[length & 1] = address
                if len(found) == 2:
                    yield Reference('halves', (found[0], found[1]), target, pair[1], 4)
            else:
                raise AssertionError(f'{self.path}: an unknown relocation at {address:#x}')
        assert all(len(found) == 2 for found in halves.values()), f'{self.path}: half a reference'

    def _target(self, external, value, address):
        if not external:
            return address
        symbol = self.symbols[value]
        return symbol.value if symbol.type & 0xe else symbol.name

    def slot(self, address):
        """What a pointer leads to, by its relocation or else by the table of indirect symbols."""
        section = self.section_at(address)
        for reference in self.references[section]:
            if address in reference.places:
                return reference.target
        table, = self.commands[0xb]
        symbol = self.symbols[self.word(self.word(table + 56) + section.reserved + address - section.address)]
        return symbol.name

    def atoms(self, section):
        """(name, address, end) of what the section's symbols name."""
        number = self.sections.index(section) + 1
        found = sorted((symbol.value, symbol.name) for symbol in self.symbols
                       if symbol.section == number and symbol.type & 0xee == 0xe)
        ends = [value for value, _ in found[1:]] + [section.address + section.size]
        return [(name, value, end) for (value, name), end in zip(found, ends)]
