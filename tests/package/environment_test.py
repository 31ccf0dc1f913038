"""docs/environment.md names every variable that is read, and no other; what tests hand to their own programs is theirs."""
import os
import re
import subprocess
import sys

os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), '../..'))
READ = re.compile(r'''(?:getenv|\bvariable|environment|text_of|given)\(["'](\w+)["']\)'''
                  r'''|os\.environ(?:\.get)?[\[(]'(\w+)'|\$[({](VELTRO_[A-Z0-9_]+|PREFIX|DEBUG|SLICE|THEOS|TMPDIR)\b''')
# Programs' search path, which everything has.
OTHERS = {'PATH'}


def files(*patterns):
    return subprocess.run(['git', 'ls-files', *patterns], check=True, capture_output=True, text=True).stdout.split()


read = {}
with open('cmake/modules.txt', encoding='utf-8') as file:
    modules = file.read().split()
for path in files(*modules, 'platform', 'tools', 'examples', 'scripts', 'tests', 'Makefile'):
    # CMake's variables are not the environment's; tests set what they like for their own programs.
    if path.endswith(('CMakeLists.txt', '.cmake')) or path.startswith('tests/package/'):
        continue
    with open(path, encoding='utf-8', errors='replace') as file:
        text = file.read()
    for found in READ.finditer(text):
        name = next(filter(None, found.groups()))
        if not re.search(rf'^{name} :=', text, re.MULTILINE):
            read.setdefault(name, path)
    # By a constant, or in a list of names.
    if not path.startswith('tests/'):
        for name in re.findall(r"""["'](VELTRO_[A-Z0-9_]+)["']""", text):
            read.setdefault(name, path)
    # languages.mm reads the variables of a list.
    for found in re.finditer(r'for \(const char \*variable : \{(.*?)\}', text):
        for name in re.findall(r'"(\w+)"', found[1]):
            read.setdefault(name, path)
    # What the tool's help names without reading it itself: X11 does.
    if 'XOpenDisplay(nullptr)' in text:
        read.setdefault('DISPLAY', path)

with open('docs/environment.md', encoding='utf-8') as file:
    page = file.read()
rows = '\n'.join(line.split('|')[1] for line in page.splitlines() if line.startswith('| `'))
named = set(re.findall(r'`([A-Z][A-Z0-9_]+)`', rows)) | set(re.findall(r'`(VELTRO_[A-Z_]+)`', page))

problems = [f'read in {path}, but not named: {name}' for name, path in sorted(read.items()) if name not in named | OTHERS and not path.startswith('tests/')]
problems += [f'named, but not read: {name}' for name in sorted(named - set(read))]
print('\n'.join(problems))
sys.exit(bool(problems))
