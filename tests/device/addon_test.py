"""addon_test.py FOLDER: builds add-ons against the -dev package that `make ios` made: with the headers and
-lveltro, and with only the module, in Objective-C and Objective-C++, for 32-bit ARM as far as objects. Works in
FOLDER."""
import glob
import os
import shutil
import subprocess
import sys

import built
import fake_sdk

WORK = os.path.abspath(sys.argv[1])
SDK = f'{WORK}/SDK'
PACKAGE = f'{WORK}/package'
INSTALL_NAME = '/Library/MobileSubstrate/DynamicLibraries/libveltro.dylib'
os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), '../..'))

# Every kind of thing that an add-on takes from the library: classes, a superclass, a category, a constant.
SOURCE = '''
@interface AddOnAlert : ZLTActivityAlertView
@end
@implementation AddOnAlert
@end
NSString *add_on(NSDate *date) {
  [ZLTUtils vibrateDevice];
  [ZLTSocketUtils setSocketPort:1];
  return [date veltro_isToday] ? kZLTKeyChainErrorDomain : [ZLTUtils platform];
}
'''
WANTED = {'_OBJC_CLASS_$_ZLTActivityAlertView', '_OBJC_METACLASS_$_ZLTActivityAlertView', '_OBJC_CLASS_$_ZLTUtils',
          '_OBJC_CLASS_$_ZLTSocketUtils', '_kZLTKeyChainErrorDomain'}
failures = []


def expect(condition, text):
    if not condition:
        failures.append(text)


def compiled(target, source, out, options):
    return subprocess.run(['clang-19', '-target', target, '-isysroot', SDK, '-fobjc-runtime=ios-6.0', '-Wall', '-Werror',
                           f'-I{PACKAGE}/usr/include', *options, '-c', source, '-o', out], capture_output=True,
                          text=True, check=False)


def build(name, language, heading, compiling=(), linking=()):
    source, library = f'{WORK}/{name}.{language}', f'{WORK}/{name}.dylib'
    with open(source, 'w', encoding='utf-8') as file:
        file.write(heading + SOURCE)
    for slice_name in ('armv7', 'armv7s'):
        result = compiled(f'{slice_name}-apple-ios6.0', source, f'{WORK}/{name}.o', compiling)
        expect(result.returncode == 0, f'{name} for {slice_name}: {result.stderr}')
        wanted = built.symbols(f'{WORK}/{name}.o', '-u') & built.symbols(f'build/ios/{slice_name}/libveltro.dylib',
                                                                         '--defined-only')
        expect(wanted == WANTED, f'{name} for {slice_name}: takes {", ".join(sorted(wanted))}')
    result = compiled('arm64-apple-ios7.0', source, f'{WORK}/{name}.o', compiling)
    if result.returncode == 0:
        result = subprocess.run(
            ['ld64.lld-19', '-dylib', '-arch', 'arm64', '-platform_version', 'ios', '7.0', '9.0', '-syslibroot', SDK,
             f'-L{PACKAGE}/usr/lib', f'-L{SDK}/usr/lib', '-framework', 'Foundation', '-framework', 'UIKit', '-lSystem',
             '-lobjc', *linking, f'{WORK}/{name}.o', '-o', library], capture_output=True, text=True, check=False)
    expect(result.returncode == 0, f'{name}: {result.stderr}')
    if result.returncode:
        return
    # nm names the library that each symbol is bound to by its file's name.
    bound = {line.split()[-3] for line in built.run('llvm-nm-19', '-m', '-u', library).splitlines()
             if line.endswith('(from libveltro)')}
    expect(bound == WANTED, f'{name}: bound to the library: {", ".join(sorted(bound))}')
    expect(INSTALL_NAME in built.libraries(library), f'{name}: linked with {", ".join(built.libraries(library))}')


shutil.rmtree(WORK, ignore_errors=True)
fake_sdk.make(SDK)
built.run('dpkg-deb', '-x', *glob.glob('build/ios/com.norvane.libveltro-dev_*.deb'), PACKAGE)
for language in ('m', 'mm'):
    build(f'headers-{language}', language, '#import <veltro/veltro.h>\n', linking=['-lveltro'])
    build(f'module-{language}', language, '@import veltro;\n', 
          compiling=['-fmodules', '-fcxx-modules', f'-fmodules-cache-path={WORK}/modules'])
shutil.rmtree(WORK)
print('\n'.join(failures))
sys.exit(bool(failures))
