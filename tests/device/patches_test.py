"""patches_test.py FOLDER: linking for 32-bit ARM ends in one clear line, and in no library, wherever the linker's
output or an object is not what the patches expect. Works in FOLDER; takes the objects of build/ios."""
import os
import shutil
import struct
import subprocess
import sys

import arm_objects
import built
import image

WORK = os.path.abspath(sys.argv[1])
OUT = f'{WORK}/libveltro.dylib'
LINKER = 'ld64.lld.darwinold-13'
os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), '../..'))
OBJECTS = built.objects('armv7')
failures = []


def linker(script):
    """Puts a stand-in for the linker first in the path; "$out" is what it has to write."""
    path = f'{WORK}/bin/{LINKER}'
    with open(path, 'w', encoding='utf-8') as file:
        file.write('#!/bin/sh\nset -e\nfor word; do [ "$last" != -o ] || out=$word; last=$word; done\n' + script)
    os.chmod(path, 0o755)


def link(objects=OBJECTS):
    if os.path.exists(OUT):
        os.remove(OUT)
    return subprocess.run(
        ['python3', 'platform/ios/link_armv7.py', 'armv7', '/Library/libveltro.dylib', 'platform/imports.txt', OUT,
         *objects], env={**os.environ, 'PATH': f'{WORK}/bin:{os.environ["PATH"]}'}, capture_output=True, text=True,
        check=False)


def refused(what, message, objects=OBJECTS, by=f'{LINKER}: '):
    result = link(objects)
    line = f'{OUT}: {by}{message}'
    if result.returncode != 1 or not result.stderr.startswith(line) or result.stderr.count('\n') != 1:
        failures.append(f'{what}: {result.returncode}, not "{message}": {result.stderr}')
    if os.path.exists(OUT):
        failures.append(f'{what}: a library was written')


def write(path, data):
    with open(path, 'wb') as file:
        file.write(data)
    return path


def with_output(what, message, change):
    """Links with an image that differs from the linker's in what `change` does to its bytes."""
    data = bytearray(RAW.data)
    change(data)
    write(f'{WORK}/image', data)
    refused(what, message)


def with_object(what, message, suits, change):
    path = next(path for path in OBJECTS if suits(arm_objects.Object(path)))
    data = bytearray(arm_objects.Object(path).data)
    change(arm_objects.Object(path), data)
    changed = write(f'{WORK}/object.o', data)
    refused(what, f'{changed}: {message}', [changed if other == path else other for other in OBJECTS], '')


def word(data, at, change):
    struct.pack_into('<I', data, at, change(struct.unpack_from('<I', data, at)[0]))


def place(binary, address):
    section = binary.section_at(address)
    return section.offset + address - section.address


def replaced(old, new, count=1):
    def change(data):
        assert old in data
        data[:] = data.replace(old, new, count)
    return change


def method_code(binary):
    """Where the first pointer to code stands in a list of methods."""
    text = binary.section('__text')
    return place(binary, next(address for address in sorted(binary.moved)
                              if binary.section_at(address).name == '__objc_const'
                              and text.address <= binary.pointer(address) < text.address + text.size))


def unbind(data):
    """Takes the opcode away that binds the first symbol pointer: segment and offset stay."""
    slot = RAW.section('__nl_symbol_ptr')
    address = next(address for address in RAW.pointers(slot) if address in RAW.bound)
    offset = address - RAW.word(RAW.commands[0x1][1] + 24)
    number = b''
    while offset:
        number += bytes([offset & 0x7f | (0x80 if offset > 0x7f else 0)])
        offset >>= 7
    replaced(b'\x71' + number + b'\x90', b'\x71' + number + b'\x00')(data)


def lengthen_ordinal(data):
    """Writes the placeholder's number behind an opcode of its own; the last of the opcodes, which ends nothing, makes
    space."""
    info, = RAW.commands[0x80000022]
    start, size = RAW.word(info + 16), RAW.word(info + 20)
    assert data[start + size - 1] == 0
    at = data.index(b'\x1e', start, start + size)
    data[at:start + size] = b'\x20\x0e' + data[at + 1:start + size - 1]


def check_images():
    shim = bytes.fromhex('dff804c0 ff44 6047')
    second_info = RAW.section('__veltro_imginfo').offset + 8
    protocols = RAW.section('__objc_protolist').offset
    placeholder = b'/looked/up/in/every/loaded/library'
    with_output('a section under another name', 'renamed sections: 2 expected, 1 found, differing in __objc_catlist',
                replaced(b'__veltro_cats', b'__veltro_dogs'))
    with_output('another image info', 'image info that differs', lambda data: word(data, second_info, lambda info: 1))
    shims = RAW.data.count(shim)
    with_output('a shim that is right', f'{shims} shims expected, {shims - 1} found',
                replaced(shim, bytes.fromhex('dff804c0 fc44 6047')))
    with_output('a shim that leads elsewhere', 'the shim at ',
                lambda data: word(data, data.index(shim) + 8, lambda distance: distance + 0x4000))
    with_output('a pointer without the Thumb bit', 'a pointer to ',
                lambda data: word(data, method_code(RAW), lambda code: code & ~1))
    with_output('a pointer into a function', 'a pointer to ',
                lambda data: word(data, method_code(RAW), lambda code: code + 2))
    with_output('another placeholder', 'the placeholder is not the last library',
                replaced(placeholder, b'/looked/up/in/every/loaded/librarY'))
    with_output('a number behind its opcode', 'the number of the placeholder takes another opcode', lengthen_ordinal)
    with_output('a class of another name', 'symbols that are looked up: ',
                replaced(b'_OBJC_CLASS_$_NSCalendar\0', b'_OBJC_CLASS_$_NSCalendaR\0', -1))
    with_output('a weak import of another name', 'symbols that may be missing: ',
                replaced(b'_MGCopyAnswer\0', b'_MGCopyAnsweR\0', -1))
    with_output('a symbol pointer that is not bound', 'the symbol pointer at ', unbind)
    with_output('another protocol', f'{struct.unpack_from("<I", RAW.data, protocols)[0] + 4:#x} is listed as a protocol',
                lambda data: word(data, protocols, lambda protocol: protocol + 4))
    with_output('bytes between functions', 'what is behind ', fill_gap)
    with_output('no image', 'not a thin Mach-O file', lambda data: data.__setitem__(slice(None), b'done\n'))
    for size in (100, 1000, RAW.commands[0x80000022][0] + 4, len(RAW.data) // 2):
        with_output(f'an image of {size} bytes', '', lambda data, size=size: data.__delitem__(slice(size, None)))


def fill_gap(data):
    """Another byte behind the last function of an object whose code ends between two whole words."""
    for path in OBJECTS:
        obj = arm_objects.Object(path)
        text = obj.section('__text')
        if text.size % 4 and text.align == 4:
            name, start, end = obj.atoms(text)[-1]
            address, = [address for address, names in RAW.names.items() if name in names]
            at = place(RAW, address) + end - start
            if data[at:at + 2] == bytes(2):
                data[at] = 1
                return
    raise AssertionError('no object whose code ends between two words')


def check_objects():
    def local_pointer(obj, data):
        table, = obj.commands[0xb]
        slots = obj.section('__nl_symbol_ptr')
        word(data, obj.word(table + 56) + 4 * slots.reserved, lambda symbol: 0x80000000)

    def addend(obj, data):
        names = {symbol.name: symbol for symbol in obj.symbols}
        helper = next(symbol.value for name, symbol in names.items() if name.startswith('___copy_helper_block_'))
        references = obj.references[obj.section('__const')]
        at = next(reference.places[0] for reference in references if reference.target == helper)
        word(data, place(obj, at), lambda value: value + 4)

    def order(obj, data):
        table, = obj.commands[0xb]
        word(data, table + 12, lambda count: count + 1)

    def relocated(obj, data):
        at = next(at for at in range(obj.commands[0x1][0], len(data))
                  if data[at:at + 16] == b'__nl_symbol_ptr\0') + 52
        word(data, at, lambda count: 1)

    def has_pointers(obj):
        return obj.section('__nl_symbol_ptr')

    def has_helpers(obj):
        return any(symbol.name.startswith('___copy_helper_block_') for symbol in obj.symbols)

    with_object('a pointer to a local symbol', '__nl_symbol_ptr points to a local symbol', has_pointers, local_pointer)
    with_object('a pointer into a helper', 'a pointer to a Thumb function with the addend 0x5', has_helpers, addend)
    with_object('symbols in another order', 'local symbols are not in front', has_pointers, order)
    with_object('relocations that are there', '__nl_symbol_ptr has relocations already', has_pointers, relocated)
    with_object('no object', 'not a thin Mach-O file', has_pointers, lambda obj, data: data.__setitem__(slice(4), b'text'))


shutil.rmtree(WORK, ignore_errors=True)
os.makedirs(f'{WORK}/bin')
linker(f'{shutil.which(LINKER)} "$@"\ncp "$out" {WORK}/raw\n')
if link().returncode:
    sys.exit('does not link what make ios links')
RAW = image.Image(f'{WORK}/raw')
check_objects()
linker(f'cp {WORK}/image "$out"\n')
write(f'{WORK}/image', RAW.data)
if link().returncode:
    failures.append('an image that nobody changed is refused')
check_images()
linker('echo "no such processor" >&2\nexit 1\n')
refused('a linker that fails', 'no such processor', by=f'{LINKER} failed: ')
shutil.rmtree(WORK)
print('\n'.join(failures))
sys.exit(bool(failures))
