"""component_test.py BUILD FOLDER: makes the component of `veltro new` in Objective-C++ and in Objective-C, as an
author would with what is installed, and does with it all that its files offer: the tests on Linux, a talk with the messenger,
the device's library and package, Theos's makefile with stand-ins, and the tests again against the device's library.
Works in FOLDER."""
import glob
import os
import shutil
import subprocess
import sys

BUILD, WORK = (os.path.abspath(path) for path in sys.argv[1:])
SOURCE = os.path.abspath(os.path.join(os.path.dirname(os.path.abspath(__file__)), '../..'))
PREFIX, DEV = f'{WORK}/prefix', f'{WORK}/dev'
IMAGE = 'device/x86_64/Words.dylib'
environment = {**os.environ, 'HOME': f'{WORK}/home', 'VELTRO_ROOT': f'{WORK}/root', 'CMAKE_PREFIX_PATH': PREFIX,
               'PATH': f'{PREFIX}/bin:' + os.environ['PATH'], 'VELTRO_DEV': DEV}
# A ctest that runs this test has told it things that are not meant for the component's own.
environment.pop('CTEST_INTERACTIVE_DEBUG_MODE', None)

# The component's shared object without the component: it loads the device's image.
DROP_IN = '''
#include <VeltroLoader/VeltroLoader.h>
#include <cstdio>
#include <unistd.h>
__asm__(".globl __objc_class_name_Words\\n.set __objc_class_name_Words, 0\\n");
static const bool loaded = [] {
  char *error = nullptr;
  if (VLImageLoad(IMAGE, &error))
    return true;
  std::fprintf(stderr, "%s\\n", error);
  _exit(2);
}();
'''

THEOS_LIBRARY = '''
N := $(LIBRARY_NAME)
CC := clang++-19 -target arm64-apple-ios7.0 -nostdlibinc -isystem $(VELTRO_DEV)/usr/share/veltro/device/include
$(WORK)/$(N).dylib: $($(N)_FILES)
\t$(CC) $($(N)_CFLAGS) $(if $(filter %.mm,$^),$($(N)_OBJCCFLAGS),-x objective-c) -c $^ -o $(WORK)/$(N).o
\tld64.lld-19 -dylib -arch arm64 -platform_version ios 7.0 9.0 -undefined dynamic_lookup \\
  -install_name $($(N)_INSTALL_PATH)/$(N).dylib $($(N)_LDFLAGS) $(WORK)/$(N).o -o $@
'''


def run(*command, cwd=None, env=None, status=0):
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False, cwd=cwd,
                            env=env or environment, stdin=subprocess.DEVNULL)
    if result.returncode != status:
        sys.exit(f'{" ".join(command)}: status {result.returncode}\n{result.stdout}')
    return result.stdout


def expect(condition, text):
    if not condition:
        sys.exit(text)


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, 'w', encoding='utf-8') as file:
        file.write(text)


def check_device(folder):
    run('make', 'package', cwd=folder)
    listing = run('dpkg-deb', '--contents', *glob.glob(f'{folder}/device/*.deb'))
    for name in ('Words.dylib', 'Words.plist'):
        expect(f'./Library/MobileSubstrate/DynamicLibraries/{name}\n' in listing, f'not in the package: {name}')
    used = run('llvm-objdump-19', '--macho', '--dylibs-used', f'{folder}/device/arm64/Words.dylib')
    expect('/Library/MobileSubstrate/DynamicLibraries/libveltro.dylib (' in used, f'linked with {used}')
    headers = run('llvm-objdump-19', '--macho', '--private-headers', f'{folder}/device/arm64/Words.dylib')
    for command in ('LC_UUID', 'LC_CODE_SIGNATURE'):
        expect(command in headers, f'the image has no {command}')
    run('make', 'ARCH=x86_64', cwd=folder)


def check_theos(folder):
    theos = f'{WORK}/theos'
    write(f'{theos}/makefiles/common.mk', f'THEOS_MAKE_PATH := {theos}/makefiles\n')
    write(f'{theos}/makefiles/library.mk', THEOS_LIBRARY)
    run('make', '-f', 'Makefile.theos', f'THEOS={theos}', f'WORK={WORK}', f'{WORK}/Words.dylib', cwd=folder)


def check_against_device(folder):
    """The same test programs, with the component's code and the library's taken from the device's images."""
    write(f'{WORK}/drop-in/words.cpp', DROP_IN)
    run('clang++-19', '-std=c++20', '-shared', '-fPIC', f'-DIMAGE="{folder}/{IMAGE}"',
        f'-I{SOURCE}/platform/loader/include', f'{WORK}/drop-in/words.cpp', '-Wl,--no-as-needed', f'-L{BUILD}/lib',
        '-lveltro-loader', '-lveltro', '-Wl,-soname,libWords.so', '-o', f'{WORK}/drop-in/libWords.so')
    against = {**environment,
               'LD_LIBRARY_PATH': f'{WORK}/drop-in:{BUILD}/device/x86_64/lib:{BUILD}/lib'}
    for test in ('messages_test', 'platform_test'):
        run(f'{folder}/build/{test}', env=against)
    missing = {**against, 'VELTRO_IMAGE': '/nowhere'}
    run(f'{folder}/build/messages_test', env=missing, status=2)


shutil.rmtree(WORK, ignore_errors=True)
os.makedirs(f'{WORK}/home')
run('cmake', '--install', BUILD, '--prefix', PREFIX)
run('dpkg-deb', '-x', *glob.glob(f'{BUILD}/ios/com.norvane.libveltro-dev_*.deb'), DEV)
for form in ([], ['--objc']):
    component = f'{WORK}/words{"-objc" if form else ""}'
    run('veltro', 'new', 'Words', '--folder', component, *form)
    expect('100% tests passed' in run('./ci', cwd=component), 'the component\'s tests did not pass')
    check_device(component)
    check_theos(component)
    check_against_device(component)
shutil.rmtree(WORK)
