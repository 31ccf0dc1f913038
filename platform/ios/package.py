"""package.py VERSION EPOCH OUT: makes the device's packages of build/ios/libveltro.dylib: the library
itself, and a -dev package to link against. The same inputs and the same EPOCH (the commit's time)
make the same bytes."""
import glob
import os
import re
import shutil
import subprocess
import sys

version, epoch, out = sys.argv[1:]
LIBRARY = 'Library/MobileSubstrate/DynamicLibraries/libveltro.dylib'
TARGETS = '[ armv7-ios, armv7s-ios, arm64-ios ]'
with open('CMakeLists.txt', encoding='utf-8') as project:
    HOMEPAGE, MAINTAINER = re.search(r'HOMEPAGE_URL (\S+).*?VELTRO_MAINTAINER "(.*?)"', project.read(), re.DOTALL).groups()


def exports():
    with open('platform/exports.txt', encoding='utf-8') as file:
        names = [line.split('#')[0].strip() for line in file]
    names = [name for name in names if name and not name.startswith('[')]
    classes = [name.split()[1] for name in names if name.startswith('class ')]
    return classes, ['_' + name for name in names if not name.startswith('class ')]


def stub(path):
    classes, symbols = exports()
    with open(path, 'w', encoding='utf-8') as file:
        file.write(f"--- !tapi-tbd\ntbd-version:     4\ntargets:         {TARGETS}\n"
                   f"install-name:    '/{LIBRARY}'\nexports:\n  - targets:         {TARGETS}\n")
        if symbols:
            file.write(f"    symbols:         [ {', '.join(symbols)} ]\n")
        file.write(f"    objc-classes:    [ {', '.join(classes)} ]\n...\n")


def make(name, fill, **fields):
    tree = f'{out}/{name}'
    shutil.rmtree(tree, ignore_errors=True)
    os.makedirs(f'{tree}/DEBIAN')
    fill(tree)
    os.makedirs(f'{tree}/usr/share/doc/{name}')
    shutil.copy('LICENSE', f'{tree}/usr/share/doc/{name}/copyright')
    paths = [os.path.join(folder, entry) for folder, folders, files in os.walk(tree)
             for entry in folders + files]
    size = sum(os.path.getsize(path) for path in paths if os.path.isfile(path))
    control = {'Package': name, 'Version': version, 'Architecture': 'iphoneos-arm',
               'Maintainer': MAINTAINER, 'Author': MAINTAINER, 'Homepage': HOMEPAGE,
               'Installed-Size': str(-(-size // 1024)), **fields}
    with open(f'{tree}/DEBIAN/control', 'w', encoding='utf-8') as file:
        file.write(''.join(f'{key.replace("_", "-")}: {value}\n' for key, value in control.items()))
    for path in [*paths, f'{tree}/DEBIAN', f'{tree}/DEBIAN/control', tree]:
        os.chmod(path, 0o755 if os.path.isdir(path) or path.endswith('.dylib') else 0o644)
        os.utime(path, (int(epoch), int(epoch)))
    # gzip: what the device's own dpkg can read.
    subprocess.run(['dpkg-deb', '-Zgzip', '--root-owner-group', '--build', tree,
                    f'{out}/{name}_{version}_iphoneos-arm.deb'], check=True,
                   stdout=subprocess.DEVNULL, env={**os.environ, 'SOURCE_DATE_EPOCH': epoch})


def fill_library(tree):
    os.makedirs(os.path.dirname(f'{tree}/{LIBRARY}'))
    shutil.copy(f'{out}/libveltro.dylib', f'{tree}/{LIBRARY}')


def fill_development(tree):
    shutil.copytree('include/veltro', f'{tree}/usr/include/veltro')
    os.makedirs(f'{tree}/usr/lib')
    stub(f'{tree}/usr/lib/libveltro.tbd')
    fill_device(f'{tree}/usr/share/veltro/device')


def fill_device(folder):
    """What a component is built with where there is no SDK: declarations, stubs and the signer."""
    shutil.copytree('platform/ios/include', f'{folder}/include')
    shutil.copytree('platform/include', f'{folder}/include', dirs_exist_ok=True,
                    ignore=shutil.ignore_patterns('VeltroHost'))
    shutil.copytree('platform/ios/libcxx', f'{folder}/libcxx')
    os.makedirs(f'{folder}/lib')
    for stubs in sorted(glob.glob(f'{out}/arm64/stubs/*.tbd')):
        shutil.copy(stubs, f'{folder}/lib')
    for script in ('sign.py', 'macho.py'):
        shutil.copy(f'platform/ios/{script}', folder)


make('com.norvane.libveltro', fill_library, Name='libveltro', Section='System',
     Depends='firmware (>= 6.0)',
     Description='Shared support library of a messaging add-on\n'
                 ' A request channel to the add-on\'s server, process control, a keychain store,\n'
                 ' platform and date helpers, and a few views, for the components of the add-on. It\n'
                 ' shows nothing by itself: packages whose components use it depend on it.')
make('com.norvane.libveltro-dev', fill_development, Name='libveltro (development)',
     Section='Development', Depends=f'com.norvane.libveltro (= {version})',
     Description='Headers and stub of libveltro\n'
                 ' What a component is built with: unpack it, compile with -I usr/include and\n'
                 ' #import <veltro/veltro.h> (or -fmodules and @import veltro), link with\n'
                 ' -L usr/lib -lveltro.')
