"""device_test.py CHECK: one check of what `make ios` built in build/ios.

    exports      exactly the classes and constants of platform/exports.txt
    imports      exactly what platform/imports.txt names, apart from the runtimes
    libraries    only the libraries that those imports come from
    weak         whatever a release may lack is linked weakly, and nothing else
    initialisers no slice, linked or not, runs anything when it is loaded
    interface    the Objective-C metadata is tests/device/interface.txt (--write writes it anew)
    strings      every string of tests/device/strings.txt stands in the library once
    form         install name, oldest release, signature, size
    package      the packages' files and control fields
"""
import glob
import os
import re
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path += [HERE, os.path.join(HERE, '../package')]
import metadata  # noqa: E402
import symbols  # noqa: E402

os.chdir(os.path.join(HERE, '../..'))
LINKED = ('arm64', 'x86_64')
COMPILED = ('arm64', 'armv7', 'armv7s', 'x86_64')
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


def objects(slice_name):
    return sorted(glob.glob(f'build/ios/{slice_name}/CMakeFiles/objects.dir/**/*.o*', recursive=True))


RUNTIME = re.compile(r'^(_objc_|__objc_empty_|___gxx_personality_v0$|__Unwind_Resume$|'
                     r'___CFConstantStringClassReference$|dyld_stub_binder$)')


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
    for name in LINKED:
        found = run('llvm-nm-19', '-g', '-j', '--defined-only', library(name)).split()
        expect_same(f'{name} exports', named(found), symbols.listed('platform/exports.txt'))


def check_imports():
    for name in LINKED:
        found = run('llvm-nm-19', '-u', '-j', library(name)).split()
        expect_same(f'{name} imports', named(found), symbols.listed('platform/imports.txt'))


def check_libraries():
    allowed = {f'/System/Library/Frameworks/{name}.framework/{name}' for name in (
        'AudioToolbox', 'CoreFoundation', 'CoreGraphics', 'CoreMedia', 'Foundation', 'Security', 'UIKit')}
    allowed |= {f'/System/Library/PrivateFrameworks/{name}.framework/{name}' for name in (
        'BackBoardServices', 'ChatKit')}
    allowed |= {'/usr/lib/libMobileGestalt.dylib', '/usr/lib/libSystem.B.dylib',
                '/usr/lib/libobjc.A.dylib', '/usr/lib/libc++.1.dylib'}
    for name in LINKED:
        lines = run('llvm-objdump-19', '--macho', '--dylibs-used', library(name)).splitlines()[1:]
        used = {line.split()[0]: line for line in lines}
        expect_same(f'{name} libraries', set(used), allowed | {INSTALL_NAME})
        for path, line in used.items():
            if 'PrivateFrameworks' in path or 'MobileGestalt' in path:
                expect(', weak)' in line, f'{name}: {path} is linked strongly, and no release must lack it')


def check_weak():
    private = {'_AudioServicesPlaySystemSoundWithVibration', '_CKFrameworkBundle', '_FigVibratorInitialize',
               '_FigVibratorPlayVibrationWithDictionary', '_MGCopyAnswer', '_OBJC_CLASS_$_BKSProcessAssertion'}
    for name in LINKED:
        lines = run('llvm-nm-19', '-m', '-u', library(name)).splitlines()
        weak = {line.split()[-3] for line in lines if ' weak external ' in line}
        expect_same(f'{name} weak imports', weak, private)


def check_initialisers():
    sections = re.compile(r'sectname (__mod_init_func|__mod_term_func|__init_offsets|__objc_nlclslist|'
                          r'__objc_nlcatlist)\b')
    for name in COMPILED:
        expect(objects(name), f'{name}: nothing was compiled')
        for path in objects(name) + ([library(name)] if name in LINKED else []):
            headers = run('llvm-objdump-19', '--macho', '--private-headers', path)
            for section in sections.findall(headers):
                failures.append(f'{path} has {section}')
            for symbol in run('llvm-nm-19', '-j', '--defined-only', path).split():
                expect(not symbol.startswith('__GLOBAL__sub_I'), f'{path} has {symbol}')


def check_interface():
    path = 'tests/device/interface.txt'
    wide = metadata.of(library('arm64'))
    table = metadata.table(wide, metadata.of(*objects('armv7')))
    if '--write' in sys.argv:
        with open(path, 'w', encoding='utf-8') as file:
            file.write(table)
        return
    with open(path, encoding='utf-8') as file:
        expect_same('interface', set(numbered(table)), set(numbered(file.read())))
    for same in (metadata.table(metadata.of(library('x86_64')), metadata.of(*objects('armv7s'))),):
        for line in set(numbered(table)) ^ set(numbered(same)):
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
    listing = run('llvm-objdump-19', '--macho', '--section=__TEXT,__cstring', library('arm64'))
    found = [line.split('  ', 1)[1] for line in listing.splitlines() if re.match(r'^[0-9a-f]{16}  ', line)]
    for text in fixed:
        expect(found.count(text) == 1, f'"{text}" stands in the library {found.count(text)} times')


def check_form():
    for name, command in (('arm64', 'LC_VERSION_MIN_IPHONEOS'), ('x86_64', 'LC_VERSION_MIN_IPHONEOS')):
        headers = run('llvm-objdump-19', '--macho', '--private-headers', library(name))
        expect(f'name {INSTALL_NAME} ' in headers, f'{name}: another install name')
        expect(re.search(command + r'\n +cmdsize \d+\n +version 7\.0\n', headers), f'{name}: another oldest release')
        size = os.path.getsize(library(name))
        expect(size < 128 * 1024, f'{name}: {size} bytes')
    for name in set(COMPILED) - set(LINKED):
        # What comes before the line's total: code, data and the rest of each object.
        size = sum(int(field) for line in run('llvm-size-19', *objects(name)).splitlines()[1:]
                   for field in line.split()[:4])
        expect(0 < size < 128 * 1024, f'{name}: {size} bytes in the objects')
    expect('LC_CODE_SIGNATURE' in run('llvm-objdump-19', '--macho', '--private-headers', library('arm64')),
           'arm64: not signed')


def check_package():
    packages = sorted(glob.glob('build/ios/*.deb'))
    expect(len(packages) == 2, f'packages: {", ".join(packages)}')
    for path in packages:
        fields = dict(line.split(': ', 1) for line in run('dpkg-deb', '-f', path).splitlines() if ': ' in line)
        expect(fields.get('Architecture') == 'iphoneos-arm', f'{path}: architecture')
        for field in ('Package', 'Version', 'Maintainer', 'Section', 'Installed-Size', 'Depends', 'Description'):
            expect(fields.get(field), f'{path}: no {field}')
        files = run('dpkg-deb', '-c', path)
        if fields.get('Package') == 'com.norvane.libveltro':
            expect(fields.get('Depends') == 'firmware (>= 6.0)', f'{path}: Depends')
            expect(f'.{INSTALL_NAME}\n' in files, f'{path}: no library at its path')
        else:
            for name in ('usr/include/veltro/veltro.h', 'usr/include/veltro/module.modulemap', 'usr/lib/libveltro.tbd'):
                expect(f'./{name}\n' in files, f'{path}: no {name}')


def main():
    check = sys.argv[1]
    globals()['check_' + check]()
    print('\n'.join(failures))
    sys.exit(bool(failures))


main()
