"""What LLVM 13's Mach-O linker gets wrong in an image for 32-bit ARM, put right in place; each patch says
which of its faults it cures. An image that is not what a patch expects, by the objects' Expectations or by
itself, raises macho.Malformed: another linker's output must not ship half patched."""
import struct

import dyld_info
import macho
import patch_objects

DYNAMIC_LOOKUP_ORDINAL = 0xfe
# The library that stands for what is looked up in every loaded one. Its load command goes in the end, and
# leaves space for those of the UUID and the signature.
PLACEHOLDER = '/looked/up/in/every/loaded/library'

# ldr ip, [pc, #4]; add pc, pc; bx ip
FAULTY_SHIM = bytes.fromhex('dff804c0 ff44 6047')
ADD_IP_PC = bytes.fromhex('fc44')


def expect_same(what, found, expected):
    if found != expected:
        names = ', '.join(sorted(found ^ expected))
        raise macho.Malformed(f'{what}: {len(expected)} expected, {len(found)} found, differing in {names}')


def section_named(image, name):
    found = [section for section in image.sections() if section.name == name]
    if len(found) != 1:
        raise macho.Malformed(f'{len(found)} sections {name}')
    return found[0]


def patch_section_names(image, expected):
    """Gives the sections that the linker crashes on their names again."""
    names = {passed: name for name, passed in patch_objects.RENAMED.items()}
    found = set()
    for section in image.sections():
        if section.name in names:
            found.add(names[section.name])
            struct.pack_into('16s', image.data, section.at, names[section.name].encode())
    expect_same('renamed sections', found, expected.renamed)


def patch_image_info(image, expected):
    """Under its other name the linker sets every object's image info behind the others': the first has
    to do for all, which are alike."""
    section = section_named(image, '__objc_imageinfo')
    if len(set(expected.image_info)) != 1 or image.content(section) != b''.join(expected.image_info):
        raise macho.Malformed('image info that differs between the objects or from theirs')
    image.put(section.at + 36, len(expected.image_info[0]))


def patch_thumb_shims(image, expected):
    """A Thumb jump to an imported function goes through a shim that switches to ARM; the linker encodes its
    "add ip, pc" as "add pc, pc"."""
    text, stubs = section_named(image, '__text'), section_named(image, '__stubs')
    shims = 0
    at = image.data.find(FAULTY_SHIM, text.offset, text.offset + text.size)
    while at >= 0:
        address = text.address + at - text.offset
        target = address + 8 + image.unpack('i', at + 8)[0]
        if address % 4 or not stubs.address <= target < stubs.address + stubs.size:
            raise macho.Malformed(f'the shim at {address:#x} does not lead to a stub')
        image.data[at + 4:at + 6] = ADD_IP_PC
        shims += 1
        at = image.data.find(FAULTY_SHIM, at, text.offset + text.size)
    if shims != len(expected.tail_calls):
        raise macho.Malformed(f'{len(expected.tail_calls)} shims expected, {shims} found')


def patch_thumb_exports(image):
    """The linker exports functions without the Thumb bit."""
    functions = {symbol.name for symbol in image.symbols() if symbol.thumb}
    for name, at in dyld_info.exports(image):
        if name in functions:
            if image.data[at] & 1:
                raise macho.Malformed(f'{name} is exported with the Thumb bit already')
            image.data[at] |= 1


def pointers(image):
    """(place in the file, target) of every pointer into the image."""
    segments = list(image.segments())
    for address in dyld_info.rebased(image):
        at = next((address - segment.address + segment.offset for segment in segments
                   if segment.address <= address < segment.address + segment.size), None)
        if at is None:
            raise macho.Malformed(f'a pointer at {address:#x}, which is not in the file')
        yield at, image.word(at)


def patch_lookups(image, looked_up):
    """The linker binds every symbol to a library, or else none. Those that may be in one or the other are
    linked with a library of their own, which does not exist: dyld looks them up everywhere."""
    ordinal = len(list(image.libraries()))
    if list(image.libraries())[-1][0] != PLACEHOLDER:
        raise macho.Malformed('the placeholder is not the last library')
    found = set()
    for field in (dyld_info.BIND, dyld_info.LAZY_BIND):
        bindings = [binding for binding in dyld_info.bindings(image, field) if binding.ordinal == ordinal]
        found |= {binding.name for binding in bindings}
        for at in {binding.ordinal_at for binding in bindings}:
            if image.data[at] != dyld_info.ORDINAL | ordinal:
                raise macho.Malformed('the number of the placeholder takes another opcode')
            image.data[at] = dyld_info.FLAT_LOOKUP
    expect_same('symbols that are looked up', found, looked_up)
    for symbol in image.symbols():
        if symbol.undefined and symbol.description >> 8 == ordinal:
            struct.pack_into('<H', image.data, symbol.at + 6, DYNAMIC_LOOKUP_ORDINAL << 8)
    image.remove_command(list(image.libraries())[-1][1])


def patch_weak_imports(image, weak):
    """The linker knows no symbols and no libraries that may be missing. A library whose symbols may all be
    missing may be missing itself."""
    found, needed = set(), set()
    for field in (dyld_info.BIND, dyld_info.LAZY_BIND):
        for binding in list(dyld_info.bindings(image, field)):
            if binding.name in weak:
                image.data[binding.name_at] |= dyld_info.WEAK_IMPORT
                found.add(binding.name)
            else:
                needed.add(binding.ordinal)
    expect_same('symbols that may be missing', found, weak)
    for symbol in image.symbols():
        if symbol.undefined and symbol.name in weak:
            struct.pack_into('<H', image.data, symbol.at + 6, symbol.description | macho.N_WEAK_REF)
    for ordinal, (_, at) in enumerate(image.libraries(), 1):
        if ordinal not in needed:
            image.put(at, macho.LC_LOAD_WEAK_DYLIB)


def check_gaps(image, expected):
    """That the linker was given zeroed memory: what is between two functions is zero in every build."""
    text = section_named(image, '__text')
    functions = sorted((symbol.value, symbol.name) for symbol in image.symbols() if symbol.thumb)
    for (start, name), (following, _) in zip(functions, functions[1:]):
        size = expected.function_sizes.get(name)
        if size is not None and any(image.data[start + size - text.address + text.offset:
                                               following - text.address + text.offset]):
            raise macho.Malformed(f'what is behind {name} is not zero')


def check_thumb_pointers(image):
    """That clear_thumb_addends was understood: pointers into the code lead to functions, with the Thumb bit."""
    text = section_named(image, '__text')
    functions = {symbol.value | 1 for symbol in image.symbols() if symbol.thumb}
    for _, target in pointers(image):
        if text.address <= target < text.address + text.size and target not in functions:
            raise macho.Malformed(f'a pointer to {target:#x} leads to no Thumb function')


def check_symbol_pointers(image):
    """That relocate_symbol_pointers was understood: dyld fills every slot, or moves it with the image."""
    section = section_named(image, '__nl_symbol_ptr')
    filled = set(dyld_info.rebased(image)) | {
        binding.address for binding in dyld_info.bindings(image, dyld_info.BIND)}
    for address in range(section.address, section.address + section.size, 4):
        if address not in filled:
            raise macho.Malformed(f'the symbol pointer at {address:#x} is not bound')


def check_protocols(image):
    """That order_private_symbols was understood: what is listed as protocols are protocols."""
    protocols = {symbol.value for symbol in image.symbols() if symbol.name.startswith('__OBJC_PROTOCOL_$_')}
    section = section_named(image, '__objc_protolist')
    for at in range(section.offset, section.offset + section.size, 4):
        if image.word(at) not in protocols:
            raise macho.Malformed(f'{image.word(at):#x} is listed as a protocol and is none')
