"""device_test.py CHECK: one check of what `make ios` built in build/ios.

    exports      exactly the classes and constants of platform/exports.txt
    imports      exactly what platform/imports.txt names, apart from the runtimes
    libraries    only the libraries that those imports come from, and every import from its own
    weak         whatever a release may lack is linked weakly, and nothing else
    initialisers no slice runs anything when it is loaded
    interface    the Objective-C metadata is tests/device/interface.txt (--write writes it anew)
    strings      every string of tests/device/strings.txt stands in every slice once
    form         processor, install name, oldest release, size
    package      the packages' files and control fields, and the slices that they promise
"""
import glob
import os
import re
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path += [HERE, os.path.join(HERE, '../package')]
import built  # noqa: E402
import image  # noqa: E402
import metadata  # noqa: E402
import symbols  # noqa: E402

os.chdir(os.path.join(HERE, '../..'))
DEVICE = ('armv7', 'armv7s', 'arm64')
SLICES = (*DEVICE, 'x86_64')
INSTALL_NAME = '/Library/MobileSubstrate/DynamicLibraries/libveltro.dylib'
failures = []


def expect(condition, text):
    if not condition:
        failures.append(text)


def expect_same(what, found, expected):
    for name in sorted(found - expected):
        failures.append(f'{what}: not expected: {name}')
    for name in sorted(expected - found):
        failures.append(f'{what}: missing: {name}')


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def library(slice_name):
    return f'build/ios/{slice_name}/libveltro.dylib'


# What compiled code asks of the runtimes, on 32-bit ARM with exceptions by setjmp and longjmp.
RUNTIME = re.compile(r'^(_objc_|__objc_empty_|___gxx_personality_(v0|sj0)$|__Unwind_(SjLj_)?(Resume|Register|Unregister)$|'
                     r'___CFConstantStringClassReference$|dyld_stub_binder$|_memset$)')


def named(names):
    out = set()
    for name in names:
        found = re.match(r'^_OBJC_(?:META)?CLASS_\$_(\w+)$', name)
        if found:
            out.add('class ' + found.group(1))
        elif not RUNTIME.match(name):
            out.add({'___error': 'errno'}.get(name, name.removeprefix('_')))
    return out


def check_exports():
    for name in SLICES:
        found = run('llvm-nm-19', '-g', '-j', '--defined-only', library(name)).split()
        expect_same(f'{name} exports', named(found), symbols.listed('platform/exports.txt'))


def check_imports():
    for name in SLICES:
        found = run('llvm-nm-19', '-u', '-j', library(name)).split()
        expect_same(f'{name} imports', named(found), symbols.listed('platform/imports.txt'))


def check_libraries():
    allowed = {f'/System/Library/Frameworks/{name}.framework/{name}' for name in (
        'AudioToolbox', 'CoreFoundation', 'CoreGraphics', 'CoreMedia', 'Foundation', 'Security', 'UIKit')}
    allowed |= {f'/System/Library/PrivateFrameworks/{name}.framework/{name}' for name in (
        'BackBoardServices', 'ChatKit')}
    allowed |= {'/usr/lib/libMobileGestalt.dylib', '/usr/lib/libSystem.B.dylib',
                '/usr/lib/libobjc.A.dylib', '/usr/lib/libc++.1.dylib'}
    for name in SLICES:
        lines = run('llvm-objdump-19', '--macho', '--dylibs-used', library(name)).splitlines()[1:]
        used = {line.split()[0]: line for line in lines}
        expect_same(f'{name} libraries', set(used), allowed | {INSTALL_NAME})
        for path, line in used.items():
            if 'PrivateFrameworks' in path or 'MobileGestalt' in path:
                expect(', weak)' in line, f'{name}: {path} is linked strongly, and no release must lack it')
        check_sources(name)


def check_sources(name):
    """That every import is bound to the library that the list has it in, and what may be in one of two to none."""
    with open('platform/imports.txt', encoding='utf-8') as file:
        groups = re.findall(r'^\[(.+)\]\n([^\[]*)', file.read(), re.M)
    libraries = {'MobileGestalt': 'libMobileGestalt'}
    expected = {symbol: libraries.get(group, group) for group, text in groups
                for symbol in text.split('\n') if symbol and not symbol.startswith('#')}
    for symbol, library_name in expected.items():
        if symbol.startswith('class ') and library_name == 'Foundation':
            expected[symbol] = 'dynamically looked up'
    # As the symbols say, and as dyld is told.
    found = {tuple(re.match(r'.* (\S+) \((?:from )?(.*)\)$', line).groups())
             for line in run('llvm-nm-19', '-m', '-u', library(name)).splitlines()}
    found |= {(binding.name, binding.library.replace('flat-namespace', 'dynamically looked up'))
              for binding in image.Image(library(name)).bindings}
    for symbol, source in sorted(found):
        for wanted in named([symbol]):
            expect(expected.get(wanted) == source, f'{name}: {wanted} is taken from {source}')


def check_weak():
    private = {'_AudioServicesPlaySystemSoundWithVibration', '_CKFrameworkBundle', '_FigVibratorInitialize',
               '_FigVibratorPlayVibrationWithDictionary', '_MGCopyAnswer', '_OBJC_CLASS_$_BKSProcessAssertion'}
    for name in SLICES:
        lines = run('llvm-nm-19', '-m', '-u', library(name)).splitlines()
        weak = {line.split()[-3] for line in lines if ' weak external ' in line}
        expect_same(f'{name} weak imports', weak, private)
        bindings = [binding for binding in image.Image(library(name)).bindings if not binding.lazy]
        expect_same(f'{name} weak bindings', {binding.name for binding in bindings if binding.weak},
                    {binding.name for binding in bindings} & private)


def check_initialisers():
    sections = re.compile(r'sectname (__mod_init_func|__mod_term_func|__init_offsets|__objc_nlclslist|'
                          r'__objc_nlcatlist)\b')
    for name in SLICES:
        expect(built.objects(name), f'{name}: nothing was compiled')
        for path in [*built.objects(name), library(name)]:
            headers = run('llvm-objdump-19', '--macho', '--private-headers', path)
            for section in sections.findall(headers):
                failures.append(f'{path} has {section}')
            for symbol in run('llvm-nm-19', '-j', '--defined-only', path).split():
                expect(not symbol.startswith('__GLOBAL__sub_I'), f'{path} has {symbol}')


def check_interface():
    path = 'tests/device/interface.txt'
    entries = {name: metadata.of(image.Image(library(name))) for name in SLICES}
    for name in SLICES:
        for entry in entries[name].values():
            failures.extend(f'{name}: {fault}' for fault in entry.faults)
    table = metadata.table(entries['arm64'], entries['armv7'])
    if '--write' in sys.argv:
        with open(path, 'w', encoding='utf-8') as file:
            file.write(table)
        return
    with open(path, encoding='utf-8') as file:
        expect_same('interface', set(numbered(table)), set(numbered(file.read())))
    for line in set(numbered(table)) ^ set(numbered(metadata.table(entries['x86_64'], entries['armv7s']))):
        # A character is signed on the simulator's processor too, but BOOL is one there.
        expect(re.search(r'[Bc]', line), f'slices differ: {line}')


def numbered(table):
    heading = ''
    for line in table.splitlines():
        if not line.startswith(' '):
            heading = line
        yield f'{heading}: {line.strip()}'


def check_strings():
    with open('tests/device/strings.txt', encoding='utf-8') as file:
        fixed = [line.rstrip('\n') for line in file if line.strip() and not line.startswith('# ')]
    for name in SLICES:
        slice_image = image.Image(library(name))
        # A string that code reads with vectors may be aligned, among the other constants.
        found = [text for section in slice_image.sections if section.segment == '__TEXT'
                 and section.name in ('__cstring', '__const')
                 for text in slice_image.read(section.address, section.size).decode('latin-1').split('\0')]
        for text in fixed:
            expect(found.count(text) == 1, f'{name}: "{text}" stands in the library {found.count(text)} times')


def check_form():
    processors = {'armv7': (12, 9), 'armv7s': (12, 11), 'arm64': (0x100000c, 0), 'x86_64': (0x1000007, 3)}
    for name, processor in processors.items():
        headers = run('llvm-objdump-19', '--macho', '--private-headers', library(name))
        oldest = '6.0' if name.startswith('armv7') else '7.0'
        expect(f'name {INSTALL_NAME} ' in headers, f'{name}: another install name')
        expect(re.search(rf'LC_VERSION_MIN_IPHONEOS\n +cmdsize \d+\n +version {oldest}\n', headers),
               f'{name}: another oldest release')
        slice_image = image.Image(library(name))
        expect((slice_image.word(4), slice_image.word(8)) == processor, f'{name}: for another processor')
        expect(len(slice_image.data) < 128 * 1024, f'{name}: {len(slice_image.data)} bytes')
        info = slice_image.section('__objc_imageinfo')
        expect(info and slice_image.read(info.address, info.size) == bytes([0, 0, 0, 0, 0x40, 0, 0, 0]),
               f'{name}: other image info')


def check_joined(path, what):
    """That a library holds the device's slices, byte for byte, and is said to."""
    for name in DEVICE:
        part = f'{path}.{name}'
        run('llvm-lipo-19', path, '-thin', name, '-output', part)
        with open(part, 'rb') as ours, open(library(name), 'rb') as theirs:
            expect(ours.read() == theirs.read(), f'{what}: {name} is not what was linked')
        os.remove(part)
    slices = run('llvm-lipo-19', '-archs', path).split()
    expect(slices == list(DEVICE), f'{what}: holds {", ".join(slices)}')


def check_stub(path):
    """That what add-ons are linked against promises the slices, the place and the symbols there are."""
    with open(path, encoding='utf-8') as file:
        fields = dict(re.findall(r'^ *(?:- )?([a-z-]+): +(.+)$', file.read(), re.M))
    lists = {key: set(re.findall(r'[\w-]+', value)) for key, value in fields.items()}
    expect_same(f'{path}: targets', lists['targets'], {f'{name}-ios' for name in DEVICE})
    expect(fields['install-name'] == f"'{INSTALL_NAME}'", f'{path}: install name {fields["install-name"]}')
    promised = {'class ' + name for name in lists['objc-classes']} | named(lists['symbols'])
    expect_same(f'{path}: symbols', promised, symbols.listed('platform/exports.txt'))


def check_package():
    check_joined('build/ios/libveltro.dylib', 'libveltro.dylib')
    packages = sorted(glob.glob('build/ios/*.deb'))
    expect(len(packages) == 2, f'packages: {", ".join(packages)}')
    for path in packages:
        fields = dict(line.split(': ', 1) for line in run('dpkg-deb', '-f', path).splitlines() if ': ' in line)
        expect(fields.get('Architecture') == 'iphoneos-arm', f'{path}: architecture')
        for field in ('Package', 'Version', 'Section', 'Installed-Size', 'Depends', 'Description'):
            expect(fields.get(field), f'{path}: no {field}')
        expect(fields.get('Homepage', '').startswith('https://'), f'{path}: Homepage')
        expect(re.fullmatch(r'.+ <\S+@(?!.*\.(invalid|example)>)\S+>', fields.get('Maintainer', '')), f'{path}: Maintainer')
        files = run('dpkg-deb', '-c', path)
        expect(f"./usr/share/doc/{fields.get('Package')}/copyright\n" in files, f'{path}: no licence')
        if fields.get('Package') == 'com.norvane.libveltro':
            expect(fields.get('Depends') == 'firmware (>= 6.0)', f'{path}: Depends')
            expect(f'.{INSTALL_NAME}\n' in files, f'{path}: no library at its path')
            with tempfile.TemporaryDirectory() as folder:
                run('dpkg-deb', '-x', path, folder)
                check_joined(folder + INSTALL_NAME, path)
        else:
            for name in ('usr/include/veltro/veltro.h', 'usr/include/veltro/module.modulemap', 'usr/lib/libveltro.tbd'):
                expect(f'./{name}\n' in files, f'{path}: no {name}')
            with tempfile.TemporaryDirectory() as folder:
                run('dpkg-deb', '-x', path, folder)
                check_stub(f'{folder}/usr/lib/libveltro.tbd')


def main():
    check = sys.argv[1]
    globals()['check_' + check]()
    print('\n'.join(failures))
    sys.exit(bool(failures))


main()
