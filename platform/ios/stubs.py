"""stubs.py IMPORTS FOLDER [SDK]: writes the text-based stubs (.tbd) that stand for the device's
libraries when there is no SDK, holding just the symbols that IMPORTS names, and the file link.rsp with
the arguments that link against them. A library of SDK takes the place of its stub, unless it lacks a
symbol: an SDK need not have the private ones."""
import dataclasses
import os
import re
import sys

FRAMEWORKS = '/System/Library/Frameworks/{0}.framework/{0}'
PRIVATE = '/System/Library/PrivateFrameworks/{0}.framework/{0}'

# Group of the list: install name, and whether the whole library may be missing on a release.
LIBRARIES = {
    'AudioToolbox': (FRAMEWORKS, False),
    'BackBoardServices': (PRIVATE, True),
    'ChatKit': (PRIVATE, True),
    'CoreFoundation': (FRAMEWORKS, False),
    'CoreGraphics': (FRAMEWORKS, False),
    'CoreMedia': (FRAMEWORKS, False),
    'Foundation': (FRAMEWORKS, False),
    'MobileGestalt': ('/usr/lib/libMobileGestalt.dylib', True),
    'Security': (FRAMEWORKS, False),
    'UIKit': (FRAMEWORKS, False),
    'libc++': ('/usr/lib/libc++.1.dylib', False),
    'libSystem': ('/usr/lib/libSystem.B.dylib', False),
    'libobjc': ('/usr/lib/libobjc.A.dylib', False),
}

# What compiled code asks of the runtimes; not part of the list.
RUNTIME = {
    'libobjc': ['objc_enumerationMutation', 'objc_getClass', 'objc_getProperty', 'objc_msgSend',
                'objc_msgSendSuper2', 'objc_msgSendSuper2_stret', 'objc_msgSend_stret',
                'objc_setProperty_nonatomic', 'objc_setProperty_nonatomic_copy',
                'objc_autoreleasePoolPush', 'objc_autoreleasePoolPop', '_objc_empty_cache',
                '_objc_empty_vtable'],
    'libc++': ['__gxx_personality_v0', '__gxx_personality_sj0'],
    'libSystem': ['dyld_stub_binder', '_Unwind_Resume', '_Unwind_SjLj_Register', '_Unwind_SjLj_Resume',
                  '_Unwind_SjLj_Unregister', '__stack_chk_fail', '__stack_chk_guard', 'memset'],
    'CoreFoundation': ['__CFConstantStringClassReference'],
}

TARGETS = '[ arm64-ios, armv7-ios, armv7s-ios, x86_64-ios-simulator ]'


def read(path):
    groups, group = {}, None
    with open(path, encoding='utf-8') as file:
        for line in file:
            line = line.split('#')[0].strip()
            if line.startswith('['):
                group = groups.setdefault(line.strip('[]'), [])
            elif line:
                group.append('__error' if line == 'errno' else line)
    unknown = set(groups) - set(LIBRARIES)
    if unknown:
        sys.exit(f'{path}: no library is known for {", ".join(sorted(unknown))}')
    return groups


@dataclasses.dataclass
class Library:
    group: str
    install_name: str
    may_be_missing: bool
    symbols: list
    classes: list
    # These classes moved between Foundation and CoreFoundation from release to release: they are looked up
    # in every loaded library and bound to neither.
    looked_up: list


def libraries(listing):
    """The device's libraries, with what the list and the runtimes name of them."""
    groups = read(listing)
    for group, names in RUNTIME.items():
        groups[group] = groups.get(group, []) + names
    for group, names in sorted(groups.items()):
        install_name, may_be_missing = LIBRARIES[group]
        classes = sorted(name.split()[1] for name in names if name.startswith('class '))
        # The stub binder is the one symbol that is not written in C.
        symbols = sorted(name if name == 'dyld_stub_binder' else '_' + name
                         for name in names if not name.startswith('class '))
        moved = group == 'Foundation'
        yield Library(group, install_name.format(group), may_be_missing, symbols,
                      [] if moved else classes, classes if moved else [])


def in_sdk(sdk, install_name, symbols):
    """The SDK's own form of a library, where it has one that holds all the symbols."""
    for path in (sdk + re.sub(r'(\.dylib)?$', '.tbd', install_name, count=1), sdk + install_name):
        if os.path.exists(path):
            with open(path, 'rb') as file:
                found = set(re.findall(rb'[\w$.]+', file.read()))
            return path if found.issuperset(symbol.encode() for symbol in symbols) else None
    return None


def main():
    listing, folder, sdk = (*sys.argv[1:], '')[:3]
    os.makedirs(folder, exist_ok=True)
    arguments = []
    for library in libraries(listing):
        arguments += [f'-U _OBJC_CLASS_$_{name}' for name in library.looked_up]
        path = os.path.join(folder, library.group + '.tbd')
        with open(path, 'w', encoding='utf-8') as file:
            file.write(f"--- !tapi-tbd\ntbd-version:     4\ntargets:         {TARGETS}\n"
                       f"install-name:    '{library.install_name}'\n"
                       f"exports:\n  - targets:         {TARGETS}\n")
            if library.symbols:
                file.write(f"    symbols:         [ {', '.join(library.symbols)} ]\n")
            if library.classes:
                file.write(f"    objc-classes:    [ {', '.join(library.classes)} ]\n")
            file.write('...\n')
        if sdk:
            path = in_sdk(sdk, library.install_name, library.symbols + library.classes) or path
        arguments.append(('-weak_library ' if library.may_be_missing else '') + path)
    with open(os.path.join(folder, 'link.rsp'), 'w', encoding='utf-8') as file:
        file.write('\n'.join(arguments) + '\n')


if __name__ == '__main__':
    main()
