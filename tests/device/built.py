"""What `make ios` built, and what two builds of the library have to have in common."""
import json
import shlex
import subprocess


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def objects(slice_name):
    """The objects that a slice is linked of, without those of sources that are gone."""
    folder = f'build/ios/{slice_name}'
    with open(f'{folder}/compile_commands.json', encoding='utf-8') as file:
        commands = [shlex.split(entry['command']) for entry in json.load(file)]
    return sorted(f'{folder}/{command[command.index("-o") + 1]}' for command in commands)


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
