"""What `veltro COMMAND --help` says, taken apart."""
import dataclasses
import re
import subprocess

# "-o,--out TEXT:{a,b}=a Excludes: --window": names, then the value's type, what it is checked for, its default, and
# notes.
ENTRY = re.compile(r'(?P<names>\S+)(?: (?P<type>[A-Z]+)(?::(?P<check>\{[^}]*\}|[^=]*?\]))?(?:=(?P<default>\S*))?)?(?P<notes>(?: .*)?)$')


@dataclasses.dataclass
class Entry:
    names: list  # of an option, or the one of an argument, a command or a variable
    value: str  # the type of the option's value; empty for a flag
    choices: list
    notes: list  # what the type, the choices and the relations to other options come to, in words
    text: str


@dataclasses.dataclass
class Command:
    words: list  # without the tool's own name
    summary: str
    usage: str
    positionals: list
    options: list
    commands: list  # Command, by their names
    environment: list
    remarks: str


def entry(term, text):
    parts = ENTRY.match(term)
    choices = parts['check'][1:-1].split(',') if parts['check'] and parts['check'].startswith('{') else []
    notes = []
    if choices:
        notes.append('one of ' + ', '.join(choices))
    elif parts['check']:
        notes.append(parts['check'])
    if parts['default']:
        notes.append('default: ' + parts['default'])
    if found := re.search(r'Excludes: (.*)$', parts['notes']):
        notes.append('not together with ' + ', '.join(found[1].split()))
    if found := re.search(r'Needs: (.*)$', parts['notes']):
        notes.append('only with ' + ', '.join(found[1].split()))
    if parts['notes'].startswith(' ...'):
        notes.append('again for more')
    return Entry(parts['names'].split(','), parts['type'] or '', choices, notes, text)


def entries(lines):
    """Two spaces, the term, two spaces or more or a line's end, and the text; what stands further right continues it."""
    found = []
    for line in lines:
        if start := re.match(r'  (\S.*?)(?:  +(\S.*))?$', line):
            found.append([start[1], start[2] or ''])
        elif line.strip():
            found[-1][1] = f'{found[-1][1]} {line.strip()}'.strip()
    return [entry(*one) for one in found]


def read(tool, words=()):
    shown = subprocess.run([tool, *words, '--help'], check=True, capture_output=True, text=True).stdout
    sections, name = {'Summary': [], 'Remarks': []}, 'Summary'
    for line in shown.splitlines():
        if line.startswith('Usage: '):
            usage, name = line.removeprefix('Usage: '), 'Remarks'
        elif re.fullmatch(r'[A-Z][a-z]+:', line):
            name = line[:-1]
            sections[name] = []
        elif line and not line.startswith(' ') and name not in ('Summary', 'Remarks'):
            name = 'Remarks'
            sections[name].append(line)
        else:
            sections[name].append(line)
    commands = [read(tool, (*words, one.names[0])) for one in entries(sections.get('Subcommands', []))]
    return Command(list(words), ' '.join(sections['Summary']), usage, entries(sections.get('Positionals', [])),
                   entries(sections.get('Options', [])), commands, entries(sections.get('Environment', [])),
                   '\n'.join(sections['Remarks']).strip())


def walk(command):
    yield command
    for below in command.commands:
        yield from walk(below)
