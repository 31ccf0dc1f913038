"""theos_test.py FOLDER: builds platform/ios/Makefile.theos with stand-ins for Theos's makefiles and an
SDK, and compares the library with the one that `make ios` built. Works in FOLDER."""
import os
import shutil
import subprocess
import sys

import built
import fake_sdk

WORK = os.path.abspath(sys.argv[1])
SDK = f'{WORK}/SDK'
os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), '../..'))

# How Theos takes what a makefile says, in small: every file of the instance is compiled by its suffix,
# with the flags for it, and the objects are linked with the frameworks.
LIBRARY = '''
N := $(LIBRARY_NAME)
OBJECTS := $(patsubst %,$(WORK)/obj/%.o,$($(N)_FILES))
CC := clang++-19 -target arm64-apple-ios7.0 -isysroot $(SYSROOT) -fobjc-runtime=ios-6.0 \\
  -nostdinc++ -isystem $(VELTRO_ROOT)/platform/ios/libcxx -isystem /usr/lib/llvm-19/include/c++/v1
$(WORK)/$(N).dylib: $(OBJECTS)
\t$(CC) --ld-path=/usr/bin/ld64.lld-19 -mlinker-version=705 -dynamiclib -nostdlib -install_name $($(N)_INSTALL_PATH)/$(N).dylib \\
  -Wl,-dead_strip $(addprefix -framework ,$($(N)_FRAMEWORKS)) -lobjc -lc++ -lSystem $($(N)_LDFLAGS) $^ -o $@
$(WORK)/obj/%.mm.o: %.mm
\t@mkdir -p $(@D)
\t$(CC) $($(N)_CFLAGS) $($(N)_CCFLAGS) $($(N)_OBJCCFLAGS) -c $< -o $@
$(WORK)/obj/%.cpp.o: %.cpp
\t@mkdir -p $(@D)
\t$(CC) $($(N)_CFLAGS) $($(N)_CCFLAGS) -c $< -o $@
archs:
\t@echo $(ARCHS)
'''


def run(*command):
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    if result.returncode:
        sys.exit(result.stdout)
    return result.stdout


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, 'w', encoding='utf-8') as file:
        file.write(text)


def make(*arguments):
    return run('make', '-s', '-j2', '-C', 'platform/ios', '-f', 'Makefile.theos', f'THEOS={WORK}/theos',
               f'SYSROOT={SDK}', f'WORK={WORK}', *arguments)


shutil.rmtree(WORK, ignore_errors=True)
fake_sdk.make(SDK, private=True)
write(f'{WORK}/theos/makefiles/common.mk', 'THEOS_MAKE_PATH := $(THEOS)/makefiles\n')
write(f'{WORK}/theos/makefiles/library.mk', LIBRARY)
make(f'{WORK}/libveltro.dylib')
failures = list(built.differences('build/ios/arm64/libveltro.dylib', f'{WORK}/libveltro.dylib'))
if make('archs').split() != ['armv7', 'armv7s', 'arm64']:
    failures.append('another set of slices')
shutil.rmtree(WORK)
print('\n'.join(failures))
sys.exit(bool(failures))
