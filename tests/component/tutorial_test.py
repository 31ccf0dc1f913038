"""tutorial_test.py TUTORIAL FOLDER [SHELL...]: does what the tutorial says, command by command, in one shell, and compares the
screen with what it shows: every line that it shows, but for `...`, has to come, in that order. Works in FOLDER, which is the
home; the clone is this tree. Where a shell of another machine or root is given, the commands that get the clone are run as well,
and $URL there names what is cloned."""
import os
import re
import shutil
import subprocess
import sys

TUTORIAL, WORK = (os.path.abspath(path) for path in sys.argv[1:3])
SHELL = sys.argv[3:]
SOURCE = os.path.abspath(os.path.join(os.path.dirname(os.path.abspath(__file__)), '../..'))
MOST_COMMANDS = 10  # to the tested component and its package
# What gets the clone; it is there already where the shell is this machine's.
CLONE = ('apt-get install -y git make', 'git clone URL ~/libveltro')


def steps():
    """Each command with the lines that are shown below it, by the headings above them."""
    heading, inside, found = '', False, []
    with open(TUTORIAL, encoding='utf-8') as file:
        for line in file.read().splitlines():
            if line.startswith('## '):
                heading = line[3:]
            elif line.startswith('```'):
                inside = line == '```console'
            elif inside and line.startswith('$ '):
                found.append((heading, line[2:], []))
            elif inside and line != '...':
                found[-1][2].append(line)
    return found


def comes(shown, screen):
    """The first shown line that does not come after those before it, or nothing."""
    lines = iter(screen.splitlines())
    for wanted in shown:
        if not any(wanted in line for line in lines):
            return wanted
    return None


if tuple(command for _, command, _ in steps()[:2]) != CLONE:
    sys.exit('the tutorial gets the clone in another way')
first = steps()[0][0]
count = sum(heading == first for heading, _, _ in steps())
if count > MOST_COMMANDS:
    sys.exit(f'{count} commands to a tested component and its package')
shutil.rmtree(WORK, ignore_errors=True)
os.makedirs(WORK)
if not SHELL:
    os.symlink(SOURCE, f'{WORK}/libveltro')
environment = {name: value for name, value in os.environ.items()
               if not name.startswith(('VELTRO_', 'CMAKE_', 'MAKE', 'MFLAGS'))}
environment |= {'HOME': WORK, 'VELTRO_TEST_EXCLUSIVE': 'yes'}
shell = subprocess.Popen(SHELL or ['bash'], cwd=WORK, env=environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                         stderr=subprocess.STDOUT, text=True)
failure = None
for _, command, shown in steps():
    if command in CLONE:
        if not SHELL:
            continue
        command = command.replace(' URL ', ' "$URL" ')
    shell.stdin.write(f'{{ {command}\n}} </dev/null; echo "=== $?"\n')
    shell.stdin.flush()
    screen = ''
    for line in shell.stdout:
        if re.match(r'=== \d+$', line):
            break
        screen += line
    if line != '=== 0\n':
        failure = f'status {line.split()[-1]} of: {command}\n{screen}'
    elif missing := comes(shown, screen):
        failure = f'not on the screen: {missing}\nof: {command}\n{screen}'
    if failure:
        break
# Whatever was started goes as the tutorial ends it, also where it was left early.
shell.stdin.write('veltro messenger stop\n')
shell.stdin.close()
shell.stdout.read()
shell.wait()
if failure:
    sys.exit(failure)
shutil.rmtree(WORK)
