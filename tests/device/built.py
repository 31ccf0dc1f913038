"""What two builds of the library have to have in common."""
import subprocess


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def symbols(path, option):
    return set(run('llvm-nm-19', '-g', '-j', option, path).split())


def libraries(path):
    return {line.split(' (')[0].strip() + (', weakly' if ', weak)' in line else '')
            for line in run('llvm-objdump-19', '--macho', '--dylibs-used', path).splitlines()[1:]}


def differences(ours, theirs):
    """What only one of two libraries exports, imports or is linked with, a line each."""
    for what, found in (('exported', lambda path: symbols(path, '--defined-only')),
                        ('imported', lambda path: symbols(path, '-u')), ('linked', libraries)):
        for name in sorted(found(ours) ^ found(theirs)):
            yield f'{what} by one of {ours} and {theirs} only: {name}'
