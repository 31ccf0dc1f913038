"""The dynamic symbols of a shared object, and the lists they are compared with."""
import re
import subprocess
import sys

# What the Objective-C and C++ runtimes and the compiler's own support ask for.
RUNTIME = re.compile(
    r'^(\.objc_|objc_|__objc_|class_|sel_|object_|method_|_Unwind_|__gxx_personality|__gnu_objc_personality|_OBJC_(META)?CLASS_|'
    r'__cxa_|__gmon_start__|_ITM_|__stack_chk_|_ZS|_Zn|_Zd|_ZT|__clang_call_terminate|DW\.ref)')
CLASS = re.compile(r'^__objc_class_name_(\w+)$')


def of(path, *options):
    out = subprocess.run(['nm', '-D', *options, path], check=True, capture_output=True, text=True).stdout
    return [line.split()[-1].split('@')[0] for line in out.splitlines()]


def named(symbols):
    """The names as the lists write them: classes by `class NAME`; what the runtimes need left out."""
    names = set()
    for symbol in symbols:
        found = CLASS.match(symbol)
        if found:
            names.add('class ' + found.group(1))
        elif not RUNTIME.match(symbol):
            names.add({'__errno_location': 'errno'}.get(symbol, symbol))
    return names


def listed(path):
    """The names of a list: one a line, below a [heading] for each framework; # starts a comment."""
    names = []
    with open(path, encoding='utf-8') as file:
        for line in file:
            line = line.split('#')[0].strip()
            if line and not line.startswith('['):
                names.append(line)
    twice = {name for name in names if names.count(name) > 1}
    if twice:
        sys.exit(f'{path}: listed twice: {", ".join(sorted(twice))}')
    return set(names)


def compare(what, found, expected):
    for name in sorted(found - expected):
        print(f'{what}, but not listed: {name}')
    for name in sorted(expected - found):
        print(f'listed, but not {what}: {name}')
    sys.exit(found != expected)
