"""What dyld is told to do with an image: the slots that move with it, and those that it binds."""
import dataclasses

import macho

REBASE, BIND, LAZY_BIND, EXPORT = 8, 16, 32, 40  # fields of LC_DYLD_INFO_ONLY
ORDINAL = 0x10  # opcode, with the number of a library up to 15 in it
FLAT_LOOKUP = 0x3e  # opcode: the next symbols are looked up in every loaded library
WEAK_IMPORT = 0x01  # of the opcode that names a symbol


@dataclasses.dataclass
class Binding:
    address: int
    name: str
    weak: bool
    ordinal: int  # of the library, from 1
    ordinal_at: int  # where the opcode is that says so
    name_at: int  # where the opcode is that names the symbol


def _extent(image, field):
    at, size = image.unpack('II', image.command(macho.LC_DYLD_INFO_ONLY) + field)
    if at + size > len(image.data):
        raise macho.Malformed('ends before what dyld is told')
    return at, at + size


def _place(image, segment, offset):
    segments = list(image.segments())
    if segment >= len(segments):
        raise macho.Malformed(f'what dyld is told names segment {segment}')
    return segments[segment].address + offset


def _slots(image, address, count, step):
    """The addresses of `count` slots, which an image cannot have more of than bytes."""
    if count > len(image.data):
        raise macho.Malformed(f'dyld is told of {count} slots at once')
    return [address + i * step for i in range(count)]


def rebased(image):
    """The addresses of all pointers into the image."""
    data, pointer = image.data, 8 if image.wide else 4
    at, end = _extent(image, REBASE)
    address = 0
    while at < end:
        opcode, immediate = data[at] & 0xf0, data[at] & 0xf
        at += 1
        count = skip = 0
        if opcode == 0x20:  # segment and offset
            offset, at = macho.leb(data, at)
            address = _place(image, immediate, offset)
        elif opcode == 0x30:
            skip, at = macho.leb(data, at)
            address += skip
        elif opcode == 0x40:
            address += immediate * pointer
        elif opcode == 0x50:
            count = immediate
        elif opcode == 0x60:
            count, at = macho.leb(data, at)
        elif opcode == 0x70:
            count = 1
            skip, at = macho.leb(data, at)
        elif opcode == 0x80:
            count, at = macho.leb(data, at)
            skip, at = macho.leb(data, at)
        elif opcode not in (0x00, 0x10):
            raise macho.Malformed(f'a rebase opcode {opcode:#x}')
        yield from _slots(image, address, count, pointer + skip)
        address += count * (pointer + skip)


def bindings(image, field):
    """The slots that BIND or LAZY_BIND fills."""
    data, pointer = image.data, 8 if image.wide else 4
    at, end = _extent(image, field)
    address = 0
    name, weak, ordinal, ordinal_at, name_at = '', False, 0, 0, 0
    while at < end:
        here, opcode, immediate = at, data[at] & 0xf0, data[at] & 0xf
        at += 1
        count = skip = 0
        if opcode == ORDINAL:
            ordinal, ordinal_at = immediate, here
        elif opcode == 0x20:
            ordinal_at = here
            ordinal, at = macho.leb(data, at)
        elif opcode == 0x30:  # special: 0, -1 or -2 in four bits
            ordinal, ordinal_at = immediate - 16 if immediate else 0, here
        elif opcode == 0x40:
            name, weak, name_at = image.text(at), bool(immediate & WEAK_IMPORT), here
            at += len(name) + 1
        elif opcode == 0x70:  # segment and offset
            offset, at = macho.leb(data, at)
            address = _place(image, immediate, offset)
        elif opcode == 0x80:
            skip, at = macho.leb(data, at)
            address += skip
        elif opcode == 0x90:
            count = 1
        elif opcode == 0xa0:
            count = 1
            skip, at = macho.leb(data, at)
        elif opcode == 0xb0:
            count, skip = 1, immediate * pointer
        elif opcode == 0xc0:
            count, at = macho.leb(data, at)
            skip, at = macho.leb(data, at)
        elif opcode not in (0x00, 0x50):
            raise macho.Malformed(f'a bind opcode {opcode:#x}')
        for slot in _slots(image, address, count, pointer + skip):
            yield Binding(slot, name, weak, ordinal, ordinal_at, name_at)
        address += count * (pointer + skip)


def exports(image):
    """(name, where its address stands) of what is exported: a tree of texts, from node to node."""
    start, end = _extent(image, EXPORT)
    pending, seen = [(start, '')] if end > start else [], set()
    while pending:
        node, name = pending.pop()
        if node in seen or node >= end:
            raise macho.Malformed('exports that are no tree')
        seen.add(node)
        size, at = macho.leb(image.data, node)
        if size:
            _, address_at = macho.leb(image.data, at)
            yield name, address_at
        edges, at = image.data[at + size], at + size + 1
        for _ in range(edges):
            text = image.text(at)
            offset, at = macho.leb(image.data, at + len(text) + 1)
            pending.append((start + offset, name + text))
