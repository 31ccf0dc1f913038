"""loaded_addon_test.py BUILD: builds tests/loader/addon/AddOn.mm for the simulator against the -dev package
that `make ios` made, and has the program addon_host load and test it beside the drop-in. BUILD is the build tree;
works in a folder of its own in it."""
import glob
import os
import shutil
import subprocess
import sys

import built
import fake_sdk

BUILD = os.path.abspath(sys.argv[1])
WORK = f'{BUILD}/device-loaded-addon'
SDK = f'{WORK}/SDK'
PACKAGE = f'{WORK}/package'
os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), '../..'))

shutil.rmtree(WORK, ignore_errors=True)
fake_sdk.make(SDK)
built.run('dpkg-deb', '-x', *glob.glob('build/ios/com.norvane.libveltro-dev_*.deb'), PACKAGE)
subprocess.run(
    ['clang++-19', '-target', 'x86_64-apple-ios7.0-simulator', '-isysroot', SDK, '-fobjc-runtime=ios-6.0', '-std=c++20',
     '-Os', '-fblocks', '-fobjc-exceptions', '-fno-cxx-exceptions', '-fno-rtti', '-nostdinc++', '-Wall', '-Werror',
     f'-I{PACKAGE}/usr/include', '-c', 'tests/loader/addon/AddOn.mm', '-o', f'{WORK}/AddOn.o'], check=True)
# The package's stub is for devices: the simulator's slice stands in for it. Classes of Foundation that the declarations kept here do not name are looked up when the add-on is loaded.
subprocess.run(
    ['ld64.lld-19', '-dylib', '-arch', 'x86_64', '-platform_version', 'ios-simulator', '7.0', '9.0', '-syslibroot', SDK,
     f'-L{SDK}/usr/lib', '-framework', 'Foundation', '-framework', 'CoreFoundation', '-framework', 'UIKit', '-lSystem',
     '-lobjc', '-lc++', '-U', '_OBJC_CLASS_$_NSException', '-install_name', '/Library/AddOn.dylib', f'{WORK}/AddOn.o',
     'build/ios/x86_64/libveltro.dylib', '-o', f'{WORK}/AddOn.dylib'], check=True)
result = subprocess.run(
    [f'{BUILD}/tests/addon_host'], check=False,
    env={**os.environ, 'LD_LIBRARY_PATH': 'build/device/x86_64/lib', 'VELTRO_ADDON': f'{WORK}/AddOn.dylib'})
shutil.rmtree(WORK)
sys.exit(result.returncode)
