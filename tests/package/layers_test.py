"""The folders of the platform include each other downwards only: VeltroHost, frameworks, machine, and no circles."""
import graphlib
import os
import re
import sys

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), '../../platform/linux')
LAYERS = ['VeltroHost', 'frameworks', 'machine']

os.chdir(ROOT)
uses, problems = {}, []
for folder, _, names in os.walk('.'):
    folder = os.path.relpath(folder)
    for name in names:
        with open(f'{folder}/{name}', encoding='utf-8') as file:
            included = re.findall(r'^#(?:include|import) "([^"]+)"', file.read(), re.M)
        for other in map(os.path.dirname, included):
            if other and other != folder:
                uses.setdefault(folder, set()).add(other)
                layers = [LAYERS.index(path.split('/')[0]) for path in (folder, other)]
                if layers[0] > layers[1]:
                    problems.append(f'{folder}/{name} includes a header of {other}')
if not uses:
    problems.append('no file includes another')
try:
    graphlib.TopologicalSorter(uses).prepare()
except graphlib.CycleError as error:
    problems.append('a circle: ' + ', '.join(error.args[1]))
print('\n'.join(problems))
sys.exit(bool(problems))
