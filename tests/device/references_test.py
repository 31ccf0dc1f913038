"""references_test.py [FOLDER]: every reference in the objects of the 32-bit slices is found again in the linked image,
between the same things and in the same instructions; all else in them is the same, byte for byte; every
pointer to code and every call knows that code's mode; and lazily bound functions are bound when they are called."""
import os
import struct
import sys

import arm_objects
import built
import image

os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), '../..'))
STUB = bytes.fromhex('04c09fe5 0cc08fe0 00f09ce5')  # ldr ip, [pc, #4]; add ip, pc, ip; ldr pc, [ip]
SHIM = bytes.fromhex('dff804c0 fc44 6047')  # ldr ip, [pc, #4]; add ip, pc; bx ip
# str ip, [sp, #-4]!; ldr ip, [pc, #16]; add ip, pc, ip; str ip, [sp, #-4]!; ldr ip, [pc, #8]; add ip, pc, ip; ldr pc, [ip]
HELPER = bytes.fromhex('04c02de5 10c09fe5 0cc08fe0 04c02de5 08c09fe5 0cc08fe0 00f09ce5')
TEXTS = ('__cstring', '__objc_methname', '__objc_classname', '__objc_methtype')
SLOTS = ('__objc_selrefs', '__objc_classrefs', '__objc_superrefs', '__nl_symbol_ptr')
LISTS = ('__objc_classlist', '__objc_catlist', '__objc_protolist')
BYTES = ('__literal16', '__gcc_except_tab')


class Linked(image.Image):
    def slot(self, address):
        return self.bound.get(address) or self.pointer(address)

    def stub(self, address):
        """What the stub at an address calls."""
        if self.read(address, 12) == STUB:
            return self.bound.get(address + 12 + struct.unpack('<i', self.read(address + 12, 4))[0])
        return None

    def shim(self, address):
        """What is called through the Thumb code at an address that leads to a stub."""
        if self.read(address, 8) == SHIM and address % 4 == 0:
            return self.stub(address + 8 + struct.unpack('<i', self.read(address + 8, 4))[0])
        return None


class Comparison:
    """An object and the image that it was linked into."""

    def __init__(self, obj, linked):
        self.obj, self.linked = obj, linked
        self.atoms = [(section, *atom) for section in obj.sections for atom in obj.atoms(section)]
        self.places = {}
        for address, names in linked.names.items():
            for name in names:
                self.places.setdefault(name, []).append(address)

    def same(self, ours, theirs):
        """Whether an address or a name in the object, and one in the image, are of the same thing."""
        if isinstance(theirs, str):
            return ours == theirs
        if isinstance(ours, str):
            return ours in self.linked.names.get(theirs & ~1, ())
        section, found = self.obj.section_at(ours), self.linked.section_at(theirs)
        if not section or not found:
            return False
        if section.name in BYTES:
            size = next((end for _, _, value, end in self.atoms if value <= ours < end), ours + 16) - ours
            return self.obj.read(ours, size) == self.linked.read(theirs, size) and (theirs - ours) % section.align == 0
        if section.name in (*TEXTS, *SLOTS, '__cfstring'):
            return found.name == section.name and self.same_content(section, ours, theirs)
        if section.name == '__text':
            ours, theirs = ours & ~1, theirs & ~1
        return any(name in self.linked.names.get(theirs - ours + value, ())
                   for held_by, name, value, end in self.atoms if held_by == section and value <= ours < end)

    def same_content(self, section, ours, theirs):
        if section.name in TEXTS:
            return self.obj.string(ours) == self.linked.string(theirs)
        if section.name in SLOTS:
            return self.same(self.obj.slot(ours), self.linked.slot(theirs))
        return all(self.same(self.obj.slot(ours + at), self.linked.slot(theirs + at)) for at in (0, 8)) and all(
            self.obj.pointer(ours + at) == self.linked.pointer(theirs + at) for at in (4, 12))

    def fault(self, reference, move):
        """What is wrong with a reference whose code or data lies `move` further in the image, if anything."""
        places = [place + move for place in reference.places]
        base = reference.base + move + reference.bias
        if reference.kind == 'branch':
            return self.branch_fault(reference.target, places[0])
        if reference.kind == 'halves':
            low, high = (arm_objects.immediate(self.linked.read(place, 4)) for place in places)
            target = (high << 16 | low) + base & 0xffffffff
        elif reference.kind == 'distance':
            target = struct.unpack('<i', self.linked.read(places[0], 4))[0] + base
        else:
            target = self.linked.slot(places[0])
            if not isinstance(target, str) and places[0] not in self.linked.moved:
                return 'does not move with the image'
        if not self.same(reference.target, target):
            return f'leads to {target if isinstance(target, str) else hex(target)}'
        if isinstance(target, int) and not target & 1 and self.linked.section_at(target).name == '__text':
            return f'leads to {target:#x} without the Thumb bit'
        return None

    def branch_fault(self, target, place):
        name, distance = arm_objects.branch(self.linked.read(place, 4))
        # blx changes to ARM, as the stubs are, and counts from a whole word.
        found = (place + 4 & ~3 if name == 'blx' else place + 4) + distance
        called = self.linked.stub(found) if name == 'blx' else self.linked.shim(found) or found
        return None if called and self.same(target, called) else f'{name} leads to {called or hex(found)}'

    def atom_faults(self, section, references, value, end, place):
        if (place - value) % section.align:
            yield f'is not aligned at {place:#x}'
        carried = set()
        for reference in references:
            fault = self.fault(reference, place - value)
            if fault:
                yield f'{reference.kind} at {reference.places[0]:#x} {fault}'
            for at in reference.places:
                carried |= set(range(at - value, at - value + 4))
        ours, theirs = self.obj.read(value, end - value), self.linked.read(place, end - value)
        for at in range(end - value):
            if at not in carried and ours[at] != theirs[at]:
                yield f'has another byte at {at}'

    def faults(self, checked):
        """Everything of the object that is not in the image; counts the references in `checked`."""
        for section in self.obj.sections:
            references = self.obj.references[section]
            if section.name in (*SLOTS, *LISTS, '__cfstring'):
                yield from self.list_faults(section)
                checked[section.name] = checked.get(section.name, 0) + section.size // 4
                continue
            for name, value, end in self.obj.atoms(section) if section.name not in (*TEXTS, *BYTES) else ():
                mine = [reference for reference in references if value <= reference.places[0] < end]
                results = [list(self.atom_faults(section, mine, value, end, place))
                           for place in self.places.get(name, ())]
                for fault in min(results, key=len, default=['is missing']):
                    yield f'{name} {fault}'
                for reference in mine:
                    references.remove(reference)
                    checked[reference.kind] = checked.get(reference.kind, 0) + 1
            for reference in references:
                yield f'{section.name}: nothing is known of the reference at {reference.places[0]:#x}'

    def list_faults(self, section):
        found = self.linked.section(section.name)
        size = 16 if section.name == '__cfstring' else 4
        for ours in range(section.address, section.address + section.size, size):
            if section.name in LISTS:
                same = any(self.same(self.obj.slot(ours), self.linked.slot(theirs))
                           for theirs in self.linked.pointers(found))
            else:
                same = any(self.same_content(section, ours, theirs)
                           for theirs in range(found.address, found.address + found.size, size))
            if not same:
                yield f'{section.name}: the entry at {ours:#x} is missing'


def thumb_faults(linked):
    """Pointers to code that do not lead to a function in its mode: all of the library's code is Thumb."""
    text = linked.section('__text')
    functions = {symbol.value + 1 for symbol in linked.symbols if symbol.description & 8 and symbol.type & 0xe == 0xe}
    pointers = [linked.pointer(address) for address in linked.moved]
    code = [target for target in pointers if text.address <= target < text.address + text.size]
    if len(code) < 100:
        yield f'only {len(code)} pointers to code'
    for target in code:
        if target not in functions:
            yield f'a pointer to {target:#x} leads to no Thumb function'


def lazy_binding(linked, at):
    """(address, name) that the lazy binding at an offset fills."""
    info, = linked.commands[0x80000022]
    at += linked.word(info + 32)
    address = name = None
    while linked.data[at] & 0xf0 != 0x90:
        opcode, immediate = linked.data[at] & 0xf0, linked.data[at] & 0xf
        at += 1
        if opcode == 0x70:
            shift = address = 0
            while True:
                address |= (linked.data[at] & 0x7f) << shift
                shift, at = shift + 7, at + 1
                if not linked.data[at - 1] & 0x80:
                    break
            address += linked.word(linked.commands[0x1][immediate] + 24)
        elif opcode == 0x40:
            end = linked.data.index(b'\0', at)
            name, at = linked.data[at:end].decode(), end + 1
    return address, name


def lazy_faults(linked):
    """What is wrong with the way from a function's first call to the binder."""
    helper = linked.section('__stub_helper').address
    cache, binder = struct.unpack('<ii', linked.read(helper + 28, 8))
    if linked.read(helper, 28) != HELPER or linked.bound.get(helper + 28 + binder) != 'dyld_stub_binder':
        yield 'the stub helper does not lead to the binder'
    if linked.pointer(helper + 16 + cache) or helper + 16 + cache in linked.bound:
        yield 'the stub helper has no slot of its own'
    for slot in linked.pointers(linked.section('__la_symbol_ptr')):
        entry = linked.pointer(slot)
        load, jump, offset = struct.unpack('<III', linked.read(entry, 12))
        to = entry + 12 + ((jump & 0xffffff ^ 0x800000) - 0x800000) * 4
        if (load, jump >> 24, to) != (0xe59fc000, 0xea, helper) or slot not in linked.moved:
            yield f'{linked.bound[slot]} does not lead to the stub helper'
        elif lazy_binding(linked, offset) != (slot, linked.bound[slot]):
            yield f'{linked.bound[slot]} is bound as {lazy_binding(linked, offset)}'


def main():
    failures = []
    for name in ('armv7', 'armv7s'):
        linked, checked = Linked(f'build/ios/{name}/libveltro.dylib'), {}
        for path in built.objects(name):
            obj = arm_objects.Object(path)
            failures += [f'{name}: {os.path.basename(path)}: {fault}'
                         for fault in Comparison(obj, linked).faults(checked)]
        failures += [f'{name}: {fault}' for faults in (thumb_faults, lazy_faults) for fault in faults(linked)]
        print(name, ', '.join(f'{count} {kind}' for kind, count in checked.items()))
        for kind in ('branch', 'halves', 'distance', 'pointer', *SLOTS, *LISTS):
            if not checked.get(kind):
                failures.append(f'{name}: no reference of the kind {kind}')
    print('\n'.join(failures))
    sys.exit(bool(failures))


main()
