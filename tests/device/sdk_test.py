"""sdk_test.py FOLDER: what VELTRO_IOS_SDK, VELTRO_SIM_SDK and VELTRO_LD64 do, tried with an SDK put
together here and with linkers that stand in for one of 32-bit ARM. Works in FOLDER; compares with what
`make ios` built in build/ios."""
import filecmp
import os
import re
import shutil
import stat
import subprocess
import sys

import built
import fake_sdk

WORK = os.path.abspath(sys.argv[1])
SDK = f'{WORK}/SDK'
OUT = f'{WORK}/ios'
os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), '../..'))
failures = []


def expect(condition, text):
    if not condition:
        failures.append(text)


def ios(**environment):
    clean = {name: value for name, value in os.environ.items() if not name.startswith('VELTRO_')}
    return subprocess.run(['scripts/ios', OUT], env={**clean, **environment}, capture_output=True,
                          text=True, check=False)


def program(name, text):
    path = f'{WORK}/{name}'
    with open(path, 'w', encoding='utf-8') as file:
        file.write(text)
    os.chmod(path, os.stat(path).st_mode | stat.S_IXUSR)
    return path


def check_sdk():
    result = ios(VELTRO_IOS_SDK=SDK, VELTRO_SIM_SDK=SDK)
    expect(result.returncode == 0, f'with an SDK: {result.stderr}')
    for name in ('arm64', 'x86_64'):
        failures.extend(built.differences(f'build/ios/{name}/libveltro.dylib', f'{OUT}/{name}/libveltro.dylib'))
        deps = subprocess.run(['ninja', '-C', f'{OUT}/{name}', '-t', 'deps'], check=True, capture_output=True,
                              text=True).stdout
        uikit = set(re.findall(r'\S+/UIKit/UIKit\.h|\S+/UIKit\.framework/\S+/UIKit\.h', deps))
        expect(uikit == {f'{SDK}/System/Library/Frameworks/UIKit.framework/Headers/UIKit.h'},
               f'{name}: UIKit is declared in {", ".join(uikit) or "no file"}')
        with open(f'{OUT}/{name}/stubs/link.rsp', encoding='utf-8') as file:
            linked = file.read().split()
        for group, own in (('UIKit', False), ('CoreMedia', True), ('ChatKit', True)):
            path = next(path for path in linked if path.endswith(f'/{group}.tbd'))
            expect(path.startswith(OUT) == own, f'{name}: {group} is linked from {path}')


def check_linker():
    # Stands for a linker of 32-bit ARM: what it links is what `make ios` did.
    arguments = f'{WORK}/arguments'
    linker = program('ld64', f'#!/bin/sh\necho "$@" >>{arguments}\nfor last; do :; done\n'
                             f'cp "{os.getcwd()}/build/ios/$3/libveltro.dylib" "$last"\n')
    result = ios(VELTRO_LD64=os.path.relpath(linker))
    expect(result.returncode == 0, f'with a linker: {result.stderr}')
    slices = subprocess.run(['llvm-lipo-19', '-archs', f'{OUT}/libveltro.dylib'], check=True, capture_output=True,
                            text=True).stdout.split()
    expect(sorted(slices) == ['arm64', 'armv7', 'armv7s'], f'slices: {", ".join(slices)}')
    with open(arguments, encoding='utf-8') as file:
        calls = file.read().splitlines()
    for name, call in zip(('armv7', 'armv7s'), calls):
        expect(f'-arch {name} -platform_version ios 6.0 ' in call, f'{name}: linked with {call}')
        expect(filecmp.cmp(f'{OUT}/{name}/libveltro.dylib', f'build/ios/{name}/libveltro.dylib', shallow=False),
               f'{name}: what it linked is not what was joined')
    expect(len(calls) == 2, f'the linker was called {len(calls)} times')


def check_refusals():
    result = ios(VELTRO_LD64=program('no-arm', '#!/bin/sh\necho "ld: no such processor" >&2\nexit 1\n'))
    expect(result.returncode == 1, 'a linker that fails is not noticed')
    expect('ld: no such processor\n' in result.stderr, f'its message is lost: {result.stderr}')
    expect(result.stderr.endswith('ios: armv7 could not be built\n'), f'ends with {result.stderr[-80:]}')
    for variable in ('VELTRO_IOS_SDK', 'VELTRO_SIM_SDK', 'VELTRO_LD64'):
        result = ios(**{variable: f'{WORK}/nothing'})
        expect(result.returncode == 1 and result.stderr.count('\n') == 1 and variable in result.stderr,
               f'{variable} of nothing: {result.stderr}')


shutil.rmtree(WORK, ignore_errors=True)
fake_sdk.make(SDK)
check_sdk()
check_linker()
check_refusals()
shutil.rmtree(WORK)
print('\n'.join(failures))
sys.exit(bool(failures))
