"""link_armv7.py ARCH INSTALL_NAME IMPORTS OUT OBJECT...: links OUT, a library for armv7 or armv7s, with the
former Mach-O linker of LLVM 13, Debian's only linker for 32-bit ARM. Its faults are patched in the objects
before (patch_objects) and in the image after (patch_image). It reads no text-based stubs for these
processors: stub libraries of what IMPORTS names are written in the binary form."""
import contextlib
import os
import shutil
import struct
import subprocess
import sys
import tempfile

import macho
import patch_image
import patch_objects
import stubs

LINKER = 'ld64.lld.darwinold-13'
# The linker leaves what it aligns functions with as it found the memory: glibc hands out zeros.
ZEROED_MEMORY = {'MALLOC_PERTURB_': '255'}
OLDEST, NEWEST = '6.0', '9.0'
CPU_ARM, CPU_SUBTYPES = 12, {'armv7': 9, 'armv7s': 11}
MH_DYLIB, MH_DYLDLINK, MH_TWOLEVEL = 6, 0x4, 0x80
VERSION_1 = 1 << 16


def stub_library(arch, install_name, symbols):
    """The bytes of a library that holds nothing but its name and its symbols."""
    entries, strings = b'', b'\0'
    for symbol in sorted(symbols):
        entries += struct.pack('<IBBHI', len(strings), macho.N_EXT | macho.N_TYPE, 1, 0, 0)
        strings += symbol.encode() + b'\0'
    name = install_name.encode() + b'\0'
    name += bytes(-len(name) % 4)
    commands = struct.pack('<6I', macho.LC_ID_DYLIB, 24 + len(name), 24, 0, VERSION_1, VERSION_1) + name
    start = 28 + len(commands) + 24
    commands += struct.pack('<6I', macho.LC_SYMTAB, 24, start, len(symbols), start + len(entries), len(strings))
    header = struct.pack('<7I', 0xfeedface, CPU_ARM, CPU_SUBTYPES[arch], MH_DYLIB, 2, len(commands),
                         MH_DYLDLINK | MH_TWOLEVEL)
    return header + commands + entries + strings


def class_symbols(names):
    return [f'_OBJC_{kind}_$_{name}' for name in names for kind in ('CLASS', 'METACLASS')]


def write(path, data):
    with open(path, 'wb') as file:
        file.write(data)
    return path


def read(path):
    with open(path, 'rb') as file:
        return macho.MachO(file.read())


@contextlib.contextmanager
def blame(name):
    """Has what goes wrong say whose fault it is."""
    try:
        yield
    except macho.Malformed as error:
        raise macho.Malformed(f'{name}: {error}') from None


def patched(path, expected):
    """The bytes of an object as the linker takes it; notes what its image has to hold."""
    with blame(path):
        obj = read(path)
        expected.take(obj)
        patch_objects.rename_sections(obj)
        patch_objects.relocate_symbol_pointers(obj)
        patch_objects.clear_thumb_addends(obj)
        patch_objects.order_private_symbols(obj)
    return obj.data


def link(arch, install_name, imports, out, objects):
    libraries = list(stubs.libraries(imports))
    looked_up = {symbol for library in libraries for symbol in class_symbols(library.looked_up)}
    may_be_missing = {symbol for library in libraries if library.may_be_missing
                      for symbol in library.symbols + class_symbols(library.classes)}
    expected = patch_objects.Expectations()
    with tempfile.TemporaryDirectory() as folder:
        inputs = []
        for i, library in enumerate(libraries):
            symbols = library.symbols + class_symbols(library.classes)
            inputs.append(write(f'{folder}/{i:02}.dylib', stub_library(arch, library.install_name, symbols)))
        inputs.append(write(f'{folder}/looked-up.dylib', stub_library(arch, patch_image.PLACEHOLDER, looked_up)))
        inputs += [write(f'{folder}/{i:02}.o', patched(path, expected)) for i, path in enumerate(objects)]
        result = subprocess.run(
            [LINKER, '-arch', arch, '-ios_version_min', OLDEST, '-sdk_version', NEWEST, '-dylib',
             '-install_name', install_name, '-current_version', '1', '-compatibility_version', '1',
             '-o', f'{folder}/image', *inputs], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
            check=False, env={**os.environ, **ZEROED_MEMORY})
        if result.returncode:
            raise macho.Malformed(f'{LINKER} failed: {result.stdout.strip()}')
        with blame(LINKER):
            image = read(f'{folder}/image')
            patch(image, expected, looked_up, may_be_missing)
    write(out, image.data)
    os.chmod(out, 0o755)


def patch(image, expected, looked_up, may_be_missing):
    patch_image.patch_section_names(image, expected)
    patch_image.patch_image_info(image, expected)
    patch_image.patch_thumb_shims(image, expected)
    patch_image.patch_thumb_exports(image)
    patch_image.patch_lookups(image, looked_up & expected.imported)
    patch_image.patch_weak_imports(image, expected.weak | may_be_missing & expected.imported)
    patch_image.check_symbol_pointers(image)
    patch_image.check_gaps(image, expected)
    patch_image.check_thumb_pointers(image)
    patch_image.check_protocols(image)


def main():
    arch, install_name, imports, out, *objects = sys.argv[1:]
    if not shutil.which(LINKER):
        sys.exit(f'{LINKER} is not installed; it comes with lld-13')
    try:
        link(arch, install_name, imports, out, objects)
    except macho.Malformed as error:
        sys.exit(f'{out}: {error}')


if __name__ == '__main__':
    main()
