"""An SDK's folder put together from the declarations and stubs kept here, without the private ones: what
stands in for Apple's where a build with an SDK is tried."""
import glob
import os
import re
import shutil
import subprocess

FRAMEWORKS = ('AudioToolbox', 'CoreFoundation', 'CoreGraphics', 'CoreMedia', 'Foundation', 'QuartzCore',
              'Security', 'UIKit')
PRIVATE_FRAMEWORKS = ('BackBoardServices', 'ChatKit')
PRIVATE_HEADERS = ('AudioServicesVibration.h', 'FigVibrator.h', 'UIApplication+Launching.h')


def copy(source, target):
    shutil.copytree(source, target, dirs_exist_ok=True, ignore=shutil.ignore_patterns(*PRIVATE_HEADERS))


def without_private_imports(folder):
    """A header of a public framework names no private one."""
    names = '|'.join(map(re.escape, PRIVATE_HEADERS))
    for path in glob.glob(f'{folder}/**/*.h', recursive=True):
        with open(path, encoding='utf-8') as file:
            text = file.read()
        with open(path, 'w', encoding='utf-8') as file:
            file.write(re.sub(rf'#import <\w+/({names})>\n', '', text))


def without_private_symbols(path):
    """A public library's stub need not name what is private in it."""
    with open(path, encoding='utf-8') as file:
        text = file.read()
    with open(path, 'w', encoding='utf-8') as file:
        file.write(re.sub(r'_(FigVibrator\w+|AudioServicesPlaySystemSoundWithVibration)(, )?', '', text))


def with_classes(path):
    """Foundation's stub with its classes, which the stubs kept here leave to be looked up."""
    with open('platform/imports.txt', encoding='utf-8') as file:
        group = file.read().split('[Foundation]')[1].split('[')[0]
    names = ', '.join(re.findall(r'^class (\w+)', group, re.M))
    with open(path, encoding='utf-8') as file:
        text = file.read()
    with open(path, 'w', encoding='utf-8') as file:
        file.write(text.replace('\n...', f'\n    objc-classes:    [ {names} ]\n...'))


def make(folder, private=False):
    """Writes the SDK's folder: headers, and stubs of the public libraries; with `private` those of the
    private ones too, and what is private in the public ones."""
    include = f'{folder}/usr/include'
    os.makedirs(include)
    for source in ('platform/ios/include', 'platform/include'):
        for entry in os.listdir(source):
            path = f'{source}/{entry}'
            if entry in FRAMEWORKS:
                copy(path, f'{folder}/System/Library/Frameworks/{entry}.framework/Headers')
            elif os.path.isdir(path) and entry in ('sys', 'objc', 'dispatch'):
                copy(path, f'{include}/{entry}')
            elif os.path.isfile(path) and entry != 'MobileGestalt.h':
                shutil.copy(path, include)
    without_private_imports(f'{folder}/System')
    stubs = f'{folder}/private-stubs'
    subprocess.run(['python3', 'platform/ios/stubs.py', 'platform/imports.txt', stubs], check=True)
    for name in FRAMEWORKS:
        if os.path.exists(f'{stubs}/{name}.tbd'):
            os.rename(f'{stubs}/{name}.tbd', f'{folder}/System/Library/Frameworks/{name}.framework/{name}.tbd')
    with_classes(f'{folder}/System/Library/Frameworks/Foundation.framework/Foundation.tbd')
    if private:
        for name in PRIVATE_FRAMEWORKS:
            os.makedirs(f'{folder}/System/Library/PrivateFrameworks/{name}.framework')
            os.rename(f'{stubs}/{name}.tbd', f'{folder}/System/Library/PrivateFrameworks/{name}.framework/{name}.tbd')
        os.makedirs(f'{folder}/usr/lib')
        os.rename(f'{stubs}/MobileGestalt.tbd', f'{folder}/usr/lib/libMobileGestalt.tbd')
    else:
        for name in ('AudioToolbox', 'CoreMedia'):
            without_private_symbols(f'{folder}/System/Library/Frameworks/{name}.framework/{name}.tbd')
    for name, target in (('libSystem', 'libSystem.B'), ('libobjc', 'libobjc.A'), ('libc++', 'libc++.1')):
        os.makedirs(f'{folder}/usr/lib', exist_ok=True)
        shutil.move(f'{stubs}/{name}.tbd', f'{folder}/usr/lib/{target}.tbd')
        os.symlink(f'{target}.tbd', f'{folder}/usr/lib/{name}.tbd')
